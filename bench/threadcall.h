#pragma once

#include <QObject>
#include <QThread>

namespace Bench {

/// Runs `work` on a running thread with an event loop and gives back its result.
template<class Work>
auto callOn(QThread& thread, Work work)
{
    QObject context;
    context.moveToThread(&thread);
    decltype(work()) result{};
    // An object may be moved away, here for its destruction, only by the thread that it lives on.
    QThread* const here = QThread::currentThread();
    QMetaObject::invokeMethod(
        &context,
        [&] {
            result = work();
            context.moveToThread(here);
        },
        Qt::BlockingQueuedConnection);
    return result;
}

} // namespace Bench
