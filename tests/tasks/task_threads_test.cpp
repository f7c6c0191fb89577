// Many tasks at once, and what they show of themselves while they run.
#include <QThread>

#include <atomic>
#include <vector>

#include "compressor/CompressorEntry.h"
#include "tests/support/TaskTest.h"

using namespace Qt::StringLiterals;

class TaskThreadsTest : public TaskTest
{
    Q_OBJECT

private slots:
    // Sources of many sizes, in two threads: each task gets the result of its own, and there is one
    // compressor.
    void manyAtOnce()
    {
        std::atomic<int> bad = 0;
        std::atomic<ICompressor*> compressor = nullptr;
        const auto runAll = [&](const QString& prefix) {
            compressor = CompressorEntry();
            std::vector<std::unique_ptr<TaskProbe>> probes;
            for (int i = 0; i < 2 * KindCount; ++i) {
                const Kind& kind = kKinds[i % KindCount];
                const QString input =
                    folder->write(prefix + QString::number(i), kSource + QByteArray(qsizetype(2) * i, 's'));
                const QString output = input + u'.' + QLatin1String(kind.suffix);
                probes.push_back(std::make_unique<TaskProbe>(kind, input, output));
                bad += probes[i]->begin() ? 0 : 1;
                probes[i]->onFinish = [=, &bad] {
                    bad += TestFolder::read(output).size() == kResult.size() + i ? 0 : 1;
                };
            }
            for (const auto& probe : probes)
                bad += probe->ends() && probe->finish().first == 0 ? 0 : 1;
        };
        const std::unique_ptr<QThread> thread(QThread::create([&] { runAll(u"there"_s); }));
        thread->start();
        runAll(u"here"_s);
        thread->wait();
        QCOMPARE(bad, 0);
        QCOMPARE(compressor, CompressorEntry());
    }

    void workspaceIsPrivate_data() { eachKind({""}, Jpg, Png); }
    void workspaceIsPrivate()
    {
        fake->hang();
        const auto probe = makeTask();
        QVERIFY(probe->begin());
        QTRY_COMPARE(fake->writtenCount(), 1);
        QCOMPARE(folder->leftovers().size(), 1);
        const QFileInfo workspace(folder->temporaryPath() + u'/' + folder->leftovers()[0]);
        QCOMPARE(workspace.fileName(), u"compress"_s);
        QVERIFY(TestSystem::isPrivate(workspace));
        const QString images = withSuffix(workspace.filePath() + u"/temporaryImage_%1"_s);
        QCOMPARE(TestFolder::read(images.arg(1)), kSource);
        QCOMPARE(TestFolder::read(images.arg(2)), kResult);
        QCOMPARE(stateOf(*probe), CompressTask::Running);
        QVERIFY(!probe->task->estimate());
        // Another one beside it, and one after both.
        const auto other = makeTask();
        QVERIFY(other->begin());
        QTRY_COMPARE(fake->writtenCount(), 2);
        QCOMPARE(folder->leftovers().size(), 2);
        probe->task->stop();
        QVERIFY(!folder->leftovers().contains(u"compress"_s));
        other->task->stop();
        QCOMPARE(folder->leftovers(), QStringList());
        QVERIFY(probe->begin() && folder->leftovers() == QStringList{u"compress"_s});
        probe->task->stop();
        QCOMPARE(folder->leftovers(), QStringList());
    }

    // A private photo stays private, and so does what takes its place; the temporary location is made where
    // it doesn't exist yet.
    void deliveredSource_data() { eachKind({""}, Jpg, Webp); }
    void deliveredSource()
    {
        fake->write("+1");
        QVERIFY(QFile::setPermissions(source(), QFile::ReadOwner | QFile::WriteOwner));
        TestFolder::useTemporary(folder->path(u"tmp/not/yet"_s));
        for (const QByteArray& content : {kSource, kResult}) {
            QVERIFY(makeTask()->run());
            QCOMPARE(atOutput(), content);
            QVERIFY(TestSystem::isPrivate(QFileInfo(output())));
            fake->reset();
        }
        QVERIFY(kind().isDirect || QDir(folder->temporaryPath()).rmpath(u"not/yet"_s));
    }

    // Files that an earlier process left under the names of this one's progress are not taken for it.
    void tellsProgress_data() { eachKind({""}, Video); }
    void tellsProgress()
    {
        const int lengthMs = kind().isSample ? 15000 : 2000;
        const auto line = [](int ms) { return "out_time_us=" + QByteArray::number(ms * 1000) + '\n'; };
        for (int i = 0; i < 200; ++i)
            folder->write(u"tmp/progress_%1.txt"_s.arg(i), line(lengthMs / 4) + "progress=end\n");
        fake->set("FAKE_PROGRESS", line(lengthMs / 2) + line(lengthMs * 2) + "progress=end\n").hang();
        const auto probe = makeTask();
        QVERIFY(probe->begin());
        QTRY_COMPARE(probe->progress, QList<float>({0.5F, 1.0F}));
        fake->open();
        QVERIFY(probe->ends());
        QCOMPARE(probe->progress, QList<float>({0.5F, 1.0F, 1.0F}));
        probe->task.reset();
        QTRY_COMPARE(folder->leftovers().size(), 199);
        QVERIFY(QDir(folder->temporaryPath()).removeRecursively());
    }
};

QTEST_GUILESS_MAIN(TaskThreadsTest)
#include "task_threads_test.moc"
