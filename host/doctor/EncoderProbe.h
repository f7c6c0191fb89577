#pragma once

#include "host/doctor/Diagnosis.h"

/// One run of a program to its end, or for ten seconds.
struct ToolAnswer
{
    QString error; ///< why it did not run to its end; empty when it did
    int exitCode;
    QString output; ///< what it said on both channels
};

ToolAnswer runTool(const QString& program, const QStringList& arguments);

/// The encoders as far as they can be known without an encode: where they are, and what they call themselves.
QList<EncoderState> findEncoders();
