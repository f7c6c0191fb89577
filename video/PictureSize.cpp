#include "video/PictureSize.h"

#include <QMap>

#include <cmath>
#include <cstdlib>

#include "demux/MediaDescription.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kSideMultiple = 4;

// 32-bit products that wrap: sizes and ratios come from the file, and a damaged one may hold anything.
int product(int a, int b)
{
    return static_cast<int>(static_cast<unsigned>(a) * static_cast<unsigned>(b));
}

// Halves go away from zero.
int nearestQuotient(int numerator, int denominator)
{
    return static_cast<int>(std::lround(static_cast<double>(numerator) / denominator));
}

QSize applySampleAspectRatio(int width, int height, int numerator, int denominator)
{
    if (numerator == denominator || numerator < 1 || denominator < 1)
        return {width, height};
    QSize size(width, height);
    const int tall = product(denominator, height);
    const int wide = product(numerator, width);
    if (tall % numerator == 0)
        size.setHeight(nearestQuotient(tall, numerator));
    // A widened width wins over a shortened height: it loses no lines.
    if (wide % denominator == 0)
        size = {nearestQuotient(wide, denominator), height};
    if (size.width() == 0 || size.height() == 0)
        size = {nearestQuotient(wide, denominator), height};
    return size;
}

int wholeSide(int side)
{
    return side % kSideMultiple == 0 ? side : roundToMultiple(side, kSideMultiple);
}

} // namespace

int evenUp(int x)
{
    return static_cast<int>((static_cast<unsigned>(x) + 1U) & ~1U);
}

int roundToMultiple(int value, int step)
{
    const int quotient = value / step;
    const int low = product(quotient, step);
    const int high = product(product(value, step) >= 1 ? quotient + 1 : quotient - 1, step);
    return std::abs(qint64{value} - low) < std::abs(qint64{value} - high) ? low : high;
}

QSize displaySize(const Vantor::VideoStreamDescription& stream)
{
    const AVRational ratio = stream.sampleAspectRatio;
    QSize size = applySampleAspectRatio(stream.width, stream.height, ratio.num, ratio.den);
    if (stream.rotation == 90 || stream.rotation == 270)
        size.transpose();
    return {evenUp(size.width()), evenUp(size.height())};
}

int divisorOf(const QString& scale)
{
    static const QMap<QString, int> kDivisors{{u"1"_s, 1}, {u"2"_s, 2}, {u"4"_s, 4}};
    return kDivisors.value(scale, 0);
}

QSize scaledSize(const QSize& display, const QString& scale)
{
    const int divisor = divisorOf(scale);
    return divisor == 0 ? display
                        : QSize(wholeSide(display.width() / divisor), wholeSide(display.height() / divisor));
}
