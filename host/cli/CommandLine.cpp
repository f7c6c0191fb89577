#include "host/cli/CommandLine.h"

#include <CLI/CLI.hpp>

#include <QRegularExpression>

#include <algorithm>

#include "host/media/SuffixHint.h"
#include "host/system/PathText.h"

using namespace Qt::StringLiterals;

namespace {

constexpr char kExamples[] =
    "\n"
    "Examples:\n"
    "  vxcompress photo.jpg smaller.jpg --quality 75\n"
    "  vxcompress photo.jpg photo.webp\n"
    "  vxcompress video.mov half.mp4 --size 50%\n"
    "  vxcompress -r holidays -o holidays-small\n"
    "  vxcompress *.png --in-place --min-savings 5\n"
    "  vxcompress -r archive -o small --shard 3/16 --skip-existing --json > 3.ndjson\n"
    "  vxcompress report --html report.html *.ndjson\n"
    "  find . -newer last -print0 | vxcompress --files-from - -0 --suffix=-small\n"
    "\n"
    "Exit status: 0 all done (sources kept because they would grow included),\n"
    "1 some files failed, 2 wrong usage or files, 3 an encoder is missing,\n"
    "128 and the signal's number when interrupted.\n";

// CLI11 takes bytes and reads more into them than we do: "[a,b]" as a list, "--name=" as without a value, the
// name of a command anywhere. A name, and a value after "=", goes through it with a colon before it and with
// all but plain characters as four hex digits: nothing is read into it, and it comes out as it went in,
// whatever it is made of.
constexpr QChar kMark = u':';
constexpr QChar kEscape = u'%';
constexpr int kDigits = 4;

QString escaped(QChar unit)
{
    return kEscape + u"%1"_s.arg(unit.unicode(), kDigits, 16, QLatin1Char('0'));
}

QString escaped(const QString& text)
{
    static const QString kPlain = u"-./=_"_s;
    QString result;
    for (const QChar unit : text) {
        const bool isPlain = unit.unicode() < 0x80 && (unit.isLetterOrNumber() || kPlain.contains(unit));
        result += isPlain ? QString(unit) : escaped(unit);
    }
    return result;
}

QString decoded(const std::string& given)
{
    const QString text = QString::fromStdString(given);
    QString result;
    // A short option's value may have a "=" before it.
    for (qsizetype at = text.startsWith(u'=') ? 1 : 0; at < text.size(); ++at) {
        if (text[at] == kEscape) {
            result += QChar(text.mid(at + 1, kDigits).toUShort(nullptr, 16));
            at += kDigits;
        } else if (text[at] != kMark) {
            result += text[at];
        }
    }
    return result;
}

// In CLI11's order: the last one first.
std::vector<std::string> encoded(const QStringList& words)
{
    std::vector<std::string> result;
    bool onlyNames = false;
    for (const QString& word : words) {
        QString text = escaped(word);
        // To CLI11 "---x" and "-5" are names, to us slips of the finger.
        static const QRegularExpression kSlip(u"^-(?:-(?=-)|(?=[1-9]))"_s);
        if (const qsizetype at = kSlip.match(text).capturedEnd(); at > 0)
            text.replace(at, 1, escaped(text[at]));
        if (onlyNames || !word.startsWith(u'-') || word == u'-')
            text.prepend(kMark);
        else if (const qsizetype assign = text.indexOf(u'='); word.startsWith("--"_L1) && assign > 0)
            text.insert(assign + 1, kMark);
        onlyNames = onlyNames || word == "--"_L1;
        result.push_back(text.toStdString());
    }
    std::reverse(result.begin(), result.end());
    return result;
}

/// What an option takes.
template <typename T>
struct Kind
{
    QString words; ///< "takes …"
    std::function<std::optional<T>(const QString&)> read;
    QString choices; ///< separated by blanks, where they are few
};

template <typename T>
Kind<T> number(T low, T high, const QString& words = u"a number from %1 to %2"_s)
{
    const auto read = [low, high](const QString& text) -> std::optional<T> {
        bool isNumber = false;
        const T value = std::is_same_v<T, int> ? T(text.toInt(&isNumber)) : T(text.toDouble(&isNumber));
        return isNumber && value >= low && value <= high ? std::optional(value) : std::nullopt;
    };
    return {words.contains(u'%') ? words.arg(low).arg(high) : words, read, {}};
}

Kind<QString> text(const QString& words, const std::function<bool(const QString&)>& isGood)
{
    return {words,
            [isGood](const QString& given) { return isGood(given) ? std::optional(given) : std::nullopt; },
            {}};
}

Kind<QString> fileName()
{
    return text(u"a file name"_s, [](const QString& given) { return !given.isEmpty(); });
}

template <typename T>
Kind<T> oneOf(const QList<std::pair<QString, T>>& rows)
{
    QStringList names;
    for (const auto& row : rows)
        names.append(row.first);
    const auto read = [rows](const QString& given) -> std::optional<T> {
        for (const auto& [name, value] : rows) {
            if (name == given)
                return value;
        }
        return {};
    };
    return {names.join(", "_L1), read, names.join(u' ')};
}

/// Adds an option with a value, or names ("INPUT"). The target takes the last value, a list takes all.
template <typename T, typename Target>
CLI::Option* add(CLI::App& command, const char* names, const char* valueName, const Kind<T>& kind,
                 Target& target, const char* help)
{
    const auto store = [read = kind.read, &target](const CLI::results_t& results) {
        for (const std::string& given : results) {
            if constexpr (std::is_same_v<Target, QStringList>)
                target.append(*read(decoded(given)));
            else
                target = *read(decoded(given));
        }
        return true;
    };
    const auto check = [read = kind.read, words = kind.words](const std::string& given) {
        const QString value = decoded(given);
        return read(value) ? std::string() : u"takes %1, not \"%2\""_s.arg(words, shown(value)).toStdString();
    };
    CLI::Option* const option = command.add_option(names, CLI::callback_t(store), help)->type_name(valueName);
    option->check(check, kind.choices.toStdString());
    if constexpr (std::is_same_v<Target, QStringList>)
        option->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    return option->get_positional() ? option->expected(-1) : option;
}

void exclude(CLI::Option* option, const std::vector<CLI::Option*>& others)
{
    for (CLI::Option* other : others)
        option->excludes(other);
}

OptionText textOf(const CLI::Option& option)
{
    const auto text = [](const std::string& given) { return QString::fromStdString(given); };
    // CLI11 adds to the type's name what its check says of itself.
    const QString type = text(option.get_type_name());
    return {text(option.get_group()),
            option.get_snames().empty() ? QString() : text(option.get_snames()[0]),
            text(option.get_lnames().at(0)),
            type.section(u':', 0, 0),
            type.section(u':', 1),
            text(option.get_description()),
            text(option.get_default_str())};
}

CommandText textOf(const CLI::App& command)
{
    CommandText text;
    text.name = QString::fromStdString(command.get_name());
    text.description = QString::fromStdString(command.get_description());
    text.footer = QString::fromStdString(command.get_footer());
    text.synopsis = u"vxcompress "_s + text.name;
    for (const CLI::Option* option : command.get_options()) {
        const bool isName = option->get_positional();
        text.takesNames = text.takesNames || isName;
        if (isName || option->get_group().empty())
            continue;
        const OptionText& added = text.options.emplace_back(textOf(*option));
        const QString value = added.value.isEmpty() ? QString() : u' ' + added.value;
        if (option != command.get_help_ptr())
            text.synopsis += u" [--%1%2]"_s.arg(added.name, value);
    }
    if (text.takesNames)
        text.synopsis += " FILE..."_L1;
    return text;
}

// What CLI11 found wrong, in our words.
QString sentence(const CLI::Error& error, const CLI::App& command)
{
    QString what = QString::fromStdString(error.what());
    // "--name: what is wrong with it".
    const bool namesOption = what.section(u' ', 0, 0).endsWith(u':');
    const QString option = what.section(u':', 0, 0);
    if (dynamic_cast<const CLI::ExcludesError*>(&error))
        return u"give %1, not both"_s.arg(what.replace(" excludes "_L1, " or "_L1));
    if (dynamic_cast<const CLI::RequiredError*>(&error)) {
        const CLI::Option* const needed = command.get_option(what.section(u' ', 0, 0).toStdString());
        return QString::fromStdString(command.get_name() + " needs " + needed->get_description());
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) {
        return namesOption ? u"%1 needs a value: %2"_s.arg(
                                 option, textOf(*command.get_option(option.toStdString())).value)
                           : u"--%1 takes no value"_s.arg(what.section(u' ', 0, 0));
    }
    if (!dynamic_cast<const CLI::ExtrasError*>(&error))
        return namesOption ? what.remove(option.size(), 1) : what;

    const std::string first = command.remaining().front();
    if (!first.starts_with('-') || first == "--")
        return u"%1 takes no file, but there is \"%2\""_s.arg(QString::fromStdString(command.get_name()),
                                                              shown(decoded(command.remaining().back())));
    const QString typed = decoded(first).section(u'=', 0, 0);
    QStringList known;
    for (const OptionText& row : textOf(command).options)
        known.append(row.name);
    const QString meant = typed.startsWith("--"_L1) ? suggestSuffix(typed.mid(2), known) : QString();
    return u"there is no option %1"_s.arg(shown(typed)) +
           (meant.isEmpty() ? meant : u"; is --%1 meant?"_s.arg(meant));
}

} // namespace

