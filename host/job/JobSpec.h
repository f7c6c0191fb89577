#pragma once

#include <QString>

struct Format;

/// One input on its way to one output, as planned. A value: copied freely.
///
/// Paths are as the user gave them, in the text form of NativePath: open no file by them but through it.
struct JobSpec
{
    qint64 index = 0; ///< the place among the inputs, from 0; names the job in every event
    QString inputPath;
    QString outputPath;             ///< its suffix chooses the encoder; the input's own for a job in place
    const Format* format = nullptr; ///< what the output's suffix stands for; never null in a job
    bool isInPlace = false;         ///< the result takes the source's own place
    qint64 inputBytes = 0;          ///< when it was planned
};
