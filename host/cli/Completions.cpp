#include "host/cli/Completions.h"

#include <string>
#include <string_view>

#include "host/cli/OptionTable.h"

namespace {

std::string replaced(std::string_view text, std::string_view what, std::string_view by)
{
    std::string result;
    for (const char c : text)
        result += what.find(c) == std::string_view::npos ? std::string(1, c) : std::string(by) + c;
    return result;
}

// "-q|--quality"
std::string bashPattern(const OptionRow& row)
{
    const std::string name = std::string("--") + row.longName;
    return row.shortName ? std::string("-") + row.shortName + '|' + name : name;
}

void writeBashValues(std::ostream& out)
{
    for (const OptionRow& row : optionTable()) {
        switch (row.kind) {
        case ArgumentKind::None:
            continue;
        case ArgumentKind::Number:
        case ArgumentKind::Text:
            out << "        " << bashPattern(row) << ") compopt +o default; return ;;\n";
            break;
        case ArgumentKind::OneOf:
            out << "        " << bashPattern(row) << ") mapfile -t COMPREPLY < <(compgen -W '" << row.choices
                << "' -- \"$word\"); compopt +o default; return ;;\n";
            break;
        case ArgumentKind::Folder:
            out << "        " << bashPattern(row) << ") compopt -o dirnames; return ;;\n";
            break;
        case ArgumentKind::File:
        case ArgumentKind::FileOrFolder:
            out << "        " << bashPattern(row) << ") return ;;\n";
            break;
        }
    }
}

const char* zshAction(const OptionRow& row)
{
    switch (row.kind) {
    case ArgumentKind::File:
    case ArgumentKind::FileOrFolder:
        return "_files";
    case ArgumentKind::Folder:
        return "_files -/";
    default:
        return "";
    }
}

const char* fishValues(const OptionRow& row)
{
    switch (row.kind) {
    case ArgumentKind::None:
        return "";
    case ArgumentKind::File:
    case ArgumentKind::FileOrFolder:
        return " -r -F";
    case ArgumentKind::Folder:
        return " -x -a '(__fish_complete_directories)'";
    default:
        return " -x";
    }
}

} // namespace

void writeBashCompletion(std::ostream& out)
{
    // An empty COMPREPLY leaves the word to readline, which offers files and knows their quoting.
    out << R"(# shellcheck shell=bash
_vxcompress()
{
    local word=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]}
    # bash takes --name=value for three words.
    if [[ $word == = ]]; then
        word=
    elif [[ $option == = ]]; then
        option=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    COMPREPLY=()
    case $option in
)";
    writeBashValues(out);
    out << "    esac\n    if [[ $word == -* ]]; then\n        mapfile -t COMPREPLY < <(compgen -W '";
    const char* blank = "";
    for (const OptionRow& row : optionTable()) {
        out << blank << "--" << row.longName << (row.argument ? "=" : "");
        blank = " ";
    }
    out << R"(' -- "$word")
        compopt +o default
        [[ ${COMPREPLY[0]} != *= ]] || compopt -o nospace
    elif ((COMP_CWORD == 1)) && [[ -n $word && -n $(compgen -W 'doctor report' -- "$word") ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$word"; compgen -W 'doctor report' -- "$word")
        compopt -o filenames
    fi
}
complete -o default -F _vxcompress vxcompress
)";
}

void writeZshCompletion(std::ostream& out)
{
    out << "#compdef vxcompress\n\n_arguments -s -S";
    for (const OptionRow& row : optionTable()) {
        const std::string name = std::string("--") + row.longName + (row.argument ? "=" : "");
        const std::string help = '[' + replaced(row.help, "[]:\\", "\\") + ']';
        std::string value;
        if (row.argument)
            value = std::string(":") + row.argument + ':' +
                    (row.choices ? std::string("(") + row.choices + ')' : zshAction(row));
        out << " \\\n    ";
        if (row.shortName) {
            const std::string shortName = std::string("-") + row.shortName;
            out << "'(" << shortName << " --" << row.longName << ")'{" << shortName
                << (row.argument ? "+" : "") << ',' << name << '}';
        } else {
            out << name;
        }
        out << "$'" << replaced(help + value, "'", "\\") << '\'';
    }
    out << " \\\n    '1:input:{ compadd doctor report; _files }' \\\n    '*:input:_files'\n";
}

void writeFishCompletion(std::ostream& out)
{
    out << "complete -c vxcompress -n __fish_is_first_arg -a doctor -d 'examine the installation'\n"
           "complete -c vxcompress -n __fish_is_first_arg -a report -d 'add up the streams of runs'\n";
    for (const OptionRow& row : optionTable()) {
        out << "complete -c vxcompress";
        if (row.shortName)
            out << " -s " << row.shortName;
        out << " -l " << row.longName << fishValues(row);
        if (row.choices)
            out << " -a '" << row.choices << '\'';
        out << " -d '" << replaced(row.help, "'\\", "\\") << "'\n";
    }
}
