#include "host/cli/Help.h"

#include <QStringList>

#include "host/cli/OptionTable.h"
#include "host/job/Format.h"

using namespace Qt::StringLiterals;

namespace {

constexpr char kUsageLines[] = "Usage: vxcompress [options] INPUT OUTPUT\n"
                               "       vxcompress [options] INPUT... -o OUTPUT\n"
                               "       vxcompress doctor\n"
                               "       vxcompress report [--json] [--html FILE] FILE...\n";

constexpr char kExamples[] =
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

constexpr int kOptionColumn = 26;
constexpr int kWidth = 80;

QString optionText(const OptionRow& row)
{
    QString text = row.shortName ? u"  -%1, "_s.arg(QLatin1Char(row.shortName)) : u"      "_s;
    text += "--"_L1 + QLatin1String(row.longName);
    if (row.argument)
        text += u' ' + QLatin1String(row.argument);
    return text;
}

QString line(const OptionRow& row)
{
    QString text = optionText(row);
    // A long name stands in a line of its own.
    text = text.size() < kOptionColumn ? text.leftJustified(kOptionColumn)
                                       : text + u'\n' + QString(kOptionColumn, u' ');
    return text + QLatin1String(row.help) + u'\n';
}

QString suffixLine()
{
    return u"The suffix of OUTPUT chooses the encoder: %1;\n%2.\n"_s.arg(
        Formats::imageSuffixes().join(", "_L1), Formats::videoSuffixes().join(", "_L1));
}

} // namespace

QString shortHelp()
{
    QString text = u"Makes image and video files smaller.\n"_s + QLatin1String(kUsageLines);
    for (const OptionRow& row : optionTable()) {
        if (row.isCommon)
            text += line(row);
    }
    return text;
}

QString wholeHelp()
{
    QString text =
        u"Makes image and video files smaller.\n\n"_s + QLatin1String(kUsageLines) + u'\n' + suffixLine();
    const char* group = nullptr;
    for (const OptionRow& row : optionTable()) {
        if (row.group != group)
            text += u"\n%1:\n"_s.arg(QLatin1String(row.group));
        group = row.group;
        QString option = line(row);
        if (row.fallback) {
            option.chop(1);
            const QString fallback = u"[%1]"_s.arg(QLatin1String(row.fallback));
            const bool fits = option.size() - option.lastIndexOf(u'\n') + fallback.size() < kWidth;
            option += (fits ? u" "_s : u'\n' + QString(kOptionColumn, u' ')) + fallback + u'\n';
        }
        text += option;
    }
    return text + u'\n' + QLatin1String(kExamples);
}
