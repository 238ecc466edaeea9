#include <common/terminationsignals.h>

#include <QSocketNotifier>
#include <QVector>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <iterator>
#include <memory>

#include <sys/eventfd.h>
#include <unistd.h>

namespace {

constexpr int kHandledSignals[] = {SIGINT, SIGTERM, SIGHUP};
volatile std::sig_atomic_t arrived[std::size(kHandledSignals)];
int eventDescriptor = -1;
std::unique_ptr<QSocketNotifier> notifier;
QVector<TerminationSignals*> instances; ///< the last one is the innermost

/// Runs in signal context, where write() is about all that is allowed.
extern "C" void noteSignal(int number)
{
    const int savedError = errno;
    for (std::size_t i = 0; i < std::size(kHandledSignals); ++i) {
        if (kHandledSignals[i] == number)
            arrived[i] = 1;
    }
    const std::uint64_t one = 1;
    const ssize_t written = ::write(eventDescriptor, &one, sizeof one);
    static_cast<void>(written);
    errno = savedError;
}

void handleWith(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int number : kHandledSignals)
        ::sigaction(number, &action, nullptr);
}

void deliver(int number)
{
    QVector<TerminationSignals*> reached = instances;
    std::reverse(reached.begin(), reached.end());
    if (number == SIGINT)
        reached = reached.mid(0, 1);
    for (TerminationSignals* instance : qAsConst(reached)) {
        if (instances.contains(instance))
            Q_EMIT instance->terminationRequested(number);
    }
}

void deliverArrived()
{
    std::uint64_t count = 0;
    if (::read(eventDescriptor, &count, sizeof count) <= 0)
        return;
    for (std::size_t i = 0; i < std::size(kHandledSignals); ++i) {
        if (arrived[i] == 0)
            continue;
        arrived[i] = 0;
        deliver(kHandledSignals[i]);
    }
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent)
{
    instances.append(this);
    if (instances.size() > 1)
        return;
    eventDescriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    notifier = std::make_unique<QSocketNotifier>(eventDescriptor, QSocketNotifier::Read);
    connect(notifier.get(), &QSocketNotifier::activated, deliverArrived);
    handleWith(noteSignal);
}

TerminationSignals::~TerminationSignals()
{
    instances.removeOne(this);
    if (!instances.isEmpty())
        return;
    handleWith(SIG_DFL);
    notifier.reset();
    ::close(eventDescriptor);
    eventDescriptor = -1;
}
