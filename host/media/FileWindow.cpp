#include "host/media/FileWindow.h"

#include <algorithm>

namespace {

// Hops are mostly short, and a long hop that reads much would read the whole file in the end.
constexpr qint64 kWindow = 4096;

} // namespace

QByteArrayView FileWindow::bytes(qint64 offset, qint64 count)
{
    count = std::min({count, kMost, mSize - offset});
    if (offset < 0 || count <= 0)
        return {};
    if (offset < mStart || offset + count > mStart + mWindow.size()) {
        mStart = offset;
        mWindow = mFile.seek(offset) ? mFile.read(std::max(count, kWindow)) : QByteArray();
    }
    return QByteArrayView(mWindow)
        .sliced(offset - mStart)
        .first(std::min(count, mStart + mWindow.size() - offset));
}

int FileWindow::byte(qint64 offset)
{
    const QByteArrayView found = bytes(offset, 1);
    return found.isEmpty() ? -1 : static_cast<uchar>(found[0]);
}

quint64 FileWindow::number(qint64 offset, int width, bool isBigFirst)
{
    const QByteArrayView found = bytes(offset, width);
    quint64 value = 0;
    for (int i = 0; i < found.size(); ++i)
        value = value << 8 | static_cast<uchar>(found[isBigFirst ? i : found.size() - 1 - i]);
    return found.size() == width ? value : 0;
}
