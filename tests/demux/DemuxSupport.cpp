#include "tests/demux/DemuxSupport.h"

#include <QFile>
#include <QLibraryInfo>
#include <QProcess>
#include <QResource>
#include <QTemporaryFile>

#include "hostlibs/VantorBaseStandIn.h"

using namespace Vantor;
using namespace Qt::StringLiterals;

QString mediaPath(QAnyStringView name)
{
    const QString path = qEnvironmentVariable("VXC_TEST_MEDIA") + u'/' + name.toString();
    if (!QFile::exists(path))
        qFatal("no %s: run ctest, which makes the sources", qPrintable(path));
    return path;
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

MediaResources::MediaResources(const QStringList& names)
{
    QTemporaryFile list;
    if (!list.open())
        qFatal("no resource list");
    list.write("<RCC><qresource>");
    for (const QString& name : names)
        list.write(u"<file alias=\"%1\">%2</file>"_s.arg(name, mediaPath(name).toHtmlEscaped()).toUtf8());
    list.write("</qresource></RCC>");
    list.close();
    QProcess rcc;
    rcc.start(QLibraryInfo::path(QLibraryInfo::LibraryExecutablesPath) + "/rcc"_L1,
              {u"--binary"_s, u"--no-compress"_s, list.fileName()});
    rcc.waitForFinished();
    mContent = rcc.readAllStandardOutput();
    if (!QResource::registerResource(reinterpret_cast<const uchar*>(mContent.constData())))
        qFatal("no resources");
}

MediaResources::~MediaResources()
{
    QResource::unregisterResource(reinterpret_cast<const uchar*>(mContent.constData()));
}
