#include "host/run/Slots.h"

#include <algorithm>

Slots::Slots(int cores, int wished)
    : mCapacity(wished > 0 ? wished : std::max(cores, 1)), mSpare(wished > 0 ? 0 : 1),
      mFilmWeight(wished > 0 ? 1 : (std::max(cores, 1) + 2) / 3)
{
}

bool Slots::mayOvertake() const
{
    return hasRoomFor(false) && mPictures < mCapacity % mFilmWeight;
}
