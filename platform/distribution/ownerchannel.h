#pragma once

#include <distribution/itemtable.h>
#include <distribution/statetransfer.h>

#include <QUuid>

#include <deque>
#include <limits>
#include <map>
#include <vector>

namespace distribution {

/// One channel at the owner: its items, its numbered entries as far as they are kept, and what each writer's
/// session has had executed.
class OwnerChannel
{
public:
    OwnerChannel(quint16 channel, const QString& path, std::size_t logBytes)
        : m_channel(channel), m_path(path), m_logBytes(logBytes)
    {
    }

    quint16 GetChannel() const noexcept { return m_channel; }
    /// Of the collection; empty for channel 0.
    const QString& GetPath() const noexcept { return m_path; }
    ItemTable& Items() noexcept { return m_items; }
    const ItemTable& Items() const noexcept { return m_items; }
    /// Number of the newest entry. The initial content counts as the first one, which no log has.
    quint64 GetNewest() const noexcept { return m_newest; }

    /// How far a session's wishes have been dealt with; null for a session that has made none here.
    const SessionNumber* FindSession(const QUuid& session) const;
    std::size_t CountSessions() const noexcept { return m_sessions.size(); }
    void ForgetSession(const QUuid& session);

    /// Gives the entry the next number.
    void Append(const Entry& entry);

    /// Log messages of at most `maximumPayload` bytes with all entries that have not been sent, after which
    /// they count as sent. What changes large contents is in messages of its own: who mirrors them makes
    /// each anew, and deals with a message at a time.
    std::vector<Bytes> TakeUnsent(const QUuid& epoch, std::size_t maximumPayload);
    std::size_t GetUnsentBytes() const noexcept { return m_unsentBytes; }
    bool HasUnsent() const noexcept { return m_sent < m_newest; }
    /// What was not sent while nobody was listening is left to those who ask.
    void DropUnsent();

    bool CanReplay(quint64 from) const noexcept { return from >= m_first && from <= m_newest; }
    std::vector<Bytes> Replay(const QUuid& epoch, quint64 from, std::size_t maximumPayload) const;
    /// Whether the entries from there on would make who mirrors them renew far more than a state does.
    bool IsDearerThanState(quint64 from) const;

    /// The state as it is now; `collection`: content of the collection.
    Snapshot MakeSnapshot(const Content& collection) const;

    /// Asks that wait to be answered together, and the states that were published.
    struct Asks
    {
        qint64 replayAtMs = std::numeric_limits<qint64>::max();
        quint64 replayFrom = 0;
        qint64 stateAtMs = std::numeric_limits<qint64>::max();
        qint64 stateSaidMs = std::numeric_limits<qint64>::min() / 2;
        quint64 stateNumber = 0;     ///< of the last published state; 0: none
        quint32 statePartsBound = 0; ///< no part beyond has ever been published
    };
    Asks asks;

private:
    struct Logged
    {
        Bytes entry;              ///< encoded
        std::size_t renewedBytes; ///< of the contents that it changes
        quint64 renewedBefore;    ///< by all entries before it
    };

    void boundTable();
    std::size_t renewedBytes(const Entry& entry) const;
    std::vector<Bytes> messages(const QUuid& epoch, quint64 from, std::size_t maximumPayload) const;

    quint16 m_channel;
    QString m_path;
    std::size_t m_logBytes;
    ItemTable m_items;
    std::map<QUuid, SessionNumber> m_sessions;
    std::size_t m_failureBytes = 0; ///< of all sessions
    std::deque<Logged> m_log;
    quint64 m_first = 2; ///< number of the first entry in the log
    quint64 m_newest = 1;
    quint64 m_sent = 1;
    std::size_t m_bytes = 0; ///< of all entries in the log
    std::size_t m_unsentBytes = 0;
    quint64 m_renewedBytes = 0; ///< by all entries
};

} // namespace distribution
