#include "host/LengthProbe.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QRegularExpression>

LengthProbe::LengthProbe(const QString& path)
{
    connect(&mProcess, &QProcess::finished, this, &LengthProbe::onFinished);
    connect(&mProcess, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            onFinished();
    });
    mProcess.setStandardInputFile(QProcess::nullDevice());
    mProcess.setStandardOutputFile(QProcess::nullDevice());
    // Without an output ffmpeg ends, with an error, once it has described the input.
    mProcess.start(
        QCoreApplication::applicationDirPath() + QStringLiteral("/ffmpeg"),
        {QStringLiteral("-hide_banner"), QStringLiteral("-i"), QFileInfo(path).absoluteFilePath()});
}

LengthProbe::~LengthProbe()
{
    mProcess.disconnect(this);
    mProcess.kill();
    mProcess.waitForFinished();
}

void LengthProbe::onFinished()
{
    mLengthMs = lengthMsIn(mProcess.readAllStandardError());
    emit answered();
}

qint64 LengthProbe::lengthMsIn(const QByteArray& log)
{
    // Two blanks: the lines of tags, which may hold anything, have more.
    static const QRegularExpression kLine(QStringLiteral("^  Duration: (\\d+):(\\d\\d):(\\d\\d)\\.(\\d\\d)"),
                                          QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = kLine.match(QString::fromUtf8(log));
    const qint64 minutes = match.captured(1).toLongLong() * 60 + match.captured(2).toLongLong();
    return (minutes * 60 + match.captured(3).toLongLong()) * 1000 + match.captured(4).toLongLong() * 10;
}
