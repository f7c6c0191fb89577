#pragma once

#include <QByteArray>
#include <QIODevice>

/// Bytes of a file at any place, read through a window: for walks that hop from header to header. Not a
/// memory map: a file that is shortened meanwhile then ends early, and does not end the program.
class FileWindow
{
public:
    /// The file is open, seekable, and outlives the window.
    explicit FileWindow(QIODevice& file) : mFile(file), mSize(file.size()) {}

    qint64 size() const { return mSize; }
    /// The bytes there, as many as there are: at most `count`, and at most kMost.
    QByteArrayView bytes(qint64 offset, qint64 count);
    bool has(qint64 offset, QByteArrayView expected) { return bytes(offset, expected.size()) == expected; }
    /// The byte there, -1 after the end.
    int byte(qint64 offset);
    /// A number of 1 to 8 bytes, with its big or its little end first; 0 after the end.
    quint64 number(qint64 offset, int width, bool isBigFirst);
    quint64 big(qint64 offset, int width) { return number(offset, width, true); }
    quint64 little(qint64 offset, int width) { return number(offset, width, false); }

    static constexpr qint64 kMost = qint64(64) * 1024;

private:
    QIODevice& mFile;
    qint64 mSize;
    qint64 mStart = 0;
    QByteArray mWindow;
};
