#include "host/Options.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include <optional>

#include "host/Format.h"

namespace {

constexpr char kDescription[] =
    "Makes an image or video file smaller.\n"
    "\n"
    "The suffix of OUTPUT chooses the encoder: jpg, jpeg, png, webp; every other one is a video container,\n"
    "such as mp4, mov, mkv, m4v, avi, flv, f4v or m2ts. INPUT is never changed, unless it is OUTPUT too.";

constexpr char kExamples[] =
    "\n"
    "Examples:\n"
    "  vxcompress photo.jpg smaller.jpg --quality 75\n"
    "  vxcompress drawing.png drawing.png --force        in place\n"
    "  vxcompress photo.jpg photo.webp\n"
    "  vxcompress film.mov smaller.mp4 --quality 28 --scale 2\n"
    "  vxcompress film.mov half.mp4 --size 50%\n"
    "  vxcompress film.mov smaller.mp4 --estimate        predict the size only\n"
    "\n"
    "Exit status: 0 done, 1 the job failed, 2 wrong usage or files, 3 an encoder is missing,\n"
    "128 and the signal's number when interrupted.\n";

const QCommandLineOption
    kQuality({QStringLiteral("q"), QStringLiteral("quality")},
             QStringLiteral("jpg, png, webp: 0 to 100, more is better (default 75, png 80). "
                            "Video: constant rate factor, 0 (best) to 51 (default 28)."),
             QStringLiteral("number"));
const QCommandLineOption kSize(QStringLiteral("size"),
                               QStringLiteral("Video: aim at this share of the input's size, 1 to 100."),
                               QStringLiteral("percent"));
const QCommandLineOption kScale(QStringLiteral("scale"),
                                QStringLiteral("Video: divide width and height by 1, 2 or 4."),
                                QStringLiteral("divisor"));
const QCommandLineOption
    kEstimate(QStringLiteral("estimate"),
              QStringLiteral("Video: encode the first 15 seconds, predict the whole's size, "
                             "write nothing."));
const QCommandLineOption kForce({QStringLiteral("f"), QStringLiteral("force")},
                                QStringLiteral("Replace an existing OUTPUT."));
const QCommandLineOption kQuiet(QStringLiteral("quiet"), QStringLiteral("No progress and no result line."));
const QCommandLineOption kVerbose(QStringLiteral("verbose"),
                                  QStringLiteral("Show the module's debug lines on standard error."));

void setUp(QCommandLineParser& parser)
{
    parser.setApplicationDescription(QLatin1String(kDescription));
    parser.addPositionalArgument(QStringLiteral("INPUT"), QStringLiteral("The source file."));
    parser.addPositionalArgument(QStringLiteral("OUTPUT"), QStringLiteral("Where the result goes."));
    parser.addOptions({kQuality, kSize, kScale, kEstimate, kForce, kQuiet, kVerbose});
}

std::optional<int> numberIn(const QString& text, int low, int high)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (!isNumber || number < low || number > high)
        return {};
    return number;
}

NoJob usage(const QString& text)
{
    return {kUsage, text + QStringLiteral(" (vxcompress --help tells more)")};
}

// Sets quality or size. Returns what is wrong, or nothing.
QString readAim(const QCommandLineParser& parser, const Format& format, Options& options)
{
    if (parser.isSet(kQuality) && parser.isSet(kSize))
        return QStringLiteral("give --quality or --size, not both");
    options.isPercentage = parser.isSet(kSize);
    std::optional<int> number = format.defaultQuality;
    if (options.isPercentage) {
        QString text = parser.value(kSize);
        if (text.endsWith(u'%'))
            text.chop(1);
        number = numberIn(text, 1, 100);
        if (!number)
            return QStringLiteral("--size takes a percentage from 1 to 100, not \"%1\"")
                .arg(parser.value(kSize));
    } else if (parser.isSet(kQuality)) {
        number = numberIn(parser.value(kQuality), 0, format.maxQuality);
        if (!number) {
            return QStringLiteral("the quality of a %1 is a number from 0 to %2, not \"%3\"")
                .arg(QLatin1String(format.name), QString::number(format.maxQuality), parser.value(kQuality));
        }
    }
    options.quality = QString::number(*number);
    return {};
}

QString readVideoOptions(const QCommandLineParser& parser, const Format& format, Options& options)
{
    for (const QCommandLineOption& option : {kSize, kScale, kEstimate}) {
        if (!format.isVideo() && parser.isSet(option))
            return QStringLiteral("--%1 is for video, and the output is a %2")
                .arg(option.names().constFirst(), QLatin1String(format.name));
    }
    options.estimate = parser.isSet(kEstimate);
    options.scale = parser.value(kScale);
    static const QStringList kScales = {QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("4")};
    if (parser.isSet(kScale) && !kScales.contains(options.scale))
        return QStringLiteral("--scale takes 1, 2 or 4, not \"%1\"").arg(options.scale);
    return {};
}

} // namespace

std::variant<Options, NoJob> parseOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    setUp(parser);
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    if (!parser.parse(arguments))
        return usage(parser.errorText());
    if (parser.isSet(help))
        return NoJob{kDelivered, parser.helpText() + QLatin1String(kExamples)};
    if (parser.isSet(version))
        return NoJob{kDelivered, QStringLiteral("vxcompress %1\n").arg(QLatin1String(VXC_VERSION))};

    const QStringList paths = parser.positionalArguments();
    if (paths.size() != 2)
        return usage(QStringLiteral("needs one input and one output"));
    if (paths.at(0).isEmpty() || paths.at(1).isEmpty())
        return usage(QStringLiteral("a file name is empty"));
    Options options;
    options.inputPath = paths.at(0);
    options.outputPath = paths.at(1);
    options.force = parser.isSet(kForce);
    options.quiet = parser.isSet(kQuiet);
    options.verbose = parser.isSet(kVerbose);
    if (QFileInfo(options.outputPath).suffix().isEmpty())
        return usage(QStringLiteral("the output's name needs a suffix, such as .jpg or .mp4"));

    const Format& format = formatOf(options.outputPath);
    QString error = readVideoOptions(parser, format, options);
    if (error.isEmpty())
        error = readAim(parser, format, options);
    if (!error.isEmpty())
        return usage(error);
    return options;
}
