#pragma once

#include <QSharedPointer>
#include <QTest>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "compressor/CompressTask.h"
#include "compressor/FinishCode.h"
#include "tests/support/FakeEncoder.h"
#include "tests/support/Rows.h"

using namespace Qt::StringLiterals;

using Finish = std::pair<int, QString>;

/// One of the ways in which a host runs a task.
struct Kind
{
    const char* name;
    const char* suffix;
    const char* tool;
    bool isDirect; ///< the encoder writes the output path itself; else the task does, from a copy
    bool isVideo = false;
    bool isPercentage = false;
    bool isSample = false;

    /// What the host is told with a code, unless the input is said to be corrupt.
    Finish told(int code) const;
};
constexpr int Jpg = 0, Png = 1, Webp = 2, Video = 3, Size = 4, Sample = 5, KindCount = 6;
extern const Kind kKinds[KindCount];

/// A task as a host has it, made through CompressorEntry(), and the finishes and progress it has told. It
/// belongs to the thread that made it, like its task.
class TaskProbe : public QObject
{
    Q_OBJECT

public:
    TaskProbe(const Kind& kind, const QString& input, const QString& output, const QVariant& quality = 50);

    /// start(), or estimate() for a sample.
    bool begin() { return mKind.isSample ? task->estimate() : task->start(); }
    /// Turns the event loop until there are so many finishes, and tells whether there are, and not one too
    /// many.
    bool ends(qsizetype count = 1);
    bool run() { return begin() && ends(finishes.size() + 1); }
    /// The last one; { -1, "none" } without one.
    Finish finish() const { return finishes.isEmpty() ? Finish(-1, u"none"_s) : finishes.last(); }

    QSharedPointer<ICompressTask> task; ///< the host's only reference
    std::function<void()> onFinish;     ///< what the host does in its slot; once
    QList<Finish> finishes;
    QList<float> progress;
    qsizetype progressAtFinish = 0; ///< how many of them came before the last finish

private slots:
    void onCompressFinished(int finishedCode, const QString& errorDescription);
    void onCompressProcess(float value) { progress.append(value); }

private:
    const Kind& mKind;
};

/// The base of tests that run tasks. Every row has a folder, a temporary location and fake encoders of its
/// own. It fails with a warning (such as "QProcess: Destroyed while process is still running"), an encoder
/// that outlives it, a file left in the temporary location, or a changed source.
class TaskTest : public QObject
{
    Q_OBJECT

protected:
    static const QByteArray
        kSource; ///< two seconds of raw video, for an image's encoder as good as any source
    static const QByteArray kResult; ///< what an encoder makes of it, until told otherwise
    static const QByteArray kOld;    ///< what was at the output path before

    /// Rows of a data function: each kind with each of the cases, named after both. A case with "video" in it
    /// is for videos only.
    static void eachKind(const QList<const char*>& cases = {""}, int first = Jpg, int last = Sample);
    /// The rows of a table with each of the kinds that the second cell names.
    static void eachKindOf(const char* table);
    static const Kind& kind();
    static QByteArray testCase();

    static QString withSuffix(const QString& name) { return name + u'.' + QLatin1String(kind().suffix); }
    QString source() { return folder->path(withSuffix(u"a source"_s)); }
    QString output() { return folder->path(withSuffix(u"out"_s)); }
    QByteArray atOutput() { return TestFolder::read(output()); }
    void writeOld() { folder->write(withSuffix(u"out"_s), kOld); }
    /// What is at the output path when a run over kOld has failed: its encoder may have touched it.
    static QByteArray oldAfterFailure() { return kind().isDirect ? QByteArray() : kOld; }
    std::unique_ptr<TaskProbe> makeTask() { return std::make_unique<TaskProbe>(kind(), source(), output()); }

    /// The state that it shows to a host that looks.
    static int stateOf(const TaskProbe& probe)
    {
        return static_cast<CompressTask*>(probe.task.data())->state();
    }

    inline static QStringList debugLines; ///< of the row, from the thread of the test
    std::optional<TestFolder> folder;
    std::optional<FakeEncoder> fake;

private slots:
    void init();
    void cleanup();
};
