#include "host/run/MakeEncode.h"

#include "host/job/Options.h"
#include "host/run/EstimateEncode.h"
#include "host/run/GoalEncode.h"
#include "host/run/PlainEncode.h"

std::unique_ptr<Encode> makeEncode(const EncodeContext& context)
{
    const Options& options = context.options;
    // An image's size beforehand is that of its encode.
    if (options.estimate && context.spec.format->isVideo())
        return std::make_unique<EstimateEncode>(context);
    if (options.size || options.minSsim)
        return std::make_unique<GoalEncode>(context);
    return std::make_unique<PlainEncode>(context);
}
