#pragma once

#include <QObject>

#include <memory>

#include "host/run/Look.h"

/// What came of an encode, by its own content.
struct CheckResult
{
    Failure failure;       ///< none: the result is whole and of its kind, or the source itself
    bool isSource = false; ///< byte for byte: what the encoder made was larger
    qint64 bytesMade = 0;  ///< by the encoder
    qint64 bytes = 0;      ///< with the metadata that was put into it
    QList<Warning> losses;
};

/// A job's third stage: whether a finished result is whole, as long as its source, and what it has lost. With
/// --keep-metadata it first puts the source's into it.
///
/// Touches the result and files of its own beside it, and nothing else. Lives in the main thread and does its
/// work elsewhere. Every start() ends in exactly one ended(); deleting it ends the check without a signal.
class Check : public QObject
{
    Q_OBJECT

public:
    Check(const Options& options, const JobFiles& files, const LookResult& source, bool mayTakeDamaged);
    ~Check() override;

    void start();

signals:
    void ended(const CheckResult& result);

private:
    Failure measure(qint64& bytes) const;
    void checkImage();
    void probeVideo();
    void onProbed(const ToolResult& answer);
    void onRestored(const ToolResult& restored);
    void end(Failure failure);

    const Options& mOptions;
    const JobFiles& mFiles;
    const LookResult& mSource;
    const bool mMayTakeDamaged;
    CheckResult mResult;
    ToolRun mProbe;
    std::unique_ptr<ToolRun> mRestore;
    QString mRestoredPath;
    bool mIsRestored = false;
};
