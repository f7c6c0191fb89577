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
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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
    const std::string folder = setting("FAKE_RECORD");
    if (folder.empty())
        return;
    const fs::path file = fs::path(folder) / (std::to_string(processId()) + suffix);
    const fs::path draft = file.string() + ".draft";
    std::ofstream stream(draft, std::ios::binary);
    for (const std::string& line : lines)
        stream << line << '\n';
    stream.close();
    fs::rename(draft, file);
}

std::string behind(const Arguments& arguments, const char* option)
{
    for (size_t i = 1; i + 1 < arguments.size(); ++i) {
        if (arguments[i] == option)
            return arguments[i + 1];
    }
    return {};
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

std::string withLineEnds(const std::string& piece)
{
    std::string text;
    for (size_t i = 0; i < piece.size(); ++i) {
        const bool lineEnd = piece.compare(i, 2, "\\n") == 0;
        text += lineEnd ? '\n' : piece[i];
        i += lineEnd ? 1 : 0;
    }
    return text;
}

void writeProgress(const std::string& path, const std::string& script)
{
    if (path.empty() || script.empty())
        return;
    std::ofstream file(path, std::ios::binary);
    for (size_t begin = 0; begin <= script.size();) {
        const size_t end = std::min(script.find('|', begin), script.size());
        const std::string piece = script.substr(begin, end - begin);
        begin = end + 1;
        if (piece.starts_with('@')) {
            sleepMs(piece.substr(1));
            continue;
        }
        file << withLineEnds(piece) << std::flush;
    }
}

bool writeOutput(const Job& job, const std::string& size)
{
    if (size == "none" || job.output.empty())
        return true;
    std::error_code error;
    const auto found = fs::file_size(job.source, error);
    const long long sourceBytes = error ? 0 : static_cast<long long>(found);
    long long bytes = sourceBytes / 2;
    if (size == "empty")
        bytes = 0;
    else if (size != "half")
        bytes = sourceBytes + std::stoll(size);
    std::ofstream file(job.output, std::ios::binary);
    file << std::string(static_cast<size_t>(bytes), 'x');
    file.close();
    return !file.fail();
}

void flood(int megabytes)
{
    const std::string block(1 << 20, '!');
    for (int i = 0; i < megabytes; ++i) {
        std::fwrite(block.data(), 1, block.size(), stderr);
        std::fwrite(block.data(), 1, block.size(), stdout);
    }
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
    flood(std::stoi(setting("FAKE_STDERR_MB", "0")));
    record(".written", {});

    const std::string end = setting("FAKE_END", "exit");
    if (end == "crash")
        crash();
    if (end == "hang")
        std::this_thread::sleep_for(kLongestHang);
    return std::stoi(setting("FAKE_EXIT", "0"));
}
