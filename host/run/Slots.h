#pragma once

#include <QtGlobal>

/// How many jobs may run side by side. A picture's encoder keeps one core busy, and among pictures alone there
/// is one job more than cores, since one or another always waits for the disk with its result. A film's
/// encoder takes as many threads as the module gives it, a third of the cores rounded up, so films run as many
/// side by side as the cores have room for, and pictures in what room is left.
class Slots
{
public:
    /// `wished`: so many jobs of any kind, or 0 for what the cores bear.
    Slots(int cores, int wished);

    bool hasRoomFor(bool isFilm) const
    {
        const bool amongPictures = !isFilm && mFilms == 0;
        return mUsed + weightOf(isFilm) <= mCapacity + (amongPictures ? mSpare : 0);
    }
    /// Whether a picture may start before a film that waits for room: only in what films can never use, so
    /// that the film's turn comes.
    bool mayOvertake() const;
    void take(bool isFilm) { count(isFilm, 1); }
    void free(bool isFilm) { count(isFilm, -1); }
    bool isIdle() const { return mUsed == 0; }

private:
    int weightOf(bool isFilm) const { return isFilm ? mFilmWeight : 1; }
    void count(bool isFilm, int change)
    {
        mUsed += change * weightOf(isFilm);
        (isFilm ? mFilms : mPictures) += change;
    }

    int mCapacity;
    int mSpare; ///< for pictures, beyond the cores
    int mFilmWeight;
    int mUsed = 0;
    int mFilms = 0;
    int mPictures = 0;
};
