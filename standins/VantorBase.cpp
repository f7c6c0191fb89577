#include "hostlibs/VantorBase.h"

#include <QLoggingCategory>
#include <QMutex>
#include <QMutexLocker>

#include <utility>

#include "standins/VantorBaseStandIn.h"

namespace Vantor {

namespace {

// Information is off until asked for (QT_LOGGING_RULES="vantor.info=true"): a host's console stays clean.
Q_LOGGING_CATEGORY(vantorLog, "vantor", QtWarningMsg)

void writeToCategory(const Record& record)
{
    const QMessageLogger logger(record.file(), static_cast<int>(record.line()), record.function());
    switch (record.level()) {
    case 0:
        if (vantorLog().isInfoEnabled())
            logger.info(vantorLog()).noquote() << record.text();
        break;
    case 1:
        if (vantorLog().isWarningEnabled())
            logger.warning(vantorLog()).noquote() << record.text();
        break;
    default:
        if (vantorLog().isCriticalEnabled())
            logger.critical(vantorLog()).noquote() << record.text();
    }
}

class StandIn final : public IVantorBase, public ILogger
{
public:
    ILogger& logger() override { return *this; }
    QMap<QString, QVariant>& settings() override { return mSettings; }

    void write(const Record& record) override
    {
        const QMutexLocker lock(&mMutex);
        if (mSink)
            mSink(record);
        else
            writeToCategory(record);
    }

    void setSink(RecordSink sink)
    {
        const QMutexLocker lock(&mMutex);
        mSink = std::move(sink);
    }

private:
    QMap<QString, QVariant> mSettings;
    QMutex mMutex;
    RecordSink mSink;
};

// Never destroyed: FFmpeg may log while the process ends.
StandIn& standIn()
{
    static StandIn& theOne = *new StandIn;
    return theOne;
}

} // namespace

Record::Record(const char* function, size_t line, const char* file, const void* object, int level)
    : mFunction(function), mLine(line), mFile(file), mObject(object), mLevel(level)
{
}

Record& Record::operator<<(const char* utf8)
{
    mText += QString::fromUtf8(utf8);
    return *this;
}

Record& Record::operator<<(const QString& text)
{
    mText += text;
    return *this;
}

Record& Record::operator<<(int number)
{
    mText += QString::number(number);
    return *this;
}

Record& Record::operator<<(qint64 number)
{
    mText += QString::number(number);
    return *this;
}

void setRecordSink(RecordSink sink)
{
    standIn().setSink(std::move(sink));
}

} // namespace Vantor

Vantor::IVantorBase* VantorBaseEntry()
{
    return &Vantor::standIn();
}
