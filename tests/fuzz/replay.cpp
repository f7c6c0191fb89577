// Stands in for the fuzzer: gives every file of the arguments, and of the folders among them, to the target.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv)
{
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        if (!fs::is_directory(argv[i]))
            files.emplace_back(argv[i]);
        else
            std::copy(fs::directory_iterator(argv[i]), {}, std::back_inserter(files));
    }
    std::sort(files.begin(), files.end());
    for (const fs::path& path : files) {
        std::fprintf(stderr, "%s\n", path.c_str());
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> content(std::istreambuf_iterator<char>(file), {});
        if (!file)
            return EXIT_FAILURE;
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(content.data()), content.size());
    }
    return files.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}
