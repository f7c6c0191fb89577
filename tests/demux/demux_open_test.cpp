#include "demux/DemuxerFactory.h"
#include "demux/FFVobDemuxer.h"
#include "hostlibs/VantorBase.h"
#include "tests/demux/DemuxSupport.h"
#include "tests/support/TestFolder.h"

using namespace Vantor;
using namespace Qt::StringLiterals;

class DemuxOpenTest : public QObject
{
    Q_OBJECT

    RecordCapture mCapture;

private slots:
    void attempts_data();
    void attempts();
    void failureLeavesTheDemuxerUsable();
    void resourceFailures();
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
    QTest::addColumn<int>("error"); // of the last attempt

    const auto row = [](const char* fault, const char* source, const char* name, const char* format,
                        const QStringList& records, int error = 0) {
        QTest::newRow(fault) << source << name << format << records << error;
    };
    const auto said = [](const char* attempt, int result) {
        return QString::asprintf("%s, ret = %d", attempt, result);
    };
    constexpr int missing = AVERROR(ENOENT);
    constexpr int invalid = AVERROR_INVALIDDATA;
    const char* mp4 = "mov,mp4,m4a,3gp,3g2,mj2";
    const QStringList once{said("maybe specific format", 0)};
    const QStringList twice{said("maybe specific format", invalid), said("try add option", invalid)};
    const QString noInfo = u"---demux--- avformat_find_stream_info failed"_s;
    row("suffix in capitals", "ts.ts", "clip.TS", "mpegts", once);
    row("flv", "flv.flv", "clip.flv", "live_flv", once);
    row("name with a pattern", "mp4-moov-last.mp4", "a%03d.mp4", mp4, once);
    row("pictures without a decoder", "wmv3-tag.asf", "a.asf", "asf", once);
    row("forced format without streams", "mp4-moov-last.mp4", "a.ts", "", once + QStringList{noInfo});
    row("missing", "", "a.mp4", "", {said("maybe specific format", missing)}, missing);
    row("missing, forced format", "", "a.ts", "",
        {said("maybe specific format", missing), said("retry auto detected", missing)}, missing);
    row("garbage, fallback format", "garbage.mp4", "a.VOB", "",
        {twice.first(), said("try add option", 0), noInfo});
    for (const char* damaged : {"garbage.mp4", "empty.mp4", "truncated.mp4"})
        row(damaged, damaged, "a.mp4", "", twice, invalid);
    row("folder", "/", "a.mp4", "", {said("maybe specific format", AVERROR(EISDIR))}, AVERROR(EISDIR));
}

void DemuxOpenTest::attempts()
{
    QFETCH(const QString, source);
    QFETCH(const QString, name);
    QFETCH(const QString, format);
    QFETCH(QStringList, records);
    QFETCH(const int, error);
    const TestFolder folder;
    const QString path = folder.path(name);
    if (source == u'/')
        QVERIFY(QDir().mkdir(path));
    else if (!source.isEmpty())
        QVERIFY(QFile::copy(mediaPath(source), path));
    if (error != 0) {
        records << u"---demux--- avformat_open_input: %1: %2"_s.arg(error).arg(errorText(error))
                << u"---demux--- Could not open the file . fileSize :%1%2"_s.arg(QFileInfo(path).size())
                       .arg(path);
    }

    mCapture.take();
    FFDemuxer demuxer;
    QCOMPARE(demuxer.open(path), !format.isEmpty());
    QCOMPARE(mCapture.take(), records);
    QCOMPARE(demuxer.filePath(), format.isEmpty() ? QString() : path);
    const auto context = demuxer.formatContext();
    QCOMPARE(context ? QString::fromLatin1(context->iformat->name) : QString(), format);
}

