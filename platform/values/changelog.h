#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace values {

/// The newest changes of a collection, up to a bound; memory is taken as entries come.
///
/// A reader that follows a collection remembers the change number up to which it has read and asks
/// ForEachSince() with it at the next notification. A notification that brings no entry means that the
/// content was replaced as a whole, or that the same content is announced again.
template<class Kind, class Key>
class ChangeLogTemplate
{
public:
    struct Entry
    {
        Key key;
        unsigned int number; ///< the collection's change number before the change
        Kind kind;
    };
    static constexpr unsigned int kDefaultSize = 1000;

    /// Number of entries that are kept.
    unsigned int GetChangeLogSize() const noexcept { return m_bound; }
    /// Drops the oldest entries when there are more. 0 keeps none.
    void SetChangeLogSize(unsigned int size)
    {
        std::rotate(m_entries.begin(), m_entries.begin() + static_cast<std::ptrdiff_t>(m_first),
                    m_entries.end());
        m_first = 0;
        if (m_entries.size() > size) {
            m_entries.erase(m_entries.begin(), m_entries.end() - static_cast<std::ptrdiff_t>(size));
            m_entries.shrink_to_fit();
        }
        m_bound = size;
    }

    /// `number` is that of the entry before plus one.
    void Append(Kind kind, const Key& key, unsigned int number)
    {
        m_next = number + 1;
        if (m_entries.size() < m_bound) {
            m_entries.push_back({key, number, kind});
        } else if (m_bound > 0) {
            m_entries[m_first] = {key, number, kind};
            m_first = (m_first + 1) % m_entries.size();
        }
    }

    std::size_t Size() const noexcept { return m_entries.size(); }
    /// The entry at `index`, 0 for the oldest that is kept.
    const Entry& At(std::size_t index) const { return m_entries[(m_first + index) % m_entries.size()]; }

    /// Calls `call(const Entry&)` for every change since the change number was `number`, oldest first. False,
    /// and nothing is called, when some of them are kept no more: read the whole collection then. The log
    /// must not change meanwhile.
    template<class Call>
    bool ForEachSince(unsigned int number, const Call& call) const
    {
        const unsigned int missed = m_next - number; // right across an overflow too
        if (missed > m_entries.size())
            return false;
        for (std::size_t i = m_entries.size() - missed; i < m_entries.size(); ++i)
            call(At(i));
        return true;
    }

private:
    std::vector<Entry> m_entries; ///< a ring once it holds m_bound entries
    std::size_t m_first = 0;      ///< the oldest
    unsigned int m_bound = kDefaultSize;
    unsigned int m_next = 0; ///< number of the next entry
};

} // namespace values
