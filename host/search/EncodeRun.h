#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

/// What one run of the module is asked for.
struct EncodeRequest
{
    QString inputPath;
    QString outputPath; ///< nothing lies there yet; its suffix chooses the encoder
    QString quality;    ///< on the encoder's scale, or a percentage of the input's size when isPercentage
    bool isPercentage = false;
    QString scale;         ///< "1", "2" or "4"; empty leaves the image's size alone
    bool isSample = false; ///< only the first 15 seconds of a video
};

/// One run of the module, from a request to its end. Letting it go ends it without a signal; it is never let
/// go inside its own signals.
class EncodeRun : public QObject
{
    Q_OBJECT

public:
    /// To be called once. Ends in exactly one ended(), whatever happens.
    virtual void start() = 0;
    /// Ends the run early: ended() comes soon, with whatever code, if not inside the call.
    virtual void stop() = 0;

signals:
    /// The share that is done, 0.0 to 1.0.
    void progressed(float progress);
    /// The module's code and text; 0 means that the result is at the output path, whole.
    void ended(int code, const QString& text);
};

using EncodeRunFactory = std::function<std::unique_ptr<EncodeRun>(const EncodeRequest&)>;

/// Gives the path of a file that is not there yet, with this suffix, in a folder of the job's own, which sees
/// to it that the file is removed in the end. Nothing is written anywhere else.
using NewPath = std::function<QString(const QString& suffix)>;
