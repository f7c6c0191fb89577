#pragma once

#include <QObject>

#include "host/media/ToolRun.h"

/// Cuts a piece out of a video without encoding it: its image and its first sound, beginning with the key
/// frame before the asked place. One piece at a time; letting the cutter go ends it.
class SampleCutter : public QObject
{
    Q_OBJECT

public:
    SampleCutter();

    /// Writes `lengthMs` of the video to `piecePath`; on the way there, `helpPath` holds up to a key frame's
    /// distance more. Both are names of no file yet, with the suffix kSuffix.
    void cut(const QString& videoPath, qint64 beginMs, qint64 lengthMs, const QString& helpPath,
             const QString& piecePath);

    /// A container that holds nearly every codec, and whose times begin at the key frame.
    static constexpr char kSuffix[] = "mkv";

signals:
    /// What was written is the caller's to remove, also without success.
    void ended(bool isSuccess);

private:
    void copy(const QStringList& place, const QString& from, qint64 lengthMs, const QString& to);

    ToolRun mRun;
    QString mHelpPath;
    QString mPiecePath;
    qint64 mLengthMs = 0;
};
