#pragma once

#include <QString>

#include "compressor/ICompressor.h"

/// The module, loaded at run time from beside the host, and never unloaded: its tasks run its code.
struct CompressorLibrary
{
    ICompressor* compressor = nullptr; ///< null when the library cannot be loaded
    QString error = {};                ///< and then why
    QString path = {};                 ///< the file that was loaded, or would have been

    static CompressorLibrary load();
};
