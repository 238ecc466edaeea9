#pragma once

#include <values/command.h>

#include <deque>
#include <string>
#include <unordered_map>
#include <utility>

namespace values {

/// Which keys have own changes on their way to a peer.
class PendingChanges
{
public:
    /// The group `number` writes `scope`; numbers rise.
    void Add(quint64 number, CommandScope scope)
    {
        if (!scope.everyKey && scope.keys.empty())
            return;
        for (const std::string& key : scope.keys)
            ++m_keys[key];
        m_everyKey += scope.everyKey ? 1 : 0;
        m_groups.emplace_back(number, std::move(scope));
    }
    /// All groups up to `number` have arrived.
    void Acknowledge(quint64 number)
    {
        while (!m_groups.empty() && m_groups.front().first <= number) {
            const CommandScope& scope = m_groups.front().second;
            for (const std::string& key : scope.keys) {
                const auto found = m_keys.find(key);
                if (--found->second == 0)
                    m_keys.erase(found);
            }
            m_everyKey -= scope.everyKey ? 1 : 0;
            m_groups.pop_front();
        }
    }
    bool IsEmpty() const noexcept { return m_groups.empty(); }
    bool Contains(const std::string& keyField) const
    {
        return m_everyKey > 0 || m_keys.find(keyField) != m_keys.end();
    }

private:
    std::deque<std::pair<quint64, CommandScope>> m_groups; ///< by number, oldest first
    std::unordered_map<std::string, unsigned int> m_keys;  ///< how many groups write a key
    int m_everyKey = 0;                                    ///< how many write every key
};

} // namespace values