CommandLine::CommandLine()
    : mProgram(std::make_unique<CLI::App>("Makes image and video files smaller", "vxcompress"))
{
    mProgram->allow_windows_style_options(false);
    mProgram->option_defaults()
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
        ->disable_flag_override();
    declareJobs();
    mProgram->option_defaults()->group("Options");
    declareReport();
    declareDoctor();
    // Subcommands would inherit it.
    mProgram->footer(u"\nThe suffix of OUTPUT chooses the encoder: %1;\n%2.\n"_s
                         .arg(Formats::suffixes(MediaKind::Image).join(", "_L1),
                              Formats::suffixes(MediaKind::Video).join(", "_L1))
                         .toStdString() +
                     kExamples);
}

CommandLine::~CommandLine() = default;

QList<CommandText> CommandLine::commands() const
{
    QList<CommandText> texts = {textOf(*mProgram)};
    for (const CLI::App* subcommand :
         std::as_const(*mProgram).get_subcommands([](const CLI::App*) { return true; }))
        texts.append(textOf(*subcommand));
    texts[0].name.clear();
    texts[0].synopsis = u"vxcompress [options] INPUT OUTPUT\nvxcompress [options] INPUT... -o OUTPUT"_s;
    for (const CommandText& subcommand : texts.mid(1))
        texts[0].synopsis += u'\n' + subcommand.synopsis;
    return texts;
}

