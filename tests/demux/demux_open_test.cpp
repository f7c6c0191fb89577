#include <QRegularExpression>

#include "demux/DemuxerFactory.h"
#include "demux/FFVobDemuxer.h"
#include "demux/MediaDescription.h"
#include "hostlibs/AvBridge.h"
#include "hostlibs/VantorBase.h"
#include "tests/demux/DemuxSupport.h"
#include "tests/support/TestFolder.h"

using namespace Vantor;

namespace {

const QString kNoFile = QString::number(AVERROR(ENOENT));
const QString kInvalid = QString::number(AVERROR_INVALIDDATA);

QString first(const QString& result)
{
    return QStringLiteral("maybe specific format, ret = ") + result;
}

QString retry(const QString& result)
{
    return QStringLiteral("retry auto detected, ret = ") + result;
}

QString withOptions(const QString& result)
{
    return QStringLiteral("try add option, ret = ") + result;
}

QString failed(int error)
{
    return QStringLiteral("---demux--- avformat_open_input: %1: %2").arg(error).arg(errorText(error));
}

const QString kNoInfo = QStringLiteral("---demux--- avformat_find_stream_info failed");

} // namespace

class DemuxOpenTest : public QObject
{
    Q_OBJECT

private slots:
    void attempts_data();
    void attempts();
    void failureLeavesTheDemuxerUsable();
    void resourceEqualsItsFile_data();
    void resourceEqualsItsFile();
    void resourceFailures_data();
    void resourceFailures();
    void contextOutlivesItsDemuxer();
    void fileThatGrows();
    void factory();
};

// The source is copied under the name, in a folder with odd letters.
void DemuxOpenTest::attempts_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("format"); // empty: it doesn't open
    QTest::addColumn<QStringList>("records");

    const QString ok = QStringLiteral("0");
    const QString none;
    QTest::newRow("detected") << "mp4-moov-last.mp4"
                              << "a.mp4"
                              << "mov,mp4,m4a,3gp,3g2,mj2" << QStringList{first(ok)};
    QTest::newRow("suffix in capitals") << "ts.ts"
                                        << "clip.TS"
                                        << "mpegts" << QStringList{first(ok)};
    QTest::newRow("flv") << "flv.flv"
                         << "clip.flv"
                         << "live_flv" << QStringList{first(ok)};
    QTest::newRow("wrong suffix") << "ts.ts"
                                  << "clip.mp4"
                                  << "mpegts" << QStringList{first(ok)};
    QTest::newRow("name with a pattern") << "mp4-moov-last.mp4"
                                         << "a%03d.mp4"
                                         << "mov,mp4,m4a,3gp,3g2,mj2" << QStringList{first(ok)};
    QTest::newRow("pictures without a decoder") << "wmv3-tag.asf"
                                                << "a.asf"
                                                << "asf" << QStringList{first(ok)};
    QTest::newRow("forced format without streams") << "mp4-moov-last.mp4"
                                                   << "a.ts" << none << QStringList{first(ok), kNoInfo};
    QTest::newRow("missing") << none << "a.mp4" << none
                             << QStringList{first(kNoFile), failed(AVERROR(ENOENT))};
    QTest::newRow("missing, forced format")
        << none << "a.ts" << none << QStringList{first(kNoFile), retry(kNoFile), failed(AVERROR(ENOENT))};
    QTest::newRow("garbage") << "garbage.mp4"
                             << "a.mp4" << none
                             << QStringList{first(kInvalid), withOptions(kInvalid),
                                            failed(AVERROR_INVALIDDATA)};
    QTest::newRow("garbage, fallback format")
        << "garbage.mp4"
        << "a.VOB" << none << QStringList{first(kInvalid), withOptions(ok), kNoInfo};
    QTest::newRow("empty") << "empty.mp4"
                           << "a.mp4" << none
                           << QStringList{first(kInvalid), withOptions(kInvalid),
                                          failed(AVERROR_INVALIDDATA)};
    QTest::newRow("truncated") << "truncated.mp4"
                               << "a.mp4" << none
                               << QStringList{first(kInvalid), withOptions(kInvalid),
                                              failed(AVERROR_INVALIDDATA)};
    QTest::newRow("folder") << "/"
                            << "a.mp4" << none
                            << QStringList{first(QString::number(AVERROR(EISDIR))), failed(AVERROR(EISDIR))};
}

