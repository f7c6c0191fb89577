// Runs the host's searches on the module itself: see estimate.sh and search.sh, which make the sources and
// call it.
//
//   search_bench estimate SOURCE SUFFIX QUALITY|PERCENT%      the range in bytes and the number of samples
//   search_bench encode SOURCE SUFFIX QUALITY|PERCENT%        the bytes that it becomes
//   search_bench goal SOURCE SUFFIX SIZE|- MIN_SSIM|- [QUALITY]
//                                                             every trial, then what came of them
//   search_bench ssim RESULT SOURCE video|image              the SSIM
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QTextStream>

#include "compressor/CompressorEntry.h"
#include "host/search/GoalSearch.h"
#include "host/search/VideoEstimate.h"

using namespace Qt::StringLiterals;

namespace {

QTextStream& out()
{
    static QTextStream stream(stdout);
    return stream;
}

/// A task of the module, in this thread.
class TaskRun final : public ModuleRun
{
    Q_OBJECT

public:
    explicit TaskRun(const EncodeRequest& request)
        : mIsSample(request.isSample),
          mTask(CompressorEntry()->createTask({{u"inputPath"_s, request.inputPath},
                                               {u"outputPath"_s, request.outputPath},
                                               {u"quality"_s, request.quality},
                                               {u"isPercentage"_s, request.isPercentage},
                                               {u"scale"_s, request.scale}}))
    {
        connect(mTask.data(), SIGNAL(compressFinished(int, QString)), this, SLOT(onFinished(int, QString)));
    }

    void start() override
    {
        if (!(mIsSample ? mTask->estimate() : mTask->start()))
            qFatal("an encoder is missing");
    }
    void stop() override { mTask->stop(); }

private slots:
    void onFinished(int code, const QString& text)
    {
        emit ended(code == 0 ? Failure() : Failure{FailureKind::EncoderFailed, text, code});
    }

private:
    bool mIsSample;
    QSharedPointer<ICompressTask> mTask;
};

const MakeRun kMakeRun = [](const EncodeRequest& request) { return std::make_unique<TaskRun>(request); };

NewPath newPathIn(const QTemporaryDir& folder)
{
    return [&folder, count = 0](const QString& suffix) mutable {
        return folder.filePath(u"%1.%2"_s.arg(++count).arg(suffix));
    };
}

EncodeRequest requestOf(const QStringList& arguments, const QTemporaryDir& folder)
{
    QString quality = arguments[2];
    const bool isPercentage = quality.endsWith(u'%');
    quality.remove(u'%');
    return {arguments[0], folder.filePath(u"out."_s + arguments[1]), quality, isPercentage, {}};
}

int encode(const QStringList& arguments)
{
    const QTemporaryDir folder;
    const EncodeRequest request = requestOf(arguments, folder);
    TaskRun run(request);
    QObject::connect(&run, &ModuleRun::ended, &run, [&request](const Failure& failure) {
        out() << QFileInfo(request.outputPath).size() << Qt::endl;
        QCoreApplication::exit(failure.code);
    });
    run.start();
    return QCoreApplication::exec();
}

int estimate(const QStringList& arguments)
{
    const QTemporaryDir folder;
    VideoEstimate video(requestOf(arguments, folder), kMakeRun, newPathIn(folder));
    QObject::connect(&video, &VideoEstimate::ended, &video, [](const EstimateOutcome& outcome) {
        out() << outcome.range.low << ' ' << outcome.range.high << ' ' << outcome.samples.size() << Qt::endl;
        for (const SampleMeasure& sample : outcome.samples)
            QTextStream(stderr) << sample.sourceBytes << ' ' << sample.sourceMs << ' ' << sample.resultBytes
                                << ' ' << sample.resultMs << Qt::endl;
        QCoreApplication::exit(outcome.failure ? 1 : 0);
    });
    video.start();
    return QCoreApplication::exec();
}

int goal(const QStringList& arguments)
{
    const QTemporaryDir folder;
    SearchTarget target;
    target.inputPath = arguments[0];
    target.suffix = arguments[1];
    target.format = Formats::ofSuffix(target.suffix, true);
    target.size = SizeGoal::parse(arguments[2]);
    if (const double minSsim = arguments[3].toDouble(); minSsim > 0)
        target.least = Score{&kSsim, minSsim};
    target.quality = arguments.value(4, QString::number(target.format->quality.fallback)).toInt();
    GoalSearch search(target, kMakeRun, newPathIn(folder));
    QObject::connect(&search, &GoalSearch::ended, &search, [&target](const GoalOutcome& outcome) {
        for (const Trial& trial : outcome.trials)
            out() << trial.setting << ':' << trial.bytes << ':' << trial.score << ' ';
        const qint64 sourceBytes = QFileInfo(target.inputPath).size();
        if (outcome.failure)
            out() << (outcome.failure.kind == FailureKind::AimUnreached ? "unmet, " : "failed, ")
                  << outcome.failure.detail << Qt::endl;
        else if (target.size)
            out() << "met, "
                  << double(outcome.trials[outcome.chosen].bytes) / double(target.size->bytesFor(sourceBytes))
                  << " of the goal" << Qt::endl;
        else
            out() << "met" << Qt::endl;
        QCoreApplication::exit(0);
    });
    search.start();
    return QCoreApplication::exec();
}

int ssim(const QString& result, const QString& source, const QString& kind)
{
    MetricProbe probe(kSsim, result, source, kind == "video"_L1);
    QObject::connect(&probe, &MetricProbe::ended, &probe, [](double value) {
        out() << value << Qt::endl;
        QCoreApplication::exit(value < 0 ? 1 : 0);
    });
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(u"*.debug=false"_s);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    const QString mode = arguments.value(0);
    if (mode == "estimate"_L1 && arguments.size() == 4)
        return estimate(arguments.mid(1));
    if (mode == "encode"_L1 && arguments.size() == 4)
        return encode(arguments.mid(1));
    if (mode == "goal"_L1 && arguments.size() >= 5)
        return goal(arguments.mid(1));
    if (mode == "ssim"_L1 && arguments.size() == 4)
        return ssim(arguments[1], arguments[2], arguments[3]);
    out() << "see the head of search_bench.cpp" << Qt::endl;
    return 2;
}

#include "search_bench.moc"
