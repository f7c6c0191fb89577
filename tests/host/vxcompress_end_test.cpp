#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

#include "tests/host/HostRun.h"
#include "tests/support/FakeEncoder.h"

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
    void anIgnoredInterruptStaysIgnored();
    void killedOutright();
    void encoderUnusable_data();
    void encoderUnusable();
    void encoderEnds_data();
    void encoderEnds();

private:
    /// The state that every end but a delivery leaves: the files as they were.
    void verifyNothingChanged() const;

    std::unique_ptr<TestFolder> mFolder;
    std::unique_ptr<FakeEncoder> mEncoder;
};

void VxcompressEndTest::init()
{
    mFolder = std::make_unique<TestFolder>();
    mEncoder = std::make_unique<FakeEncoder>();
    mFolder->write(QStringLiteral("photo.png"), QByteArray(1000, 'p'));
    for (const char* name : {"out.jpg", "out.png", "out.webp"})
        mFolder->write(QString::fromLatin1(name), "old");
}

void VxcompressEndTest::cleanup()
{
    mEncoder.reset();
    mFolder.reset();
}

void VxcompressEndTest::verifyNothingChanged() const
{
    QCOMPARE(filesIn(*mFolder), QStringList({QStringLiteral("out.jpg"), QStringLiteral("out.png"),
                                             QStringLiteral("out.webp"), QStringLiteral("photo.png")}));
    for (const char* name : {"out.jpg", "out.png", "out.webp"})
        QCOMPARE(TestFolder::read(mFolder->path(QString::fromLatin1(name))), QByteArray("old"));
    QCOMPARE(TestFolder::read(mFolder->path(QStringLiteral("photo.png"))), QByteArray(1000, 'p'));
    QCOMPARE(mFolder->leftovers(), QStringList());
    QTRY_VERIFY(mEncoder->allGone());
}

void VxcompressEndTest::interrupted_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<int>("signal");
    QTest::newRow("Ctrl-C, JPEG") << "out.jpg" << SIGINT;
    QTest::newRow("Ctrl-C, PNG") << "out.png" << SIGINT;
    QTest::newRow("Ctrl-C, WebP") << "out.webp" << SIGINT;
    QTest::newRow("termination") << "out.webp" << SIGTERM;
#ifndef Q_OS_WIN
    QTest::newRow("closed terminal") << "out.jpg" << SIGHUP;
#endif
}

void VxcompressEndTest::interrupted()
{
#ifdef Q_OS_WIN
    QSKIP("no signals here");
#endif
    QFETCH(QString, output);
    QFETCH(int, signal);
    mEncoder->hang();
    HostRun host(*mFolder);
    host.start({QStringLiteral("photo.png"), output, QStringLiteral("-f")});
    QTRY_COMPARE(mEncoder->writtenCount(), 1);
    host.sendSignal(signal);
    // An impatient user.
    host.sendSignal(signal);
    QVERIFY(host.waitForEnd());
    QCOMPARE(host.status(), 128 + signal);
    QCOMPARE(host.output(), QString());
    verifyNothingChanged();
}

void VxcompressEndTest::anInterruptThatTheEncoderGetsToo()
{
#ifdef Q_OS_WIN
    QSKIP("no signals here");
#else
    // The encoder has done its work well and ends of itself, just when the interrupt comes.
    mEncoder->set("FAKE_DELAY_MS", "300");
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
    verifyNothingChanged();
#endif
}

void VxcompressEndTest::anIgnoredInterruptStaysIgnored()
{
#ifdef Q_OS_WIN
    QSKIP("no signals here");
#else
    mEncoder->set("FAKE_DELAY_MS", "200");
    QProcess nohup;
    nohup.setWorkingDirectory(mFolder->path());
    nohup.setChildProcessModifier([] { signal(SIGHUP, SIG_IGN); });
    nohup.start(QCoreApplication::applicationDirPath() + QStringLiteral("/vxcompress"),
                words("photo.png out.webp -f"));
    QTRY_COMPARE(mEncoder->runs().size(), 1);
    ::kill(static_cast<pid_t>(nohup.processId()), SIGHUP);
    QVERIFY(nohup.waitForFinished());
    QCOMPARE(nohup.exitCode(), 0);
    QCOMPARE(QFileInfo(mFolder->path(QStringLiteral("out.webp"))).size(), 500);
#endif
}

