#include "host/doctor/Doctor.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QStorageInfo>

#include <optional>

#include "host/doctor/EncoderExam.h"
#include "host/job/ExitStatus.h"
#include "host/job/Format.h"
#include "host/module/CompressorLibrary.h"
#include "host/output/Figures.h"
#include "host/system/PrivateFolder.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kInterruptedBase = 128;
constexpr int kLabelWidth = 12;
constexpr int kStateWidth = 5;
// Some videos of a DVD's length; with less, jobs fail half-way.
constexpr qint64 kLittleRoomBytes = 1'000'000'000;
// In the order of Finding::State.
constexpr const char* kStates[] = {"ok", "BAD", "note", "?", ""};

Finding moduleFinding()
{
    const CompressorLibrary library = CompressorLibrary::load();
    QString path, version, ffmpeg;
    const bool isLoaded = library.compressor != nullptr;
    if (isLoaded) {
        path = QFileInfo(library.path).canonicalFilePath();
        static const QRegularExpression kVersion(u"\\.so\\.([\\d.]+)$"_s);
        version = kVersion.match(path).captured(1);
        // The one name that is in every release of FFmpeg and says which it is.
        using VersionInfo = const char* (*)();
        const auto info =
            reinterpret_cast<VersionInfo>(Platform::functionIn(library.path, "av_version_info"));
        ffmpeg = QString::fromUtf8(info ? info() : "");
    }
    return {u"module"_s,
            isLoaded ? Finding::Ok : Finding::Bad,
            isLoaded ? QStringList{version.isEmpty() ? path : version + ", "_L1 + path,
                                   ffmpeg.isEmpty() ? u"of an unknown FFmpeg"_s : "with FFmpeg "_L1 + ffmpeg}
                     : QStringList{library.error, u"install vxcompress again, or build it"_s},
            {{u"path"_s, path}, {u"version"_s, version}, {u"ffmpeg"_s, ffmpeg}, {u"error"_s, library.error}}};
}

// `folder`: what could be made in the temporary place.
Finding temporaryFinding(const QString& path, const PrivateFolder& folder)
{
    const QString error = QFileInfo(path).isDir() ? folder.errorString() : u"there is no such folder"_s;
    const qint64 freeBytes = error.isEmpty() ? QStorageInfo(path).bytesAvailable() : -1;
    Finding finding{u"temporary"_s,
                    Finding::Ok,
                    {u"%1, %2 free"_s.arg(path, sizeText(freeBytes))},
                    {{u"path"_s, path}, {u"error"_s, error}, {u"freeBytes"_s, freeBytes}}};
    if (!error.isEmpty()) {
        finding.state = Finding::Bad;
        finding.lines = {path + ": "_L1 + error, u"set TMPDIR to a folder that you may write to"_s};
    } else if (freeBytes < kLittleRoomBytes) {
        finding.state = Finding::Note;
        finding.lines += u"that is little for videos; TMPDIR names another folder"_s;
    }
    return finding;
}

Finding terminalFinding()
{
    constexpr Platform::Channel kChannel = Platform::Channel::Error;
    const bool isTerminal = Platform::isTerminal(kChannel);
    const int columns = isTerminal ? Platform::terminalSize(kChannel).columns : 0;
    const bool hasColour = Platform::hasColour(kChannel);
    const bool isUtf8 = Platform::isLocaleUtf8();
    const QString encoding = isUtf8 ? u"UTF-8"_s : u"not UTF-8"_s;
    const QString text =
        isTerminal
            ? u"%1 columns, %2, %3"_s.arg(columns).arg(hasColour ? u"colour"_s : u"no colour"_s, encoding)
            : u"standard error is none; "_s + encoding;
    return {u"terminal"_s,
            Finding::Plain,
            {text},
            {{u"isTerminal"_s, isTerminal},
             {u"columns"_s, columns},
             {u"colour"_s, hasColour},
             {u"utf8"_s, isUtf8}}};
}

QString textOf(const QList<Finding>& findings, const DoctorOptions& options, int status)
{
    QString text;
    for (const Finding& finding : findings) {
        if (options.quiet && finding.state != Finding::Bad)
            continue;
        text += finding.label.leftJustified(kLabelWidth) +
                QString::fromLatin1(kStates[finding.state]).leftJustified(kStateWidth) +
                finding.lines.join(u'\n' + QString(kLabelWidth + kStateWidth, u' ')) + u'\n';
    }
    if (!options.quiet)
        text += status == kDelivered ? u"All is well.\n"_s : u"Not all is well.\n"_s;
    return text;
}

} // namespace

int runDoctor(const DoctorOptions& options)
{
    QLoggingCategory::setFilterRules(u"default.debug=false"_s);
    const Finding host{u"vxcompress"_s,
                       Finding::Plain,
                       {u"%1, with Qt %2"_s.arg(QLatin1String(VXC_VERSION), QLatin1String(qVersion()))},
                       {{u"version"_s, QLatin1String(VXC_VERSION)}, {u"qt"_s, QLatin1String(qVersion())}}};
    const Finding terminal = terminalFinding();
    const QString place = Platform::temporaryFolder();
    PrivateFolder folder(place, PrivateFolder::kTemporary);
    const Finding temporary = temporaryFinding(place, folder);
    const Finding module = moduleFinding();

    std::optional<EncoderExam> exam;
    if (module.state == Finding::Ok && folder.isValid()) {
        // The module asks the system for the place.
        Platform::setTemporaryFolder(folder.path());
        exam.emplace(folder);
    } else {
        folder.remove();
    }
    int status = module.state == Finding::Bad ? kEncoderMissing : kDelivered;
    QList<Finding> findings{host, module};
    QJsonArray encoders;
    for (const Encoder* encoder : Formats::encoders()) {
        findings += EncoderExam::examine(*encoder, exam ? &*exam : nullptr);
        encoders += findings.constLast().facts;
        if (findings.constLast().state != Finding::Ok)
            status = kEncoderMissing;
    }
    findings += {temporary, terminal};
    if (temporary.state == Finding::Bad)
        status = kUsage;
    if (const int signal = Platform::Interrupts::first())
        return kInterruptedBase + signal;

    QJsonObject facts = host.facts;
    facts[u"type"_s] = u"doctor"_s;
    facts[u"status"_s] = status;
    facts[u"encoders"_s] = encoders;
    for (const Finding& finding : {module, temporary, terminal})
        facts[finding.label] = finding.facts;
    const QByteArray line = QJsonDocument(facts).toJson(QJsonDocument::Compact) + '\n';
    Platform::write(Platform::Channel::Output,
                    options.json ? QString::fromUtf8(line) : textOf(findings, options, status));
    return status;
}
