#pragma once

#include <QByteArray>
#include <QObject>
#include <QProcess>

/// Asks the ffmpeg beside the host how long a film is. It takes a moment, beside whatever else goes on;
/// letting the probe go ends it.
class LengthProbe : public QObject
{
    Q_OBJECT

public:
    /// ffmpeg's answer is in its log. 0 when it knows none.
    static qint64 lengthMsIn(const QByteArray& log);

    explicit LengthProbe(const QString& path);
    ~LengthProbe() override;

    bool hasAnswered() const { return mLengthMs >= 0; }
    /// 0 when ffmpeg doesn't know; meaningless before the answer.
    qint64 lengthMs() const { return mLengthMs; }

signals:
    void answered();

private:
    void onFinished();

    QProcess mProcess;
    qint64 mLengthMs = -1;
};
