// An "ffmpeg" that does one thing: it writes the time of its first instruction, in seconds of the monotonic
// clock, into the output of the module's video command.
#include <cstdio>
#include <ctime>

int main(int argc, char** argv)
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    // The last two arguments are ffmpeg's progress option and its file.
    std::FILE* file = argc > 3 ? std::fopen(argv[argc - 3], "w") : nullptr;
    if (!file)
        return 1;
    std::fprintf(file, "%.9f", static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9);
    return std::fclose(file) == 0 ? 0 : 1;
}
