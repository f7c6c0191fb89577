#include "host/media/Readers.h"

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

constexpr int kUncompressed = 0;
constexpr quint64 kOldHeader = 12;
constexpr quint64 kHeaderWithMasks = 56;

} // namespace

QString readBmp(FileWindow& file, MediaFacts& facts)
{
    const qint64 pixels = qint64(file.little(10, 4));
    const quint64 header = file.little(14, 4);
    bool isCut = pixels > file.size();
    if (header != kOldHeader) {
        const qint64 width = qint32(file.little(18, 4));
        // Negative for an image that begins at its top.
        const qint64 height = std::abs(qint64(qint32(file.little(22, 4))));
        const qint64 bits = qint64(file.little(28, 2));
        facts.size = QSize(int(width), int(height));
        facts.hasAlpha = header >= kHeaderWithMasks && bits == 32 && file.little(66, 4) != 0;
        const qint64 rowBytes = (width * bits + 31) / 32 * 4;
        // The last row may lack the bytes that fill it up. A quotient, since the header may say anything.
        const qint64 left = file.size() - pixels + 3;
        isCut |= file.little(30, 4) == kUncompressed && rowBytes > 0 && left / rowBytes < height;
    }
    return isCut ? u"the image ends before its last row"_s : QString();
}
