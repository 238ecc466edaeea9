#pragma once

#include <values/command.h>
#include <values/export.h>

#include <deque>
#include <string>
#include <unordered_map>
#include <utility>

namespace values {

/// Which items and requests of a collection have own changes on their way to its owner.
class KOLTA_VALUES_EXPORT PendingChanges
{
public:
    /// The change `number` writes `scope`; numbers rise.
    void Add(quint64 number, CommandScope scope)
    {
        if (!scope.everyKey && scope.keys.empty() && scope.requests.empty())
            return;
        for (const std::string& key : scope.keys)
            ++m_keys[key];
        for (const std::string& request : scope.requests)
            ++m_requests[request];
        m_everyKey += scope.everyKey ? 1 : 0;
        m_changes.emplace_back(number, std::move(scope));
    }
    /// All changes up to `number` have been dealt with.
    void Acknowledge(quint64 number)
    {
        while (!m_changes.empty() && m_changes.front().first <= number) {
            const CommandScope& scope = m_changes.front().second;
            for (const std::string& key : scope.keys)
                take(m_keys, key);
            for (const std::string& request : scope.requests)
                take(m_requests, request);
            m_everyKey -= scope.everyKey ? 1 : 0;
            m_changes.pop_front();
        }
    }
    bool IsEmpty() const noexcept { return m_changes.empty(); }
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

    std::deque<std::pair<quint64, CommandScope>> m_changes; ///< by number, oldest first
    Counts m_keys;                                          ///< how many changes write a key
    Counts m_requests;                                      ///< how many open or end a request
    int m_everyKey = 0;                                     ///< how many write every key
};

} // namespace values
