#include "host/cli/ParseOptions.h"

#include <QCommandLineParser>
#include <QRegularExpression>

#include "host/cli/Help.h"
#include "host/cli/OptionTable.h"
#include "host/system/NativePath.h"

using namespace Qt::StringLiterals;

namespace {

NoJob usage(const QString& text)
{
    return {kUsage, text + u" (vxcompress --help tells more)"_s};
}

std::optional<double> numberIn(const QString& text, double low, double high)
{
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    if (!isNumber || !(number >= low && number <= high))
        return {};
    return number;
}

std::optional<int> wholeNumberIn(const QString& text, int low, int high)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (!isNumber || number < low || number > high)
        return {};
    return number;
}

// A bare number is a share.
std::optional<SizeGoal> sizeIn(const QString& text)
{
    return SizeGoal::parse(!text.isEmpty() && text.back().isDigit() ? text + u'%' : text);
}

/// The table's options in the parser, and their values by long name.
class Parser
{
public:
    Parser()
    {
        for (const OptionRow& row : optionTable()) {
            QStringList names = {QLatin1String(row.longName)};
            if (row.shortName)
                names.append(QString(QLatin1Char(row.shortName)));
            mParser.addOption(QCommandLineOption(names, QString(), QLatin1String(row.argument)));
        }
        mParser.addPositionalArgument(u"INPUT"_s, QString());
    }

    bool parse(const QStringList& arguments) { return mParser.parse(arguments); }
    QString errorText() const { return mParser.errorText(); }
    QStringList names() const { return mParser.positionalArguments(); }
    bool has(const char* name) const { return mParser.isSet(QLatin1String(name)); }
    QString value(const char* name) const { return mParser.value(QLatin1String(name)); }
    QStringList values(const char* name) const { return mParser.values(QLatin1String(name)); }

private:
    QCommandLineParser mParser;
};

QString readSwitches(const Parser& parser, Options& options)
{
    struct Switch
    {
        const char* name;
        bool Options::*value;
    };
    static const Switch kSwitches[] = {
        {"recursive", &Options::recursive},
        {"null", &Options::nullSeparated},
        {"in-place", &Options::inPlace},
        {"skip-existing", &Options::skipExisting},
        {"force", &Options::force},
        {"container", &Options::anyContainer},
        {"allow-larger", &Options::allowLarger},
        {"first-frame", &Options::firstFrame},
        {"keep-damaged", &Options::keepDamaged},
        {"keep-metadata", &Options::keepMetadata},
        {"keep-dates", &Options::keepDates},
        {"break-links", &Options::breakLinks},
        {"estimate", &Options::estimate},
        {"dry-run", &Options::dryRun},
        {"quiet", &Options::quiet},
        {"verbose", &Options::verbose},
        {"json", &Options::json},
    };
    for (const Switch& row : kSwitches)
        options.*row.value = parser.has(row.name);
    // Two that cannot both be meant.
    static const char* const kExclusive[][2] = {
        {"quality", "size"},    {"in-place", "output"},     {"in-place", "suffix"},
        {"in-place", "format"}, {"in-place", "container"},  {"estimate", "dry-run"},
        {"quiet", "json"},      {"force", "skip-existing"},
    };
    for (const auto& [one, other] : kExclusive) {
        if (parser.has(one) && parser.has(other))
            return u"give --%1 or --%2, not both"_s.arg(QLatin1String(one), QLatin1String(other));
    }
    return {};
}

// Sets what is counted. Returns what is wrong, or nothing.
QString readNumbers(const Parser& parser, Options& options)
{
    struct Count
    {
        const char* name;
        int Options::*value;
        int low;
        int high;
    };
    static const Count kCounts[] = {
        {"jobs", &Options::jobs, 1, 1024},
        {"nice", &Options::nice, 0, 19},
        {"timeout", &Options::timeoutSecs, 1, 1'000'000},
    };
    for (const Count& row : kCounts) {
        if (!parser.has(row.name))
            continue;
        const auto number = wholeNumberIn(parser.value(row.name), row.low, row.high);
        if (!number) {
            return u"--%1 takes a number from %2 to %3, not \"%4\""_s.arg(
                QLatin1String(row.name), QString::number(row.low), QString::number(row.high),
                parser.value(row.name));
        }
        options.*row.value = *number;
    }
    if (parser.has("min-savings")) {
        const auto percent = numberIn(parser.value("min-savings"), 0, 100);
        if (!percent)
            return u"--min-savings takes a percentage from 0 to 100, not \"%1\""_s.arg(
                parser.value("min-savings"));
        options.minSavings = *percent;
    }
    return {};
}

QString readAims(const Parser& parser, Options& options)
{
    if (parser.has("quality")) {
        options.quality = wholeNumberIn(parser.value("quality"), 0, 100);
        if (!options.quality)
            return u"--quality takes a whole number: 0 to 100 for images, 0 to 51 for videos; not \"%1\""_s
                .arg(parser.value("quality"));
    }
    if (parser.has("size")) {
        options.size = sizeIn(parser.value("size"));
        if (!options.size)
            return u"--size takes a percentage from 1 to 100, such as 40%, or a size, such as 8MB or "
                   "8MiB; not \"%1\""_s.arg(parser.value("size"));
    }
    if (parser.has("min-ssim")) {
        options.minSsim = numberIn(parser.value("min-ssim"), 0, 1);
        if (!options.minSsim)
            return u"--min-ssim takes a number from 0 to 1, such as 0.95, not \"%1\""_s.arg(
                parser.value("min-ssim"));
    }
    return {};
}

