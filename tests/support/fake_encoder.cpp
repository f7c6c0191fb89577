// Stands in for cJpeg, pngquant and ffmpeg, under each of their names. The environment says what it does:
// - FAKE_RECORD=folder: writes its program and arguments, one a line, to <pid>.arguments there.
// - FAKE_DELAY_MS=n: sleeps.
// - FAKE_PROGRESS=text: writes the file behind "-progress", with a pause of n ms for each "|n|" in the text.
// - FAKE_OUTPUT=size: writes its output: "none" at all, "empty", "half" of the source's size (the default), a
//   signed number of bytes on top of the source's size, or a copy of the file whose path it is, less the suffix
//   of the result's kind; exits with 1 where it cannot. Then writes <pid>.written.
// - FAKE_STRAY=1: writes that beside its output, under a name that nobody has given it.
// - FAKE_END=exit, crash, or hang until there is an "open" beside its records; FAKE_EXIT=code.
// - FAKE_AT=start, half or end: does so before, in the middle of or behind its output. Writes <pid>.reached.
// - FAKE_NOISE=n: writes so many lines to its standard error.
// - FAKE_DEAF_MS=n: lives on for so long when it is killed (Linux).
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>
#ifdef __linux__
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#elif defined(_WIN32)
#include <windows.h> // before the other

#include <shellapi.h>
#endif

namespace fs = std::filesystem;
using namespace std::chrono_literals;

static std::vector<std::string> words; // the program and its arguments

static std::string setting(const char* name, const char* otherwise = "")
{
    const char* const value = std::getenv(name);
    return value ? value : otherwise;
}

// Words are in UTF-8, whatever the system.
static fs::path pathOf(const std::string& word)
{
    return std::u8string(word.begin(), word.end());
}

static std::vector<std::string> wordsOf(int argc, char** argv)
{
#ifdef _WIN32
    // ffmpeg asks the system for its command line; the others take main()'s, which is in the process's code
    // page.
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &argc);
    const bool isWide = fs::path(wide[0]).stem() == "ffmpeg";
    std::vector<std::string> found;
    for (int i = 0; i < argc; ++i) {
        std::wstring word = wide[i];
        if (!isWide)
            word.resize(MultiByteToWideChar(CP_ACP, 0, argv[i], -1, word.data(), int(word.size()) + 1));
        found.push_back(fs::path(word.c_str()).string());
    }
    return found;
#else
    return {argv, argv + argc};
#endif
}

// Under another name first: whoever finds the file finds it whole.
static void record(const char* suffix)
{
    const std::string file = setting("FAKE_RECORD") + '/' + std::to_string(getpid()) + suffix;
    std::ofstream draft(pathOf(file + ".draft"), std::ios::binary);
    for (const std::string& word : words)
        draft << word << '\n';
    draft.close();
    fs::rename(pathOf(file + ".draft"), pathOf(file));
}

static std::string behind(const char* option)
{
    const auto found = std::ranges::find(words, option);
    return words.end() - found > 1 ? found[1] : std::string();
}

static void reach(const std::string& moment)
{
    if (setting("FAKE_AT", "end") != moment)
        return;
    record(".reached");
    if (setting("FAKE_END") == "crash")
        std::raise(SIGTERM); // which leaves no core
    // A forgotten one ends by itself.
    for (int i = 0;
         setting("FAKE_END") == "hang" && i < 60000 && !fs::exists(pathOf(setting("FAKE_RECORD") + "/open"));
         ++i)
        std::this_thread::sleep_for(2ms);
}

static bool writeOutput(const std::string& size)
{
    if (size == "none" || words.size() < 4)
        return true;
    const std::string tool = pathOf(words[0]).stem().string();
    // pngquant's source and ffmpeg's output have an option and a path behind them, or nothing.
    const bool isLast = tool == "cJpeg" || (tool == "ffmpeg" && behind("-progress").empty());
    const std::string last = words[words.size() - (isLast ? 1 : 3)];
    const std::string source = tool == "ffmpeg" ? behind("-i") : last;
    const std::string output = tool == "cJpeg"      ? behind("-outfile")
                               : tool == "pngquant" ? behind("-o")
                                                    : last;
    std::string content;
    if (size.starts_with('/')) {
        const std::string result = size + (tool == "cJpeg" ? ".jpg" : pathOf(output).extension().string());
        std::ifstream model(pathOf(fs::exists(pathOf(result)) ? result : source), std::ios::binary);
        content.assign(std::istreambuf_iterator<char>(model), {});
        if (!model)
            return false;
    } else {
        const size_t whole = fs::exists(pathOf(source)) ? fs::file_size(pathOf(source)) : 0;
        content.assign(size == "empty" ? 0 : size == "half" ? whole / 2 : whole + std::stoi(size), 'x');
    }
    std::ofstream file(pathOf(setting("FAKE_STRAY").empty() ? output : output + ".stray"), std::ios::binary);
    file << content.substr(0, content.size() / 2) << std::flush;
    reach("half");
    file << content.substr(content.size() / 2);
    file.close();
    return !file.fail();
}

static void writeProgress()
{
    std::ofstream file(pathOf(behind("-progress")), std::ios::binary);
    std::istringstream pieces(setting("FAKE_PROGRESS"));
    std::string piece;
    for (bool isPause = false; std::getline(pieces, piece, '|'); isPause = !isPause) {
        if (isPause)
            std::this_thread::sleep_for(std::stoi(piece) * 1ms);
        else
            file << piece << std::flush;
    }
}

#ifdef __linux__
// A child holds its death up, as a disk that doesn't answer would.
static void becomeDeaf(std::chrono::milliseconds length)
{
    const pid_t self = getpid();
    int ready[2];
    if (pipe(ready) != 0 || prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY) < -1)
        return;
    char none = 0;
    if (fork() != 0) {
        [[maybe_unused]] const ssize_t count = read(ready[0], &none, 1);
        return;
    }
    ptrace(PTRACE_SEIZE, self, nullptr, PTRACE_O_TRACEEXIT);
    [[maybe_unused]] const ssize_t count = write(ready[1], &none, 1);
    waitpid(self, nullptr, __WALL);
    std::this_thread::sleep_for(length);
    _exit(EXIT_SUCCESS);
}
#endif

int main(int argc, char** argv)
{
    words = wordsOf(argc, argv);
#ifdef __linux__
    if (const int ms = std::stoi(setting("FAKE_DEAF_MS", "0")))
        becomeDeaf(ms * 1ms);
#endif
    record(".arguments");
    std::this_thread::sleep_for(std::stoi(setting("FAKE_DELAY_MS", "0")) * 1ms);
    for (int line = std::stoi(setting("FAKE_NOISE", "0")); line > 0; --line)
        std::cerr << "a frame that could not be decoded, and many words about it, time after time\n";
    reach("start");
    if (!behind("-progress").empty() && std::getenv("FAKE_PROGRESS"))
        writeProgress();
    if (!writeOutput(setting("FAKE_OUTPUT", "half")))
        return EXIT_FAILURE;
    record(".written");
    reach("end");
    return std::stoi(setting("FAKE_EXIT", "0"));
}
