// A command line, a word in each line up to an empty one, and the list of --files-from behind it.
#include <QDir>

#include "host/cli/CommandLine.h"
#include "host/job/Format.h"
#include "host/plan/Plan.h"
#include "host/system/NativePath.h"
#include "host/system/PathText.h"
#include "host/system/PrivateFolder.h"
#include "tests/fuzz/Fuzz.h"

using namespace Qt::StringLiterals;

using Fuzz::require;

namespace {

void checkTargets(const Options& options)
{
    require(!options.inputs.contains(QString()), "no name is empty");
    require(!(options.quality && options.size) && !(options.inPlace && !options.output.isEmpty()),
            "what cannot both be meant");
    for (const qint64 bytes : {qint64(0), qint64(1), qint64(1) << 60})
        require(!options.size ||
                    (options.size->bytesFor(bytes) >= 0 && options.size->bytesFor(bytes) <= bytes),
                "a requested size is no larger than the source");
    for (const QString& suffix : options.formats)
        require(Formats::ofSuffix(suffix, options.anyContainer), "a format can be written");
    const bool hasPlace = options.inPlace || !options.output.isEmpty() || !options.suffix.isEmpty();
    require(hasPlace || options.deliversNothing(), "the results have a place");
    require(!options.inputs.isEmpty() || !options.filesFrom.isEmpty(), "there is an input");
}

// The names of the list, as bytes; what the options say of places holds inside the scratch folder.
void checkList(Options options, const QByteArray& list)
{
    options.inputs.clear();
    options.isShortForm = options.recursive = false;
    options.filesFrom = Fuzz::write(u"list"_s, list);
    if (!options.output.isEmpty())
        options.output = Fuzz::scratch(u"out"_s);
    QList<QByteArray> names = list.split(options.nullSeparated ? '\0' : '\n');
    names.removeAll(QByteArray());

    PrivateFolder folder(Fuzz::scratch(QString()), PrivateFolder::kTemporary);
    require(folder.isValid(), "there is a private folder");
    const Shard shard = options.shard;
    Plan plan(options, folder);
    if (!plan.make().isEmpty())
        return;
    require(shard.isWhole() ? plan.files() == names.size() : plan.files() <= names.size(),
            "every name counts");
    qsizetype at = 0;
    qint64 count = 0;
    for (auto job = plan.next(); job; job = plan.next(), ++count) {
        const QByteArray input = NativePath::toBytes(job->spec.inputPath);
        at = names.indexOf(input, at) + 1;
        require(at > 0, "a job's input is in the list, byte for byte and in its order");
        require(job->spec.index == count, "jobs are counted");
        require(bool(job->failure) == !job->spec.format || job->failure.kind == FailureKind::BadOption,
                "a job has a format or a failure");
        const QString output = QDir::cleanPath(job->spec.outputPath);
        require(job->failure || options.output.isEmpty() || output.startsWith(options.output + u'/'),
                "no name leads out of the output folder");
        require(!options.inPlace || job->spec.outputPath == job->spec.inputPath, "in place is in place");
    }
    require(count == plan.files(), "all are planned");
}

void checkShown(const QByteArray& bytes)
{
    const QString text = NativePath::fromBytes(bytes);
    require(NativePath::toBytes(text) == bytes, "a name travels whole");
    const QString line = shown(text);
    require(NativePath::isPlain(line) &&
                std::none_of(line.begin(), line.end(), [](QChar letter) { return letter.unicode() < u' '; }),
            "a name is shown in one line");
    require(columnsOf(cutTo(line, 20)) <= 20 && columnsOf(cutTo(line, 20, Keep::End)) <= 20, "a cut fits");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Fuzz::Input input(data, size);
    QStringList arguments = {u"vxcompress"_s};
    while (!input.isEmpty()) {
        const QByteArray word = input.piece('\n');
        if (word.isEmpty())
            break;
        checkShown(word);
        arguments.append(NativePath::fromBytes(word));
    }
    const auto parsed = CommandLine().parse(arguments);
    if (const auto* const noJob = std::get_if<NoJob>(&parsed)) {
        require(!noJob->text.isEmpty() && (noJob->status == kDelivered || noJob->status == kUsage),
                "no job is explained");
        return 0;
    }
    if (const auto* const options = std::get_if<Options>(&parsed)) {
        checkTargets(*options);
        checkList(*options, input.rest());
    }
    return 0;
}
