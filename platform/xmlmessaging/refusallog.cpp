#include "refusallog.h"

namespace XmlCommunication {

namespace {

// This is a part of the server, and the causes are points of its traces.
constexpr Startup::TraceSource kTrace("platform/xmlmessaging/server");

qint64 milliseconds(RefusalLog::Clock::time_point time)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

} // namespace

void RefusalLog::tell(Cause cause, const QString& text, Clock::time_point now)
{
    // What breaks the protocol interests support first; bounds that hold are what they are there for.
    const quint32 channel = cause == eMalformed ? Startup::eTrace : Startup::eTraceWarning;
    m_trace(kTrace, cause, text, milliseconds(now), channel);
}

void RefusalLog::flush(Clock::time_point now)
{
    m_trace.flush(milliseconds(now));
}

} // namespace XmlCommunication
