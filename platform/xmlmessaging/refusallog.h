#pragma once

#include <QString>

#include <chrono>
#include <map>

namespace XmlCommunication {

/// Tells what a server refuses: of each cause one trace line a minute, which also says how many there were
/// since the line before, so that a flood of peers is no flood of lines.
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
    struct Held
    {
        Clock::time_point last;
        quint64 count = 0;
        QString text;
    };
    std::map<Cause, Held> m_held;
};

} // namespace XmlCommunication
