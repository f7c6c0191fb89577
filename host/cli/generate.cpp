// Writes the manual page and the completions into the folder that it is given.
#include <filesystem>
#include <fstream>
#include <iostream>

#include "host/cli/Completions.h"
#include "host/cli/ManPage.h"

static const struct
{
    const char* name;
    void (*write)(std::ostream&);
} kFiles[] = {
    {"vxcompress.1", writeManPage},
    {"vxcompress.bash", writeBashCompletion},
    {"vxcompress.zsh", writeZshCompletion},
    {"vxcompress.fish", writeFishCompletion},
};

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "needs a folder\n";
        return 2;
    }
    for (const auto& row : kFiles) {
        std::ofstream file(std::filesystem::path(argv[1]) / row.name, std::ios::binary);
        row.write(file);
        if (!file.flush()) {
            std::cerr << "cannot write " << row.name << '\n';
            return 1;
        }
    }
}
