#include <QTest>

#include "compressor/CompressorEntry.h"
#include "compressor/ICompressTask.h"
#include "compressor/ICompressor.h"

using namespace Qt::StringLiterals;

class CompressorTest : public QObject
{
    Q_OBJECT

private slots:
    void chooses_data();
    void chooses();
    void makesNothingWithoutOutputPath();
};

void CompressorTest::chooses_data()
{
    QTest::addColumn<QVariant>("outputPath");
    QTest::addColumn<QByteArray>("className");
    const auto row = [](const QVariant& path, const char* className) {
        QTest::newRow(qUtf8Printable(path.toString())) << path << QByteArray(className);
    };
    row(u"photo.JPG"_s, "JpegCompressor");
    row(u"photo.Jpeg"_s, "JpegCompressor");
    row(u"archive.tar.png"_s, "PngCompressor");
    row(u"a.WebP"_s, "WebpCompressor");
    row(u"photo.jpg.mp4"_s, "VideoCompressor");
    row(u"folder.jpg/movie"_s, "VideoCompressor");
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

QTEST_GUILESS_MAIN(CompressorTest)
#include "compressor_test.moc"
