#include "compressor/CompressorEntry.h"

#include "compressor/Compressor.h"

ICompressor* CompressorEntry()
{
    // Never destroyed: a host may still call it while its static objects go.
    static auto* const compressor = new Compressor;
    return compressor;
}
