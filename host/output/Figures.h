#pragma once

#include "host/job/JobResult.h"

/// Figures for people.

/// A file size, in decimal units with three digits: "812 kB", "2.41 MB".
QString sizeText(qint64 bytes);
/// "1.20 MB to 1.51 MB".
QString rangeText(SizeRange range);

/// What became of `before` bytes: "saved 66.3 %", "12.0 % larger" or "the same size".
QString savingText(qint64 before, qint64 after);
/// What may become of them: "saves 40 to 52 %".
QString savingText(qint64 before, SizeRange after);

/// "0:42", "1:03:07".
QString timeText(qint64 ms);
/// Of a file rather than of a run: "3.25 s", from 100 s on as timeText() has it.
QString secondsText(qint64 ms);

/// For a user who waits, such as "31 %, 2.4x, 0:42 left": the share done, how much faster than it plays a
/// video of `videoMs` is encoded (0: unknown, and left out), and the time left if it goes on like that.
QString progressText(double share, qint64 elapsedMs, qint64 videoMs);
