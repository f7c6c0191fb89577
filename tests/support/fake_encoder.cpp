// Stands in for cJpeg, pngquant and ffmpeg, under each of their names. The environment says what it does:
// - FAKE_RECORD=folder: writes its program and arguments, one a line, to <pid>.arguments there.
// - FAKE_DELAY_MS=n: sleeps.
// - FAKE_PROGRESS=text: writes the file behind "-progress", with a pause of n ms for each "|n|" in the text.
// - FAKE_OUTPUT=size: writes its output: "none" at all, "empty", "half" of the source's size (the default), a
//   signed number of bytes on top of the source's size, or a copy of the file whose path it is, less the suffix
//   of the result's kind; exits with 1 where it cannot. Then writes <pid>.written.
// - FAKE_END=exit, crash, or hang until there is an "open" beside its records; FAKE_EXIT=code.
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using namespace std::chrono_literals;

static std::vector<std::string> words; // the program and its arguments

static std::string setting(const char* name, const char* otherwise = "")
{
    const char* const value = std::getenv(name);
    return value ? value : otherwise;
}

// Under another name first: whoever finds the file finds it whole.
static void record(const char* suffix)
{
    const std::string file = setting("FAKE_RECORD") + '/' + std::to_string(getpid()) + suffix;
    std::ofstream draft(file + ".draft", std::ios::binary);
    for (const std::string& word : words)
        draft << word << '\n';
    draft.close();
    fs::rename(file + ".draft", file);
}

static std::string behind(const char* option)
{
    const auto found = std::ranges::find(words, option);
    return words.end() - found > 1 ? found[1] : std::string();
}

static bool writeOutput(const std::string& size)
{
    if (size == "none" || words.size() < 4)
        return true;
    const std::string tool = fs::path(words[0]).stem().string();
    // pngquant's source and ffmpeg's output have an option and a path behind them, or nothing.
    const bool isLast = tool == "cJpeg" || (tool == "ffmpeg" && behind("-progress").empty());
    const std::string last = words[words.size() - (isLast ? 1 : 3)];
    const std::string source = tool == "ffmpeg" ? behind("-i") : last;
    const std::string output = tool == "cJpeg"      ? behind("-outfile")
                               : tool == "pngquant" ? behind("-o")
                                                    : last;
    if (size.starts_with('/')) {
        const std::string result = size + (tool == "cJpeg" ? ".jpg" : fs::path(output).extension().string());
        std::error_code error;
        return fs::copy_file(fs::exists(result) ? result : source, output,
                             fs::copy_options::overwrite_existing, error);
    }
    const size_t whole = fs::exists(source) ? fs::file_size(source) : 0;
    std::ofstream file(output, std::ios::binary);
    file << std::string(size == "empty" ? 0 : size == "half" ? whole / 2 : whole + std::stoi(size), 'x');
    file.close();
    return !file.fail();
}

static void writeProgress()
{
    std::ofstream file(behind("-progress"), std::ios::binary);
    std::istringstream pieces(setting("FAKE_PROGRESS"));
    std::string piece;
    for (bool isPause = false; std::getline(pieces, piece, '|'); isPause = !isPause) {
        if (isPause)
            std::this_thread::sleep_for(std::stoi(piece) * 1ms);
        else
            file << piece << std::flush;
    }
}

int main(int argc, char** argv)
{
    words.assign(argv, argv + argc);
    record(".arguments");
    std::this_thread::sleep_for(std::stoi(setting("FAKE_DELAY_MS", "0")) * 1ms);
    if (!behind("-progress").empty() && std::getenv("FAKE_PROGRESS"))
        writeProgress();
    if (!writeOutput(setting("FAKE_OUTPUT", "half")))
        return EXIT_FAILURE;
    record(".written");
    if (setting("FAKE_END") == "crash")
        return std::raise(SIGTERM); // which leaves no core
    // A forgotten one ends by itself.
    for (int i = 0;
         setting("FAKE_END") == "hang" && i < 60000 && !fs::exists(setting("FAKE_RECORD") + "/open"); ++i)
        std::this_thread::sleep_for(2ms);
    return std::stoi(setting("FAKE_EXIT", "0"));
}
