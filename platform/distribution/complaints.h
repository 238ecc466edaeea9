#pragma once

#include <startup/tracesource.h>

#include <QString>

#include <map>
#include <utility>

namespace distribution {

/// Traces what is wrong with messages from outside: of each kind at once, and then once a minute with the
/// number of the others, so that nobody can fill a log.
class Complaints
{
public:
    template<class Point>
    void operator()(const Startup::TraceSource& trace, Point point, const QString& text, qint64 nowMs)
    {
        constexpr qint64 pauseMs = 60000;
        Kind& kind = m_kinds[static_cast<int>(point)];
        if (kind.wasTold && nowMs - kind.toldMs < pauseMs) {
            ++kind.heldBack;
            return;
        }
        kind.wasTold = true;
        kind.toldMs = nowMs;
        const int others = std::exchange(kind.heldBack, 0);
        trace(point, others == 0 ? text : QStringLiteral("%1 (and %2 more before)").arg(text).arg(others));
    }

private:
    struct Kind
    {
        bool wasTold = false;
        qint64 toldMs = 0;
        int heldBack = 0;
    };
    std::map<int, Kind> m_kinds;
};

} // namespace distribution
