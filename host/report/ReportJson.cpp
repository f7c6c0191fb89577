#include "host/report/ReportJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

QByteArray reportJson(const Findings& sum)
{
    QJsonArray kinds;
    for (auto kind = sum.kinds.begin(); kind != sum.kinds.end(); ++kind) {
        kinds.append(QJsonObject{{u"kind"_s, kind.key()},
                                 {u"files"_s, kind->files},
                                 {u"bytesBefore"_s, kind->bytesBefore},
                                 {u"bytesAfter"_s, kind->bytesAfter},
                                 {u"seconds"_s, kind->seconds}});
    }
    QJsonArray machines;
    for (auto machine = sum.machines.begin(); machine != sum.machines.end(); ++machine) {
        machines.append(QJsonObject{{u"host"_s, machine.key()},
                                    {u"runs"_s, machine->runs},
                                    {u"files"_s, machine->files},
                                    {u"bytes"_s, machine->bytes},
                                    {u"coreSeconds"_s, machine->coreSeconds}});
    }
    QJsonArray slowest;
    for (const Findings::Slow& file : sum.slowest)
        slowest.append(
            QJsonObject{{u"path"_s, file.path}, {u"seconds"_s, file.seconds}, {u"bytes"_s, file.bytes}});
    QJsonArray failures;
    for (const Findings::Failed& file : sum.failures)
        failures.append(QJsonObject{{u"path"_s, file.path}, {u"kind"_s, file.kind}, {u"text"_s, file.text}});
    const Findings::Machine all = sum.allMachines();
    const QJsonObject object{{u"type"_s, u"report"_s},
                             {u"runs"_s, sum.runs},
                             {u"runsWithoutEnd"_s, sum.runsWithoutEnd},
                             {u"runErrors"_s, QJsonArray::fromStringList(sum.runErrors)},
                             {u"cutLines"_s, sum.cutLines},
                             {u"foreignLines"_s, sum.foreignLines},
                             {u"seconds"_s, sum.spanSeconds},
                             {u"files"_s, sum.files},
                             {u"delivered"_s, sum.delivered},
                             {u"kept"_s, sum.kept},
                             {u"skipped"_s, sum.skipped},
                             {u"predicted"_s, sum.predicted},
                             {u"failed"_s, sum.failed},
                             {u"unfinished"_s, sum.unfinished},
                             {u"bytesBefore"_s, sum.bytesBefore},
                             {u"bytesAfter"_s, sum.bytesAfter},
                             {u"coreSeconds"_s, all.coreSeconds},
                             {u"filesPerCoreSecond"_s, all.filesPerCoreSecond()},
                             {u"bytesPerCoreSecond"_s, all.bytesPerCoreSecond()},
                             {u"kinds"_s, kinds},
                             {u"machines"_s, machines},
                             {u"slowest"_s, slowest},
                             {u"failures"_s, failures}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}
