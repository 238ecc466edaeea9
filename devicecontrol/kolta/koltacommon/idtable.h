#pragma once

#include <koltacommon/export.h>

#include <QHash>
#include <QString>
#include <QStringView>
#include <QVector>

#include <vector>

namespace Kolta {

/// Finds the entries of somebody else's list by ID, of equal IDs the one entered first: what a hash map does,
/// without a copy of the ID and an allocation per entry. The list must not change underneath it. Copies are
/// cheap. Not thread-safe.
class KOLTA_COMMON_EXPORT IdTable
{
public:
    static constexpr int kNone = -1;

    /// Finds nothing, and nothing can be entered.
    IdTable() = default;
    /// `entries`: how many there will be at most.
    explicit IdTable(int entries) : m_seed(static_cast<uint>(qGlobalQHashSeed()))
    {
        int size = 4;
        while (size / 3 < entries / 2 + 1)
            size *= 2;
        m_slots.resize(size);
    }

    /// The table of another list of at most that many entries, in which some of these stand as well, at
    /// places of their own: newPlaces[place] says where, `kNone` that it is gone. Needs no ID and no hash.
    IdTable moved(int entries, const std::vector<int>& newPlaces) const
    {
        IdTable table(entries);
        table.m_seed = m_seed;
        Slot* const moved = table.m_slots.data();
        const uint mask = static_cast<uint>(table.m_slots.size()) - 1;
        for (const Slot& entry : m_slots) {
            const int place = entry.place == kNone ? kNone : newPlaces[static_cast<std::size_t>(entry.place)];
            if (place == kNone)
                continue;
            uint slot = entry.hash & mask;
            while (moved[slot].place != kNone)
                slot = (slot + 1) & mask;
            moved[slot] = {entry.hash, place};
        }
        return table;
    }

    /// The place of the entry with that ID; `kNone` when there is none. idAt(place) is the ID of an entry.
    template<class IdAt>
    int find(const QString& id, IdAt idAt) const
    {
        return find(id, hashOf(id), idAt);
    }
    /// The same for who has asked for the hash before.
    template<class IdAt>
    int find(const QString& id, uint hash, IdAt idAt) const
    {
        return m_slots.isEmpty() ? kNone : m_slots.at(slotOf(id, hash, idAt)).place;
    }
    /// The hash of an ID in this table, whether or not it is entered.
    uint hashOf(QStringView id) const { return qHash(id, m_seed); }

    /// Enters a place unless there is one with the same ID. Returns the one that is there now.
    template<class IdAt>
    int insert(int place, IdAt idAt)
    {
        const QStringView id = idAt(place);
        const uint hash = hashOf(id);
        Slot& slot = m_slots.data()[slotOf(id, hash, idAt)];
        if (slot.place == kNone)
            slot = {hash, place};
        return slot.place;
    }

private:
    struct Slot
    {
        uint hash = 0;
        int place = kNone;
    };

    /// Copies of one text share their characters.
    static bool isEqual(QStringView a, QStringView b)
    {
        return a.size() == b.size() && (a.data() == b.data() || a == b);
    }
    /// The slot of that ID, or the free one where it belongs.
    template<class IdAt>
    int slotOf(QStringView id, uint hash, IdAt idAt) const
    {
        const Slot* const table = m_slots.constData();
        const uint mask = static_cast<uint>(m_slots.size()) - 1;
        uint slot = hash & mask;
        while (table[slot].place != kNone &&
               (table[slot].hash != hash || !isEqual(id, idAt(table[slot].place))))
            slot = (slot + 1) & mask;
        return static_cast<int>(slot);
    }

    QVector<Slot> m_slots; ///< open addressing; a power of two, at most two thirds full
    uint m_seed = 0;       ///< of the hashes in the table; the global one may change
};

} // namespace Kolta
