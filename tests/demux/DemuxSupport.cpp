#include "tests/demux/DemuxSupport.h"

#include <QFile>
#include <QJsonDocument>
#include <QLibraryInfo>
#include <QProcess>
#include <QResource>
#include <QTemporaryDir>

#include "hostlibs/VantorBaseStandIn.h"

using namespace Vantor;

namespace {

QByteArray outputOf(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        qFatal("%s: %s", qPrintable(program), process.readAllStandardError().constData());
    return process.readAllStandardOutput();
}

} // namespace

QString mediaPath(const QString& name)
{
    const QString folder = qEnvironmentVariable("VXC_TEST_MEDIA");
    QString path = folder + u'/' + name;
    if (folder.isEmpty() || !QFile::exists(path))
        qFatal("no %s: run ctest, which makes the sources", qPrintable(path));
    return path;
}

QJsonObject ffprobe(const QString& path, const QStringList& arguments)
{
    QStringList all{QStringLiteral("-v"), QStringLiteral("quiet"), QStringLiteral("-of"),
                    QStringLiteral("json")};
    all += arguments;
    all += path;
    return QJsonDocument::fromJson(outputOf(QStringLiteral("ffprobe"), all)).object();
}

RecordCapture::RecordCapture()
{
    setRecordSink([this](const Record& record) {
        const bool isDemuxer = qstrcmp(record.file(), "FFDemuxer") == 0;
        (isDemuxer ? mTexts : mFFmpegLines).append(record.text());
    });
}

RecordCapture::~RecordCapture()
{
    setRecordSink({});
}

QList<Packet> readAll(FFDemuxer& demuxer)
{
    QList<Packet> packets;
    while (const auto packet = demuxer.readPacket()) {
        packets.append({packet->stream_index, packet->pts, packet->dts, packet->duration, packet->pos,
                        QByteArray(reinterpret_cast<const char*>(packet->data), packet->size)});
    }
    return packets;
}

MediaResources::MediaResources(const QMap<QString, QString>& files)
{
    const QTemporaryDir folder;
    QFile list(folder.filePath(QStringLiteral("list.qrc")));
    if (!list.open(QIODevice::WriteOnly))
        qFatal("no resource list");
    list.write("<RCC><qresource>");
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        list.write(QStringLiteral("<file alias=\"%1\">%2</file>")
                       .arg(file.key().toHtmlEscaped(), file.value().toHtmlEscaped())
                       .toUtf8());
    }
    list.write("</qresource></RCC>");
    list.close();
    mContent = outputOf(QLibraryInfo::path(QLibraryInfo::LibraryExecutablesPath) + QLatin1String("/rcc"),
                        {QStringLiteral("--binary"), QStringLiteral("--no-compress"), list.fileName()});
    if (!QResource::registerResource(reinterpret_cast<const uchar*>(mContent.constData())))
        qFatal("no resources");
}

MediaResources::~MediaResources()
{
    QResource::unregisterResource(reinterpret_cast<const uchar*>(mContent.constData()));
}
