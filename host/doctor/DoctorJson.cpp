#include "host/doctor/DoctorJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

QString faultName(EncoderFault fault)
{
    switch (fault) {
    case EncoderFault::None:
        return u"none"_s;
    case EncoderFault::Missing:
        return u"missing"_s;
    case EncoderFault::NotRunning:
        return u"notRunning"_s;
    case EncoderFault::ReadsNoJpeg:
        return u"readsNoJpeg"_s;
    case EncoderFault::TrialFailed:
        return u"trialFailed"_s;
    case EncoderFault::NotTried:
        break;
    }
    return u"notTried"_s;
}

QJsonObject objectOf(const EncoderState& encoder)
{
    QJsonArray trials;
    for (const EncoderTrial& trial : encoder.trials) {
        trials.append(QJsonObject{{u"kind"_s, trial.kind},
                                  {u"error"_s, trial.error},
                                  {u"before"_s, trial.before},
                                  {u"after"_s, trial.after},
                                  {u"seconds"_s, double(trial.elapsedMs) / 1000}});
    }
    return {{u"name"_s, encoder.name},
            {u"path"_s, encoder.path},
            {u"target"_s, encoder.target},
            {u"version"_s, encoder.version},
            {u"elsewhere"_s, encoder.elsewhere},
            {u"elsewhereVersion"_s, encoder.elsewhereVersion},
            {u"fault"_s, faultName(encoder.fault)},
            {u"detail"_s, encoder.detail},
            {u"trials"_s, trials}};
}

} // namespace

QByteArray doctorJson(const Diagnosis& diagnosis)
{
    QJsonArray encoders;
    for (const EncoderState& encoder : diagnosis.encoders)
        encoders.append(objectOf(encoder));
    const ModuleState& module = diagnosis.module;
    const TemporaryPlace& place = diagnosis.temporary;
    const TerminalState& terminal = diagnosis.terminal;
    const QJsonObject object{
        {u"type"_s, u"doctor"_s},
        {u"status"_s, diagnosis.exitStatus()},
        {u"version"_s, diagnosis.version},
        {u"qt"_s, diagnosis.qtVersion},
        {u"module"_s, QJsonObject{{u"path"_s, module.path},
                                  {u"version"_s, module.version},
                                  {u"ffmpeg"_s, module.ffmpeg},
                                  {u"error"_s, module.error}}},
        {u"encoders"_s, encoders},
        {u"temporary"_s,
         QJsonObject{{u"path"_s, place.path}, {u"error"_s, place.error}, {u"freeBytes"_s, place.freeBytes}}},
        {u"terminal"_s, QJsonObject{{u"isTerminal"_s, terminal.isTerminal},
                                    {u"columns"_s, terminal.columns},
                                    {u"colour"_s, terminal.hasColour},
                                    {u"utf8"_s, terminal.isUtf8}}}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}
