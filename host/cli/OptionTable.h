#pragma once

#include <span>

/// What an option takes; a completion offers accordingly.
enum class ArgumentKind
{
    None,
    File,
    Folder,
    FileOrFolder,
    Number,
    OneOf, ///< one of `choices`
    Text
};

/// All that the parser, the help, the manual and the completions know of an option.
struct OptionRow
{
    char shortName;       ///< 0: none
    const char* longName; ///< without dashes
    const char* argument; ///< such as "FILE"; null where the option takes none
    ArgumentKind kind;
    const char* choices;  ///< separated by blanks; null unless OneOf
    const char* group;    ///< the heading in help and manual
    const char* help;     ///< one line, without a full stop
    const char* fallback; ///< what holds without the option; null where there is nothing to say
    bool isCommon;        ///< also in the short help
};

/// In the order of the help; options of one group lie together.
std::span<const OptionRow> optionTable();
