#pragma once

#include "host/run/Encode.h"
#include "host/search/VideoEstimate.h"

/// Samples from all over a video, for a size beforehand. Makes no result.
class EstimateEncode final : public Encode
{
    Q_OBJECT

public:
    explicit EstimateEncode(const EncodeContext& context);

    void start() override { mEstimate.start(); }
    void stop() override { mEstimate.stop(); }

private:
    void onEnded(const EstimateOutcome& outcome);

    VideoEstimate mEstimate;
};
