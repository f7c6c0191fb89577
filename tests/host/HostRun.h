#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

#include "tests/support/TestFolder.h"

/// One run of vxcompress as a user has it, started in the test's folder.
class HostRun
{
public:
    /// `bin`: where the program lies; without it, beside the test.
    explicit HostRun(const TestFolder& folder, const QString& bin = {});

    struct Conditions
    {
        qint64 maxFileBytes = -1; ///< the largest file that it and its encoders may write, when not negative
        int ignoredSignal = 0;    ///< as nohup and shells' background jobs have it
    };

    /// Starts it; call waitForEnd() too.
    void start(const QStringList& arguments, Conditions conditions);
    void start(const QStringList& arguments) { start(arguments, {}); }
    /// False when it doesn't end within a minute; it is killed then.
    bool waitForEnd();
    bool run(const QStringList& arguments) { return start(arguments), waitForEnd(); }

    void sendSignal(int number) const;

    /// The exit status; -1 when it didn't end by itself.
    int status() const;
    const QString& output() const { return mOutput; }
    const QString& error() const { return mError; }

private:
    QProcess mProcess;
    QString mOutput;
    QString mError;
};

/// The words of a command line without blanks in its words.
QStringList words(const char* line);

/// A picture made by the real ffmpeg beside the test, in the format of the name's suffix. Returns its path.
QString makePicture(const TestFolder& folder, const QString& name,
                    const QString& size = QStringLiteral("640x480"));

/// Runs the real ffmpeg beside the test.
bool runFfmpeg(const QStringList& arguments);

/// The names of everything in the folder and in its temporary location.
QStringList filesIn(const TestFolder& folder);

/// The same, each with a digest of its content.
QStringList contentsOf(const TestFolder& folder);