void CommandLine::declareJobs()
{
    CLI::App& program = *mProgram;
    const auto group = [&program](const char* name) { program.option_defaults()->group(name); };
    const QStringList suffixes = Formats::suffixes(MediaKind::Image) + Formats::suffixes(MediaKind::Video);
    QStringList qualities;
    for (const Format& format : Formats::all())
        qualities.append(u"%1 %2"_s.arg(QLatin1String(format.name)).arg(format.quality.fallback));
    const auto isSuffix = [&program](const QString& given) {
        return Formats::ofSuffix(given, program.count("--container") > 0) != nullptr;
    };
    // A bare number is a share.
    const auto readSize = [](const QString& given) {
        return SizeGoal::parse(!given.isEmpty() && given.back().isDigit() ? given + u'%' : given);
    };
    const auto isPart = [](const QString& given) { return !given.isEmpty() && !given.contains(u'/'); };
    const QString qualityWords = u"a whole number: 0 to 100 for images, 0 to 51 for videos"_s;

    add(program, "INPUT", "FILE", fileName(), mJobs.inputs, "images, videos and, with --recursive, folders");

    // The help's one screen; what else there is has its groups below.
    group("Usual options");
    auto* const quality = add(program, "-q,--quality", "N", number(0, 100, qualityWords), mJobs.quality,
                              "images: 0 to 100 (best); videos: 51 to 0 (best)")
                              ->default_str(qualities.join(", "_L1).toStdString());
    auto* const size =
        add(program, "--size", "SIZE",
            Kind<SizeGoal>{
                u"a percentage from 1 to 100, such as 40%, or a size, such as 8MB or 8MiB"_s, readSize, {}},
            mJobs.size, "the result's size: 40%, 8MB or 8MiB");
    add(program, "--scale", "N", oneOf<QString>({{u"1"_s, u"1"_s}, {u"2"_s, u"2"_s}, {u"4"_s, u"4"_s}}),
        mJobs.scale, "videos: divide width and height by 1, 2 or 4");
    Kind<QString> formatKind = text(suffixes.join(", "_L1), isSuffix);
    formatKind.choices = suffixes.join(u' ');
    auto* const format = add(program, "--format", "SUFFIX", formatKind, mJobs.formats,
                             "make all images, or all videos, this kind")
                             ->default_str("the input's own");
    auto* const estimate =
        program.add_flag("--estimate", mJobs.estimate, "predict the sizes by samples, deliver nothing");
    exclude(
        program.add_flag("-n,--dry-run", mJobs.dryRun, "encode images for their true sizes, deliver nothing"),
        {estimate});
    auto* const output = add(program, "-o,--output", "PATH", fileName(), mJobs.output,
                             "the output, or the folder for the outputs");
    program.add_flag("-r,--recursive", mJobs.recursive, "take folders too, and mirror their trees");
    auto* const suffix =
        add(program, "--suffix", "TEXT", text(u"a text without a slash, such as -small"_s, isPart),
            mJobs.suffix, "write beside the input, with TEXT after the name");
    auto* const inPlace = program.add_flag("--in-place", mJobs.inPlace, "replace the inputs by the results");
    auto* const force = program.add_flag("-f,--force", mJobs.force, "replace existing outputs");
    add(program, "-j,--jobs", "N", number(1, 1024), mJobs.jobs, "run so many side by side")
        ->default_str("as many as there are cores");
    auto* const quiet = program.add_flag("--quiet", mJobs.quiet, "print failures only");
    program.add_flag("-v,--verbose", mJobs.verbose, "show the commands and the module's debug lines too");
    program.set_help_all_flag("--help-all", "show all options");

    group("What it makes");
    add(program, "--min-ssim", "X", number(0.0, 1.0, u"a number from 0 to 1, such as 0.95"_s), mJobs.minSsim,
        "raise the quality until the SSIM is X, 0 to 1");
    auto* const container =
        program.add_flag("--container", mJobs.anyContainer, "take other suffixes for video containers too");

    group("Files");
    auto* const filesFrom = add(program, "--files-from", "FILE", fileName(), mJobs.filesFrom,
                                "take inputs from FILE, or - for standard input");
    program.add_flag("-0,--null", mJobs.nullSeparated, "the names of --files-from end with a zero byte")
        ->needs(filesFrom);
    exclude(program.add_flag("--skip-existing", mJobs.skipExisting,
                             "leave existing outputs and their inputs alone"),
            {force});
    add(program, "--shard", "K/N", Kind<Shard>{u"K/N, such as 3/16, with K from 1 to N"_s, Shard::parse, {}},
        mJobs.shard, "take the K-th of N equal parts of the inputs");

    group("What may be lost or replaced");
    add(program, "--min-savings", "PERCENT", number(0.0, 100.0, u"a percentage from 0 to 100"_s),
        mJobs.minSavings, "keep the source when less is saved")
        ->default_str("0");
    program.add_flag("--allow-larger", mJobs.allowLarger, "deliver a video also when it came out larger");
    program.add_flag("--first-frame", mJobs.firstFrame, "take animated images and keep their first frame");
    program.add_flag("--keep-damaged", mJobs.keepDamaged, "deliver what came of a cut source, to a new path");
    program.add_flag("--keep-metadata", mJobs.keepMetadata,
                     "copy colour profile, EXIF; creation time, chapters");
    program.add_flag("--keep-dates", mJobs.keepDates, "give new outputs the times of their inputs");
    program.add_flag("--break-links", mJobs.breakLinks, "replace files that have further names (hard links)");

    group("How it runs");
    add(program, "--nice", "N", number(0, 19), mJobs.nice, "run the encoders at this lower priority, 0 to 19")
        ->default_str("0");
    add(program, "--timeout", "SECONDS", number(1, 1'000'000), mJobs.timeoutSecs,
        "give up a file that takes longer");

    group("What it prints");
    exclude(program.add_flag("--json", mJobs.json, "print everything as JSON, an object a line"), {quiet});
    add(program, "--color", "WHEN",
        oneOf<ColorMode>(
            {{u"auto"_s, ColorMode::Auto}, {u"always"_s, ColorMode::Always}, {u"never"_s, ColorMode::Never}}),
        mJobs.color, "colours")
        ->default_str("auto");
    program.set_help_flag("-h,--help", "show the usual options");
    program.set_version_flag("-V,--version", VXC_VERSION, "show the version");

    exclude(quality, {size});
    exclude(inPlace, {output, suffix, format, container});
    program.callback([this] {
        const QString wrong = finishJobs();
        if (!wrong.isEmpty())
            throw CLI::ValidationError(wrong.toStdString());
        mRequest = mJobs;
    });
}

