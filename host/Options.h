#pragma once

#include <QString>
#include <QStringList>

#include <variant>

/// What the user asks for on the command line.
struct Options
{
    QString inputPath;  ///< as given
    QString outputPath; ///< as given; its suffix chooses the encoder
    QString quality;    ///< on the encoder's scale, or a percentage of the input's size when isPercentage
    bool isPercentage = false;
    QString scale; ///< "1", "2" or "4"; empty leaves the picture's size alone
    bool estimate = false;
    bool force = false;
    bool quiet = false;
    bool verbose = false;
};

/// How vxcompress ends. A program that was interrupted ends with 128 and the signal's number.
enum ExitStatus
{
    kDelivered = 0,
    kJobFailed = 1,
    kUsage = 2,         ///< nothing was begun: the options, the input or the output are not usable
    kEncoderMissing = 3 ///< or the module itself: the installation is not whole
};

/// The command line asked for no job: print the text and end.
struct NoJob
{
    ExitStatus status; ///< kDelivered: an answer for standard output; else an error
    QString text;
};

/// `arguments` starts with the program's name. Looks at no file.
std::variant<Options, NoJob> parseOptions(const QStringList& arguments);
