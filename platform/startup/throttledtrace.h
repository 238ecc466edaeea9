#pragma once

#include <startup/tracesource.h>

#include <QString>

#include <map>
#include <utility>

namespace Startup {

/// Traces what others can cause as often as they like: of each trace point one line at once, and then one a
/// minute, which says how many there were since the line before. A flood of faults is so no flood of lines.
///
/// Times are milliseconds of a clock that never falls, the same one in all calls. For one thread.
class KOLTA_STARTUP_EXPORT ThrottledTrace
{
public:
    /// Lines go to the source's own channel unless they name another. The source must live as long as this.
    template<class Point>
    void operator()(const TraceSource& source, Point point, const QString& text, qint64 nowMs)
    {
        (*this)(source, point, text, nowMs, source.m_channel);
    }
    template<class Point>
    void operator()(const TraceSource& source, Point point, const QString& text, qint64 nowMs,
                    quint32 channel)
    {
        static_assert(std::is_enum_v<Point>, "a trace point is named in the file's enumeration");
        tell({&source, static_cast<int>(point)}, text, nowMs, channel);
    }

    /// Tells of what has been held back for a minute; without it that waits for the next of its kind.
    void flush(qint64 nowMs);

private:
    using Place = std::pair<const TraceSource*, int>;
    struct Held
    {
        qint64 toldMs = 0;
        quint64 count = 0;
        QString text; ///< the last one
        quint32 channel = eTrace;
    };
    void tell(const Place& place, const QString& text, qint64 nowMs, quint32 channel);

    std::map<Place, Held> m_held;
};

} // namespace Startup
