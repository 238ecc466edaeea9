#pragma once

#include <support/patience.h>

#include <QEventLoop>
#include <QTimer>

/// Runs an event loop until `condition()` holds; false when it does not within `milliseconds`. Unlike the
/// waiting functions of Qt Test it handles events as they come, so that whole dialogues run at their own
/// speed.
template<class Condition>
bool runUntil(Condition condition, int milliseconds = kPatienceMs)
{
    const QDeadlineTimer deadline(milliseconds);
    QEventLoop loop;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &loop, [&] {
        if (condition() || deadline.hasExpired())
            loop.quit();
    });
    look.start(5);
    loop.exec();
    return condition();
}
