#pragma once

/// The codes of `compressFinished` that the module gives a meaning of its own. Every other code is the
/// encoder's exit code.
namespace FinishCode {

/// The job is done.
constexpr int kSuccess = 0;
/// WebP and video: the command was refused, by ffmpeg or, where the output is the source, by the task itself;
/// or the result could not be written.
constexpr int kRefused = 1;
/// JPEG and PNG: the encoder could not read the source.
constexpr int kCorruptInput = 1;
/// JPEG and PNG: there is no result, or it could not be delivered. WebP: the same of a source that was to be
/// delivered.
constexpr int kNoOutput = 2;
/// The job was stopped, or somebody killed the encoder. Windows' own code for such a process, on every
/// system.
constexpr int kStopped = 62097;
/// The encoder is there but could not be started. An encoder may end with the same code of its own.
constexpr int kNotStarted = -2;

} // namespace FinishCode
