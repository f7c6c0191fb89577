#pragma once

#include <QString>

/// Whether a video that ffmpeg has written has its end, as far as its container tells: such a file is as long as it
/// should be. Never of one whose length nobody knows.
bool isVideoWhole(const QString& path, qint64 lengthMs);
