// Jobs of any names, texts and numbers: every line of --json is as docs/json-stream.schema.json says, has the
// names byte for byte, and is counted by the report.
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include "host/output/JsonReporter.h"
#include "host/report/StreamTally.h"
#include "host/system/NativePath.h"
#include "tests/fuzz/Fuzz.h"

using Fuzz::require;
using namespace Qt::StringLiterals;

namespace {

QJsonObject readSchema()
{
    QFile file(QLatin1String(VXC_SOURCE_FOLDER "/docs/json-stream.schema.json"));
    require(file.open(QIODevice::ReadOnly), "there is a schema");
    return QJsonDocument::fromJson(file.readAll()).object();
}

// The keywords that the schema uses; another one is refused, so that none goes unnoticed.
class Schema
{
public:
    bool fits(const QJsonValue& value) const { return fits(value, mRoot); }

private:
    bool fits(const QJsonValue& value, const QJsonObject& schema) const
    {
        for (auto rule = schema.begin(); rule != schema.end(); ++rule) {
            if (!fits(value, rule.key(), *rule, schema))
                return false;
        }
        return true;
    }

    bool fits(const QJsonValue& value, const QString& rule, const QJsonValue& says,
              const QJsonObject& schema) const
    {
        if (rule == u"$ref")
            return fits(value,
                        mRoot.value(u"$defs").toObject().value(says.toString().section(u'/', -1)).toObject());
        if (rule == u"type")
            return isOf(value, says.toString());
        if (rule == u"const")
            return value == says;
        if (rule == u"enum")
            return says.toArray().contains(value);
        if (rule == u"minimum")
            return value.toDouble() >= says.toDouble();
        if (rule == u"maximum")
            return value.toDouble() <= says.toDouble();
        if (rule == u"pattern")
            return QRegularExpression(says.toString()).match(value.toString()).hasMatch();
        if (rule == u"properties")
            return haveFitting(value.toObject(), says.toObject());
        const QStringList names = value.toObject().keys();
        if (rule == u"required")
            return std::ranges::all_of(
                says.toArray(), [&](const QJsonValue& name) { return names.contains(name.toString()); });
        if (rule == u"additionalProperties")
            return std::ranges::all_of(names, [&](const QString& name) {
                return schema.value(u"properties").toObject().contains(name);
            });
        if (rule == u"oneOf")
            return std::ranges::count_if(says.toArray(), [&](const QJsonValue& one) {
                       return fits(value, one.toObject());
                   }) == 1;
        static const QStringList kWords{u"$schema"_s, u"title"_s, u"$defs"_s, u"format"_s,
                                        u"contentEncoding"_s};
        require(kWords.contains(rule), "the schema's keyword is known");
        return true;
    }

    bool haveFitting(const QJsonObject& object, const QJsonObject& properties) const
    {
        for (auto property = properties.begin(); property != properties.end(); ++property) {
            if (object.contains(property.key()) && !fits(object.value(property.key()), property->toObject()))
                return false;
        }
        return true;
    }

    static bool isOf(const QJsonValue& value, const QString& type)
    {
        return type == u"object"    ? value.isObject()
               : type == u"string"  ? value.isString()
               : type == u"integer" ? value.isDouble() && double(value.toInteger(-1)) == value.toDouble()
                                    : type == u"number" && value.isDouble();
    }