void VxcompressEndTest::killedOutright()
{
#ifndef Q_OS_LINUX
    QSKIP("the system is asked to end encoders on Linux and Windows, and Windows has another test");
#endif
    mEncoder->hang();
    HostRun host(*mFolder);
    host.start(words("photo.png out.webp -f"));
    QTRY_COMPARE(mEncoder->writtenCount(), 1);
    host.sendSignal(SIGKILL);
    QVERIFY(host.waitForEnd());
    QTRY_VERIFY(mEncoder->allGone());
    QCOMPARE(TestFolder::read(mFolder->path(QStringLiteral("out.webp"))), QByteArray("old"));
}

void VxcompressEndTest::encoderUnusable_data()
{
    QTest::addColumn<bool>("isThere");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("said");
    QTest::newRow("missing") << false << 3 << "cJpeg is missing";
#ifndef Q_OS_WIN
    QTest::newRow("no program") << true << 1 << "cJpeg could not be started";
#endif
}

void VxcompressEndTest::encoderUnusable()
{
    QFETCH(bool, isThere);
    QFETCH(int, status);
    QFETCH(QString, said);
    // The host in a folder of its own.
    const QDir beside(QCoreApplication::applicationDirPath());
    const QTemporaryDir bin(beside.filePath(QStringLiteral("lame-XXXXXX")));
    for (const QFileInfo& file : beside.entryInfoList(
             {QStringLiteral("vxcompress*"), QStringLiteral("*VxCompressor.*")}, QDir::Files))
        QFile::copy(file.filePath(), bin.filePath(file.fileName()));
    if (isThere) {
        QFile tool(bin.filePath(QStringLiteral("cJpeg")));
        QVERIFY(tool.open(QIODevice::WriteOnly));
    }
    HostRun host(*mFolder, bin.path());
    QVERIFY(host.run(words("photo.png out.jpg -f")));
    QCOMPARE(host.status(), status);
    QVERIFY2(host.error().contains(said), qUtf8Printable(host.error()));
    QVERIFY2(host.error().contains(QStringLiteral("scripts/setup")), qUtf8Printable(host.error()));
    verifyNothingChanged();
}

void VxcompressEndTest::encoderEnds_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QByteArray>("end");
    QTest::addColumn<QByteArray>("exitCode");
    QTest::addColumn<QByteArray>("size");
    QTest::newRow("without a result, and content")
        << "out.jpg" << QByteArray("exit") << QByteArray("0") << QByteArray("none");
    QTest::newRow("with an empty result, and content")
        << "out.webp" << QByteArray("exit") << QByteArray("0") << QByteArray("empty");
    QTest::newRow("with a warning") << "out.jpg" << QByteArray("exit") << QByteArray("2")
                                    << QByteArray("half");
    QTest::newRow("with an error and half a result")
        << "out.webp" << QByteArray("exit") << QByteArray("1") << QByteArray("half");
    QTest::newRow("in a crash with half a result")
        << "out.png" << QByteArray("crash") << QByteArray("0") << QByteArray("half");
    QTest::newRow("in a crash with too much of a result")
        << "out.webp" << QByteArray("crash") << QByteArray("0") << QByteArray("+9");
}

void VxcompressEndTest::encoderEnds()
{
    QFETCH(QString, output);
    QFETCH(QByteArray, end);
    QFETCH(QByteArray, exitCode);
    QFETCH(QByteArray, size);
    mEncoder->set("FAKE_END", end).set("FAKE_EXIT", exitCode).set("FAKE_OUTPUT", size);
    HostRun host(*mFolder);
    QVERIFY(host.run({QStringLiteral("photo.png"), output, QStringLiteral("-f")}));
    QCOMPARE(host.status(), 1);
    QCOMPARE(host.error().count(u'\n'), 1);
    QCOMPARE(host.output(), QString());
    verifyNothingChanged();
}

QTEST_GUILESS_MAIN(VxcompressEndTest)
#include "vxcompress_end_test.moc"
