#include "tests/support/MessageCapture.h"

#include <QMutex>
#include <QMutexLocker>
#include <QRegularExpression>
#include <QTest>

namespace {

QMutex captureMutex;
QStringList capturedLines;
QtMessageHandler forward = nullptr;

} // namespace

MessageCapture::MessageCapture()
{
    clear();
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    mPrevious = qInstallMessageHandler(handle);
    const QMutexLocker lock(&captureMutex);
    forward = mPrevious;
}

MessageCapture::~MessageCapture()
{
    qInstallMessageHandler(mPrevious);
}

// Debug lines end here, a report is read for its failures; all else, warnings too, is Qt Test's.
void MessageCapture::handle(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    QtMessageHandler next = nullptr;
    {
        const QMutexLocker lock(&captureMutex);
        if (type == QtDebugMsg)
            capturedLines.append(text);
        else
            next = forward;
    }
    if (next)
        next(type, context, text);
}

QStringList MessageCapture::debugLines() const
{
    const QMutexLocker lock(&captureMutex);
    return capturedLines;
}

QStringList MessageCapture::debugLines(const QString& beginning) const
{
    QStringList lines = debugLines();
    lines.removeIf([&beginning](const QString& line) { return !line.startsWith(beginning); });
    return lines;
}

void MessageCapture::clear()
{
    const QMutexLocker lock(&captureMutex);
    capturedLines.clear();
}
