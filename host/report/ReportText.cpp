#include "host/report/ReportText.h"

#include <QStringList>

#include <algorithm>

#include "host/output/ResultText.h"
#include "host/output/SizeText.h"

using namespace Qt::StringLiterals;

namespace ReportWords {

QString seconds(double seconds)
{
    return seconds < 100 ? QString::number(seconds, 'f', 2) + " s"_L1 : timeText(qint64(seconds * 1000));
}

QString files(const Findings& sum)
{
    QStringList parts;
    const std::pair<qint64, QLatin1StringView> counts[] = {
        {sum.delivered, "delivered"_L1}, {sum.kept, "kept"_L1},     {sum.skipped, "skipped"_L1},
        {sum.predicted, "predicted"_L1}, {sum.failed, "failed"_L1}, {sum.unfinished, "unfinished"_L1}};
    for (const auto& [count, what] : counts) {
        if (count > 0)
            parts.append(u"%1 %2"_s.arg(count).arg(what));
    }
    const QString counted = parts.isEmpty() ? QString() : ": "_L1 + parts.join(", "_L1);
    return u"%1 files%2"_s.arg(sum.files).arg(counted);
}

QString runs(const Findings& sum)
{
    QString text = u"%1 %2 on %3 %4"_s.arg(sum.runs)
                       .arg(sum.runs == 1 ? "run"_L1 : "runs"_L1)
                       .arg(sum.machines.size())
                       .arg(sum.machines.size() == 1 ? "machine"_L1 : "machines"_L1);
    if (sum.runsWithoutEnd > 0)
        text += u", %1 without an end"_s.arg(sum.runsWithoutEnd);
    if (sum.spanSeconds > 0)
        text += u", in %1"_s.arg(seconds(sum.spanSeconds));
    if (sum.cutLines + sum.foreignLines > 0)
        text += u"; %1 lines cut, %2 foreign"_s.arg(sum.cutLines).arg(sum.foreignLines);
    return text;
}

QString throughput(const Findings::Machine& machine)
{
    return u"%1 files, %2 a core and second"_s.arg(machine.filesPerCoreSecond(), 0, 'g', 3)
        .arg(sizeText(qint64(std::min(machine.bytesPerCoreSecond(), 1e18))));
}

} // namespace ReportWords

namespace {

constexpr qsizetype kMaxListed = 20;

void addKinds(QString& text, const Findings& sum)
{
    if (!sum.kinds.isEmpty())
        text += u"\n%1 %2 %3 %4 %5  saving\n"_s.arg("kind"_L1, -6)
                    .arg("files"_L1, 9)
                    .arg("before"_L1, 9)
                    .arg("after"_L1, 9)
                    .arg("a file"_L1, 9);
    for (auto kind = sum.kinds.begin(); kind != sum.kinds.end(); ++kind) {
        text += u"%1 %2 %3 %4 %5  %6\n"_s.arg(kind.key(), -6)
                    .arg(kind->files, 9)
                    .arg(sizeText(kind->bytesBefore), 9)
                    .arg(sizeText(kind->bytesAfter), 9)
                    .arg(ReportWords::seconds(kind->seconds / double(kind->files)), 9)
                    .arg(savingText(kind->bytesBefore, kind->bytesAfter));
    }
}

} // namespace

QString reportText(const Findings& sum)
{
    QString text = ReportWords::runs(sum) + u'\n' + ReportWords::files(sum) + u'\n';
    if (sum.bytesBefore > 0)
        text += u"%1 -> %2 (%3)\n"_s.arg(sizeText(sum.bytesBefore), sizeText(sum.bytesAfter),
                                         savingText(sum.bytesBefore, sum.bytesAfter));
    addKinds(text, sum);
    if (sum.allMachines().coreSeconds > 0)
        text += "\nthroughput: "_L1 + ReportWords::throughput(sum.allMachines()) + u'\n';
    for (auto machine = sum.machines.begin(); sum.machines.size() > 1 && machine != sum.machines.end();
         ++machine)
        text += u"  %1: %2 runs, %3\n"_s.arg(machine.key())
                    .arg(machine->runs)
                    .arg(ReportWords::throughput(*machine));
    if (!sum.slowest.isEmpty())
        text += "\nslowest:\n"_L1;
    for (const Findings::Slow& file : sum.slowest)
        text += u"%1 %2  %3\n"_s.arg(ReportWords::seconds(file.seconds), 10)
                    .arg(sizeText(file.bytes), 9)
                    .arg(file.path);
    if (!sum.failures.isEmpty() || !sum.runErrors.isEmpty())
        text += "\nfailed:\n"_L1;
    for (const QString& error : sum.runErrors)
        text += "  usage: "_L1 + error + u'\n';
    for (const Findings::Failed& file : sum.failures.first(std::min(kMaxListed, sum.failures.size())))
        text += u"  %1: %2: %3\n"_s.arg(file.path, file.kind, file.text);
    if (sum.failures.size() > kMaxListed)
        text += u"  and %1 more, which --json and --html list\n"_s.arg(sum.failures.size() - kMaxListed);
    return text;
}
