#pragma once

#include <startup/export.h>

#include <QDateTime>
#include <QString>
#include <QVector>

#include <atomic>
#include <deque>
#include <mutex>
#include <vector>

namespace Startup {

/// Trace channels; each is one bit of the error handler's mask.
enum eTraceChannel : quint32 {
    eTraceFatal = 1,   ///< the process cannot go on
    eTraceError = 2,   ///< an operation failed and its caller was not told otherwise
    eTraceWarning = 4, ///< something looks wrong, work goes on
    eTraceInfo = 8,    ///< life cycle: links opened, files loaded
    eTraceConfig = 16, ///< configuration read and written
    eTrace = 32,       ///< the trace channel: what support reads first
    eTraceDetail = 64  ///< detail that only a closer look needs
};

/// One line that went through the error handler.
struct TraceRecord
{
    quint32 channel = 0; ///< one value of eTraceChannel
    QString source;      ///< "devicecontrol/kolta/koltacommon/<file>" or "platform/<folder>/<file>"
    int line = 0;        ///< stable trace point number, not a position in a file; 0 for none
    QString text;
    QDateTime time; ///< local time at which the line was written
};

/// Receives every trace line that the mask lets through.
/// Called on the thread that traces, under the error handler's lock: copy and return. Adding and removing
/// sinks is not allowed from here; a line that is traced from here is dropped.
class KOLTA_STARTUP_EXPORT ITraceSink
{
public:
    virtual ~ITraceSink() = default;
    virtual void trace(const TraceRecord& record) = 0;
};

/// The process error handler: one place through which every trace line goes.
/// A line passes when its channel's bit is set in the mask; it is then written to the Qt logging category
/// "kolta.trace" as "time severity source:line text" (warning level for fatal, error and warning, debug level
/// for detail, else info) and given to every sink. Lines that a sink or a Qt message handler traces while it
/// handles one are dropped. All operations may be called from any thread.
class KOLTA_STARTUP_EXPORT ErrorHandler
{
public:
    /// The process-wide instance. The initial mask is the configuration value "ErrorHandler"/"TraceMask",
    /// overridden by the environment variable KOLTA_TRACE_MASK; without either every channel is on.
    static ErrorHandler& Instance();

    quint32 mask() const noexcept { return m_mask.load(std::memory_order_relaxed); }
    void setMask(quint32 mask) noexcept { m_mask.store(mask, std::memory_order_relaxed); }
    bool isEnabled(quint32 channel) const noexcept { return (mask() & channel) != 0; }

    /// Writes one line; does nothing when `channel` is masked. Never throws.
    void trace(quint32 channel, const QString& source, int line, const QString& text) noexcept;

    /// `sink` is not owned and must be removed before it dies.
    void addSink(ITraceSink* sink);
    void removeSink(ITraceSink* sink);

    /// Whether lines also go to the Qt logging category (default true).
    void setLoggingEnabled(bool enabled) noexcept { m_logging.store(enabled, std::memory_order_relaxed); }

    ErrorHandler(const ErrorHandler&) = delete;
    ErrorHandler& operator=(const ErrorHandler&) = delete;

private:
    ErrorHandler();
    void readMask();

    std::atomic<quint32> m_mask;
    std::atomic<bool> m_logging{true};
    std::mutex m_mutex;
    std::vector<ITraceSink*> m_sinks;
};

/// A sink that keeps what was traced while it lives, for tests and for the console's trace view.
/// Keeps the newest `limit` lines. Thread-safe.
class KOLTA_STARTUP_EXPORT TraceRecorder : public ITraceSink
{
public:
    explicit TraceRecorder(int limit = 10000);
    ~TraceRecorder() override;

    void trace(const TraceRecord& record) override;

    QVector<TraceRecord> records() const;
    /// Number of kept lines whose text contains `part`.
    int count(const QString& part) const;
    void clear();

    TraceRecorder(const TraceRecorder&) = delete;
    TraceRecorder& operator=(const TraceRecorder&) = delete;

private:
    mutable std::mutex m_mutex;
    std::deque<TraceRecord> m_records;
    int m_limit;
};

} // namespace Startup
