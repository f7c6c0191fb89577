#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

#include "tests/host/HostRun.h"
#include "tests/support/FakeEncoder.h"

using namespace Qt::StringLiterals;

/// However vxcompress ends, nothing outlives it and nothing half done is to be seen. Its encoders are fakes
/// that do what they are told.
class VxcompressEndTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void interrupted_data();
    void interrupted();
    void anInterruptThatTheEncoderGetsToo();
    void nohupKeepsItRunning();
    void encoderUnusable_data();
    void encoderUnusable();
    void encoderEndsWithoutAWholeResult();

private:
    std::unique_ptr<TestFolder> mFolder;
    std::unique_ptr<FakeEncoder> mEncoder;
    QStringList mBefore;
};

void VxcompressEndTest::init()
{
    mFolder = std::make_unique<TestFolder>();
    mEncoder = std::make_unique<FakeEncoder>();
    mFolder->write(u"photo.png"_s, QByteArray(1000, 'p'));
    for (const char* name : {"out.jpg", "out.png", "out.webp"})
        mFolder->write(QString::fromLatin1(name), "old");
    mBefore = contentsOf(*mFolder);
}

void VxcompressEndTest::cleanup()
{
    mEncoder.reset();
    mFolder.reset();
}

void VxcompressEndTest::interrupted_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QList<int>>("numbers");
    QTest::addColumn<int>("status");
#ifndef Q_OS_WIN
    // From an impatient user.
    QTest::newRow("Ctrl-C") << u"out.png"_s << QList<int>{SIGINT, SIGINT} << 128 + SIGINT;
    QTest::newRow("closed terminal") << u"out.jpg"_s << QList<int>{SIGHUP} << 128 + SIGHUP;
    QTest::newRow("termination") << u"out.webp"_s << QList<int>{SIGTERM} << 128 + SIGTERM;
#endif
#ifdef Q_OS_LINUX
    QTest::newRow("killed outright") << u"out.webp"_s << QList<int>{SIGKILL} << -1;
#endif
}

void VxcompressEndTest::interrupted()
{
#ifdef Q_OS_WIN
    QSKIP("no numbers here");
#else
    QFETCH(QString, output);
    QFETCH(QList<int>, numbers);
    QFETCH(int, status);
    mEncoder->hang();
    HostRun host(*mFolder);
    host.start({u"photo.png"_s, output, u"-f"_s});
    QTRY_COMPARE(mEncoder->writtenCount(), 1);
    for (const int signal : numbers)
        host.sendSignal(signal);
    QVERIFY(host.waitForEnd());
    QCOMPARE(host.status(), status);
    QCOMPARE(host.output(), QString());
    QTRY_VERIFY(mEncoder->allGone());
    // A killed program cannot tidy up.
    if (status < 0)
        QCOMPARE(TestFolder::read(mFolder->path(output)), QByteArray("old"));
    else
        QCOMPARE(contentsOf(*mFolder), mBefore);
#endif
}

void VxcompressEndTest::anInterruptThatTheEncoderGetsToo()
{
#ifdef Q_OS_WIN
    QSKIP("no signals here");
#else
    // The encoder has done its work well and ends of itself, just when the interrupt comes.
    mEncoder->delay(300);
    HostRun host(*mFolder);
    host.start(words("photo.png out.webp -f"));
    QTRY_COMPARE(mEncoder->runs().size(), 1);
    // While the host is stopped both happen.
    host.sendSignal(SIGSTOP);
    host.sendSignal(SIGINT);
    QTRY_COMPARE(mEncoder->writtenCount(), 1);
    host.sendSignal(SIGCONT);
    QVERIFY(host.waitForEnd());
    QCOMPARE(host.status(), 128 + SIGINT);
    QCOMPARE(contentsOf(*mFolder), mBefore);
#endif
}

void VxcompressEndTest::nohupKeepsItRunning()
{
#ifdef Q_OS_WIN
    QSKIP("no signals here");
#else
    mEncoder->delay(200);
    HostRun host(*mFolder);
    host.start(words("photo.png out.webp -f"), {.ignoredSignal = SIGHUP});
    QTRY_COMPARE(mEncoder->runs().size(), 1);
    host.sendSignal(SIGHUP);
    QVERIFY(host.waitForEnd());
    QCOMPARE(host.status(), 0);
#endif
}

void VxcompressEndTest::encoderUnusable_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("said");
    QTest::newRow("missing") << 3 << u"cJpeg is missing"_s;
#ifndef Q_OS_WIN
    QTest::newRow("no program") << 1 << u"cJpeg could not be started"_s;
#endif
}

void VxcompressEndTest::encoderUnusable()
{
    QFETCH(int, status);
    QFETCH(QString, said);
    // The host in a folder of its own.
    const QDir beside(QCoreApplication::applicationDirPath());
    const QTemporaryDir bin(beside.filePath(u"lame-XXXXXX"_s));
    for (const QFileInfo& file : beside.entryInfoList({u"vxcompress*"_s, u"*VxCompressor.*"_s}, QDir::Files))
        QFile::copy(file.filePath(), bin.filePath(file.fileName()));
    QFile tool(bin.filePath(u"cJpeg"_s));
    QVERIFY(status == 3 || tool.open(QIODevice::WriteOnly));
    HostRun host(*mFolder, bin.path());
    QVERIFY(host.run(words("photo.png out.jpg -f")));
    QCOMPARE(host.status(), status);
    QVERIFY2(host.error().contains(said), qUtf8Printable(host.error()));
    QVERIFY2(host.error().contains("scripts/setup"_L1), qUtf8Printable(host.error()));
    QCOMPARE(contentsOf(*mFolder), mBefore);
}

void VxcompressEndTest::encoderEndsWithoutAWholeResult()
{
    // The output, how the encoder ends, and what it writes.
    for (const char* line : {"out.jpg exit none", "out.webp exit empty", "out.png crash half"}) {
        const QStringList end = words(line);
        mEncoder->set("FAKE_END", end.at(1).toLatin1()).write(end.at(2).toLatin1());
        HostRun host(*mFolder);
        QVERIFY(host.run({u"photo.png"_s, end.at(0), u"-f"_s}));
        QVERIFY2(host.status() == 1 && host.output().isEmpty(), line);
        QCOMPARE(host.error().count(u'\n'), 1);
        QCOMPARE(contentsOf(*mFolder), mBefore);
    }
}

QTEST_GUILESS_MAIN(VxcompressEndTest)
#include "vxcompress_end_test.moc"
