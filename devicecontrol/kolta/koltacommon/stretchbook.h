#pragma once

#include <koltacommon/event.h>
#include <koltacommon/export.h>

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QVector>

#include <deque>
#include <limits>
#include <vector>

namespace Kolta {

/// A time during which a subject was in one state.
struct Stretch
{
    QDateTime from;
    QDateTime to;
    int state = Event::kGone; ///< as Event::state has it; of tuners without news free, of units registered
    bool isWatched = true;    ///< false: nobody knows the state
    bool sawBegin = true;     ///< false: it was so already, and `from` is when that was found
    bool isOpen = false;      ///< it is so still
    // GUIDs, of processors; empty for none.
    QString production;
    QString tuner;
};

/// Which subject was in which state when, in bounded memory: when there is no more room, what began first is
/// forgotten. Knows also when nobody watched, which is before the book began, between watching and watching,
/// and for all that a server has while the server is away. Queries about one subject take time for what they
/// find, not for all that there is. No thread of its own; times are local.
class KOLTA_COMMON_EXPORT StretchBook
{
public:
    static constexpr int kDefaultRoom = 200000;

    explicit StretchBook(int room = kDefaultRoom) : m_room(room) {}

    // Writing. Times that go back count as the latest before.

    void beginWatch(const QDateTime& time);
    /// What is open ends; nobody knows what becomes of it.
    void endWatch(const QDateTime& time);
    /// Takes what the event says of its subject's state; false when that is nothing new.
    bool note(const Event& event);

    // Reading.

    /// All of the time from `from` to `to`, in order and without gaps; neighbours differ. What is open ends
    /// at `to`. Nothing when `from` is not before `to`.
    QVector<Stretch> stretches(const EventSubject& subject, const QDateTime& from, const QDateTime& to) const;
    /// The present one, as far as it is known; its `from` is invalid when nobody knows the subject's state.
    Stretch present(const EventSubject& subject) const;
    /// Those that have been heard of, of one server where one is named, in no order.
    QVector<EventSubject> subjects(EventSubject::Type type, const QString& server = QString()) const;
    /// The last that was heard; empty for none.
    QString name(const EventSubject& subject) const;
    /// Events that lead to what is open now, as they began.
    QVector<Event> open() const;
    /// Since when there is watching; invalid for not.
    QDateTime watchBegin() const;
    bool isWatching() const { return !m_watches.empty() && m_watches.back().to == kOpen; }
    /// Begin of the oldest that is remembered; invalid for none.
    QDateTime begin() const;

private:
    static constexpr qint64 kOpen = std::numeric_limits<qint64>::max();
    struct Span
    {
        qint64 from;
        qint64 to;
    };
    using Spans = std::vector<Span>;
    struct Entry
    {
        qint64 from = 0;
        qint64 to = kOpen;
        int state = Event::kGone;
        bool sawBegin = true;
        bool sawEnd = true;
        QString production;
        QString tuner;
        QString holder;
    };
    struct Account
    {
        QString name;
        std::deque<Entry> entries; ///< in order; without the state that goes without saying
    };

    static int usualState(EventSubject::Type type);
    static Stretch stretchOf(const Entry& entry);
    qint64 later(const QDateTime& time);
    void close(Account& account, qint64 time, bool isSeen);
    void makeRoom();
    const Account* account(const EventSubject& subject) const;
    QVector<Stretch> told(const EventSubject& subject, qint64 begin, qint64 end) const;
    qint64 watchedSince(const EventSubject& subject) const;
    Spans unwatched(const EventSubject& subject, qint64 from, qint64 to) const;
    void appendAway(const EventSubject& subject, qint64 from, qint64 to, Spans& spans) const;
    static void cut(const QVector<Stretch>& stretches, const Spans& unwatched, QVector<Stretch>& result);

    int m_room;
    qint64 m_latest = std::numeric_limits<qint64>::min();
    std::deque<Span> m_watches;
    QHash<EventSubject, Account> m_accounts;
    std::deque<EventSubject> m_order; ///< of each entry, as they began
};

} // namespace Kolta
