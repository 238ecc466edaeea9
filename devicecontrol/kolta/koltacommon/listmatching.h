#pragma once

#include <koltacommon/guidindex.h>

#include <QVector>

#include <numeric>
#include <vector>

namespace Kolta {

/// The places at which `after` holds other records than `before`, in `places`. False when the lists are not
/// of one length, or `areAlike` denies that the records at one place, the former and the new one, stand for
/// the same. Records that are the same are not looked into: large lists do not fit into a cache.
template<class Element, class AreAlike>
bool findChangedPlaces(const QVector<Element>& before, const QVector<Element>& after, AreAlike areAlike,
                       std::vector<int>& places)
{
    places.clear();
    if (before.size() != after.size())
        return false;
    for (int place = 0; place < after.size(); ++place) {
        if (before.at(place).IsSameAs(after.at(place)))
            continue;
        if (!areAlike(before.at(place), after.at(place)))
            return false;
        places.push_back(place);
    }
    return true;
}

/// Where the elements of a list stand in the list that follows it. The same records, which nothing happened
/// to, are found without a look into them; they stand a fixed number of places away, as a rule.
///
/// Goes along the new list: next() for each of its elements, then the questions, then hand(). Lists and index
/// are not owned.
template<class Element, class Guid = ResourceGuid>
class ListMatching
{
public:
    /// `index` is that of `before`.
    ListMatching(const QVector<Element>& before, const QVector<Element>& after,
                 const GuidIndex<Element, Guid>& index)
        : m_before(before), m_after(after), m_index(index)
    {
    }

    /// Finds where the element at the next place of the new list stood, of equal GUIDs at the first; -1 when
    /// it is new. `isSame`: it is the very record.
    int next(bool& isSame)
    {
        const int expected = m_place + m_shift;
        isSame = m_index.isUnique() && expected >= 0 && expected < m_before.size() &&
                 m_before.at(expected).IsSameAs(m_after.at(m_place));
        const int old = isSame ? expected : m_index.indexOf(Guid::of(m_after.at(m_place)), expected);
        if (old != m_place && m_samePlaces)
            beginPlaces();
        if (old < 0) {
            m_fresh.push_back(m_place);
        } else if (!m_samePlaces) {
            m_shift = old - m_place;
            int& newPlace = m_newPlaces[static_cast<std::size_t>(old)];
            m_isUnique = m_isUnique && newPlace < 0;
            newPlace = m_place;
        }
        ++m_place;
        return old;
    }

    /// Whether no element of the new list was found at that place of the old one.
    bool isGone(int old) const
    {
        return m_samePlaces ? old >= m_place : m_newPlaces[static_cast<std::size_t>(old)] < 0;
    }
    /// How many elements are new.
    int added() const { return static_cast<int>(m_fresh.size()); }
    /// Makes the index of the old list that of the new one; it may be the one that was given.
    void hand(GuidIndex<Element, Guid>& index)
    {
        if (m_samePlaces && m_before.size() == m_after.size())
            return index.moveTo(m_after);
        if (m_samePlaces) // some at the end are gone
            beginPlaces();
        if (m_isUnique)
            index.rebuild(m_after, GuidIndex<Element, Guid>(index), m_newPlaces, m_fresh);
        else
            index.rebuild(m_after);
    }

private:
    /// All until now stand where they stood.
    void beginPlaces()
    {
        m_samePlaces = false;
        m_newPlaces.assign(static_cast<std::size_t>(m_before.size()), -1);
        std::iota(m_newPlaces.begin(), m_newPlaces.begin() + m_place, 0);
    }

    const QVector<Element>& m_before;
    const QVector<Element>& m_after;
    const GuidIndex<Element, Guid>& m_index;
    int m_place = 0;
    int m_shift = 0;
    bool m_samePlaces = true;
    bool m_isUnique = true;       ///< no two of the new list were found as one of the old
    std::vector<int> m_newPlaces; ///< of the old elements; filled from the first that stands elsewhere
    std::vector<int> m_fresh;
};

} // namespace Kolta
