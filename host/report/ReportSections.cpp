#include "host/output/Figures.h"
#include "host/report/Report.h"

using namespace Qt::StringLiterals;

namespace {

QString counted(qint64 count, const char* what)
{
    return u"%1 %2%3"_s.arg(count).arg(QLatin1String(what), count == 1 ? ""_L1 : "s"_L1);
}

QString filesText(const Findings& sum)
{
    QStringList parts;
    for (size_t end = sum.ends.size(); end-- > 0;) {
        if (sum.ends[end] > 0)
            parts.append(u"%1 %2"_s.arg(sum.ends[end]).arg(kFileEnds[end]));
    }
    return counted(sum.files(), "file") + (parts.isEmpty() ? ""_L1 : ": "_L1) + parts.join(", "_L1);
}

QString runsText(const Findings& sum)
{
    QString text = u"%1 on %2"_s.arg(counted(sum.runs, "run"), counted(sum.machines.size(), "machine"));
    if (sum.runsWithoutEnd > 0)
        text += u", %1 without an end"_s.arg(sum.runsWithoutEnd);
    if (sum.spanMs > 0)
        text += u", in %1"_s.arg(secondsText(sum.spanMs));
    if (sum.cutLines + sum.foreignLines > 0)
        text += u"; %1 cut off, %2 not from vxcompress"_s.arg(counted(sum.cutLines, "line"))
                    .arg(sum.foreignLines);
    return text;
}

QString filesPerCoreSecond(const Findings::Machine& machine)
{
    return QString::number(machine.perCoreSecond(machine.files), 'g', 3);
}

QString bytesPerCoreSecond(const Findings::Machine& machine)
{
    return sizeText(qint64(std::min(machine.perCoreSecond(machine.bytes), 1e18)));
}

ReportSection kinds(const Findings& sum)
{
    ReportSection section{u"Savings by kind"_s,
                          5,
                          {u"files"_s, u"before"_s, u"after"_s, u"time a file"_s, u"kind"_s, u"saving"_s}};
    for (const auto& [name, kind] : sum.kinds.asKeyValueRange()) {
        const QString before = sizeText(kind.bytesBefore);
        const QString after = sizeText(kind.bytesAfter);
        const QString saving = savingText(kind.bytesBefore, kind.bytesAfter);
        section.bars.append({name + " before"_L1, double(kind.bytesBefore), before, "before"});
        section.bars.append(
            {name + " after"_L1, double(kind.bytesAfter), u"%1, %2"_s.arg(after, saving), "after"});
        section.rows.append(
            {QString::number(kind.files), before, after, secondsText(kind.ms / kind.files), name, saving});
    }
    return section;
}

ReportSection durations(const Findings& sum)
{
    ReportSection section{u"How long files took"_s};
    qint64 limit = Findings::kFirstDurationMs;
    for (const qint64 files : sum.durations) {
        section.bars.append(
            {"under "_L1 + secondsText(limit), double(files), QString::number(files), "time"});
        limit *= 2;
    }
    return section;
}

ReportSection machines(const Findings& sum)
{
    ReportSection section{u"Throughput of a core in a second"_s,
                          4,
                          {u"runs"_s, u"files"_s, u"files/s"_s, u"bytes/s"_s, u"machine"_s}};
    if (sum.all.coreMs == 0)
        return section;
    for (const auto& [name, machine] : sum.machines.asKeyValueRange()) {
        const QString files = filesPerCoreSecond(machine);
        section.bars.append({name, machine.perCoreSecond(machine.files), files, "speed"});
        section.rows.append({QString::number(machine.runs), QString::number(machine.files), files,
                             bytesPerCoreSecond(machine), name});
    }
    return section;
}

ReportSection slowest(const Findings& sum)
{
    ReportSection section{u"Slowest files"_s, 2, {u"time"_s, u"size"_s, u"file"_s}};
    for (const Findings::File& file : sum.slowest)
        section.rows.append({secondsText(file.ms), sizeText(file.before), file.path});
    return section;
}

ReportSection failures(const Findings& sum)
{
    ReportSection section{u"Failed files"_s, 0, {u"why"_s, u"file"_s, u"text"_s}};
    for (const QString& error : sum.runErrors)
        section.rows.append({u"usage"_s, u"(a run)"_s, error});
    for (const Findings::File& file : sum.failures)
        section.rows.append({file.kind, file.path, file.text});
    return section;
}

} // namespace

QStringList reportLines(const Findings& sum)
{
    QStringList lines{filesText(sum)};
    if (sum.bytesBefore > 0)
        lines.append(u"%1 -> %2 (%3)"_s.arg(sizeText(sum.bytesBefore), sizeText(sum.bytesAfter),
                                            savingText(sum.bytesBefore, sum.bytesAfter)));
    lines.append(runsText(sum));
    if (sum.all.coreMs > 0)
        lines.append(u"throughput of a core: %1 files and %2 a second"_s.arg(filesPerCoreSecond(sum.all),
                                                                             bytesPerCoreSecond(sum.all)));
    return lines;
}

QList<ReportSection> reportSections(const Findings& sum)
{
    QList<ReportSection> sections{kinds(sum), durations(sum), machines(sum), slowest(sum), failures(sum)};
    sections.removeIf([](const ReportSection& part) { return part.bars.isEmpty() && part.rows.isEmpty(); });
    return sections;
}
