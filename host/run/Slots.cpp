#include "host/run/Slots.h"

#include <algorithm>

Slots::Slots(int cores, int requested)
    : mCapacity(requested > 0 ? requested : std::max(cores, 1)), mSpare(requested > 0 ? 0 : 1),
      mVideoWeight(requested > 0 ? 1 : (std::max(cores, 1) + 2) / 3)
{
}

bool Slots::mayOvertake() const
{
    return hasRoomFor(false) && mImages < mCapacity % mVideoWeight;
}
