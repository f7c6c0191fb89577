// What reaches an encoder, and what happens when source and output are hard to name or hard to keep apart.
#include <QDateTime>
#include <QScopeGuard>

#include <filesystem>

#include "tests/support/TaskTest.h"

using namespace Qt::StringLiterals;

namespace {

// The fault, the kind, the quality, and what the encoder gets.
const char kArguments[] = R"(
a number is no quality | jpg  | 75 | cJpeg -outfile WORK_2.BMP -quality 75 -baseline WORK_1.BMP
no quality gets one    | jpg  |    | cJpeg -outfile WORK_2.BMP -quality -baseline WORK_1.BMP
the floor is no zero   | png  | 80 | pngquant --quality 0-80 --force WORK_1.BMP -o WORK_2.BMP
another codec          | webp | 60 | ffmpeg -i HERE/source.BMP -y -c:v libwebp -quality 60 HERE/out.webp
)";

// The fault, the kinds, a name before the suffix ("_" is a blank, "^" half of a letter), whether ffmpeg gets
// it as it is, and an image's suffix other than bmp.
const char kNames[] = R"(
blanks split                           | all              | _two__blanks_        | yes
letters beyond ASCII are lost          | all              | fötø_写真_📷 | yes
a quote opens                          | all              | "a_b                 | yes
a quote closes                         | all              | a_b"                 | yes
backslashes and quotes                 | all              | """_a\"_b\           | yes
what is before a colon is a protocol   | jpg png webp     | a:b                  | no
a lone surrogate throws                | jpg png webp     | a^                   | no
a dash is an option                    | all              | -dash                | no
a pattern counts                       | jpg png webp     | a%03d                | no
a pattern of rare images counts        | webp             | a%03d                | no | im32
a video's name is a pattern             | video size sample | a%03d                | yes
a pattern in a folder's name counts    | webp             | f%2d/a               | no
what is no pattern gives way           | all              | 100%_%s%%            | yes
no room for a draft's name             | all              | NNNNN                | yes
)";

} // namespace

class TaskPathsTest : public TaskTest
{
    Q_OBJECT

    // A path that leads to the source in the row's way.
    QString aliasOf(const QString& source)
    {
        const QFileInfo file(source);
        QString alias = folder->path(u"alias."_s + file.suffix());
        if (testCase() == "same name")
            return source;
        if (testCase() == "other spelling")
            return file.path() + u"/./tmp/../"_s + file.fileName();
        if (testCase() == "symbolic link")
            QFile::link(source, alias);
        else
            std::filesystem::create_hard_link(file.filesystemFilePath(),
                                              QFileInfo(alias).filesystemFilePath());
        return alias;
    }

private slots:
    void arguments_data() { eachKindOf(kArguments); }
    void arguments()
    {
        TaskProbe probe(kind(), folder->write(u"source.BMP"_s, kSource), output(), cells()[2]);
        QVERIFY(probe.run());
        QCOMPARE(fake->runs().size(), 1);
        QString given = fake->runs()[0].arguments.join(u' ').replace(folder->path(), u"HERE"_s);
        given.replace(u"HERE/tmp/compress/temporaryImage"_s, u"WORK"_s);
        QCOMPARE(given, cells()[3]);
    }

    // In the working folder.
    void names_data() { eachKindOf(kNames); }
    void names()
    {
        QString name = cells()[2].replace(u'_', u' ').replace(u'^', QChar(0xD800));
        name.replace(u"NNNNN"_s, QString(250, u'n'));
        if (const char* const reason = TestSystem::reasonAgainstName(name))
            QSKIP(reason);
        const QString back = QDir::currentPath();
        QVERIFY(QDir::setCurrent(folder->path()) && QDir().mkpath(QFileInfo(name).path()));
        const auto leave = qScopeGuard([&] { QDir::setCurrent(back); });
        const QString input = name + (kind().isVideo ? u".in"_s : u'.' + cells().value(4, u"bmp"_s));
        folder->write(input, kSource);
        folder->write(withSuffix(name), kOld);
        const QStringList before = folder->leftovers(QString());
        TaskProbe probe(kind(), input, withSuffix(name));
        QVERIFY(probe.run());
        QCOMPARE(probe.finish(), kind().told(0));
        QCOMPARE(TestFolder::read(withSuffix(name)), kResult);
        const QStringList arguments = fake->runs()[0].arguments;
        for (const QString& path : {input, withSuffix(name)})
            QVERIFY(!kind().isDirect || arguments.contains(path) == (cells()[3] == u"yes"));
        // Neither a success nor a failure leaves something beside them.
        QCOMPARE(folder->leftovers(QString()), before);
        fake->exitWith(9);
        QVERIFY(probe.run());
        QVERIFY(folder->leftovers(QString()).size() <= before.size());
    }

    // Without a folder for the link, no other file is read in the source's place.
    void noRoomForALink()
    {
        const QString input = folder->write(u"a%1d.bmp"_s, kSource);
        const QString output = folder->write(u"out.webp"_s, kOld);
        TestFolder::useTemporary(input);
        TaskProbe probe(kKinds[Webp], input, output);
        QVERIFY(probe.run());
        TestFolder::useTemporary(folder->temporaryPath());
        QCOMPARE(probe.finish(), kKinds[Webp].told(FinishCode::kRefused));
        QVERIFY(fake->runs().isEmpty());
        QCOMPARE(TestFolder::read(output), kOld);
    }

    // Images replace their source when they are smaller. Where the encoder would write the source itself it
    // must not: the run fails, and no encoder starts. A source that stays is not even written again with its
    // own content, which would lose its time.
    void inPlace_data() { eachKind({"same name", "other spelling", "symbolic link", "hard link"}); }
    void inPlace()
    {
        if (const char* const reason = TestSystem::reasonAgainst({QString::fromLatin1(testCase())}))
            QSKIP(reason);
        const QString photo = folder->path(withSuffix(u"photo"_s));
        const QDateTime before = QDateTime::fromSecsSinceEpoch(1000000000);
        for (const QByteArray end : {"half", "+1", "none", "crash", "stop", "release"}) {
            QFile file(folder->write(withSuffix(u"photo"_s), kSource));
            QVERIFY(file.open(QIODevice::ReadWrite) &&
                    file.setFileTime(before, QFileDevice::FileModificationTime));
            file.close();
            const QString alias = aliasOf(photo);
            fake->reset();
            end == "crash"                      ? fake->crash()
            : end == "stop" || end == "release" ? fake->hang()
                                                : fake->write(end);
            TaskProbe probe(kind(), photo, alias);
            QVERIFY(probe.begin());
            if (end == "release")
                probe.task.reset();
            if (end == "stop")
                probe.task->stop();
            QVERIFY(probe.ends(end == "release" ? 0 : 1));
            if (end == "stop" || end == "release")
                QVERIFY(probe.finish().first != 0);
            else if (kind().isDirect)
                QCOMPARE(probe.finish(), kind().told(FinishCode::kRefused));
            else
                QCOMPARE(probe.finish().first == 0, end == "half" || end == "+1");
            QCOMPARE(fake->runs().isEmpty(), kind().isDirect);
            const bool delivered = !kind().isDirect && end == "half";
            QCOMPARE(TestFolder::read(alias), delivered ? kResult : kSource);
            QVERIFY((delivered && testCase() != "hard link") || TestFolder::read(photo) == kSource);
            QVERIFY(delivered || QFileInfo(photo).lastModified() == before);
            QFile::remove(alias);
            QFile::remove(photo);
        }
    }
};

QTEST_GUILESS_MAIN(TaskPathsTest)
#include "task_paths_test.moc"
