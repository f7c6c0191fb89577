// Writes the manual page and the shells' completions, of their texts with the options' places left open:
//
//   vxcompress_reference FOLDER-OF-THE-TEXTS FOLDER
#include <QFile>

#include <cstdio>

#include "host/cli/CommandLine.h"

using namespace Qt::StringLiterals;

using Commands = QList<CommandText>;

namespace {

// With a backslash before each of the characters.
QString quoted(const QString& text, const QString& characters)
{
    QString result;
    for (const QChar c : text)
        result += characters.contains(c) ? QString(u'\\') + c : QString(c);
    return result;
}

QString subcommandNames(const Commands& commands)
{
    QStringList names;
    for (const CommandText& command : commands.mid(1))
        names.append(command.name);
    return names.join(u' ');
}

// A bare hyphen would be typeset as one, and not found by who searches for an option.
QString manText(const QString& text)
{
    return QString(text).replace(u'\\', "\\e"_L1).replace(u'-', "\\-"_L1);
}

QString manOptions(const CommandText& command)
{
    QString text;
    QString group;
    for (const OptionText& option : command.options) {
        // The subcommands have one group each.
        if (command.name.isEmpty() && option.group != group)
            text += u".SS %1\n"_s.arg(group = option.group);
        text += ".TP\n"_L1 + (option.letter.isEmpty() ? QString() : u"\\fB\\-%1\\fR, "_s.arg(option.letter));
        text += u"\\fB\\-\\-%1\\fR"_s.arg(manText(option.name));
        text += option.value.isEmpty() ? QString() : u"=\\fI%1\\fR"_s.arg(option.value);
        // A line that begins with a dot or a quote would be a command.
        text += u"\n\\&%1.\n"_s.arg(manText(option.help));
        if (!option.choices.isEmpty())
            text += u"One of: %1.\n"_s.arg(option.choices);
        if (!option.fallback.isEmpty())
            text += u"Without it: %1.\n"_s.arg(manText(option.fallback));
    }
    return text.chopped(1);
}

QString manPage(const QString& given, const Commands& commands)
{
    QString text = given;
    text.replace("@DATE@"_L1, QLatin1String(VXC_DATE)).replace("@VERSION@"_L1, QLatin1String(VXC_VERSION));
    text.replace("@SYNOPSIS@"_L1, manText(commands[0].synopsis))
        .replace("@OPTIONS@"_L1, manOptions(commands[0]));
    for (const CommandText& command : commands.mid(1))
        text.replace(u"@OPTIONS %1@"_s.arg(command.name), manOptions(command));
    return text;
}

QString bash(const QString& text, const Commands& commands)
{
    QStringList values;
    QStringList options;
    for (const CommandText& command : commands) {
        QStringList names;
        for (const OptionText& option : command.options) {
            names.append(u"--%1%2"_s.arg(option.name, option.value.isEmpty() ? QString() : u"="_s));
            if (option.value.isEmpty())
                continue;
            QString pattern = command.name + "--"_L1 + option.name;
            if (!option.letter.isEmpty())
                pattern += u'|' + command.name + u'-' + option.letter;
            QString action;
            if (!option.choices.isEmpty())
                action += u"mapfile -t COMPREPLY < <(compgen -W '%1' -- \"$word\"); "_s.arg(option.choices);
            if (!option.takesFile())
                action += "compopt +o default; "_L1;
            values.append(u"        %1) %2return ;;"_s.arg(pattern, action));
        }
        options.append(u"        '%1') options='%2' ;;"_s.arg(command.name, names.join(u' ')));
    }
    return QString(text)
        .replace("@COMMANDS@"_L1, subcommandNames(commands))
        .replace("@VALUES@"_L1, values.join(u'\n'))
        .replace("@OPTIONS@"_L1, options.join(u'\n'));
}

QString zshOption(const OptionText& option)
{
    const bool isSwitch = option.value.isEmpty();
    const QString name = "--"_L1 + option.name;
    QString names = isSwitch ? name : name + u'=';
    if (!option.letter.isEmpty()) {
        names = u"'(-%1 %2)'{-%1%3,%4}"_s.arg(option.letter, name, isSwitch ? QString() : u"+"_s, names);
    }
    QString value = isSwitch ? QString() : u":%1:"_s.arg(option.value);
    if (!option.choices.isEmpty())
        value += u'(' + option.choices + u')';
    else if (option.takesFile())
        value += "_files"_L1;
    return names + u"$'%1'"_s.arg(quoted(u"[%1]"_s.arg(quoted(option.help, u"[]:\\"_s)) + value, u"'"_s));
}

QString zsh(const QString& text, const Commands& commands)
{
    const QString names = subcommandNames(commands);
    QStringList cases;
    for (const CommandText& command : commands) {
        QStringList arguments = {u"    _arguments -s -S"_s};
        for (const OptionText& option : command.options)
            arguments.append(zshOption(option));
        if (command.name.isEmpty())
            arguments.append(u"'1:input:{ compadd %1; _files }'"_s.arg(names));
        if (command.takesNames)
            arguments.append(u"'*:input:_files'"_s);
        cases.append(u"'%1')\n%2\n    ;;"_s.arg(command.name, arguments.join(" \\\n        "_L1)));
    }
    return QString(text).replace("@COMMANDS@"_L1, names).replace("@OPTIONS@"_L1, cases.join(u'\n'));
}

QString fish(const QString&, const Commands& commands)
{
    QStringList lines;
    const QString complete = u"complete -c vxcompress -n '%1' "_s;
    for (const CommandText& command : commands) {
        QString condition = u"__fish_seen_subcommand_from "_s + command.name;
        if (command.name.isEmpty())
            condition = "not "_L1 + condition + subcommandNames(commands);
        else
            lines.append(complete.arg(u"__fish_is_first_arg"_s) +
                         u"-a %1 -d '%2'"_s.arg(command.name, quoted(command.description, u"'\\"_s)));
        for (const OptionText& option : command.options) {
            QString line = complete.arg(condition);
            line += option.letter.isEmpty() ? QString() : u"-s %1 "_s.arg(option.letter);
            line += u"-l %1 "_s.arg(option.name);
            line += option.value.isEmpty() ? QString() : option.takesFile() ? u"-r -F "_s : u"-x "_s;
            line += option.choices.isEmpty() ? QString() : u"-a '%1' "_s.arg(option.choices);
            lines.append(line + u"-d '%1'"_s.arg(quoted(option.help, u"'\\"_s)));
        }
        if (!command.takesNames)
            lines.append(complete.arg(condition) + u"-f"_s);
    }
    return lines.join(u'\n') + u'\n';
}

const struct
{
    const char* file;
    QString (*make)(const QString& text, const Commands&);
} kFiles[] = {
    {"vxcompress.1", manPage}, {"vxcompress.bash", bash}, {"vxcompress.zsh", zsh}, {"vxcompress.fish", fish}};

} // namespace

int main(int argc, char** argv)
{
    const Commands commands = CommandLine().commands();
    for (const auto& [name, make] : kFiles) {
        // Fish takes nothing but rows.
        QFile text(u"%1/%2.in"_s.arg(QFile::decodeName(argv[1]), QLatin1String(name)));
        QFile file(u"%1/%2"_s.arg(QFile::decodeName(argv[argc - 1]), QLatin1String(name)));
        const QString given = text.open(QIODevice::ReadOnly) ? QString::fromUtf8(text.readAll()) : QString();
        if (!file.open(QIODevice::WriteOnly) || file.write(make(given, commands).toUtf8()) < 0 ||
            !file.flush()) {
            std::fprintf(stderr, "cannot write %s\n", name);
            return 1;
        }
    }
    return 0;
}
