// The video task with the real ffmpeg, which is staged beside this program.
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <algorithm>

#include "tests/support/MessageCapture.h"
#include "tests/support/TaskProbe.h"
#include "tests/support/TestFolder.h"

using Finish = TaskProbe::Finish;

namespace {

const auto kAborted = Finish(62097, QStringLiteral("Process Abort"));
constexpr qint64 kQuickStopMs = 1000;

QString media(const char* name)
{
    return qEnvironmentVariable("VXC_TEST_MEDIA") + u'/' + QLatin1String(name);
}

QVariantMap params(const QString& input, const QString& output)
{
    return {{QStringLiteral("inputPath"), input},
            {QStringLiteral("outputPath"), output},
            {QStringLiteral("quality"), 28},
            {QStringLiteral("scale"), QStringLiteral("1")}};
}

// Whether a child of this process runs; an encoder is one.
bool hasChild()
{
    const QString tasks = QStringLiteral("/proc/self/task");
    for (const QString& task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile children(tasks + u'/' + task + QStringLiteral("/children"));
        if (children.open(QIODevice::ReadOnly) && !children.readAll().trimmed().isEmpty())
            return true;
    }
    return false;
}

} // namespace

class VideoRealTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void progressRisesOnceToTheEnd();
    void canBeCancelledAt_data();
    void canBeCancelledAt();
    void aCancelWaitsForThePacketScan();

private:
    TestFolder mSources;
    QString mLongFilm;
};

void VideoRealTest::initTestCase()
{
    // Some seconds of work, so that the monitor sees the job at every stage.
    mLongFilm = mSources.path(QStringLiteral("long.mp4"));
    QCOMPARE(QProcess::execute(QStringLiteral("ffmpeg"),
                               {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-stream_loop"),
                                QStringLiteral("2"), QStringLiteral("-i"), media("hd-1080.mp4"),
                                QStringLiteral("-c"), QStringLiteral("copy"), mLongFilm}),
             0);
}

void VideoRealTest::progressRisesOnceToTheEnd()
{
    const MessageCapture messages;
    const TestFolder folder;
    TaskProbe probe(params(media("hd-1080.mp4"), folder.path(QStringLiteral("out.mkv"))));
    QVERIFY(probe.run());
    QCOMPARE(probe.finish(), Finish(0, QStringLiteral("successful")));
    const QList<float> progress = probe.progress();
    QVERIFY(progress.size() >= 3);
    QVERIFY(std::is_sorted(progress.begin(), progress.end()));
    QVERIFY(progress.first() >= 0);
    QCOMPARE(progress.last(), 1.0F);
    QTRY_COMPARE(folder.leftovers(), QStringList());
}

void VideoRealTest::canBeCancelledAt_data()
{
    QTest::addColumn<float>("share");
    QTest::newRow("0 %") << 0.0F;
    QTest::newRow("10 %") << 0.1F;
    QTest::newRow("50 %") << 0.5F;
    // The monitor looks twice a second.
    QTest::newRow("its last step") << 0.85F;
}

void VideoRealTest::canBeCancelledAt()
{
    QFETCH(const float, share);
    const MessageCapture messages;
    const TestFolder folder;
    const QString output = folder.path(QStringLiteral("out.mp4"));
    TaskProbe probe(params(mLongFilm, output));
    QVERIFY(probe->start());
    QTRY_VERIFY_WITH_TIMEOUT(share == 0 || (!probe.progress().isEmpty() && probe.progress().last() >= share),
                             120000);
    QCOMPARE(probe.finishes(), QList<Finish>());
    QElapsedTimer timer;
    timer.start();
    probe->stop();
    QVERIFY2(timer.elapsed() < kQuickStopMs, "the host stood still");
    QCOMPARE(probe.finishes(), QList<Finish>{kAborted});
    QVERIFY(!QFileInfo::exists(output));
    QVERIFY(!hasChild());
    QVERIFY(probe.waitForFinishes(1));
    QCOMPARE(folder.leftovers(), QStringList());
}

void VideoRealTest::aCancelWaitsForThePacketScan()
{
    const MessageCapture messages;
    const TestFolder folder;
    const QString output = folder.path(QStringLiteral("out.mp4"));
    TaskProbe probe(params(media("live.mkv"), output));
    // The host is asked to while start() is busy; its loop turns again when the scan has returned.
    QMetaObject::invokeMethod(
        &probe, [&probe] { probe->stop(); }, Qt::QueuedConnection);
    QVERIFY(probe->start());
    QVERIFY(probe.waitForFinishes(1));
    QCOMPARE(probe.finish(), kAborted);
    QVERIFY(!QFileInfo::exists(output));
    QVERIFY(!hasChild());
}

QTEST_GUILESS_MAIN(VideoRealTest)
#include "video_real_test.moc"
