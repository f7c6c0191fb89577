#pragma once

#include <QString>

#include "host/system/Platform.h"

/// The program's two channels, in one reporter's hands. What nobody reads any more is not written any more,
/// and the jobs go on.
class OutputChannels
{
public:
    void write(Platform::Channel channel, const QString& text)
    {
        bool& isDead = channel == Platform::Channel::Output ? mOutputIsDead : mErrorIsDead;
        isDead = isDead || !Platform::write(channel, text);
    }

private:
    bool mOutputIsDead = false;
    bool mErrorIsDead = false;
};
