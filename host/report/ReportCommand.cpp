#include "host/report/ReportCommand.h"

#include <QFile>

#include <cstdio>

#include "host/job/ExitStatus.h"
#include "host/report/Report.h"
#include "host/report/StreamTally.h"
#include "host/system/NativePath.h"
#include "host/system/PathText.h"
#include "host/system/Platform.h"
#include "host/system/PlatformFiles.h"
#include "host/system/PrivateFolder.h"

using namespace Qt::StringLiterals;

namespace {

// A line of a stream has some names in it at most.
constexpr qint64 kMaxLineBytes = qint64(1) << 20;

// Returns what is wrong.
QString read(const QString& path, StreamTally& tally)
{
    QFile file;
    QString reason;
    bool isOpen = false;
    if (path == "-"_L1) {
        isOpen = file.open(stdin, QIODevice::ReadOnly);
    } else {
        const int opened = Platform::openForReading(path, reason);
        isOpen = opened >= 0 && file.open(opened, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    }
    if (!isOpen)
        return u"cannot read %1: %2"_s.arg(shown(path), reason.isEmpty() ? file.errorString() : reason);
    qint64 lines = 0;
    qint64 understood = 0;
    for (QByteArray line = file.readLine(kMaxLineBytes); !line.isEmpty();
         line = file.readLine(kMaxLineBytes)) {
        ++lines;
        understood += tally.addLine(line);
    }
    tally.endStream();
    if (file.error() != QFileDevice::NoError)
        return u"cannot read %1: %2"_s.arg(shown(path), file.errorString());
    // A run that was killed at once has written nothing.
    if (lines > 0 && understood == 0)
        return u"%1 is no stream of vxcompress --json"_s.arg(shown(path));
    return {};
}

// In one step: a browser may have the page open.
QString write(const QString& path, const QByteArray& content)
{
    PrivateFolder folder(NativePath::folder(NativePath::absolute(path)), PrivateFolder::kBesideOutput);
    if (!folder.isValid())
        return folder.errorString();
    const QString made = folder.newPath(u"html"_s);
    QFile file(NativePath::toNative(made));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush())
        return file.errorString();
    file.close();
    return Platform::rename(made, path, true);
}

int refuse(const QString& text)
{
    Platform::write(Platform::Channel::Error, "vxcompress: "_L1 + text + u'\n');
    return kUsage;
}

} // namespace

int runReport(const ReportOptions& options)
{
    StreamTally tally;
    for (const QString& file : options.files) {
        const QString error = read(file, tally);
        if (!error.isEmpty())
            return refuse(error);
    }
    const Findings sum = tally.findings();
    if (!options.html.isEmpty()) {
        const QString error = write(options.html, reportHtml(sum).toUtf8());
        if (!error.isEmpty())
            return refuse(u"cannot write %1: %2"_s.arg(shown(options.html), error));
    }
    Platform::write(Platform::Channel::Output,
                    options.json ? QString::fromUtf8(reportJson(sum)) : reportText(sum));
    return kDelivered;
}
