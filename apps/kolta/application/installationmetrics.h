#pragma once

#include "survey.h"

#include <startup/errorhandler.h>

#include <atomic>

namespace KoltaCli {

/// Counts, while it lives, the trace lines that tell of something wrong.
class TraceCounter : private Startup::ITraceSink
{
public:
    TraceCounter() { Startup::ErrorHandler::Instance().addSink(this); }
    ~TraceCounter() override { Startup::ErrorHandler::Instance().removeSink(this); }
    TraceCounter(const TraceCounter&) = delete;
    TraceCounter& operator=(const TraceCounter&) = delete;

    quint64 errors() const noexcept { return m_errors; }
    quint64 warnings() const noexcept { return m_warnings; }

private:
    void trace(const Startup::TraceRecord& record) override;

    std::atomic<quint64> m_errors{0};
    std::atomic<quint64> m_warnings{0};
};

class MetricsText;

/// What is known of an installation at this moment.
void appendInstallation(MetricsText& text, const Survey& survey);
void appendTraces(MetricsText& text, const TraceCounter& traces);

} // namespace KoltaCli
