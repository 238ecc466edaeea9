#pragma once

#include <startup/errorhandler.h>
#include <startup/export.h>

#include <type_traits>

namespace Startup {

/// What the exception that is being handled says: its what(), read as UTF-8, or `otherwise` when it is no
/// std::exception. To be called within a handler only.
KOLTA_STARTUP_EXPORT QString
CurrentExceptionText(const QString& otherwise = QStringLiteral("unknown exception"));

/// A source file as it appears in the trace. Each file that traces has one, and an enumeration of its trace
/// points; the points' numbers are stable identifiers that support tools match on.
///
///     enum eTracePoint : int { eRefused = 10, eLost = 20 };
///     constexpr Startup::TraceSource kTrace("platform/folder/file");
///
///     kTrace(eRefused, QStringLiteral("..."));
///
/// All operations may be called from any thread and never throw.
class KOLTA_STARTUP_EXPORT TraceSource
{
public:
    /// `name` must live as long as the source. Lines go to `channel` unless they name another.
    constexpr explicit TraceSource(const char* name, quint32 channel = eTrace) noexcept
        : m_name(name), m_channel(channel)
    {
    }

    /// Writes one line through the process error handler.
    template<class Point>
    void operator()(Point point, const QString& text) const noexcept
    {
        (*this)(point, text, m_channel);
    }
    template<class Point>
    void operator()(Point point, const QString& text, quint32 channel) const noexcept
    {
        static_assert(std::is_enum_v<Point>, "a trace point is named in the file's enumeration");
        write(channel, static_cast<int>(point), text);
    }

    /// Traces the exception that is being handled: "caught exception from <where> <what it says>" at `point`,
    /// or "caught unknown exception from <where>" at `unknownPoint` when it says nothing.
    template<class Point>
    void caught(Point point, Point unknownPoint, const char* where) const noexcept
    {
        static_assert(std::is_enum_v<Point>, "a trace point is named in the file's enumeration");
        writeCaught(static_cast<int>(point), static_cast<int>(unknownPoint), where);
    }

private:
    friend class ThrottledTrace;
    void write(quint32 channel, int point, const QString& text) const noexcept;
    void writeCaught(int point, int unknownPoint, const char* where) const noexcept;

    const char* m_name;
    quint32 m_channel;
};

} // namespace Startup
