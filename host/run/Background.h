#pragma once

#include <QMetaObject>
#include <QPointer>
#include <QThreadPool>

#include <utility>

/// Does what may take long, such as copying a video, away from the main thread, and then calls `done` with
/// what came of it in the thread of `context`, if that still lives.
template <class Work, class Done>
void inBackground(QObject* context, Work work, Done done)
{
    // Guards cross threads by value only: the object itself is not touched there.
    QPointer<QObject> guard(context);
    auto* const courier = new QObject;
    QThreadPool::globalInstance()->start(
        [courier, guard, work = std::move(work), done = std::move(done)]() mutable {
            auto result = work();
            QMetaObject::invokeMethod(
                courier,
                [courier, guard, result = std::move(result), done = std::move(done)]() mutable {
                    courier->deleteLater();
                    if (guard)
                        done(result);
                },
                Qt::QueuedConnection);
        });
}
