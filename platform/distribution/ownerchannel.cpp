#include <distribution/ownerchannel.h>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

namespace distribution {

namespace {

constexpr std::size_t kMaximumEntries = 100000;
/// Of contents that one message changes, where it has several entries.
constexpr std::size_t kRenewedBytes = 1U << 20U;
/// Contents of so many states take longer to be made anew than a state to be sent and taken.
constexpr std::size_t kRenewedPerState = 32;
/// Room for the head of a log message.
constexpr std::size_t kHeadBytes = 64;

using WishFailures = std::vector<std::pair<quint64, Failure>>;

std::size_t sizeOf(const Failure& failure)
{
    return sizeof failure + sizeof(QChar) * static_cast<std::size_t>(failure.reason.size());
}

std::size_t sizeOf(const WishFailures& failures)
{
    return std::accumulate(
        failures.begin(), failures.end(), std::size_t(0),
        [](std::size_t size, const auto& failure) { return size + sizeOf(failure.second); });
}

/// A writer whose changes are nearly all refused costs no more memory than others: of its older wishes the
/// outcome is no longer known.
void boundFailures(WishFailures& failures, std::size_t limit)
{
    std::size_t size = 0;
    auto kept = failures.rbegin();
    while (kept != failures.rend() && size + sizeOf(kept->second) <= limit)
        size += sizeOf((kept++)->second);
    if (kept == failures.rend())
        return;
    const auto newestDropped = std::prev(kept.base());
    newestDropped->second =
        Failure{Failure::kEveryChange, WishResult::Unknown, QStringLiteral("the outcome is unknown")};
    failures.erase(failures.begin(), newestDropped);
}

} // namespace

const SessionNumber* OwnerChannel::FindSession(const QUuid& session) const
{
    const auto found = m_sessions.find(session);
    return found == m_sessions.end() ? nullptr : &found->second;
}

void OwnerChannel::Append(const Entry& entry)
{
    if (!entry.session.isNull()) {
        SessionNumber& session = m_sessions[entry.session];
        session.session = entry.session;
        session.wish = entry.wish;
        auto& failures = session.failures;
        m_failureBytes -= sizeOf(failures);
        // A writer has no older wish on its way, so it cannot miss what became of one.
        failures.erase(failures.begin(),
                       std::find_if(failures.begin(), failures.end(), [&](const auto& failure) {
                           return failure.first + Limits::kOpenWishes > entry.wish;
                       }));
        for (const Failure& failure : entry.failures)
            failures.emplace_back(entry.wish, failure);
        boundFailures(failures, Limits::kFailureBytes);
        m_failureBytes += sizeOf(failures);
        if (m_failureBytes > Limits::kTableFailureBytes)
            boundTable();
    }
    Logged logged{EncodeEntry(entry), renewedBytes(entry), m_renewedBytes};
    m_renewedBytes += logged.renewedBytes;
    m_bytes += logged.entry.size();
    m_unsentBytes += logged.entry.size();
    m_log.push_back(std::move(logged));
    ++m_newest;
    while (m_log.size() > 1 && (m_bytes > m_logBytes || m_log.size() > kMaximumEntries)) {
        m_bytes -= m_log.front().entry.size();
        m_log.pop_front();
        ++m_first;
    }
}

std::size_t OwnerChannel::renewedBytes(const Entry& entry) const
{
    std::size_t bytes = 0;
    for (const Change& change : entry.changes) {
        const ItemTable::Item* const item = m_items.Find(change.id);
        bytes += item ? item->Size() : 0;
    }
    return bytes;
}

/// Many writers whose changes are refused would make a state that is too large for those who join.
void OwnerChannel::boundTable()
{
    m_failureBytes = 0;
    for (auto& [id, session] : m_sessions) {
        boundFailures(session.failures, Limits::kTableFailureBytes / (2 * m_sessions.size()));
        m_failureBytes += sizeOf(session.failures);
    }
}

void OwnerChannel::ForgetSession(const QUuid& session)
{
    const auto found = m_sessions.find(session);
    if (found == m_sessions.end())
        return;
    m_failureBytes -= sizeOf(found->second.failures);
    m_sessions.erase(found);
}

std::vector<Bytes> OwnerChannel::TakeUnsent(const QUuid& epoch, std::size_t maximumPayload)
{
    std::vector<Bytes> unsent = messages(epoch, std::max(m_sent + 1, m_first), maximumPayload);
    DropUnsent();
    return unsent;
}

void OwnerChannel::DropUnsent()
{
    m_sent = m_newest;
    m_unsentBytes = 0;
}

std::vector<Bytes> OwnerChannel::Replay(const QUuid& epoch, quint64 from, std::size_t maximumPayload) const
{
    return messages(epoch, std::max(from, m_first), maximumPayload);
}

bool OwnerChannel::IsDearerThanState(quint64 from) const
{
    const quint64 renewed =
        m_renewedBytes - m_log[static_cast<std::size_t>(std::max(from, m_first) - m_first)].renewedBefore;
    quint64 whole = kRenewedBytes;
    if (renewed <= kRenewedPerState * whole)
        return false;
    for (const auto& [id, item] : m_items.All())
        whole += item.Size();
    return renewed > kRenewedPerState * whole;
}

/// The entries in as few messages as they may be in. For one that fits in none there is a message without
/// entries.
std::vector<Bytes> OwnerChannel::messages(const QUuid& epoch, quint64 from, std::size_t maximumPayload) const
{
    std::vector<Bytes> messages;
    while (from <= m_newest) {
        const quint64 first = from;
        std::size_t size = kHeadBytes, renewed = 0;
        const auto at = [this](quint64 number) -> const Logged& {
            return m_log[static_cast<std::size_t>(number - m_first)];
        };
        while (from <= m_newest && size + at(from).entry.size() <= maximumPayload &&
               (from == first || renewed + at(from).renewedBytes <= kRenewedBytes)) {
            renewed += at(from).renewedBytes;
            size += at(from++).entry.size();
        }
        Bytes message = EncodeLogHead(epoch, first, static_cast<quint32>(from - first));
        message.reserve(size);
        for (quint64 number = first; number < from; ++number)
            message += at(number).entry;
        if (from == first)
            ++from;
        messages.push_back(std::move(message));
    }
    return messages;
}

Snapshot OwnerChannel::MakeSnapshot(const Content& collection) const
{
    Snapshot snapshot;
    snapshot.sessions.reserve(m_sessions.size());
    for (const auto& session : m_sessions)
        snapshot.sessions.push_back(session.second);
    snapshot.items.reserve(m_items.Size());
    for (const auto& [id, item] : m_items.All())
        snapshot.items.push_back(
            {id, item.path, item.type, IsCollection(item.type) ? collection : item.Whole()});
    return snapshot;
}

} // namespace distribution
