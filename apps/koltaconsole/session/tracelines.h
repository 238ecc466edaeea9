#pragma once

#include "newestfirst.h"

#include <startup/errorhandler.h>

#include <QTimer>

#include <array>
#include <deque>
#include <mutex>

namespace KoltaConsole {

/// What this process has traced since this was made, whichever thread did, newest on top and bounded. A line
/// waits for the next turn but costs the one who traces no more than a copy.
class TraceLines : public NewestFirst<Startup::TraceRecord, 2000>, private Startup::ITraceSink
{
    Q_OBJECT

public:
    enum eColumn : int { eTimeColumn, eChannelColumn, eSourceColumn, eTextColumn, eColumnCount };
    static constexpr int kChannels = 7;

    explicit TraceLines(QObject* parent = nullptr);
    ~TraceLines() override;

    /// The bit of a channel in the error handler's mask.
    static quint32 channel(int number) { return 1U << static_cast<unsigned>(number); }
    /// Its word, as it stands in log files too.
    static QString channelName(int number);
    /// How many lines of that channel there were, with those that are not kept any more.
    quint64 countOf(int number) const { return m_counts[static_cast<std::size_t>(number)]; }

    /// Kolta::ViewRoles::StateRole is the channel's number.
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;

private:
    void trace(const Startup::TraceRecord& record) override;
    void showNew();

    std::mutex m_mutex;
    std::deque<Startup::TraceRecord> m_new; ///< oldest first; of any thread, under the mutex
    std::array<quint64, kChannels> m_newCounts{};
    bool m_isCalled = false; ///< showNew() is on its way; under the mutex
    std::array<quint64, kChannels> m_counts{};
    QTimer m_showing;
};

} // namespace KoltaConsole
