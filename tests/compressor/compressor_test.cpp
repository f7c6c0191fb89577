#include <QTest>
#include <QThread>

#include <set>
#include <thread>
#include <vector>

#include "compressor/CompressTask.h"
#include "compressor/CompressorEntry.h"

using namespace Qt::StringLiterals;

class CompressorTest : public QObject
{
    Q_OBJECT

private slots:
    void isOneForAllThreads();
    void chooses_data();
    void chooses();
    void makesNothingWithoutOutputPath();
    void namesTheVideoFormats();
    void tasksAreIdleAndIndependent();
};

// First, so that these are the calls that make it.
void CompressorTest::isOneForAllThreads()
{
    constexpr int kThreads = 8;
    std::vector<ICompressor*> seen(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (ICompressor*& place : seen)
        threads.emplace_back([&place] { place = CompressorEntry(); });
    for (std::thread& thread : threads)
        thread.join();
    const std::set<ICompressor*> different(seen.begin(), seen.end());
    QCOMPARE(different.size(), std::size_t{1});
    QVERIFY(*different.begin());
    QCOMPARE(CompressorEntry(), *different.begin());
}

void CompressorTest::chooses_data()
{
    QTest::addColumn<QVariant>("outputPath");
    QTest::addColumn<QByteArray>("className");
    const auto row = [](const QVariant& path, const char* className) {
        QTest::newRow(qUtf8Printable(path.toString())) << path << QByteArray(className);
    };
    row(u"photo.JPG"_s, "JpegCompressor");
    row(u"photo.Jpeg"_s, "JpegCompressor");
    row(u"a.PNG"_s, "PngCompressor");
    row(u"archive.tar.png"_s, "PngCompressor");
    row(u"a.WebP"_s, "WebpCompressor");
    row(u"photo.jpg.mp4"_s, "VideoCompressor");
    row(u"folder.jpg/movie"_s, "VideoCompressor");
    row(u"movie.wmv"_s, "VideoCompressor");
    row(u"movie.gif"_s, "VideoCompressor");
    row(u"movie.jpg "_s, "VideoCompressor");
    row(5, "VideoCompressor");
}

void CompressorTest::chooses()
{
    QFETCH(const QVariant, outputPath);
    QFETCH(const QByteArray, className);
    const auto task = CompressorEntry()->createTask({{u"outputPath"_s, outputPath}});
    QVERIFY(task);
    QCOMPARE(QByteArray(task->metaObject()->className()), className);
}

void CompressorTest::makesNothingWithoutOutputPath()
{
    QVERIFY(!CompressorEntry()->createTask({}));
    QVERIFY(!CompressorEntry()->createTask({{u"outputPath"_s, QString()}}));
    QVERIFY(!CompressorEntry()->createTask({{u"outputpath"_s, u"a.jpg"_s}}));
}

void CompressorTest::namesTheVideoFormats()
{
    QStringList names;
    for (const QVariant& format : CompressorEntry()->supportedVideoFormats()) {
        QCOMPARE(format.typeId(), int(QMetaType::QString));
        names.append(format.toString());
    }
    QCOMPARE(names.join(u' '), u"mp4 mov mkv m4v avi flv f4v m2ts"_s);
}

void CompressorTest::tasksAreIdleAndIndependent()
{
    const QVariantMap params{{u"outputPath"_s, u"a.jpg"_s}};
    const auto first = CompressorEntry()->createTask(params);
    const auto second = CompressorEntry()->createTask(params);
    QVERIFY(first != second);
    QVERIFY(!first->parent());
    QCOMPARE(first->thread(), QThread::currentThread());
    QCOMPARE(qobject_cast<CompressTask*>(first.data())->state(), int(CompressTask::Stopped));
    QVERIFY(!first->estimate());
}

QTEST_GUILESS_MAIN(CompressorTest)
#include "compressor_test.moc"