    QJsonObject mRoot = readSchema();
};

QByteArray nameIn(const QJsonObject& object, const QString& key)
{
    const QString bytes = object.value(key + "Bytes"_L1).toString();
    return bytes.isEmpty() ? object.value(key).toString().toUtf8() : QByteArray::fromBase64(bytes.toLatin1());
}

double share(Fuzz::Input& input)
{
    return double(input.number(1 << 16)) / (1 << 16);
}

JobResult resultOf(Fuzz::Input& input)
{
    JobResult result;
    result.spec.index = input.number(1000);
    result.spec.inputPath = NativePath::fromBytes(input.piece('\n'));
    result.spec.outputPath = NativePath::fromBytes(input.piece('\n'));
    result.spec.format = Formats::ofSuffix(u"jpg"_s);
    result.spec.inputBytes = result.bytesBefore = std::abs(input.anyNumber());
    result.outcome = Outcome(input.number(int(Outcome::Failed)));
    if (result.outcome == Outcome::Failed) {
        result.failure = {FailureKind(1 + input.number(int(FailureKind::Interrupted) - 1)),
                          NativePath::fromBytes(input.piece('\n')), int(input.number(65535)),
                          NativePath::fromBytes(input.piece('\n')), input.number(1 << 30)};
        result.keptAt = NativePath::fromBytes(input.piece('\n'));
    }
    if (result.outcome == Outcome::Estimated)
        result.estimate = {input.number(1 << 30), input.number(1 << 30)};
    result.bytesAfter = std::abs(input.anyNumber());
    result.elapsedMs = input.number(qint64(1) << 40);
    result.runs = int(input.number(9));
    if (input.flag())
        result.quality = int(input.number(100));
    if (input.flag())
        result.ssim = share(input);
    while (!input.isEmpty() && result.warnings.size() < 3)
        result.warnings.append({u"alpha"_s, NativePath::fromBytes(input.piece('\n'))});
    return result;
}

void tellAll(const JobResult& result, const Options& options, Fuzz::Input& input)
{
    JsonReporter reporter(options);
    reporter.planned(1, result.bytesBefore);
    reporter.started(result.spec);
    reporter.progressed(result.spec, share(input));
    reporter.settled(result);
    reporter.ended(result);
    reporter.refused(NativePath::fromBytes(input.rest()));
    RunSummary summary;
    summary.files = 1;
    summary.bytesBefore = result.bytesBefore;
    summary.bytesAfter = result.bytesAfter;
    summary.estimate = result.estimate;
    summary.signal = int(input.number(15));
    summary.elapsedMs = result.elapsedMs;
    reporter.finished(summary);
}

void checkCounted(const Findings& sum, Outcome outcome)
{
    require(sum.files() == 1 && sum.runs == 1 && sum.runsWithoutEnd == 0 && sum.runErrors.size() == 1 &&
                sum.cutLines + sum.foreignLines == 0,
            "one file of one whole run");
    const FileEnd end = outcome == Outcome::Failed                                 ? FileEnd::Failed
                        : outcome == Outcome::Delivered                            ? FileEnd::Delivered
                        : outcome == Outcome::Skipped                              ? FileEnd::Skipped
                        : outcome == Outcome::Kept || outcome == Outcome::NotWorth ? FileEnd::Kept
                                                                                   : FileEnd::Predicted;
    const qint64 counted = sum.ends[size_t(end)];
    require(counted == 1, "the file counts for what came of it");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const Schema schema;
    static Fuzz::Stdout output;
    Fuzz::Input input(data, size);
    Options options;
    options.jobs = int(input.number(1024));
    const JobResult result = resultOf(input);
    const QByteArray path = NativePath::toBytes(result.spec.inputPath);
    // A plan has no input without a name.
    if (path.isEmpty())
        return 0;
    tellAll(result, options, input);

    StreamTally tally;
    for (const QByteArray& line : output.take().chopped(1).split('\n')) {
        const QJsonDocument document = QJsonDocument::fromJson(line);
        require(document.isObject(), "a line is an object");
        require(schema.fits(document.object()), line.constData());
        const QJsonObject object = document.object();
        require(!object.contains(u"path") || nameIn(object, u"path"_s) == path, "the input, byte for byte");
        require(!object.contains(u"output") ||
                    nameIn(object, u"output"_s) == NativePath::toBytes(result.spec.outputPath),
                "the output, byte for byte");
        require(tally.addLine(line), "the report knows the line");
    }
    checkCounted(tally.findings(), result.outcome);
    return 0;
}
