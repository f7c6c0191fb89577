#include <QTest>

#include "host/cli/CommandLine.h"
#include "host/output/Figures.h"
#include "host/output/ResultText.h"
#include "host/run/Slots.h"
#include "host/system/NativePath.h"
#include "host/system/PathText.h"

using namespace Qt::StringLiterals;

/// What users' words mean, the figures that users read, and what is decided without a file.
class HostPartsTest : public QObject
{
    Q_OBJECT

private slots:
    void aims();
    void figures();
    void names();
    void words();
    void room();
};

static QString aimOf(const QString& line)
{
    const auto result = CommandLine().parse(line.split(u' '));
    const auto* const options = std::get_if<Options>(&result);
    if (!options)
        return u"none"_s;
    if (options->size)
        return u"%1B"_s.arg(options->size->bytesFor(100'000'000));
    return QString::number(qualityFor(*options, *Formats::ofSuffix(NativePath::suffix(options->output))));
}

void HostPartsTest::aims()
{
    // Behind the aim the line that means it.
    for (const char* row : {"75 a b.jpeg", "80 a b.png", "28 a b.mkv", "0 -q 0 a b.JPG", "7 -q+007 a b.jpg",
                            "50000000B a b.mp4 --size 50%", "8000000B a b.mp4 --size=8MB",
                            "1536B a b.jpg --size 1.5KiB", "none a b.jpg --size 101"})
        QCOMPARE(aimOf(QString::fromLatin1(row)), QString::fromLatin1(row).section(u' ', 0, 0));
}

void HostPartsTest::figures()
{
    // Rounded up to the next digit, to the next unit.
    QCOMPARE(sizeText(9996), u"10.0 kB"_s);
    QCOMPARE(sizeText(999600), u"1.00 MB"_s);
    QCOMPARE(savingText(1000, 337), u"saved 66.3 %"_s);
    QCOMPARE(savingText(1000, 1120), u"12.0 % larger"_s);
    // Bytes before, and at least and at most after.
    const std::tuple<qint64, SizeRange, QString> ranges[] = {
        {1000, {480, 600}, u"saves 40 to 52 %"_s},
        {1000, {1100, 1250}, u"10 to 25 % larger"_s},
        {1000, {900, 1250}, u"from 10 % smaller to 25 % larger"_s},
        {1000, {250, 250}, u"saved 75.0 %"_s}};
    for (const auto& [before, after, text] : ranges)
        QCOMPARE(savingText(before, after), text);
    QCOMPARE(rangeText({1500, 2500}), u"1.50 kB to 2.50 kB"_s);
    QCOMPARE(secondsText(3250), u"3.25 s"_s);
    QCOMPARE(secondsText(100400), u"1:40"_s);
    // Too early to tell, then nothing to divide by, then a video of unknown length.
    QCOMPARE(progressText(0.5, 999, 60000), u"50 %"_s);
    QCOMPARE(progressText(0.0, 9000, 60000), u"0 %"_s);
    QCOMPARE(progressText(0.25, 10000, 80000), u"25 %, 2.0x, 0:30 left"_s);
    QCOMPARE(progressText(0.01, 60000, 0), u"1 %, 1:39:00 left"_s);
}

void HostPartsTest::names()
{
#ifndef Q_OS_WIN
    // Any bytes there and back: a letter cut short, and a surrogate, which UTF-8 has not.
    for (const QByteArray name :
         {"plain \xc3\xa9 \xf0\x9f\x8e\x9e", "\xc3", "a\xed\xb2\x80z", "\xff\xfe\x80"}) {
        QCOMPARE(NativePath::toBytes(NativePath::fromBytes(name)), name);
        QCOMPARE(NativePath::isPlain(NativePath::fromBytes(name)), name.startsWith("plain"));
    }
    QCOMPARE(shown(NativePath::fromBytes("a\xff\n\u202e")), u"a\\xff\\n\\u{202e}"_s);
#endif
    QCOMPARE(shellWord(u"it's"_s), u"'it'\\''s'"_s);
    QCOMPARE(shellWord(u"a\n'"_s), u"$'a\\n\\''"_s);
    QCOMPARE(cutTo(u"\u4e2d\u6587\u4e2d\u6587\u4e2d"_s, 9), u"\u4e2d\u6587\u4e2d..."_s);
    QCOMPARE(cutTo(u"folder/name.mov"_s, 11, Keep::End), u"...name.mov"_s);
}

void HostPartsTest::words()
{
    // Names into which more could be read than they say, and one of bytes that are no text.
    for (const QString& name :
         {u"[a,b]"_s, u"{}"_s, u"%%"_s, u"++"_s, u"=a"_s, u"a=b"_s, u":a%0041"_s, u"report"_s, u"a b\n"_s,
          u"\u00e9"_s, u"\U0001f39e"_s, QString(QChar(0xdcff))}) {
        for (const QStringList& words :
             {QStringList{u"-o"_s, name}, QStringList{u"-ro"_s + name.mid(name[0] == u'=')},
              QStringList{u"-o="_s + name}, QStringList{u"--output="_s + name}}) {
            const auto request = CommandLine().parse(QStringList{u"vxcompress"_s, u"a"_s, name} + words +
                                                     QStringList{u"--"_s, u'-' + name});
            const auto* const options = std::get_if<Options>(&request);
            QVERIFY2(options, qPrintable(words.join(u' ')));
            QCOMPARE(options->inputs, (QStringList{u"a"_s, name, u'-' + name}));
            QCOMPARE(options->output, options->recursive ? name.mid(name[0] == u'=') : name);
        }
    }
}

void HostPartsTest::room()
{
    // cores, videos side by side, images that may pass a waiting video
    const int rows[][3] = {{1, 1, 0}, {2, 2, 0}, {4, 2, 0}, {8, 2, 2}, {12, 3, 0}, {64, 2, 20}};
    for (const auto& [cores, videos, passing] : rows) {
        Slots room(cores, 0);
        int begun = 0;
        for (; room.hasRoomFor(true); ++begun)
            room.take(true);
        int passed = 0;
        for (; room.mayOvertake(); ++passed)
            room.take(false);
        QCOMPARE(qMakePair(begun, passed), qMakePair(videos, passing));
        // Images alone: as many as there are cores, and as many as are requested.
        for (const int requested : {0, 3}) {
            Slots alone(cores, requested);
            int images = 0;
            for (; alone.hasRoomFor(false); ++images)
                alone.take(false);
            QCOMPARE(images, requested > 0 ? requested : cores + 1);
            QVERIFY(!alone.hasRoomFor(true));
        }
    }
}

QTEST_APPLESS_MAIN(HostPartsTest)
#include "host_parts_test.moc"