void DemuxOpenTest::attempts()
{
    QFETCH(const QString, source);
    QFETCH(const QString, name);
    QFETCH(const QString, format);
    QFETCH(QStringList, records);
    const TestFolder folder;
    const QString path = folder.path(name);
    if (source == u'/')
        QVERIFY(QDir().mkdir(path));
    else if (!source.isEmpty())
        QVERIFY(QFile::copy(mediaPath(source), path));
    if (records.last().contains(QLatin1String("open_input"))) {
        records.append(QStringLiteral("---demux--- Could not open the file . fileSize :%1%2")
                           .arg(QFileInfo(path).size())
                           .arg(path));
    }

    RecordCapture capture;
    FFDemuxer demuxer;
    QCOMPARE(demuxer.open(path), !format.isEmpty());
    QCOMPARE(capture.take(), records);
    QCOMPARE(demuxer.filePath(), format.isEmpty() ? QString() : path);
    QCOMPARE(demuxer.formatContext().isNull(), format.isEmpty());
    if (!format.isEmpty())
        QCOMPARE(QString::fromLatin1(demuxer.formatContext()->iformat->name), format);
}

void DemuxOpenTest::failureLeavesTheDemuxerUsable()
{
    RecordCapture capture;
    const QString film = mediaPath(QStringLiteral("mp4-moov-first.mp4"));
    const QString other = mediaPath(QStringLiteral("ts.ts"));
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(film));
    capture.take();

    QVERIFY(!demuxer.open(QString()));
    QCOMPARE(capture.take(), QStringList());
    QVERIFY2(demuxer.formatContext(), "an empty path changes nothing");

    QVERIFY(!demuxer.open(mediaPath(QStringLiteral("garbage.mp4"))));
    QVERIFY(!demuxer.formatContext());
    QVERIFY(!describeMedia(demuxer));
    QVERIFY(!demuxer.readPacket());
    QCOMPARE(demuxer.durationMs(), 0);
    QCOMPARE(demuxer.filePath(), film);

    QVERIFY(demuxer.open(other));
    QCOMPARE(demuxer.filePath(), other);
    demuxer.formatContext()->duration = 1999;
    QCOMPARE(demuxer.durationMs(), 1);
    demuxer.formatContext()->duration = AV_NOPTS_VALUE;
    QCOMPARE(demuxer.durationMs(), 0);

    demuxer.close();
    QVERIFY(!demuxer.formatContext());
    QCOMPARE(demuxer.filePath(), other);
    QVERIFY(demuxer.open(film));
    QVERIFY(demuxer.readPacket());
}

void DemuxOpenTest::resourceEqualsItsFile_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name :
         {"mp4-moov-first.mp4", "mp4-moov-last.mp4", "mp4-fragmented.mp4", "cover-before.mp4",
          "subs-mixed.mkv", "live.mkv", "cover.mp3", "wmv-2.wmv", "wmv-many.wmv", "ts.ts", "flv.flv",
          "avi.avi", "raw.h264", "vob-chain.vob", "truncated-moov-first.mp4"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void DemuxOpenTest::resourceEqualsItsFile()
{
    QFETCH(const QString, name);
    const RecordCapture capture;
    const MediaResources resources({{name, mediaPath(name)}});
    FFDemuxer file;
    FFDemuxer resource;
    QVERIFY(file.open(mediaPath(name)));
    QVERIFY(resource.open(QStringLiteral(":/") + name));
    QCOMPARE(resource.formatContext()->nb_streams, file.formatContext()->nb_streams);

    const QList<Packet> expected = readAll(file);
    QVERIFY(expected.size() > 1);
    const QList<Packet> packets = readAll(resource);
    QCOMPARE(packets.size(), expected.size());
    for (qsizetype i = 0; i < packets.size(); ++i)
        QVERIFY2(packets.at(i) == expected.at(i), qPrintable(QStringLiteral("packet %1").arg(i)));

    // Back to the start, which leaves the end that reading met.
    file.seek(0, 0);
    resource.seek(0, 0);
    const auto packet = resource.readPacket();
    const auto again = file.readPacket();
    QCOMPARE(packet.isNull(), again.isNull());
    if (packet)
        QCOMPARE(packet->pos, again->pos);
}

void DemuxOpenTest::resourceFailures_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<bool>("opens");
    QTest::newRow("good") << "mp4-moov-last.mp4" << true;
    QTest::newRow("truncated") << "truncated.mp4" << false;
    QTest::newRow("empty") << "empty.mp4" << false;
    QTest::newRow("garbage") << "garbage.mp4" << false;
}

