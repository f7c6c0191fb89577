#pragma once

#include <algorithm>

/// How many jobs may run side by side. An image's encoder keeps one core busy, and among images alone there
/// is one job more than cores, since one or another always waits for the disk with its result. A video's
/// encoder takes as many threads as the module gives it, a third of the cores rounded up, so videos run as
/// many side by side as the cores have room for, and images in what room is left.
class Slots
{
public:
    /// `requested`: so many jobs of any kind, or 0 for as many as the cores have room for.
    Slots(int cores, int requested)
        : mCapacity(requested > 0 ? requested : std::max(cores, 1)), mSpare(requested > 0 ? 0 : 1),
          mVideoWeight(requested > 0 ? 1 : (mCapacity + 2) / 3)
    {
    }

    bool hasRoomFor(bool isVideo) const
    {
        const bool amongImages = !isVideo && mVideos == 0;
        return mUsed + weightOf(isVideo) <= mCapacity + (amongImages ? mSpare : 0);
    }
    /// Whether an image may start before a video that waits for room: only in what videos can never use, so
    /// that the video's turn comes.
    bool mayOvertake() const { return hasRoomFor(false) && mImages < mCapacity % mVideoWeight; }
    void take(bool isVideo) { count(isVideo, 1); }
    void free(bool isVideo) { count(isVideo, -1); }

private:
    int weightOf(bool isVideo) const { return isVideo ? mVideoWeight : 1; }
    void count(bool isVideo, int change)
    {
        mUsed += change * weightOf(isVideo);
        (isVideo ? mVideos : mImages) += change;
    }

    int mCapacity;
    int mSpare; ///< for images, beyond the cores
    int mVideoWeight;
    int mUsed = 0;
    int mVideos = 0;
    int mImages = 0;
};
