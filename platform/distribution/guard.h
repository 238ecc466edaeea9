#pragma once

#include <startup/tracesource.h>

#include <QString>

namespace distribution {

/// Calls what may call observers. What one of them throws is traced and ends nothing but the call.
template<class Call>
void Guarded(const Call& call)
{
    enum eTracePoint : int { eObserverException = 1 };
    constexpr Startup::TraceSource kTrace("platform/distribution/guard", Startup::eTraceError);
    try {
        call();
    } catch (...) {
        kTrace(eObserverException,
               QStringLiteral("An observer has thrown: %1").arg(Startup::CurrentExceptionText()));
    }
}

} // namespace distribution
