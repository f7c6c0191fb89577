#include "host/doctor/EncoderExam.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTimer>

#include <chrono>

#include "host/job/Format.h"
#include "host/media/ImageChunks.h"
#include "host/media/MediaFacts.h"
#include "host/media/ToolRun.h"
#include "host/module/ModuleRun.h"
#include "host/output/Figures.h"
#include "host/system/PrivateFolder.h"

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;
// A trial takes a tenth of a second; a loaded machine or a network drive may need longer.
constexpr auto kTimeLimit = 20s;

// 64x64 gradients with a pattern over them, 24 bits a pixel, and `lead` before each row.
QByteArray pixels(const QByteArray& lead = {})
{
    QByteArray bytes;
    for (int y = 0; y < 64; ++y) {
        bytes += lead;
        for (int x = 0; x < 64; ++x)
            bytes.append(char(x * 4)).append(char(y * 4)).append(char((x ^ y) * 4));
    }
    return bytes;
}

QByteArray pngImage()
{
    // 8 bits, true colour, the one compression, the one filter method, not interlaced.
    const QByteArray header("\0\0\0\x40\0\0\0\x40\x08\x02\0\0\0", 13);
    constexpr int kQtsOwnHeader = 4;
    const QByteArray rows = qCompress(pixels(QByteArray(1, '\0')), 1); // none of which is filtered
    return "\x89PNG\r\n\x1a\n" + pngChunk("IHDR", header) + pngChunk("IDAT", rows.mid(kQtsOwnHeader)) +
           pngChunk("IEND", {});
}

QString write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    const bool isWritten =
        file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush();
    return isWritten ? QString() : file.errorString();
}

ToolResult run(const QString& program, const QStringList& arguments)
{
    ToolCall call{program, arguments};
    call.timeLimit = kTimeLimit;
    return ToolRun::runAndWait(call);
}

QString versionIn(const ToolResult& answer, const Encoder& encoder)
{
    const QRegularExpression version(QLatin1StringView(encoder.versionPattern),
                                     QRegularExpression::MultilineOption);
    return version.match(QString::fromUtf8(answer.output + answer.log)).captured(1);
}

// Makes the source of a trial, by nothing but this program and the encoder itself. Returns what went wrong.
QString makeSource(const QString& path, const QString& encoder, PrivateFolder& folder)
{
    if (path.endsWith(".png"_L1))
        return write(path, pngImage());
    if (path.endsWith(".jpg"_L1)) {
        // A format that every cjpeg reads.
        const QString plain = folder.newPath(u"ppm"_s);
        const QString error = write(plain, "P6\n64 64\n255\n" + pixels());
        return error.isEmpty() ? run(encoder, {u"-quality"_s, u"98"_s, u"-outfile"_s, path, plain}).reason()
                               : error;
    }
    // With coders that every build of ffmpeg has.
    const QString arguments = u"-v error -f lavfi -i testsrc2=s=128x96:r=25:d=0.5 -f lavfi -i sine=d=0.5 "
                              "-c:v mpeg4 -q:v 1 -c:a pcm_s16le -f matroska"_s;
    return run(encoder, arguments.split(u' ') << path).reason();
}

bool isOfFormat(const QString& path, const Format& format)
{
    const MediaFacts facts = inspectMedia(path);
    const bool isKind = format.isVideo() ? facts.kind == MediaKind::Video
                                         : facts.kind == MediaKind::Image && Formats::looksLike(format, path);
    return isKind && facts.damage.isEmpty();
}

// Whoever has it from a package of the system has no set-up at hand.
QString remedyFor(const Encoder& encoder)
{
    const QString folder = QCoreApplication::applicationDirPath();
    const bool isPackaged = folder.startsWith("/usr/"_L1) && !folder.startsWith("/usr/local/"_L1);
    const bool isOurs = QLatin1StringView(encoder.file) != QLatin1StringView(encoder.systemName);
    if (isPackaged && isOurs)
        return u"install the package vxcompress again, which brings it"_s;
    const QString remedy = QString::fromLatin1(encoder.remedy);
    return isPackaged ? remedy : remedy + u", or run vxcompress's own set-up, which does that"_s;
}

// The usual mistake: the cjpeg that most systems have, which is libjpeg-turbo's.
QString elsewhereText(const Encoder& encoder, const QString& program, const QString& version)
{
    const bool isWrong =
        QLatin1StringView(encoder.systemName) == "cjpeg"_L1 && !version.startsWith("mozjpeg"_L1);
    return (isWrong ? u"%1 does not help: it is no mozjpeg (%2) and reads no JPEG"_s
                    : u"%1 would do (%2): put a link to it there"_s)
        .arg(program, version);
}

QString lackOf(const QString& ffmpeg, const Format& format)
{
    const QByteArray coder = format.coder;
    if (coder.isEmpty())
        return {};
    const ToolResult list = run(ffmpeg, {u"-hide_banner"_s, u"-encoders"_s});
    if (!list.isSuccess() || list.output.contains(' ' + coder + ' '))
        return {};
    return u"; it was built without %1"_s.arg(QLatin1StringView(coder));
}

} // namespace

void Finding::judge(State newState, const QString& fault, const QString& detail, const QString& line)
{
    state = newState;
    facts[u"fault"_s] = fault;
    facts[u"detail"_s] = detail;
    lines = {line};
}

