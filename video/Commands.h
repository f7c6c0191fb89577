#pragma once

#include <QString>
#include <QStringList>

/// What a command is built from: the task's settings, and its files by the names that ffmpeg gets.
struct CommandInput
{
    QString inputPath;
    QString outputPath;
    QString quality;
    QString percentage;
    QString scale;
    bool isPercentage;
};

/// The fragments of ffmpeg's command line, without the program: blanks separate words, also within a
/// fragment, and paths are quoted. None when the source cannot be opened.
struct Command
{
    QStringList fragments{};
    QString progressFilePath{};
    qint64 durationMs = 0; ///< the source's, below 1 when unknown; not of a sample
};

using CommandBuilder = Command (*)(const CommandInput& input);

/// They run in the thread that starts the task and block it; any number of threads may build commands at
/// once.
Command qualityCommand(const CommandInput& input);
Command sizeCommand(const CommandInput& input);
/// Of the first seconds, in either way.
Command sampleCommand(const CommandInput& input);

/// How much of the source a sample has.
constexpr int kSampleMs = 15000;
