#pragma once

#include <QMap>
#include <QString>
#include <QVariant>

#include <cstddef>

namespace Vantor {

/// One log record: where it comes from, and a text that the stream operators put together piece by piece,
/// with nothing between the pieces. `function` and `file` are not copied: they are literals. `object` only
/// tells records of several objects apart and is never read through. Level 0 is information, 1 a warning, 2
/// an error.
class Record
{
public:
    Record(const char* function, size_t line, const char* file, const void* object, int level);

    Record& operator<<(const char* utf8);
    Record& operator<<(const QString& text);
    Record& operator<<(int number);
    Record& operator<<(qint64 number);

    const char* function() const { return mFunction; }
    size_t line() const { return mLine; }
    const char* file() const { return mFile; }
    const void* object() const { return mObject; }
    int level() const { return mLevel; }
    const QString& text() const { return mText; }

private:
    const char* mFunction;
    size_t mLine;
    const char* mFile;
    const void* mObject;
    int mLevel;
    QString mText;
};

/// Takes finished records, on any thread.
class ILogger
{
public:
    virtual void write(const Record& record) = 0;

protected:
    ~ILogger() = default;
};

/// The host's base interface. What it hands out belongs to it and lives as long as the process.
class IVantorBase
{
public:
    virtual ILogger& logger() = 0;

    /// The host's settings, to be read and written in place; there is no lock.
    virtual QMap<QString, QVariant>& settings() = 0;

protected:
    ~IVantorBase() = default;
};

} // namespace Vantor

/// The one base interface of the process; never null.
Vantor::IVantorBase* VantorBaseEntry();
