#include <startup/errorhandler.h>

#include <startup/cfgcenter.h>
#include <startup/onelinetext.h>
#include <startup/tracesource.h>

#include <QLoggingCategory>

#include <algorithm>

namespace Startup {

namespace {

Q_LOGGING_CATEGORY(traceCategory, "kolta.trace")

enum eTracePoint : int { eBadMask = 10 };
constexpr TraceSource kTrace("platform/startup/errorhandler", eTraceWarning);

constexpr quint32 kAllChannels = 0xffffffffU;

/// Set while this thread is inside trace(): a sink or message handler that traces again must not come back
/// here.
thread_local bool tracing = false;

QString severity(quint32 channel)
{
    switch (channel) {
    case eTraceFatal:
        return QStringLiteral("fatal");
    case eTraceError:
        return QStringLiteral("error");
    case eTraceWarning:
        return QStringLiteral("warning");
    case eTraceInfo:
        return QStringLiteral("info");
    case eTraceConfig:
        return QStringLiteral("config");
    case eTraceDetail:
        return QStringLiteral("detail");
    default:
        return QStringLiteral("trace");
    }
}

/// One line, whatever the text holds: what comes from elsewhere must not look like a line of its own.
QString printed(const TraceRecord& record)
{
    return QStringLiteral("%1 %2 %3:%4 %5")
        .arg(record.time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")), severity(record.channel),
             record.source, QString::number(record.line), oneLineText(record.text));
}

void log(const TraceRecord& record)
{
    constexpr quint32 problems = eTraceFatal | eTraceError | eTraceWarning;
    if (record.channel & problems)
        qCWarning(traceCategory).noquote() << printed(record);
    else if (record.channel & eTraceDetail)
        qCDebug(traceCategory).noquote() << printed(record);
    else
        qCInfo(traceCategory).noquote() << printed(record);
}

} // namespace

ErrorHandler::ErrorHandler() : m_mask(kAllChannels) {}

ErrorHandler& ErrorHandler::Instance()
{
    // Never destroyed, so that destructors of static objects may trace.
    static ErrorHandler* const handler = new ErrorHandler;
    // Reading the configuration may trace and come here again, which finds the handler with every channel on.
    static std::atomic<bool> configured{false};
    if (!configured.load(std::memory_order_relaxed) && !configured.exchange(true))
        handler->readMask();
    return *handler;
}

void ErrorHandler::readMask()
{
    QString text = qEnvironmentVariable("KOLTA_TRACE_MASK");
    if (text.isEmpty())
        text = CfgCenter::Instance().Text(QStringLiteral("ErrorHandler"), QStringLiteral("TraceMask"));
    if (text.isEmpty())
        return;
    bool isNumber = false;
    const quint32 mask = text.trimmed().toUInt(&isNumber, 0);
    if (isNumber)
        setMask(mask);
    else
        kTrace(eBadMask,
               QStringLiteral("Trace mask \"%1\" is not a number; every channel stays on").arg(text));
}

void ErrorHandler::trace(quint32 channel, const QString& source, int line, const QString& text) noexcept
{
    if (!isEnabled(channel) || tracing)
        return;
    tracing = true;
    try {
        TraceRecord record{channel, source, line, text, QDateTime()};
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            // Under the lock, so that a sink sees times in their order.
            record.time = QDateTime::currentDateTime();
            for (ITraceSink* sink : m_sinks)
                sink->trace(record);
        }
        if (m_logging.load(std::memory_order_relaxed))
            log(record);
    } catch (...) {
        // A trace line that cannot be written is no reason to disturb the work that it tells about.
    }
    tracing = false;
}

void ErrorHandler::addSink(ITraceSink* sink)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (sink && std::find(m_sinks.begin(), m_sinks.end(), sink) == m_sinks.end())
        m_sinks.push_back(sink);
}

void ErrorHandler::removeSink(ITraceSink* sink)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_sinks.erase(std::remove(m_sinks.begin(), m_sinks.end(), sink), m_sinks.end());
}

TraceRecorder::TraceRecorder(int limit) : m_limit(limit)
{
    ErrorHandler::Instance().addSink(this);
}

TraceRecorder::~TraceRecorder()
{
    ErrorHandler::Instance().removeSink(this);
}

void TraceRecorder::trace(const TraceRecord& record)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_records.push_back(record);
    while (static_cast<qint64>(m_records.size()) > m_limit && !m_records.empty())
        m_records.pop_front();
}

QVector<TraceRecord> TraceRecorder::records() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return QVector<TraceRecord>(m_records.begin(), m_records.end());
}

int TraceRecorder::count(const QString& part) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(
        std::count_if(m_records.begin(), m_records.end(),
                      [&part](const TraceRecord& record) { return record.text.contains(part); }));
}

void TraceRecorder::clear()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_records.clear();
}

} // namespace Startup