void CommandLine::declareReport()
{
    CLI::App* const report = mProgram->add_subcommand("report", "Adds up what runs have printed with --json");
    report->set_help_all_flag("--help-all")->group("");
    report->add_flag("--json", mReport.json, "print it as one JSON object");
    add(*report, "--html", "FILE", fileName(), mReport.html, "write it as a page too");
    report->set_help_flag("-h,--help", "show this");
    add(*report, "FILE", "FILE", fileName(), mReport.files,
        "files that vxcompress --json wrote, or - for standard input")
        ->required();
    report->callback([this] { mRequest = mReport; });
}

void CommandLine::declareDoctor()
{
    CLI::App* const doctor =
        mProgram->add_subcommand("doctor", "Examines the installation, and tries its encoders");
    doctor->set_help_all_flag("--help-all")->group("");
    CLI::Option* const json = doctor->add_flag("--json", mDoctor.json, "print it as one JSON object");
    exclude(doctor->add_flag("--quiet", mDoctor.quiet, "print what is wrong, and nothing else"), {json});
    doctor->set_help_flag("-h,--help", "show this");
    doctor->callback([this] { mRequest = mDoctor; });
}

// What no option says alone. Returns what is wrong, or nothing.
QString CommandLine::finishJobs()
{
    bool hasKind[2] = {false, false};
    for (const QString& suffix : mJobs.formats) {
        if (std::exchange(hasKind[Formats::ofSuffix(suffix, mJobs.anyContainer)->isVideo()], true))
            return u"--format is given twice for the same kind of files"_s;
    }
    const bool hasPlace = !mJobs.output.isEmpty() || !mJobs.suffix.isEmpty() || mJobs.inPlace;
    if (!hasPlace && mJobs.filesFrom.isEmpty() && mJobs.inputs.size() == 2) {
        mJobs.isShortForm = true;
        mJobs.output = mJobs.inputs.takeLast();
        return mJobs.formats.isEmpty() ? QString() : u"give the output's name or --format, not both"_s;
    }
    if (mJobs.inputs.isEmpty() && mJobs.filesFrom.isEmpty())
        return u"needs one input and one output"_s;
    // The sizes alone need a format at most.
    if (!hasPlace && !mJobs.deliversNothing())
        return mJobs.inputs.size() == 1 && mJobs.filesFrom.isEmpty()
                   ? u"needs one input and one output: a name, -o, --suffix or --in-place"_s
                   : u"where do the results go? Give -o FOLDER, --suffix TEXT or --in-place"_s;
    return {};
}

