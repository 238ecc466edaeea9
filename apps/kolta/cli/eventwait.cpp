#include "eventwait.h"

#include "interruption.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace KoltaCli {

bool waitUntil(const std::function<bool()>& done, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    QTimer wakeUp;
    wakeUp.setSingleShot(true);
    while (!done() && !isInterrupted() && !deadline.hasExpired()) {
        if (!deadline.isForever())
            wakeUp.start(static_cast<int>(deadline.remainingTime()) + 1);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return done();
}

} // namespace KoltaCli
