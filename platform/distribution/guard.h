#pragma once

#include <startup/errorhandler.h>

#include <QString>

#include <exception>

namespace distribution {

/// Calls what may call observers. What one of them throws is traced and ends nothing but the call.
template<class Call>
void Guarded(const Call& call)
{
    QString thrown = QStringLiteral("unknown exception");
    try {
        call();
        return;
    } catch (const std::exception& error) {
        thrown = QString::fromUtf8(error.what());
    } catch (...) {
    }
    Startup::ErrorHandler::Instance().trace(Startup::eTraceError,
                                            QStringLiteral("platform/distribution/guard"), 1,
                                            QStringLiteral("An observer has thrown: %1").arg(thrown));
}

} // namespace distribution
