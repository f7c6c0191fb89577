#pragma once

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <unistd.h>

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace Fuzz {

/// What holds for every input; the end of the program where it does not.
inline void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// An input that is taken to pieces. Numbers come from its end, so that a media file, or a text, is an input
/// as it is.
class Input
{
public:
    Input(const uint8_t* data, size_t size) : mData(data), mSize(size) {}

    /// 0 to `most`.
    qint64 number(qint64 most)
    {
        quint64 number = 0;
        for (auto left = static_cast<quint64>(most); left > 0 && mSize > 0; left >>= 8)
            number = number << 8 | mData[--mSize];
        return static_cast<qint64>(number % (static_cast<quint64>(most) + 1));
    }
    qint64 anyNumber() { return number(std::numeric_limits<qint64>::max()) * (flag() ? 1 : -1); }
    bool flag() { return number(1) != 0; }
    template <class Table>
    const auto& oneOf(const Table& table)
    {
        return table[static_cast<size_t>(number(static_cast<qint64>(std::size(table)) - 1))];
    }
    /// Up to the next such byte, which is dropped, or to the end.
    QByteArray piece(char end)
    {
        const auto* const at = std::find(mData, mData + mSize, static_cast<uint8_t>(end));
        const auto length = at - mData;
        QByteArray found(reinterpret_cast<const char*>(mData), length);
        mSize -= std::min(mSize, static_cast<size_t>(length) + 1);
        mData = mSize > 0 ? at + 1 : at;
        return found;
    }
    QByteArray rest() const { return {reinterpret_cast<const char*>(mData), static_cast<qsizetype>(mSize)}; }
    bool isEmpty() const { return mSize == 0; }

private:
    const uint8_t* mData;
    size_t mSize;
};

/// A path in a folder of this process.
inline QString scratch(const QString& name)
{
    static const QTemporaryDir folder;
    require(folder.isValid(), "there is a temporary folder");
    return folder.filePath(name);
}

inline QString write(const QString& name, const QByteArray& content)
{
    QFile file(scratch(name));
    require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(), "a file is written");
    return file.fileName();
}

/// Takes the program's standard output from now on, once a process. The fuzzer itself writes to standard
/// error.
class Stdout
{
public:
    Stdout() : mFile(scratch(u"stdout"_s))
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
