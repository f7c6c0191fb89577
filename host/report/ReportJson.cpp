#include <QJsonArray>

#include "host/report/Report.h"

using namespace Qt::StringLiterals;

QByteArray reportJson(const Findings& sum)
{
    QJsonArray kinds;
    for (const auto& [name, kind] : sum.kinds.asKeyValueRange()) {
        kinds.append(QJsonObject{{Json::kKind, name},
                                 {Json::kFiles, kind.files},
                                 {Json::kBytesBefore, kind.bytesBefore},
                                 {Json::kBytesAfter, kind.bytesAfter},
                                 {Json::kSeconds, Json::seconds(kind.ms)}});
    }
    QJsonArray machines;
    for (const auto& [name, machine] : sum.machines.asKeyValueRange()) {
        machines.append(QJsonObject{{Json::kHost, name},
                                    {Json::kRuns, machine.runs},
                                    {Json::kFiles, machine.files},
                                    {Json::kBytes, machine.bytes},
                                    {u"coreSeconds"_s, Json::seconds(machine.coreMs)}});
    }
    QJsonArray slowest;
    for (const Findings::File& file : sum.slowest)
        slowest.append(QJsonObject{
            {Json::kPath, file.path}, {Json::kSeconds, Json::seconds(file.ms)}, {Json::kBytes, file.before}});
    QJsonArray failures;
    for (const Findings::File& file : sum.failures)
        failures.append(
            QJsonObject{{Json::kPath, file.path}, {Json::kKind, file.kind}, {Json::kText, file.text}});
    QJsonObject object{{Json::kType, u"report"_s},
                       {Json::kRuns, sum.runs},
                       {u"runsWithoutEnd"_s, sum.runsWithoutEnd},
                       {u"runErrors"_s, QJsonArray::fromStringList(sum.runErrors)},
                       {u"cutLines"_s, sum.cutLines},
                       {u"foreignLines"_s, sum.foreignLines},
                       {Json::kSeconds, Json::seconds(sum.spanMs)},
                       {Json::kFiles, sum.files()},
                       {Json::kBytesBefore, sum.bytesBefore},
                       {Json::kBytesAfter, sum.bytesAfter},
                       {u"coreSeconds"_s, Json::seconds(sum.all.coreMs)},
                       {u"filesPerCoreSecond"_s, sum.all.perCoreSecond(sum.all.files)},
                       {u"bytesPerCoreSecond"_s, sum.all.perCoreSecond(sum.all.bytes)},
                       {u"kinds"_s, kinds},
                       {u"machines"_s, machines},
                       {u"slowest"_s, slowest},
                       {u"failures"_s, failures}};
    for (size_t end = 0; end < sum.ends.size(); ++end)
        object.insert(kFileEnds[end], sum.ends[end]);
    return Json::line(object);
}
