#pragma once

#include <QString>

#include <functional>

/// The names by which ffmpeg gets a job's files.
///
/// They are the job's own as a rule. But ffmpeg takes "a%d.jpg" for a pattern of numbered pictures, reading
/// and writing. Such a source is read through a link (or else a copy) in a private folder, and such an output
/// is written beside its place and renamed when it is good.
class PlainNames
{
public:
    /// The job's own names, whatever they are.
    PlainNames(const QString& inputPath, const QString& outputPath);
    /// Names for a run, with the link where one is needed; see isReadable().
    static PlainNames forRun(const QString& inputPath, const QString& outputPath);

    /// What ffmpeg reads, and where it writes.
    const QString& input() const { return mInput; }
    const QString& output() const { return mOutput; }
    /// False where the source needs a link and got none: no encoder must start then.
    bool isReadable() const { return mIsReadable; }

    /// Puts the finished output to the job's own name, if it is not there yet and there is one. False: it
    /// could not be, and it is gone.
    bool deliver() const;
    /// Removes what a run without a result has written. False when something is left, see
    /// removeFailedOutput().
    bool removeOutput() const;
    /// Removes the link; to be called when the encoder has ended. False when something is left.
    bool removeLink() const;
    /// Both, for a run that nobody judges: with false the output stays, since there was no encoder.
    std::function<bool(bool)> cleanUp() const;

private:
    QString mInputPath;
    QString mOutputPath;
    QString mInput;
    QString mOutput;
    QString mLinkFolder; ///< empty without a link
    bool mIsReadable = true;
};
