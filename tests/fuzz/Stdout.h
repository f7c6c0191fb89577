#pragma once

#include <unistd.h>

#include "tests/fuzz/Fuzz.h"

namespace Fuzz {

/// Takes the program's standard output from now on, once a process. The fuzzer itself writes to standard error.
class Stdout
{
public:
    Stdout() : mFile(scratch(QStringLiteral("stdout")))
    {
        require(mFile.open(QIODevice::ReadWrite | QIODevice::Unbuffered) && dup2(mFile.handle(), 1) == 1,
                "standard output is a file");
    }

    /// What has been written since the last time.
    QByteArray take()
    {
        mFile.seek(0);
        QByteArray text = mFile.readAll();
        require(mFile.resize(0) && mFile.seek(0), "standard output is empty again");
        return text;
    }

private:
    QFile mFile;
};

} // namespace Fuzz
