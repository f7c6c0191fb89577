#pragma once

#include <QSize>
#include <QString>

namespace Vantor {
struct VideoStreamDescription;
}

/// The arithmetic of picture sizes.

/// The smallest even number that is not below x.
int evenUp(int x);

/// The multiple of `step` (at least 1) nearest to `value`; a tie goes away from zero.
int roundToMultiple(int value, int step);

/// The size at which a stream is meant to be seen: its sample aspect ratio applied where that gives whole
/// numbers, its rotation applied, both sides even.
QSize displaySize(const Vantor::VideoStreamDescription& stream);

/// What the task's "scale" divides a picture's sides by; 0 for a text that is no choice.
int divisorOf(const QString& scale);

/// What the task's "scale" makes of a display size: a choice divides the sides and rounds them to multiples
/// of 4; any other text leaves them.
QSize scaledSize(const QSize& display, const QString& scale);
