// Stands in for cJpeg, pngquant and ffmpeg. It finds its source and its output by their command lines and
// does what the environment says, in this order:
//
// - FAKE_RECORD=folder: writes its arguments, the program first, one a line, to <pid>.arguments there.
// - FAKE_DELAY_MS=n: sleeps before it writes.
// - FAKE_PROGRESS=script: writes the file behind "-progress". The script's pieces are separated by "|"; "\n"
//   in them is a line end, and a piece "@n" is a pause of n ms.
// - "-n" among the arguments: exits with 1 when the output exists.
// - FAKE_OUTPUT=size: "none" for no output, "empty", "half" of the source's size (the default), or a signed
//   number of bytes on top of the source's size, such as "-10", "+0", "+1". Exits with 1 where it cannot
//   write.
// - FAKE_STDERR_MB=n: writes n MB to standard error and to standard output.
// - FAKE_RECORD: writes the empty file <pid>.written.
// - FAKE_END=exit, crash or hang: how it ends.
// - FAKE_EXIT=n: with which exit code.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <process.h>
#else
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;
using Arguments = std::vector<std::string>;

namespace {

// A forgotten encoder ends by itself.
constexpr std::chrono::seconds kLongestHang{120};

std::string setting(const char* name, const char* otherwise = "")
{
    const char* value = std::getenv(name);
    return value && *value ? value : otherwise;
}

void sleepMs(const std::string& milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(milliseconds)));
}

int processId()
{
#ifdef _WIN32
    return _getpid();
#else
    return getpid();
#endif
}

// Written under another name first: whoever finds the file finds it whole.
void record(const char* suffix, const Arguments& lines)
{
    if (setting("FAKE_RECORD").empty())
        return;
    const fs::path file = fs::path(setting("FAKE_RECORD")) / (std::to_string(processId()) + suffix);
    const fs::path draft = file.string() + ".draft";
    std::ofstream stream(draft, std::ios::binary);
    for (const std::string& line : lines)
        stream << line << '\n';
    stream.close();
    fs::rename(draft, file);
}

std::string behind(const Arguments& arguments, const char* option)
{
    const auto found = std::ranges::find(arguments, option);
    return arguments.end() - found > 1 ? found[1] : std::string();
}

struct Job
{
    std::string source;
    std::string output;
    std::string progress;
};

Job readCommandLine(const Arguments& arguments)
{
    const std::string tool = fs::path(arguments[0]).stem().string();
    if (arguments.size() < 3)
        return {};
    if (tool == "cJpeg")
        return {arguments.back(), behind(arguments, "-outfile"), {}};
    if (tool == "pngquant")
        return {arguments[arguments.size() - 3], behind(arguments, "-o"), {}};
    Job job{behind(arguments, "-i"), arguments.back(), behind(arguments, "-progress")};
    if (!job.progress.empty() && arguments.size() > 3)
        job.output = arguments[arguments.size() - 3];
    return job;
}

void writeProgress(const std::string& path, const std::string& script)
{
    if (path.empty() || script.empty())
        return;
    std::ofstream file(path, std::ios::binary);
    std::istringstream pieces(script);
    for (std::string piece; std::getline(pieces, piece, '|');) {
        if (piece.starts_with('@')) {
            sleepMs(piece.substr(1));
            continue;
        }
        for (size_t at; (at = piece.find("\\n")) != std::string::npos;)
            piece.replace(at, 2, 1, '\n');
        file << piece << std::flush;
    }
}

bool writeOutput(const Job& job, const std::string& size)
{
    if (size == "none" || job.output.empty())
        return true;
    std::error_code error;
    const auto found = fs::file_size(job.source, error);
    const long long sourceBytes = error ? 0 : static_cast<long long>(found);
    const long long bytes = size == "empty"  ? 0
                            : size == "half" ? sourceBytes / 2
                                             : sourceBytes + std::stoll(size);
    std::ofstream file(job.output, std::ios::binary);
    file << std::string(static_cast<size_t>(bytes), 'x');
    file.close();
    return !file.fail();
}

[[noreturn]] void crash()
{
#ifndef _WIN32
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
#endif
    std::abort();
}

} // namespace

int main(int argc, char** argv)
{
    const Arguments arguments(argv, argv + argc);
    const Job job = readCommandLine(arguments);
    record(".arguments", arguments);
    sleepMs(setting("FAKE_DELAY_MS", "0"));
    writeProgress(job.progress, setting("FAKE_PROGRESS"));
    const bool refused = std::ranges::count(arguments, "-n") > 0 && fs::exists(job.output);
    if (refused || !writeOutput(job, setting("FAKE_OUTPUT", "half")))
        return EXIT_FAILURE;
    const std::string flood(std::stoul(setting("FAKE_STDERR_MB", "0")) << 20, '!');
    std::cerr << flood;
    std::cout << flood;
    record(".written", {});

    const std::string end = setting("FAKE_END", "exit");
    if (end == "crash")
        crash();
    if (end == "hang")
        std::this_thread::sleep_for(kLongestHang);
    return std::stoi(setting("FAKE_EXIT", "0"));
}
