#include <koltacommon/stretchbook.h>

#include <koltacommon/serverstates.h>
#include <koltacommon/tunerbookingmanager.h>

#include <algorithm>

namespace Kolta {

namespace {

constexpr std::size_t kMostWatches = 1000;

QDateTime timeOf(qint64 milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds);
}

Stretch plain(qint64 from, qint64 to, int state)
{
    Stretch stretch;
    stretch.from = timeOf(from);
    stretch.to = timeOf(to);
    stretch.state = state;
    return stretch;
}

/// The first entry that ends behind `time`.
template<class Entries>
auto firstBehind(const Entries& entries, qint64 time)
{
    return std::upper_bound(entries.begin(), entries.end(), time,
                            [](qint64 at, const auto& entry) { return at < entry.to; });
}

bool isSame(const Stretch& a, const Stretch& b)
{
    return a.isWatched == b.isWatched && a.state == b.state && a.production == b.production &&
           a.tuner == b.tuner;
}

} // namespace

int StretchBook::usualState(EventSubject::Type type)
{
    switch (type) {
    case EventSubject::Type::Tuner:
        return TunerBookingManager::eFree;
    case EventSubject::Type::Unit:
        return 1;
    default:
        return Event::kGone;
    }
}

Stretch StretchBook::stretchOf(const Entry& entry)
{
    Stretch stretch = plain(entry.from, entry.to, entry.state);
    stretch.sawBegin = entry.sawBegin;
    stretch.isOpen = entry.to == kOpen;
    stretch.production = entry.production;
    stretch.tuner = entry.tuner;
    return stretch;
}

/// Keeps the entries in order when the time of day is set back.
qint64 StretchBook::later(const QDateTime& time)
{
    m_latest = std::max(m_latest, time.toMSecsSinceEpoch());
    return m_latest;
}

void StretchBook::beginWatch(const QDateTime& time)
{
    if (isWatching())
        return;
    m_watches.push_back({later(time), kOpen});
    if (m_watches.size() > kMostWatches)
        m_watches.pop_front();
}

void StretchBook::endWatch(const QDateTime& time)
{
    if (!isWatching())
        return;
    const qint64 now = later(time);
    m_watches.back().to = now;
    for (Account& account : m_accounts)
        close(account, now, false);
}

void StretchBook::close(Account& account, qint64 time, bool isSeen)
{
    if (account.entries.empty() || account.entries.back().to != kOpen)
        return;
    account.entries.back().to = std::max(time, account.entries.back().from);
    account.entries.back().sawEnd = isSeen;
}

bool StretchBook::note(const Event& event)
{
    if (event.state == Event::kUnchanged || event.subject.type == EventSubject::Type::None)
        return false;
    const bool isUsual = event.state == usualState(event.subject.type);
    const auto found = m_accounts.find(event.subject);
    if (found == m_accounts.end() && isUsual)
        return false;
    Account& account = found == m_accounts.end() ? m_accounts[event.subject] : *found;
    if (!event.name.isEmpty())
        account.name = event.name;
    const bool isOpen = !account.entries.empty() && account.entries.back().to == kOpen;
    if (isOpen ? account.entries.back().state == event.state : isUsual)
        return false;
    const qint64 now = later(event.time);
    close(account, now, event.sawBegin);
    if (isUsual)
        return true;
    Entry entry;
    entry.from = now;
    entry.state = event.state;
    entry.sawBegin = event.sawBegin;
    entry.production = event.production;
    entry.tuner = event.tuner;
    entry.holder = event.holder;
    account.entries.push_back(entry);
    m_order.push_back(event.subject);
    makeRoom();
    return true;
}

/// What has not ended is not forgotten; it is put off to the next time round.
void StretchBook::makeRoom()
{
    for (std::size_t tries = m_order.size(); tries > static_cast<std::size_t>(m_room); --tries) {
        const EventSubject subject = m_order.front();
        m_order.pop_front();
        const auto account = m_accounts.find(subject);
        if (account == m_accounts.end() || account->entries.empty())
            continue;
        if (account->entries.front().to == kOpen) {
            m_order.push_back(subject);
            continue;
        }
        account->entries.pop_front();
        if (account->entries.empty())
            m_accounts.erase(account);
    }
}

