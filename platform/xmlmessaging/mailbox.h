#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <atomic>
#include <deque>
#include <limits>
#include <mutex>

namespace XmlCommunication {

/// "There is something in your mailbox."
constexpr QEvent::Type kWakeEvent = static_cast<QEvent::Type>(QEvent::User + 0x4B1);
/// "You may push again."
constexpr QEvent::Type kResumeEvent = static_cast<QEvent::Type>(QEvent::User + 0x4B2);

/// The only way on which things cross between the owner's thread and a link's thread: one direction of it.
/// The reader is told by a wake event, of which at most one is pending; it outlives every call of push().
template<class Item>
class Mailbox
{
public:
    explicit Mailbox(QObject* reader) : m_reader(reader) {}

    /// Appends and wakes the reader when it is not going to look anyway. When the costs of what waits exceed
    /// `highWater`, the result is false and the next take() that brings them below half of it says so.
    bool push(Item item, qint64 cost = 0, qint64 highWater = std::numeric_limits<qint64>::max())
    {
        QEvent* wake = nullptr;
        bool room = true;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_items.push_back(Entry{std::move(item), cost});
            m_cost += cost;
            if (m_cost > highWater) {
                m_lowWater = highWater / 2;
                room = false;
            }
            // Made under the lock and posted outside it, so that the woken thread does not run into the lock.
            wake = m_readerLooks ? nullptr : new QEvent(kWakeEvent);
            m_readerLooks = true;
            posting();
        }
        if (wake)
            QCoreApplication::postEvent(m_reader, wake);
        return room;
    }

    struct Taken
    {
        bool any = false;    ///< an item was there
        bool more = false;   ///< others wait; the reader has to look again, it will not be woken for them
        bool resume = false; ///< the pusher waits for being told that there is room again
    };

    Taken take(Item& item)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Taken taken;
        taken.any = !m_items.empty();
        if (taken.any) {
            item = std::move(m_items.front().item);
            m_cost -= m_items.front().cost;
            m_items.pop_front();
        }
        taken.more = !m_items.empty();
        m_readerLooks = taken.more;
        taken.resume = m_lowWater >= 0 && m_cost <= m_lowWater;
        if (taken.resume)
            m_lowWater = -1;
        return taken;
    }

    bool isEmpty()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_items.empty();
    }

    /// To be called after an event for the reader was made, and by the reader before it looks at one: an
    /// order that does not rest on the event queue's own lock, which race detectors cannot see.
    void posting() noexcept { m_posted.fetch_add(1, std::memory_order_release); }
    void looking() const noexcept { static_cast<void>(m_posted.load(std::memory_order_acquire)); }

private:
    struct Entry
    {
        Item item;
        qint64 cost;
    };

    QObject* const m_reader;
    std::mutex m_mutex;
    std::deque<Entry> m_items;
    qint64 m_cost = 0;
    qint64 m_lowWater = -1;
    bool m_readerLooks = false;
    std::atomic<unsigned> m_posted{0};
};

} // namespace XmlCommunication
