#pragma once

#include "compressor/ICompressor.h"
#include "compressor/VxCompressorExport.h"

/// The library's one exported function: the process-wide compressor.
///
/// Every call returns the same object, also when several threads make the first call at once. The library
/// owns it and keeps it until the process ends; a host never deletes it. Never null. A host that loads the
/// library at run time resolves "CompressorEntry" and casts the address to CompressorEntryFunction.
///
/// Once called, the library must stay loaded: tasks run its code until the last of them is released.
extern "C" VXCOMPRESSOR_EXPORT ICompressor* CompressorEntry();

using CompressorEntryFunction = ICompressor* (*)();
