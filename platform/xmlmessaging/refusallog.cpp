#include "refusallog.h"

#include <startup/tracesource.h>

namespace XmlCommunication {

namespace {

// This is a part of the server, and the causes are points of its traces.
constexpr Startup::TraceSource kTrace("platform/xmlmessaging/server");

constexpr auto kInterval = std::chrono::minutes(1);

void write(RefusalLog::Cause cause, const QString& text)
{
    // What breaks the protocol interests support first; bounds that hold are what they are there for.
    const quint32 channel = cause == RefusalLog::eMalformed ? Startup::eTrace : Startup::eTraceWarning;
    kTrace(cause, text, channel);
}

QString withCount(const QString& text, quint64 others)
{
    return others == 0 ? text : QStringLiteral("%1 (and %2 more like this)").arg(text).arg(others);
}

} // namespace

void RefusalLog::tell(Cause cause, const QString& text, Clock::time_point now)
{
    const auto found = m_held.find(cause);
    if (found != m_held.end() && now < found->second.last + kInterval) {
        ++found->second.count;
        found->second.text = text;
        return;
    }
    const quint64 others = found == m_held.end() ? 0 : found->second.count;
    m_held[cause] = Held{now, 0, QString()};
    write(cause, withCount(text, others));
}

void RefusalLog::flush(Clock::time_point now)
{
    for (auto& [cause, held] : m_held) {
        if (held.count == 0 || now < held.last + kInterval)
            continue;
        write(cause, withCount(held.text, held.count - 1));
        held = Held{now, 0, QString()};
    }
}

} // namespace XmlCommunication
