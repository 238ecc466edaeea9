#include "eventwait.h"

#include "interruption.h"
#include "output.h"

#include <common/terminationsignals.h>

#include <koltacommon/operation.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QMetaEnum>
#include <QTimer>

#include <algorithm>
#include <utility>

#include <unistd.h>

namespace KoltaCli {

using Kolta::Operation;

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

namespace {

/// After that somebody at a terminal is told what is waited for.
constexpr int kPatienceMs = 1000;

void tellProgress(const QVector<Operation*>& operations)
{
    for (const Operation* operation : operations) {
        if (!operation->isFinished() && !operation->progressText().isEmpty())
            printError(operation->progressText());
    }
}

} // namespace

bool await(const QVector<Operation*>& operations, int timeoutMs)
{
    auto firstOpen = operations.begin(); // what is over stays so and is not looked at again
    const auto areOver = [&operations, &firstOpen] {
        firstOpen = std::find_if_not(firstOpen, operations.end(),
                                     [](const Operation* operation) { return operation->isFinished(); });
        return firstOpen == operations.end();
    };
    bool isCancelling = false;
    bool isLeft = false;
    const auto cancel = [&] {
        isLeft = std::exchange(isCancelling, true);
        setInterrupted(true);
        for (Operation* operation : operations)
            operation->cancel();
        if (!areOver() && !isLeft)
            printError(QStringLiteral("taking back what was asked for, Ctrl-C leaves it"));
    };
    TerminationSignals termination;
    QObject::connect(&termination, &TerminationSignals::terminationRequested, &termination, cancel);
    for (Operation* operation : operations)
        operation->setTimeLimit(timeoutMs);
    if (::isatty(STDERR_FILENO) != 0)
        QTimer::singleShot(kPatienceMs, &termination, [&operations] { tellProgress(operations); });
    if (isInterrupted())
        cancel();
    while (!areOver() && !isLeft)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return std::all_of(operations.begin(), operations.end(), [](const Operation* operation) {
        return operation->state() == Operation::State::Done;
    });
}

bool await(Operation& operation, int timeoutMs)
{
    return await({&operation}, timeoutMs);
}

QString problemOf(const Operation& operation)
{
    return operation.isFinished() ? operation.text() : QStringLiteral("left; it may have happened");
}

void addEnd(QJsonObject& object, const Operation& operation)
{
    const auto word = [](auto value) {
        return QString::fromLatin1(QMetaEnum::fromType<decltype(value)>().valueToKey(int(value)));
    };
    object[QStringLiteral("state")] = word(operation.state());
    object[QStringLiteral("effect")] = word(operation.effect());
    if (operation.state() == Operation::State::Done)
        return;
    object[QStringLiteral("reason")] = word(operation.reason());
    object[QStringLiteral("problem")] = problemOf(operation);
}

} // namespace KoltaCli