void DemuxOpenTest::failureLeavesTheDemuxerUsable()
{
    const QString film = mediaPath("mp4-moov-first.mp4");
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(film));
    mCapture.take();
    QVERIFY(!demuxer.open(QString()));
    QCOMPARE(mCapture.take(), QStringList());
    QVERIFY2(demuxer.formatContext(), "an empty path changes nothing");

    QVERIFY(!demuxer.open(mediaPath("garbage.mp4")));
    QVERIFY(!demuxer.formatContext() && !demuxer.readPacket());
    QCOMPARE(demuxer.durationMs(), 0);
    QCOMPARE(demuxer.filePath(), film);

    QVERIFY(demuxer.open(mediaPath("ts.ts")));
    demuxer.formatContext()->duration = 1999;
    QCOMPARE(demuxer.durationMs(), 1);
    demuxer.formatContext()->duration = AV_NOPTS_VALUE;
    QCOMPARE(demuxer.durationMs(), 0);
    demuxer.close();
    QVERIFY(!demuxer.formatContext());
    QVERIFY(demuxer.open(film) && demuxer.readPacket());
}

// Each twice on one object, behind and before a good one: what is freed too often or never shows under the
// address sanitizer.
void DemuxOpenTest::resourceFailures()
{
    const QStringList names{u"mp4-moov-last.mp4"_s, u"truncated.mp4"_s, u"empty.mp4"_s, u"garbage.mp4"_s};
    const MediaResources resources(names);
    const QString good = u":/"_s + names.first();
    FFDemuxer demuxer;
    for (const QString& name : names) {
        const bool opens = name == names.first();
        QVERIFY(demuxer.open(good));
        mCapture.take();
        for (int i = 0; i < 2; ++i) {
            QCOMPARE(demuxer.open(u":/"_s + name), opens);
            QCOMPARE(demuxer.formatContext().isNull(), !opens);
            const QStringList records = mCapture.take();
            QCOMPARE(records.size(), opens ? 0 : 2);
            QVERIFY(opens || records.first().startsWith("---demux--- avformat_open_input: -"_L1));
        }
    }
    QVERIFY(demuxer.open(good));
    QVERIFY(!demuxer.open(u":/missing"_s));
    QCOMPARE(mCapture.take(), QStringList{u"mQrcFile->open failed."_s});
    QVERIFY2(demuxer.readPacket(), "a resource that isn't there leaves the open one readable");
}

void DemuxOpenTest::fileThatGrows()
{
    const QByteArray whole = TestFolder::read(mediaPath("ts.ts"));
    const TestFolder folder;
    qsizetype written = whole.size() / 2;
    QFile file(folder.write(u"grows.ts"_s, whole.left(written)));
    QVERIFY(file.open(QIODevice::Append | QIODevice::Unbuffered));
    FFDemuxer demuxer;
    QVERIFY(demuxer.open(file.fileName()));
    int count = 0;
    while (demuxer.readPacket()) {
        ++count;
        written += file.write(whole.mid(written, 10000));
    }
    QCOMPARE(written, whole.size());
    QVERIFY2(count > 100 && count < 1000, qPrintable(QString::number(count)));
}

void DemuxOpenTest::factory()
{
    auto& settings = VantorBaseEntry()->settings();
    const QString key = u"kVob_DeMux_Enabled"_s;
    const auto isVob = [](const char* path, bool forced) {
        const auto demuxer = createDemuxer(QString::fromLatin1(path), forced);
        return !demuxer->formatContext() && dynamic_cast<FFVobDemuxer*>(demuxer.data());
    };
    settings.clear();
    QVERIFY(!isVob("a.mp4", false) && isVob("a.VOB", true) && isVob("a.mp4", true));
    QVERIFY2(settings.isEmpty(), "only an unforced vob asks for the setting");
    QVERIFY(!isVob("a.VOB", false));
    QVERIFY(settings.contains(key) && !settings.value(key).isValid());
    settings.insert(key, true);
    QVERIFY(isVob("a.VOB", false) && !isVob("a.vob.mp4", false));
    settings.clear();
}

QTEST_GUILESS_MAIN(DemuxOpenTest)
#include "demux_open_test.moc"
