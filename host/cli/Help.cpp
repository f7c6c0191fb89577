#include "host/cli/CommandLine.h"

using namespace Qt::StringLiterals;

static QString optionLines(const OptionText& option, bool withFallback)
{
    constexpr int kOptionColumn = 26;
    constexpr int kWidth = 80;
    const QString newLine = u'\n' + QString(kOptionColumn, u' ');
    QString text =
        (option.letter.isEmpty() ? u"      --"_s : u"  -%1, --"_s.arg(option.letter)) + option.name;
    if (!option.value.isEmpty())
        text += u' ' + option.value;
    // A long name stands in a line of its own.
    text = (text.size() < kOptionColumn ? text.leftJustified(kOptionColumn) : text + newLine) + option.help;
    if (withFallback && !option.fallback.isEmpty()) {
        const QString note = u"[%1]"_s.arg(option.fallback);
        const bool fits = text.size() - text.lastIndexOf(u'\n') + note.size() < kWidth;
        text += (fits ? u" "_s : newLine) + note;
    }
    return text + u'\n';
}

QString helpText(const CommandText& command, bool isWhole)
{
    const QString margin = u'\n' + QString(u"Usage: "_s.size(), u' ');
    QString text = command.description + (isWhole ? ".\n\nUsage: "_L1 : ".\nUsage: "_L1) +
                   QString(command.synopsis).replace(u'\n', margin) + u'\n';
    QString group = isWhole ? QString() : command.options.first().group;
    for (const OptionText& option : command.options) {
        const bool isNew = option.group != group;
        if (isNew && !isWhole)
            break;
        if (isNew)
            text += u"\n%1:\n"_s.arg(group = option.group);
        text += optionLines(option, isWhole);
    }
    return isWhole ? text + command.footer : text;
}
