#include <common/terminationsignals.h>

#include <cerrno>
#include <csignal>
#include <cstdint>

#include <sys/eventfd.h>
#include <unistd.h>

namespace {

int eventDescriptor = -1;
constexpr int handledSignals[] = {SIGINT, SIGTERM, SIGHUP};

/// Runs in signal context, where write() is about all that is allowed.
extern "C" void noteSignal(int)
{
    const int savedError = errno;
    const std::uint64_t one = 1;
    const ssize_t written = ::write(eventDescriptor, &one, sizeof one);
    static_cast<void>(written);
    errno = savedError;
}

int openEventDescriptor()
{
    eventDescriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    return eventDescriptor;
}

void handleWith(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int number : handledSignals)
        ::sigaction(number, &action, nullptr);
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent)
    : QObject(parent), m_notifier(openEventDescriptor(), QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, [this] {
        std::uint64_t count = 0;
        if (::read(eventDescriptor, &count, sizeof count) > 0)
            Q_EMIT terminationRequested();
    });
    handleWith(noteSignal);
}

TerminationSignals::~TerminationSignals()
{
    handleWith(SIG_DFL);
    m_notifier.setEnabled(false);
    ::close(eventDescriptor);
    eventDescriptor = -1;
}
