#pragma once

/// How vxcompress ends. A program that was interrupted ends with 128 and the signal's number.
enum ExitStatus
{
    kDelivered = 0,
    kJobFailed = 1,
    kUsage = 2,         ///< nothing was begun: the options, the input or the output are not usable
    kEncoderMissing = 3 ///< or the module itself: the installation is not whole
};