// Each twice on one object, behind and before a good one: what is freed too often or never shows under the
// address sanitizer.
void DemuxOpenTest::resourceFailures()
{
    QFETCH(const QString, source);
    QFETCH(const bool, opens);
    RecordCapture capture;
    const MediaResources resources({{QStringLiteral("it"), mediaPath(source)},
                                    {QStringLiteral("good"), mediaPath(QStringLiteral("ts.ts"))}});
    FFDemuxer demuxer;
    for (int round = 0; round < 2; ++round) {
        QVERIFY(demuxer.open(QStringLiteral(":/good")));
        capture.take();
        for (int i = 0; i < 2; ++i) {
            QCOMPARE(demuxer.open(QStringLiteral(":/it")), opens);
            QCOMPARE(demuxer.formatContext().isNull(), !opens);
            const QStringList records = capture.take();
            QCOMPARE(records.size(), opens ? 0 : 2);
            if (!opens)
                QVERIFY(records.first().startsWith(QLatin1String("---demux--- avformat_open_input: ")));
        }
    }

    QVERIFY(demuxer.open(QStringLiteral(":/good")));
    capture.take();
    QVERIFY(!demuxer.open(QStringLiteral(":/missing")));
    QCOMPARE(capture.take(), QStringList{QStringLiteral("mQrcFile->open failed.")});
    QVERIFY2(demuxer.readPacket(), "a resource that isn't there leaves the open one readable");
}

void DemuxOpenTest::contextOutlivesItsDemuxer()
{
    const RecordCapture capture;
    const MediaResources resources({{QStringLiteral("it"), mediaPath(QStringLiteral("ts.ts"))}});
    QSharedPointer<AVFormatContext> context;
    {
        FFDemuxer demuxer;
        QVERIFY(demuxer.open(QStringLiteral(":/it")));
        context = demuxer.formatContext();
    }
    int count = 0;
    for (auto packet = makeAVPacketPtr(av_packet_alloc()); av_read_frame(context.data(), packet.data()) >= 0;
         av_packet_unref(packet.data()))
        ++count;
    QVERIFY(count > 200);
}

void DemuxOpenTest::fileThatGrows()
{
    const RecordCapture capture;
    const QByteArray whole = TestFolder::read(mediaPath(QStringLiteral("ts.ts")));
    const TestFolder folder;
    const QString path = folder.write(QStringLiteral("grows.ts"), whole.left(whole.size() / 2));
    const auto append = [&path](const QByteArray& more) {
        QFile file(path);
        return file.open(QIODevice::Append) && file.write(more) == more.size();
    };
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(path));
    qsizetype written = whole.size() / 2;
    int count = 0;
    while (demuxer.readPacket()) {
        ++count;
        const QByteArray more = whole.mid(written, 10000);
        QVERIFY(append(more));
        written += more.size();
    }
    QVERIFY(count > 100);
    QVERIFY(count < 1000);
}

void DemuxOpenTest::factory()
{
    auto& settings = VantorBaseEntry()->settings();
    const QString key = QStringLiteral("kVob_DeMux_Enabled");
    const auto isVob = [](const QString& path, bool forced) {
        const auto demuxer = createDemuxer(path, forced);
        return !demuxer->formatContext() && dynamic_cast<FFVobDemuxer*>(demuxer.data());
    };
    settings.clear();
    QVERIFY(!isVob(QStringLiteral("a.mp4"), false));
    QVERIFY(isVob(QStringLiteral("a.VOB"), true));
    QVERIFY2(settings.isEmpty(), "only an unforced vob asks for the setting");
    QVERIFY(!isVob(QStringLiteral("a.VOB"), false));
    QVERIFY(settings.contains(key) && !settings.value(key).isValid());
    settings.insert(key, true);
    QVERIFY(isVob(QStringLiteral("a.VOB"), false));
    QVERIFY(!isVob(QStringLiteral("a.vob.mp4"), false));
    QVERIFY(isVob(QStringLiteral("a.mp4"), true));
    settings.clear();
}

QTEST_GUILESS_MAIN(DemuxOpenTest)
#include "demux_open_test.moc"
