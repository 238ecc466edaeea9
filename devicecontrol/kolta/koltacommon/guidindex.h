#pragma once

#include <koltacommon/export.h>
#include <koltacommon/idtable.h>

#include <QString>
#include <QVector>

#include <utility>
#include <vector>

namespace Kolta {

/// The GUID that GuidIndex finds an element by, unless told otherwise: that of its resource.
struct KOLTA_COMMON_EXPORT ResourceGuid
{
    template<class Element>
    static const QString& of(const Element& element)
    {
        return element.GetTavikResource().GetGUID();
    }
};

/// Finds the elements of one list by GUID, in constant time; of equal GUIDs the first in the list.
///
/// The index holds a shared copy of the list that it was built from. That list can therefore not change
/// underneath it: whoever edits his own copy detaches it, and isFor() tells that the index is about another
/// list. An index that is asked isFor() before it is used is never stale. `Guid` says which text of an
/// element is its GUID. Copies are cheap. Not thread-safe.
template<class Element, class Guid = ResourceGuid>
class GuidIndex
{
public:
    /// Whether this is the index of exactly that list (not of an equal one).
    bool isFor(const QVector<Element>& list) const
    {
        return m_list.size() == list.size() && m_list.constData() == list.constData();
    }

    void rebuild(const QVector<Element>& list)
    {
        m_list = list;
        m_unique = true;
        m_places = IdTable(list.size());
        for (int i = 0; i < list.size(); ++i)
            m_unique = m_places.insert(i, guids()) == i && m_unique;
    }

    /// The same, from the index of a list that differs little: newPlaces[place] says where its elements stand
    /// now, -1 that they do not; `fresh` are the places of all others. Elements that stand in both have their
    /// GUID still.
    void rebuild(const QVector<Element>& list, const GuidIndex& earlier, const std::vector<int>& newPlaces,
                 const std::vector<int>& fresh)
    {
        IdTable places = earlier.m_places.moved(list.size(), newPlaces);
        m_list = list;
        m_unique = earlier.m_unique;
        for (const int place : fresh)
            m_unique = m_unique && places.insert(place, guids()) == place;
        if (m_unique)
            m_places = std::move(places);
        else
            rebuild(list); // which of equal GUIDs is the first must be found out
    }

    /// Makes this the index of another list that has the same GUIDs at the same places.
    void moveTo(const QVector<Element>& list) { m_list = list; }

    /// Whether no GUID occurs twice in the list.
    bool isUnique() const { return m_unique; }

    /// Place of the first element with that GUID; -1 when there is none. `hint` is where it probably stands.
    int indexOf(const QString& guid, int hint = -1) const
    {
        if (m_unique && hint >= 0 && hint < m_list.size() && guidAt(hint) == guid)
            return hint;
        return m_places.find(guid, guids());
    }

    /// The first element with that GUID; null when there is none. It belongs to the list. `hint` as above.
    const Element* find(const QString& guid, int hint = -1) const
    {
        const int index = indexOf(guid, hint);
        return index < 0 ? nullptr : m_list.constData() + index;
    }

    /// Whether the element at that place is the one that its GUID finds.
    bool isFirst(int place) const { return indexOf(guidAt(place), place) == place; }

private:
    const QString& guidAt(int index) const { return Guid::of(m_list.at(index)); }
    auto guids() const
    {
        return [this](int index) -> const QString& { return guidAt(index); };
    }

    QVector<Element> m_list;
    IdTable m_places;
    bool m_unique = true;
};

} // namespace Kolta
