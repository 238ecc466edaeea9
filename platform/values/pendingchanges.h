#pragma once

#include <values/command.h>
#include <values/export.h>

#include <deque>
#include <string>
#include <unordered_map>
#include <utility>

namespace values {

/// Which items and requests have own changes on their way to a peer.
class KOLTA_VALUES_EXPORT PendingChanges
{
public:
    /// The group `number` writes `scope`; numbers rise.
    void Add(quint64 number, CommandScope scope)
    {
        if (!scope.everyKey && scope.keys.empty() && scope.requests.empty())
            return;
        for (const std::string& key : scope.keys)
            ++m_keys[key];
        for (const std::string& request : scope.requests)
            ++m_requests[request];
        m_everyKey += scope.everyKey ? 1 : 0;
        m_groups.emplace_back(number, std::move(scope));
    }
    /// All groups up to `number` have arrived.
    void Acknowledge(quint64 number)
    {
        while (!m_groups.empty() && m_groups.front().first <= number) {
            const CommandScope& scope = m_groups.front().second;
            for (const std::string& key : scope.keys)
                take(m_keys, key);
            for (const std::string& request : scope.requests)
                take(m_requests, request);
            m_everyKey -= scope.everyKey ? 1 : 0;
            m_groups.pop_front();
        }
    }
    bool IsEmpty() const noexcept { return m_groups.empty(); }
    bool ContainsKey(const std::string& key) const { return m_everyKey > 0 || m_keys.count(key) > 0; }
    bool ContainsRequest(const std::string& request) const { return m_requests.count(request) > 0; }

private:
    using Counts = std::unordered_map<std::string, unsigned int>;
    static void take(Counts& counts, const std::string& name)
    {
        const auto found = counts.find(name);
        if (--found->second == 0)
            counts.erase(found);
    }

    std::deque<std::pair<quint64, CommandScope>> m_groups; ///< by number, oldest first
    Counts m_keys;                                         ///< how many groups write a key
    Counts m_requests;                                     ///< how many open or end a request
    int m_everyKey = 0;                                    ///< how many write every key
};

/// Ends the requests of `value` that neither `state`, the commands of a received state, nor own `pending`
/// changes know. Observers are told, but not `originator`; one may delete the value.
KOLTA_VALUES_EXPORT void EndStaleRequests(ValueBase& value, ByteReader state, const PendingChanges& pending,
                                          IObserver* originator);

} // namespace values