CommandLine::Request CommandLine::parse(const QStringList& arguments)
{
    // Only as the first word: further on it is a file of that name.
    const std::vector<CLI::App*> named = mProgram->get_subcommands(
        [&](CLI::App* subcommand) { return subcommand->check_name(arguments.value(1).toStdString()); });
    const bool isProgram = named.empty();
    CLI::App& command = isProgram ? *mProgram : *named[0];
    QString wrong;
    try {
        command.parse(encoded(arguments.mid(isProgram ? 1 : 2)));
    } catch (const CLI::Error& error) {
        wrong = sentence(error, command);
    }
    // Who asks for help may have the rest wrong.
    const bool wantsAll = command.get_help_all_ptr()->count() > 0;
    if (wantsAll || command.get_help_ptr()->count() > 0)
        return NoJob{kDelivered,
                     helpText(isProgram ? commands().first() : textOf(command), wantsAll || !isProgram)};
    if (isProgram && command.get_version_ptr()->count() > 0)
        return NoJob{kDelivered, u"vxcompress %1\n"_s.arg(QLatin1String(VXC_VERSION))};
    if (wrong.isEmpty())
        return mRequest;
    const QString name = isProgram ? QString() : QString::fromStdString(command.get_name()) + u' ';
    return NoJob{kUsage, u"%1 (vxcompress %2--help tells more)"_s.arg(wrong, name)};
}
