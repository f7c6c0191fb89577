#pragma once

#include <QtGlobal>

/// How a finished JPEG or PNG run is judged: sizes and exit code in, finish code and delivery out.

struct ImageRun
{
    int exitCode;
    int corruptInputCode; ///< the encoder's exit code for an input that is no image
    bool endedWhole;      ///< the encoder came to its own end: neither crashed nor stopped
    qint64 sourceBytes;   ///< 0 when there is no file
    qint64 resultBytes;   ///< 0 when there is no file
};

struct ImageVerdict
{
    enum Delivery
    {
        Nothing,
        Result,
        Source
    };

    int finishCode;
    bool corruptInput; ///< the input is no image, and the description says so
    bool logged;
    Delivery delivery;
};

ImageVerdict judgeImageRun(const ImageRun& run);

/// No result came to be, or it could not be delivered.
constexpr ImageVerdict kNoOutputVerdict{2, false, false, ImageVerdict::Nothing};
