#include "image/DyingEncoders.h"

#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QStringList>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

QMutex mutex;

QStringList& heldOutputs()
{
    static auto* const outputs = new QStringList;
    return *outputs;
}

QString keyOf(const QString& output)
{
    return QDir::cleanPath(QFileInfo(output).absoluteFilePath());
}

QThread* reaper()
{
    // Never destroyed: it may be waiting for an encoder while the host's static objects go.
    static QThread* const thread = [] {
        auto* const made = new QThread;
        made->setObjectName(u"encoder reaper"_s);
        made->start(QThread::LowPriority);
        return made;
    }();
    return thread;
}

} // namespace

void DyingEncoders::adopt(QObject* watcher)
{
    watcher->moveToThread(reaper());
}

void DyingEncoders::hold(const QString& output)
{
    const QMutexLocker lock(&mutex);
    heldOutputs().append(keyOf(output));
}

void DyingEncoders::let(const QString& output)
{
    const QMutexLocker lock(&mutex);
    heldOutputs().removeOne(keyOf(output));
}

bool DyingEncoders::isHeld(const QString& output)
{
    const QMutexLocker lock(&mutex);
    return !heldOutputs().isEmpty() && heldOutputs().contains(keyOf(output));
}
