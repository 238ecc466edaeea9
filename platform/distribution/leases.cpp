#include <distribution/leases.h>

#include <algorithm>

namespace distribution {

namespace {

/// Longest time in which a client that is alive is connected again and says so.
constexpr qint64 kReconnectMs = 15000;

} // namespace

void Leases::Add(const QUuid& session, const QString& path, qint64 nowMs)
{
    Remove(path);
    Lease& lease = m_leases[session];
    if (!IsPresent(session) && lease.endMs == kNever)
        lease.endMs = nowMs + m_graceMs + kReconnectMs;
    lease.items.push_back(path);
    m_holders[path] = session;
}

void Leases::Remove(const QString& path)
{
    const auto holder = m_holders.find(path);
    if (holder == m_holders.end())
        return;
    const auto lease = m_leases.find(holder->second);
    auto& items = lease->second.items;
    items.erase(std::remove(items.begin(), items.end(), path), items.end());
    if (items.empty())
        m_leases.erase(lease);
    m_holders.erase(holder);
}

QUuid Leases::HolderOf(const QString& path) const
{
    const auto holder = m_holders.find(path);
    return holder == m_holders.end() ? QUuid() : holder->second;
}

void Leases::SetPresent(const QUuid& session, bool present, qint64 nowMs)
{
    if (present)
        m_present.insert(session);
    else
        m_present.erase(session);
    const auto lease = m_leases.find(session);
    if (lease != m_leases.end())
        lease->second.endMs = present ? kNever : nowMs + m_graceMs;
}

void Leases::OnUp(qint64 nowMs)
{
    m_present.clear();
    for (auto& lease : m_leases)
        lease.second.endMs = nowMs + m_graceMs + kReconnectMs;
}

std::vector<QString> Leases::TakeExpired(qint64 nowMs)
{
    std::vector<QString> expired;
    for (auto lease = m_leases.begin(); lease != m_leases.end();) {
        if (lease->second.endMs > nowMs) {
            ++lease;
            continue;
        }
        const auto& items = lease->second.items;
        expired.insert(expired.end(), items.rbegin(), items.rend());
        lease = m_leases.erase(lease);
    }
    for (const QString& path : expired)
        m_holders.erase(path);
    return expired;
}

qint64 Leases::NextMs() const
{
    qint64 next = kNever;
    for (const auto& lease : m_leases)
        next = std::min(next, lease.second.endMs);
    return next;
}

} // namespace distribution
