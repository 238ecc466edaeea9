#pragma once

#include <QHash>
#include <QString>
#include <QVector>

namespace Kolta {

/// The GUID that GuidIndex finds an element by, unless told otherwise: that of its resource.
struct ResourceGuid
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
        m_seed = static_cast<uint>(qGlobalQHashSeed());
        quint32 capacity = 4;
        while (capacity < 2 * static_cast<quint32>(list.size()))
            capacity *= 2;
        m_slots.fill(Slot(), static_cast<int>(capacity));
        Slot* const table = m_slots.data();
        for (int i = 0; i < list.size(); ++i) {
            const uint hash = hashOf(guidAt(i));
            const int slot = probe(guidAt(i), hash);
            if (table[slot].index >= 0)
                m_unique = false;
            else
                table[slot] = Slot{hash, i};
        }
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
        return m_slots.isEmpty() ? -1 : m_slots.at(probe(guid, hashOf(guid))).index;
    }

    /// The first element with that GUID; null when there is none. It belongs to the list.
    const Element* find(const QString& guid) const
    {
        const int index = indexOf(guid);
        return index < 0 ? nullptr : m_list.constData() + index;
    }

private:
    struct Slot
    {
        uint hash = 0;
        int index = -1;
    };

    uint hashOf(const QString& guid) const { return qHash(guid, m_seed); }
    const QString& guidAt(int index) const { return Guid::of(m_list.at(index)); }

    /// The slot that holds `guid`, or the free one where it belongs.
    int probe(const QString& guid, uint hash) const
    {
        const Slot* const table = m_slots.constData();
        const uint mask = static_cast<uint>(m_slots.size()) - 1;
        for (uint slot = hash & mask;; slot = (slot + 1) & mask) {
            const Slot& entry = table[slot];
            if (entry.index < 0 || (entry.hash == hash && guidAt(entry.index) == guid))
                return static_cast<int>(slot);
        }
    }

    QVector<Element> m_list;
    QVector<Slot> m_slots; ///< open addressing; a power of two, at most half full
    uint m_seed = 0;       ///< of the table's hashes; the global one may change
    bool m_unique = true;
};

} // namespace Kolta
