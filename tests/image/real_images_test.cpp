// The real encoders on real pictures, as ffmpeg's generators make them.
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTest>

#include "image/Platform.h"
#include "tests/support/EncoderTest.h"
#include "tests/support/TaskProbe.h"

using namespace Qt::StringLiterals;
using Finish = TaskProbe::Finish;

class RealImagesTest : public EncoderTest
{
    Q_OBJECT

private slots:
    void makesASmallerPicture_data();
    void makesASmallerPicture();
    void deliversTheSourceOfAResultThatGrew();
    void tellsACorruptInput_data();
    void tellsACorruptInput();

private:
    // Runs ffmpeg, beside this program like the other encoders.
    static bool ffmpeg(const QStringList& arguments);
    QString makePicture(const QString& name, const QStringList& options = {});
    static bool isPicture(const QString& file, const QString& codec);
};

bool RealImagesTest::ffmpeg(const QStringList& arguments)
{
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(QCoreApplication::applicationDirPath() + u'/' + Platform::executableName("ffmpeg"),
                  QStringList{u"-nostdin"_s, u"-y"_s, u"-v"_s, u"error"_s, u"-xerror"_s} + arguments);
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

QString RealImagesTest::makePicture(const QString& name, const QStringList& options)
{
    QString file = folder().path(name);
    const QStringList generator{u"-f"_s, u"lavfi"_s, u"-i"_s, u"testsrc2=s=320x240,noise=alls=20"_s};
    if (!ffmpeg(generator + options + QStringList{u"-frames:v"_s, u"1"_s, file}))
        qFatal("no picture");
    return file;
}

// Decodes it whole.
bool RealImagesTest::isPicture(const QString& file, const QString& codec)
{
    return ffmpeg({u"-c:v"_s, codec, u"-i"_s, file, u"-f"_s, u"null"_s, u"-"_s});
}

void RealImagesTest::makesASmallerPicture_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QString>("codec");
    QTest::addColumn<QString>("text");
    QTest::newRow("JPEG to JPEG") << u"photo.jpg"_s << u".jpg"_s << u"mjpeg"_s << QString();
    QTest::newRow("PNG to JPEG") << u"photo.png"_s << u".jpeg"_s << u"mjpeg"_s << QString();
    QTest::newRow("PNG to PNG") << u"photo.png"_s << u".png"_s << u"png"_s << QString();
    QTest::newRow("BMP to WebP") << u"photo.bmp"_s << u".webp"_s << u"webp"_s << u"successful"_s;
}

// The quality counts: less of it makes a smaller file.
void RealImagesTest::makesASmallerPicture()
{
    QFETCH(const QString, source);
    QFETCH(const QString, suffix);
    QFETCH(const QString, codec);
    QFETCH(const QString, text);
    const QString picture = makePicture(source, {u"-q:v"_s, u"1"_s});
    const QByteArray before = TestFolder::read(picture);
    qsizetype size = before.size();
    for (const int quality : {85, 20}) {
        const QString output = folder().path(u"a result "_s + QString::number(quality) + suffix);
        TaskProbe probe(picture, output, quality);
        QVERIFY(probe.run());
        QCOMPARE(probe.finish(), Finish(0, text));
        const QByteArray result = TestFolder::read(output);
        QVERIFY(!result.isEmpty() && result.size() < size);
        QVERIFY(isPicture(output, codec));
        size = result.size();
    }
    QCOMPARE(TestFolder::read(picture), before);
}

void RealImagesTest::deliversTheSourceOfAResultThatGrew()
{
    const QString photo = makePicture(u"photo.jpg"_s, {u"-q:v"_s, u"31"_s});
    for (const QString& suffix : {u".jpg"_s, u".webp"_s}) {
        const QString output = folder().path(u"out"_s + suffix);
        TaskProbe probe(photo, output, 100);
        QVERIFY(probe.run());
        QCOMPARE(probe.finish(), Finish(0, {}));
        QCOMPARE(TestFolder::read(output), TestFolder::read(photo));
    }
}

void RealImagesTest::tellsACorruptInput_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<Finish>("finish");
    const Finish corrupt(1, u"The file is corrupt or not a standard file format"_s);
    QTest::newRow("jpg") << ".jpg" << corrupt;
    QTest::newRow("png") << ".png" << corrupt;
    QTest::newRow("webp") << ".webp" << Finish(1, u"fail"_s);
}

void RealImagesTest::tellsACorruptInput()
{
    QFETCH(const QString, suffix);
    QFETCH(const Finish, finish);
    const QString source = folder().write(u"letter"_s + suffix, "Dear reader, this is no picture.\n");
    const QString output = folder().path(u"out"_s + suffix);
    TaskProbe probe(source, output);
    QVERIFY(probe.run());
    QCOMPARE(probe.finish(), finish);
    QVERIFY(!QFile::exists(output));
    QVERIFY(QFile::exists(source));
}

QTEST_GUILESS_MAIN(RealImagesTest)
#include "real_images_test.moc"