// The values that come from a list.
QString readChoices(const Parser& parser, Options& options)
{
    for (const OptionRow& row : optionTable()) {
        if (row.kind != ArgumentKind::OneOf)
            continue;
        const QStringList choices = QString::fromLatin1(row.choices).split(u' ');
        for (const QString& value : parser.values(row.longName)) {
            const bool isContainer = parser.has("container") && QLatin1String(row.longName) == "format"_L1;
            if (!choices.contains(value, Qt::CaseInsensitive) && value != "jpeg"_L1 && !isContainer)
                return u"--%1 takes %2, not \"%3\""_s.arg(QLatin1String(row.longName), choices.join(", "_L1),
                                                          value);
        }
    }
    options.scale = parser.value("scale");
    const QString color = parser.value("color");
    options.color = color == "always"_L1  ? ColorMode::Always
                    : color == "never"_L1 ? ColorMode::Never
                                          : ColorMode::Auto;
    bool hasKind[2] = {false, false};
    for (const QString& suffix : parser.values("format")) {
        const Format* const format = Formats::ofSuffix(suffix, options.anyContainer);
        if (!format)
            return u"--format: a .%1 cannot be written"_s.arg(suffix);
        if (std::exchange(hasKind[format->isVideo()], true))
            return u"--format is given twice for the same kind of files"_s;
        options.formats.append(suffix);
    }
    return {};
}

// Names of inputs and output.
QString readNames(const Parser& parser, Options& options)
{
    options.inputs = parser.names();
    options.output = parser.value("output");
    options.suffix = parser.value("suffix");
    options.filesFrom = parser.value("files-from");
    if (options.inputs.contains(QString()) || (parser.has("output") && options.output.isEmpty()))
        return u"a file name is empty"_s;
    if (parser.has("suffix") && (options.suffix.isEmpty() || options.suffix.contains(u'/')))
        return u"--suffix takes a text without a slash, such as -small"_s;
    if (options.nullSeparated && options.filesFrom.isEmpty())
        return u"--null is for --files-from"_s;
    if (parser.has("shard")) {
        const auto shard = Shard::parse(parser.value("shard"));
        if (!shard)
            return u"--shard takes K/N, such as 3/16, with K from 1 to N, not \"%1\""_s.arg(
                parser.value("shard"));
        options.shard = *shard;
    }

    const bool hasPlace = parser.has("output") || parser.has("suffix") || options.inPlace;
    if (!hasPlace && options.filesFrom.isEmpty() && options.inputs.size() == 2) {
        options.isShortForm = true;
        options.output = options.inputs.takeLast();
        if (!options.formats.isEmpty())
            return u"give the output's name or --format, not both"_s;
        return {};
    }
    if (options.inputs.isEmpty() && options.filesFrom.isEmpty())
        return u"needs one input and one output"_s;
    // The sizes alone need a format at most.
    if (!hasPlace && !options.deliversNothing())
        return options.inputs.size() == 1 && options.filesFrom.isEmpty()
                   ? u"needs one input and one output: a name, -o, --suffix or --in-place"_s
                   : u"where do the results go? Give -o FOLDER, --suffix TEXT or --in-place"_s;
    return {};
}

std::variant<Options, ReportOptions, DoctorOptions, NoJob> parseReport(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addOption(QCommandLineOption(u"json"_s));
    parser.addOption(QCommandLineOption(u"html"_s, QString(), u"FILE"_s));
    if (!parser.parse(arguments))
        return usage(parser.errorText());
    if (parser.positionalArguments().isEmpty())
        return usage(u"report needs files that vxcompress --json wrote, or - for standard input"_s);
    return ReportOptions{parser.positionalArguments(), parser.value(u"html"_s), parser.isSet(u"json"_s)};
}

std::variant<Options, ReportOptions, DoctorOptions, NoJob> parseDoctor(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addOption(QCommandLineOption(u"json"_s));
    parser.addOption(QCommandLineOption(u"quiet"_s));
    if (!parser.parse(arguments))
        return usage(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        return usage(u"doctor takes no files"_s);
    if (parser.isSet(u"json"_s) && parser.isSet(u"quiet"_s))
        return usage(u"give --quiet or --json, not both"_s);
    return DoctorOptions{parser.isSet(u"json"_s), parser.isSet(u"quiet"_s)};
}

} // namespace

std::variant<Options, ReportOptions, DoctorOptions, NoJob> parseOptions(const QStringList& arguments)
{
    if (arguments.value(1) == "report"_L1)
        return parseReport(arguments.mid(1));
    if (arguments.value(1) == "doctor"_L1)
        return parseDoctor(arguments.mid(1));
    Parser parser;
    if (!parser.parse(arguments))
        return usage(parser.errorText());
    if (parser.has("help-all"))
        return NoJob{kDelivered, wholeHelp()};
    if (parser.has("help"))
        return NoJob{kDelivered, shortHelp()};
    if (parser.has("version"))
        return NoJob{kDelivered, u"vxcompress %1\n"_s.arg(QLatin1String(VXC_VERSION))};

    Options options;
    for (const auto read : {readSwitches, readNumbers, readAims, readChoices, readNames}) {
        const QString error = read(parser, options);
        if (!error.isEmpty())
            return usage(error);
    }
    return options;
}
