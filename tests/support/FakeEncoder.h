#pragma once

#include <QCoreApplication>

#include <algorithm>
#include <utility>

#include "tests/support/TestFolder.h"
#include "tests/support/TestSystem.h"

using namespace Qt::StringLiterals;

/// What the fake encoders do for as long as this object lives, and what they did. One at a time.
class FakeEncoder
{
public:
    struct Run
    {
        int processId;
        QStringList arguments; ///< the tool's name first
    };

    /// Encoders write half the source's size and exit with 0, until told otherwise.
    FakeEncoder() { qputenv("FAKE_RECORD", QFile::encodeName(mRecords.path())); }
    ~FakeEncoder() { reset(); }
    Q_DISABLE_COPY_MOVE(FakeEncoder)

    /// Sets one of the variables that fake_encoder.cpp lists, for encoders started from now on. Chainable.
    FakeEncoder& set(const char* variable, const QByteArray& value)
    {
        mVariables.append(variable);
        qputenv(variable, value);
        return *this;
    }
    FakeEncoder& exitWith(int code) { return set("FAKE_EXIT", QByteArray::number(code)); }
    FakeEncoder& crash() { return set("FAKE_END", "crash"); }
    FakeEncoder& hang() { return set("FAKE_END", "hang"); }
    FakeEncoder& write(const QByteArray& size) { return set("FAKE_OUTPUT", size); }
    FakeEncoder& delay(int milliseconds) { return set("FAKE_DELAY_MS", QByteArray::number(milliseconds)); }
    /// Back to the beginning; what was recorded stays.
    void reset()
    {
        for (const QByteArray& variable : std::exchange(mVariables, {}))
            qunsetenv(variable.constData());
    }
    /// Lets those that hang go on to their end.
    void open() const { QDir(mRecords.path()).mkdir(u"open"_s); }

    /// All encoders that came to life, the oldest first.
    QList<Run> runs() const
    {
        QList<Run> found;
        for (const QFileInfo& info : records("arguments", QDir::Time | QDir::Reversed)) {
            QStringList words = QString::fromUtf8(TestFolder::read(info.filePath())).chopped(1).split(u'\n');
            words[0] = QFileInfo(words[0]).completeBaseName();
            found.append({info.baseName().toInt(), words});
        }
        return found;
    }
    /// How many of them have written all that they would: those that hang are hanging now.
    int writtenCount() const { return static_cast<int>(records("written").size()); }
    /// Whether none of them runs any more (as far as the system tells); this process may not have noticed
    /// yet.
    bool allGone() const
    {
        const QFileInfoList all = records("arguments");
        return std::none_of(all.begin(), all.end(), [](const QFileInfo& info) {
            return TestSystem::isRunning(info.baseName().toInt());
        });
    }

private:
    // Without Qt's patterns: mingw's end of a thread that has matched one fails now and then, and the process
    // then hangs in its own end.
    QFileInfoList records(const char* suffix, QDir::SortFlags order = QDir::Unsorted) const
    {
        QFileInfoList found = QDir(mRecords.path()).entryInfoList(QDir::Files, order);
        found.removeIf([suffix](const QFileInfo& file) { return file.suffix() != QLatin1String(suffix); });
        return found;
    }

    // Beside the program: a test looks for what is left in the temporary location.
    const QTemporaryDir mRecords{QCoreApplication::applicationDirPath() + u"/records-XXXXXX"_s};
    QList<QByteArray> mVariables;
};
