#pragma once

#include "compressor/ICompressor.h"

/// The one compressor: a factory without state.
class Compressor final : public ICompressor
{
public:
    QVariantList supportedVideoFormats() const override;
    QSharedPointer<ICompressTask> createTask(const QVariantMap& params) override;
};
