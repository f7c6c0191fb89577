#include "tests/support/MessageCapture.h"

#include <QMutex>
#include <QMutexLocker>
#include <QRegularExpression>
#include <QTest>

namespace {

QMutex captureMutex;
QStringList capturedLines;
QtMessageHandler previous = nullptr;

// Debug lines end here, a report is read for its failures; all else, warnings too, is Qt Test's.
void handle(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    QMutexLocker lock(&captureMutex);
    if (type == QtDebugMsg) {
        capturedLines.append(text);
        return;
    }
    const QtMessageHandler next = previous;
    lock.unlock();
    next(type, context, text);
}

} // namespace

MessageCapture::MessageCapture()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    const QMutexLocker lock(&captureMutex);
    capturedLines.clear();
    previous = qInstallMessageHandler(handle);
}

MessageCapture::~MessageCapture()
{
    qInstallMessageHandler(previous);
}

QStringList MessageCapture::debugLines(const QString& beginning) const
{
    const QMutexLocker lock(&captureMutex);
    QStringList lines = capturedLines;
    lines.removeIf([&beginning](const QString& line) { return !line.startsWith(beginning); });
    return lines;
}
