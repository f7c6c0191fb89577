#pragma once

#include <QString>

#include "compressor/ICompressor.h"

/// The module, loaded at run time from beside the host, and never unloaded: its tasks run its code.
class CompressorLibrary
{
public:
    /// Null when the library cannot be loaded; errorString() says why.
    ICompressor* load();

    QString errorString() const { return mError; }
    /// The file that was loaded, or would have been.
    const QString& path() const { return mPath; }

private:
    QString mPath;
    QString mError;
};
