#include <QTest>

#include "host/Options.h"

/// What the command line means, and that a slip in it is told instead of guessed at.
class OptionsTest : public QObject
{
    Q_OBJECT

private slots:
    void refuses_data();
    void refuses();
    void understands_data();
    void understands();
    void tellsAboutItself();
};

static std::variant<Options, NoJob> parsed(const QString& line)
{
    return parseOptions(QStringLiteral("vxcompress %1").arg(line).split(u' '));
}

void OptionsTest::refuses_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("said");
    const auto row = [](const char* line, const char* said) {
        QTest::newRow(line) << QString::fromLatin1(line) << QString::fromLatin1(said);
    };
    row("a.jpg", "one input and one output");
    row("a.jpg b.jpg c.jpg", "one input and one output");
    row("a.jpg b.jpg --fast", "fast");
    row("a.jpg b", "suffix");
    row("a.jpg .jpg -q 101", "0 to 100");
    row("a.jpg b.jpg -q 101", "0 to 100");
    row("a.png b.PNG -q -1", "0 to 100");
    row("a.mp4 b.mp4 -q 52", "0 to 51");
    row("a.jpg b.webp -q 7o", "\"7o\"");
    row("a.jpg b.webp -q 7.5", "\"7.5\"");
    row("a.jpg b.webp --quality=", "\"\"");
    row("a.mp4 b.mp4 --size 0", "1 to 100");
    row("a.mp4 b.mp4 --size 101%", "1 to 100");
    row("a.mp4 b.mp4 --size 50%%", "1 to 100");
    row("a.mp4 b.mp4 --size 50 -q 20", "not both");
    row("a.mp4 b.mp4 --scale 3", "1, 2 or 4");
    row("a.mp4 b.jpg --size 50", "is for video");
    row("a.mp4 b.png --scale 2", "is for video");
    row("a.mp4 b.webp --estimate", "is for video");
}

void OptionsTest::refuses()
{
    QFETCH(QString, line);
    QFETCH(QString, said);
    const auto result = parsed(line);
    const auto* const noJob = std::get_if<NoJob>(&result);
    QVERIFY(noJob);
    QCOMPARE(noJob->status, kUsage);
    QVERIFY2(noJob->text.contains(said), qUtf8Printable(noJob->text));
    QVERIFY2(!noJob->text.contains(u'\n'), qUtf8Printable(noJob->text));
}

void OptionsTest::understands_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("quality");
    QTest::addColumn<bool>("isPercentage");
    QTest::newRow("every format has a quality of its own: JPEG") << "a b.jpeg"
                                                                 << "75" << false;
    QTest::newRow("every format has a quality of its own: PNG") << "a b.png"
                                                                << "80" << false;
    QTest::newRow("every format has a quality of its own: video") << "a b.mkv"
                                                                  << "28" << false;
    QTest::newRow("the ends of the range") << "a b.mp4 --quality 51"
                                           << "51" << false;
    QTest::newRow("options first") << "-q 0 a b.JPG"
                                   << "0" << false;
    QTest::newRow("a number in its plainest form") << "a b.jpg -q +007"
                                                   << "7" << false;
    QTest::newRow("a size with its sign") << "a b.mp4 --size 50%"
                                          << "50" << true;
    QTest::newRow("a size without") << "a b.mp4 --size=100"
                                    << "100" << true;
    QTest::newRow("names like options") << "-- -q -f.jpg"
                                        << "75" << false;
}

void OptionsTest::understands()
{
    QFETCH(QString, line);
    const auto result = parsed(line);
    const auto* const options = std::get_if<Options>(&result);
    QVERIFY(options);
    QTEST(options->quality, "quality");
    QTEST(options->isPercentage, "isPercentage");
}

void OptionsTest::tellsAboutItself()
{
    // Also when the rest of the line is not right.
    for (const char* line : {"--help", "a.jpg --help -q 7", "-v"}) {
        const auto result = parsed(QString::fromLatin1(line));
        const auto* const noJob = std::get_if<NoJob>(&result);
        QVERIFY(noJob);
        QCOMPARE(noJob->status, kDelivered);
        QVERIFY(noJob->text.contains(QStringLiteral("vxcompress")));
    }
}

QTEST_APPLESS_MAIN(OptionsTest)
#include "options_test.moc"
