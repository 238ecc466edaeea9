#pragma once

#include <QHash>
#include <QString>

#include <vector>

namespace Kolta {

/// Finds the entries of somebody else's list by ID, of equal IDs the one entered first: what a hash map does,
/// without a copy of the ID and an allocation per entry. Private to this folder.
class IdTable
{
public:
    static constexpr int kNone = -1;

    /// `entries`: how many there will be at most.
    explicit IdTable(int entries = 0)
    {
        std::size_t size = 4;
        while (size < 2 * static_cast<std::size_t>(entries))
            size *= 2;
        m_slots.resize(size);
    }

    /// The place of the entry with that ID; `kNone` when there is none. idAt(place) is the ID of an entry.
    template<class IdAt>
    int find(const QString& id, IdAt idAt) const
    {
        return m_slots[slotOf(id, hashOf(id), idAt)].place;
    }

    /// Enters a place unless there is one with the same ID. Returns the one that is there now.
    template<class IdAt>
    int insert(int place, IdAt idAt)
    {
        const QString& id = idAt(place);
        const uint hash = hashOf(id);
        Slot& slot = m_slots[slotOf(id, hash, idAt)];
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

    static uint hashOf(const QString& id) { return qHash(id, static_cast<uint>(qGlobalQHashSeed())); }
    /// The slot of that ID, or the free one where it belongs.
    template<class IdAt>
    std::size_t slotOf(const QString& id, uint hash, IdAt idAt) const
    {
        const std::size_t mask = m_slots.size() - 1;
        std::size_t slot = hash & mask;
        while (m_slots[slot].place != kNone &&
               (m_slots[slot].hash != hash || idAt(m_slots[slot].place) != id))
            slot = (slot + 1) & mask;
        return slot;
    }

    std::vector<Slot> m_slots; ///< open addressing; a power of two, at most half full
};

} // namespace Kolta
