#include "inputbytes.h"

#include <QEventLoop>
#include <QSocketNotifier>

#include <cerrno>
#include <utility>

#include <unistd.h>

namespace KoltaCli {

InputBytes::Result InputBytes::read(char* target, int size, int& count)
{
    count = 0;
    QEventLoop wait;
    QSocketNotifier notifier(m_descriptor, QSocketNotifier::Read);
    connect(&notifier, &QSocketNotifier::activated, &wait, [&] {
        notifier.setEnabled(false);
        wait.quit();
    });
    m_wait = &wait;
    if (!m_interrupted)
        wait.exec();
    m_wait = nullptr;
    if (std::exchange(m_interrupted, false))
        return Result::Interrupted;
    ssize_t got = 0;
    do
        got = ::read(m_descriptor, target, static_cast<std::size_t>(size));
    while (got < 0 && errno == EINTR);
    if (got < 0)
        return Result::Failed;
    count = static_cast<int>(got);
    return got > 0 ? Result::Data : Result::End;
}

void InputBytes::interrupt()
{
    m_interrupted = true;
    if (m_wait)
        m_wait->quit();
}

} // namespace KoltaCli