EncoderExam::Trial EncoderExam::tryFormat(const Format& format, const QString& program)
{
    Trial trial;
    const QString source = mFolder.newPath(QString::fromLatin1(format.trialSuffix));
    const QString output = mFolder.newPath(QString::fromLatin1(format.suffixes.front()));
    trial.error = makeSource(source, program, mFolder);
    trial.hasSource = trial.error.isEmpty();
    if (trial.hasSource) {
        QElapsedTimer clock;
        clock.start();
        trial.error = encode(source, output, format.quality.fallback);
        trial.elapsedMs = clock.elapsed();
        trial.before = QFileInfo(source).size();
        trial.after = QFileInfo(output).size();
    }
    if (trial.error.isEmpty() && !isOfFormat(output, format))
        trial.error = u"the result is no %1"_s.arg(QLatin1StringView(format.name));
    return trial;
}

QString EncoderExam::encode(const QString& source, const QString& output, int quality)
{
    QString error = u"it did not end within %1 seconds"_s.arg(kTimeLimit.count());
    ModuleRun encode(mTasks, {source, output, QString::number(quality), false, {}});
    QObject::connect(&encode, &ModuleRun::ended, &mLoop, [&](const Failure& failure) {
        error = failure.kind == FailureKind::EncoderFailed
                    ? u"code %1 %2"_s.arg(failure.code).arg(failure.detail).trimmed()
                    : failure.detail;
        mLoop.quit();
    });
    QTimer timer;
    timer.callOnTimeout(&mLoop, &QEventLoop::quit);
    timer.start(kTimeLimit);
    encode.start();
    mLoop.exec();
    return error;
}

void EncoderExam::tryFormats(const Encoder& encoder, const QString& program, Finding& finding)
{
    const QString found = finding.lines.constFirst();
    QJsonArray trials;
    for (const Format& format : Formats::all()) {
        if (format.encoder != &encoder || Platform::Interrupts::first())
            continue;
        const QString kind = QString::fromLatin1(format.name);
        const Trial trial = tryFormat(format, program);
        trials.append(QJsonObject{{u"kind"_s, kind},
                                  {u"error"_s, trial.error},
                                  {u"before"_s, trial.before},
                                  {u"after"_s, trial.after},
                                  {u"seconds"_s, double(trial.elapsedMs) / 1000}});
        if (!trial.error.isEmpty()) {
            const QString detail = kind + ": "_L1 + trial.error + lackOf(program, format);
            // A cjpeg that makes a JPEG of a plain image and none of a JPEG is one that cannot read it.
            if (trial.hasSource && format.kind == Format::Jpeg)
                finding.judge(Finding::Bad, u"readsNoJpeg"_s, detail,
                              u"the wrong cjpeg, it reads no JPEG: "_s + found);
            else
                finding.judge(Finding::Bad, u"trialFailed"_s, detail,
                              u"%1; it failed to make a %2"_s.arg(found, detail));
        } else if (finding.state == Finding::Ok) {
            finding.lines +=
                u"made a %1: %2 -> %3 in %4 ms"_s.arg(kind, sizeText(trial.before), sizeText(trial.after))
                    .arg(trial.elapsedMs);
        }
    }
    finding.facts[u"trials"_s] = trials;
}

Finding EncoderExam::examine(const Encoder& encoder, EncoderExam* exam)
{
    const QString name = QString::fromLatin1(encoder.file);
    const QString path = ToolCall::beside(name);
    const QString target = QFileInfo(path).canonicalFilePath();
    const bool isThere = !target.isEmpty();
    const QString elsewhere =
        isThere ? QString() : QStandardPaths::findExecutable(QString::fromLatin1(encoder.systemName));
    const QString program = isThere ? path : elsewhere;
    ToolResult answer;
    if (!program.isEmpty())
        answer = run(program, {QString::fromLatin1(encoder.versionOption)});
    const QString version = versionIn(answer, encoder);
    const QString where = target == path ? path : u"%1 -> %2"_s.arg(path, target);
    const QString found = (version.isEmpty() ? u"version unknown"_s : version) + ", "_L1 + where;

    Finding finding{name, {}, {}, {}};
    finding.facts = {{u"name"_s, name},           {u"path"_s, path},
                     {u"target"_s, target},       {u"version"_s, isThere ? version : QString()},
                     {u"elsewhere"_s, elsewhere}, {u"elsewhereVersion"_s, isThere ? QString() : version},
                     {u"trials"_s, QJsonArray()}};
    finding.judge(Finding::Ok, u"none"_s, {}, found);
    if (!isThere)
        finding.judge(Finding::Bad, u"missing"_s, {}, u"there is no %1"_s.arg(path));
    else if (!answer.error.isEmpty())
        finding.judge(Finding::Bad, u"notRunning"_s, answer.error,
                      u"%1 does not run: %2"_s.arg(where, answer.error));
    else if (!exam)
        finding.judge(Finding::NotTried, u"notTried"_s, {}, found + u"; it was not tried"_s);
    else
        exam->tryFormats(encoder, path, finding);
    if (!elsewhere.isEmpty())
        finding.lines += elsewhereText(encoder, elsewhere, version);
    if (finding.state == Finding::Bad)
        finding.lines += remedyFor(encoder);
    return finding;
}
