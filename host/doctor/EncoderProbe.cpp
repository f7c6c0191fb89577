#include "host/doctor/EncoderProbe.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

#include "process/ProcessTie.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kToolTimeoutMs = 10000;

const struct
{
    const char* name;
    const char* versionOption;
    const char* versionPattern; ///< the first group is the version
    const char* elsewhereName;  ///< as distributions call it
} kEncoders[] = {
    {"cJpeg", "-version", "^(.*\\bversion [^\\s(]+)", "cjpeg"},
    {"pngquant", "--version", "^(\\d\\S*)", "pngquant"},
    {"ffmpeg", "-version", "^ffmpeg version (\\S+)", "ffmpeg"},
};

#ifdef Q_OS_WIN
constexpr auto kExecutableSuffix = ".exe"_L1;
#else
constexpr auto kExecutableSuffix = ""_L1;
#endif

QString versionIn(const QString& output, const char* pattern)
{
    const QRegularExpression version(QLatin1StringView(pattern), QRegularExpression::MultilineOption);
    return version.match(output).captured(1);
}

} // namespace

ToolAnswer runTool(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardInputFile(QProcess::nullDevice());
    Platform::tieToHost(process);
    process.start(program, arguments);
    const bool ended = process.waitForFinished(kToolTimeoutMs);
    ToolAnswer run{{}, process.exitCode(), QString::fromUtf8(process.readAll())};
    if (process.error() == QProcess::FailedToStart) {
        run.error = process.errorString();
    } else if (!ended) {
        run.error = u"it did not end within %1 seconds"_s.arg(kToolTimeoutMs / 1000);
        process.kill();
        process.waitForFinished();
    } else if (process.exitStatus() != QProcess::NormalExit) {
        run.error = u"it crashed"_s;
    }
    return run;
}

QList<EncoderState> findEncoders()
{
    QList<EncoderState> encoders;
    for (const auto& row : kEncoders) {
        EncoderState encoder;
        encoder.name = QString::fromLatin1(row.name);
        encoder.path = QCoreApplication::applicationDirPath() + u'/' + encoder.name + kExecutableSuffix;
        encoder.target = QFileInfo(encoder.path).canonicalFilePath();
        const QStringList question = {QString::fromLatin1(row.versionOption)};
        if (encoder.target.isEmpty()) {
            encoder.fault = EncoderFault::Missing;
            encoder.elsewhere = QStandardPaths::findExecutable(QString::fromLatin1(row.elsewhereName));
            if (!encoder.elsewhere.isEmpty())
                encoder.elsewhereVersion =
                    versionIn(runTool(encoder.elsewhere, question).output, row.versionPattern);
        } else {
            const ToolAnswer run = runTool(encoder.path, question);
            encoder.version = versionIn(run.output, row.versionPattern);
            encoder.detail = run.error;
            if (!run.error.isEmpty())
                encoder.fault = EncoderFault::NotRunning;
        }
        encoders.append(encoder);
    }
    return encoders;
}