const StretchBook::Account* StretchBook::account(const EventSubject& subject) const
{
    const auto found = m_accounts.find(subject);
    return found == m_accounts.end() ? nullptr : &*found;
}

/// In order and apart from each other.
StretchBook::Spans StretchBook::unwatched(const EventSubject& subject, qint64 from, qint64 to) const
{
    Spans spans;
    qint64 at = from;
    for (auto watch = firstBehind(m_watches, from); watch != m_watches.end() && watch->from < to; ++watch) {
        if (watch->from > at)
            spans.push_back({at, watch->from});
        appendAway(subject, std::max(at, watch->from), std::min(to, watch->to), spans);
        at = std::min(to, watch->to);
    }
    if (at < to)
        spans.push_back({at, to});
    return spans;
}

/// When the subject's server was away, or not known yet.
void StretchBook::appendAway(const EventSubject& subject, qint64 from, qint64 to, Spans& spans) const
{
    if (subject.server.isEmpty() || subject.type == EventSubject::Type::Server)
        return;
    qint64 at = from;
    if (const Account* const server = account({EventSubject::Type::Server, subject.server, QString()})) {
        auto entry = firstBehind(server->entries, from);
        for (; entry != server->entries.end() && entry->from < to; ++entry) {
            if (entry->state == SERVER_STATES::eDisconnected)
                continue;
            if (entry->from > at)
                spans.push_back({at, entry->from});
            at = std::min(to, entry->to);
        }
    }
    if (at < to)
        spans.push_back({at, to});
}

void StretchBook::cut(const QVector<Stretch>& stretches, const Spans& unwatched, QVector<Stretch>& result)
{
    const auto append = [&result](Stretch stretch, const QDateTime& from, const QDateTime& to) {
        if (from >= to)
            return;
        stretch.sawBegin = stretch.sawBegin && stretch.from == from;
        stretch.isOpen = stretch.isOpen && stretch.to == to;
        stretch.from = from;
        stretch.to = to;
        if (result.isEmpty() || !isSame(result.last(), stretch))
            return result.append(stretch);
        result.last().to = to;
        result.last().isOpen = stretch.isOpen;
    };
    auto span = unwatched.begin();
    for (const Stretch& stretch : stretches) {
        QDateTime at = stretch.from;
        for (; span != unwatched.end() && timeOf(span->from) < stretch.to; ++span) {
            append(stretch, at, timeOf(span->from));
            at = std::max(at, std::min(timeOf(span->to), stretch.to));
            Stretch nobody;
            nobody.isWatched = false;
            nobody.from = std::max(stretch.from, timeOf(span->from));
            append(nobody, nobody.from, at);
            if (timeOf(span->to) > stretch.to) // goes on in the next
                break;
        }
        append(stretch, at, stretch.to);
    }
}

/// Without regard to who watched.
QVector<Stretch> StretchBook::told(const EventSubject& subject, qint64 begin, qint64 end) const
{
    QVector<Stretch> known;
    qint64 at = begin;
    const auto fill = [&](qint64 until) {
        if (at < until)
            known.append(plain(at, until, usualState(subject.type)));
        at = std::max(at, until);
    };
    const Account* const found = account(subject);
    if (!found || found->entries.empty()) {
        fill(end);
        known.last().isOpen = isWatching();
        return known;
    }
    for (auto entry = firstBehind(found->entries, begin); entry != found->entries.end() && entry->from < end;
         ++entry) {
        fill(entry->from);
        Stretch stretch = stretchOf(*entry);
        stretch.sawBegin = stretch.sawBegin && entry->from >= begin;
        stretch.from = timeOf(std::max(begin, entry->from));
        at = std::min(end, entry->to);
        stretch.to = timeOf(at);
        if (stretch.from < stretch.to)
            known.append(stretch);
    }
    fill(end);
    const Entry& last = found->entries.back();
    known.last().isOpen = isWatching() && last.from < end && (last.to == kOpen || last.to <= end);
    return known;
}

