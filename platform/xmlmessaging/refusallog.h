#pragma once

#include <startup/throttledtrace.h>

#include <QString>

#include <chrono>

namespace XmlCommunication {

/// Tells what a server refuses, of each cause at most once a minute.
class RefusalLog
{
public:
    using Clock = std::chrono::steady_clock;

    /// Causes, which are also the numbers of the trace points.
    enum Cause : int {
        eMalformed = 10,
        eTooManyLinks = 20,
        eNoProgress = 30,
        eTooSlow = 40,
        eTooManyBytes = 50,
        eNoDescriptors = 60,
        eHandshake = 70
    };

    void tell(Cause cause, const QString& text, Clock::time_point now = Clock::now());
    /// Tells of what has been held back for a minute.
    void flush(Clock::time_point now = Clock::now());

private:
    Startup::ThrottledTrace m_trace;
};

} // namespace XmlCommunication
