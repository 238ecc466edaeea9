#include "tracelines.h"

#include <koltacommon/viewroles.h>

#include <iterator>
#include <utility>

namespace KoltaConsole {

using Startup::TraceRecord;

namespace {

constexpr int kShowMs = 100;
constexpr int kMostText = 4096; ///< characters of a line

constexpr const char* kNames[TraceLines::kChannels] = {"fatal",  "error", "warning", "info",
                                                       "config", "trace", "detail"};

constexpr const char* kTitles[] = {
    QT_TRANSLATE_NOOP("KoltaConsole::TraceLines", "Time"),
    QT_TRANSLATE_NOOP("KoltaConsole::TraceLines", "Channel"),
    QT_TRANSLATE_NOOP("KoltaConsole::TraceLines", "Source and point"),
    QT_TRANSLATE_NOOP("KoltaConsole::TraceLines", "What was traced"),
};

/// Of a channel that has no name, that of "trace", as in log files.
int numberOf(quint32 channel)
{
    for (int number = 0; number < TraceLines::kChannels; ++number) {
        if (TraceLines::channel(number) == channel)
            return number;
    }
    return 5;
}

QString placeOf(const TraceRecord& line)
{
    return QStringLiteral("%1:%2").arg(line.source).arg(line.line);
}

} // namespace

TraceLines::TraceLines(QObject* parent) : NewestFirst(parent)
{
    m_showing.setSingleShot(true);
    m_showing.setInterval(kShowMs);
    connect(&m_showing, &QTimer::timeout, this, &TraceLines::showNew);
    Startup::ErrorHandler::Instance().addSink(this);
}

TraceLines::~TraceLines()
{
    Startup::ErrorHandler::Instance().removeSink(this);
}

QString TraceLines::channelName(int number)
{
    return QLatin1String(kNames[number]);
}

/// On any thread.
void TraceLines::trace(const TraceRecord& record)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_new.push_back(record);
    if (record.text.size() > kMostText)
        m_new.back().text = record.text.left(kMostText) + QStringLiteral(" …");
    if (m_new.size() > kMost)
        m_new.pop_front();
    ++m_newCounts[static_cast<std::size_t>(numberOf(record.channel))];
    if (!std::exchange(m_isCalled, true))
        QMetaObject::invokeMethod(
            this, [this] { m_showing.start(); }, Qt::QueuedConnection);
}

void TraceLines::showNew()
{
    std::deque<TraceRecord> fresh;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        fresh.swap(m_new);
        for (std::size_t i = 0; i < m_counts.size(); ++i)
            m_counts[i] += std::exchange(m_newCounts[i], 0);
        m_isCalled = false;
    }
    putOnTop(fresh);
}

QVariant TraceLines::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const TraceRecord& line = rowAt(index.row());
    const QString name = channelName(numberOf(line.channel));
    if (role == Kolta::ViewRoles::StateRole)
        return numberOf(line.channel);
    if (role == Kolta::ViewRoles::SearchRole)
        return QStringLiteral("%1\n%2\n%3").arg(name, placeOf(line), line.text).toLower();
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case eTimeColumn:
        return line.time.toString(QStringLiteral("HH:mm:ss.zzz"));
    case eChannelColumn:
        return name;
    case eSourceColumn:
        return placeOf(line);
    default:
        return line.text.simplified();
    }
}

QVariant TraceLines::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= eColumnCount)
        return {};
    return tr(kTitles[section]);
}

int TraceLines::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : eColumnCount;
}

} // namespace KoltaConsole