QVector<Stretch> StretchBook::stretches(const EventSubject& subject, const QDateTime& from,
                                        const QDateTime& to) const
{
    const qint64 begin = from.toMSecsSinceEpoch();
    const qint64 end = to.toMSecsSinceEpoch();
    QVector<Stretch> result;
    if (begin < end)
        cut(told(subject, begin, end), unwatched(subject, begin, end), result);
    return result;
}

/// Since when somebody watches and its server is there; kOpen for not.
qint64 StretchBook::watchedSince(const EventSubject& subject) const
{
    if (!isWatching())
        return kOpen;
    const qint64 watch = m_watches.back().from;
    if (subject.server.isEmpty() || subject.type == EventSubject::Type::Server)
        return watch;
    const Account* const server = account({EventSubject::Type::Server, subject.server, QString()});
    if (!server || server->entries.empty() || server->entries.back().to != kOpen ||
        server->entries.back().state == SERVER_STATES::eDisconnected)
        return kOpen;
    auto entry = server->entries.rbegin();
    for (auto before = std::next(entry); before != server->entries.rend(); entry = before++) {
        if (before->state == SERVER_STATES::eDisconnected || before->to != entry->from)
            break;
    }
    return std::max(watch, entry->from);
}

Stretch StretchBook::present(const EventSubject& subject) const
{
    const qint64 watched = watchedSince(subject);
    if (watched == kOpen) {
        Stretch nobody;
        nobody.isWatched = false;
        return nobody;
    }
    const Account* const found = account(subject);
    const Entry* const last = found && !found->entries.empty() ? &found->entries.back() : nullptr;
    Stretch stretch = plain(watched, m_latest, usualState(subject.type));
    stretch.sawBegin = false;
    if (last && last->to == kOpen) {
        stretch = stretchOf(*last);
        stretch.sawBegin = stretch.sawBegin && last->from >= watched;
        stretch.from = timeOf(std::max(watched, last->from));
        stretch.to = timeOf(m_latest);
    } else if (last && last->to >= watched) {
        stretch.from = timeOf(last->to);
        stretch.sawBegin = last->sawEnd;
    }
    stretch.isOpen = true;
    return stretch;
}

QVector<EventSubject> StretchBook::subjects(EventSubject::Type type, const QString& server) const
{
    QVector<EventSubject> found;
    for (auto account = m_accounts.begin(); account != m_accounts.end(); ++account) {
        const EventSubject& subject = account.key();
        if (subject.type == type && (server.isEmpty() || subject.server == server))
            found.append(subject);
    }
    return found;
}

QString StretchBook::name(const EventSubject& subject) const
{
    const Account* const found = account(subject);
    return found ? found->name : QString();
}

QVector<Event> StretchBook::open() const
{
    QVector<Event> events;
    for (auto account = m_accounts.begin(); account != m_accounts.end(); ++account) {
        if (account->entries.empty() || account->entries.back().to != kOpen)
            continue;
        const Entry& entry = account->entries.back();
        Event event;
        event.time = timeOf(entry.from);
        event.subject = account.key();
        event.state = entry.state;
        event.sawBegin = entry.sawBegin;
        event.name = account->name;
        event.production = entry.production;
        event.tuner = entry.tuner;
        event.holder = entry.holder;
        events.append(event);
    }
    std::sort(events.begin(), events.end(), [](const Event& a, const Event& b) { return a.time < b.time; });
    return events;
}

QDateTime StretchBook::watchBegin() const
{
    return isWatching() ? timeOf(m_watches.back().from) : QDateTime();
}

QDateTime StretchBook::begin() const
{
    return m_watches.empty() ? QDateTime() : timeOf(m_watches.front().from);
}

} // namespace Kolta
