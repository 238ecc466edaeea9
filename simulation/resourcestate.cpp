#include <simulation/resourcestate.h>

#include <type_traits>
#include <utility>

namespace KoltaSimulation {

using RESOURCEMANAGEMENT::ProcessingUnit;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::StorageUnit;
using RESOURCEMANAGEMENT::Tuner;

namespace {

/// Registers a unit or ends its registration; false when that is how it stands already.
template<class Unit>
bool setRegistered(Unit& unit, bool on)
{
    const auto registration = on ? Unit::eRegistered : Unit::eUnregistered;
    if (unit.IsRegistrationSet() && unit.GetRegistration() == registration)
        return false;
    unit.SetRegistration(registration);
    return true;
}

} // namespace

ResourceState::ResourceState(const ResourceOverview& overview) : m_overview(overview)
{
    rebuildIndex();
}

QString ResourceState::recordXml(const QString& guid) const
{
    const auto place = m_places.constFind(guid);
    if (place == m_places.constEnd())
        return QString();
    switch (place->list) {
    case List::Tuner:
        return m_overview.GetTuner().at(place->index).GetXmlString();
    case List::ProcessingUnit:
        return m_overview.GetProcessingUnit().at(place->index).GetXmlString();
    case List::StorageUnit:
        return m_overview.GetStorageUnit().at(place->index).GetXmlString();
    }
    return QString();
}

const Tuner* ResourceState::tuner(const QString& guid) const
{
    const int index = indexIn(List::Tuner, guid);
    return index < 0 ? nullptr : &m_overview.GetTuner().at(index);
}

bool ResourceState::setTunerIdle(const QString& guid, bool idle)
{
    const int index = indexIn(List::Tuner, guid);
    if (index < 0 || (idle && m_held.contains(guid)) || m_overview.GetTuner().at(index).GetIdle() == idle)
        return false;
    m_overview.EditTuner()[index].SetIdle(idle);
    noteChanged(guid);
    return true;
}

bool ResourceState::setTunerAccessible(const QString& guid, bool accessible)
{
    const int index = indexIn(List::Tuner, guid);
    if (index < 0 || m_overview.GetTuner().at(index).GetAccessible() == accessible)
        return false;
    m_overview.EditTuner()[index].SetAccessible(accessible);
    noteChanged(guid);
    return true;
}

bool ResourceState::addTuner(const Tuner& tuner)
{
    const QString guid = tuner.GetTavikResource().GetGUID();
    if (guid.isEmpty() || m_places.contains(guid))
        return false;
    m_overview.EditTuner().append(corrected(tuner));
    countTuners();
    m_places.insert(guid, {List::Tuner, m_overview.GetTuner().size() - 1});
    m_changes.added.append(guid);
    m_noted.insert(guid);
    return true;
}

bool ResourceState::removeTuner(const QString& guid)
{
    const int index = indexIn(List::Tuner, guid);
    if (index < 0)
        return false;
    m_overview.EditTuner().removeAt(index);
    countTuners();
    rebuildIndex();
    const bool wasAdded = m_changes.added.removeOne(guid);
    m_changes.changed.removeOne(guid);
    m_noted.remove(guid);
    // Who comes and goes between two notices was never there for anybody else.
    if (!wasAdded)
        m_changes.removed.append(guid);
    return true;
}

bool ResourceState::replaceTuners(const QVector<Tuner>& changed)
{
    return replaceRecords(List::Tuner, changed, m_overview.EditTuner());
}

bool ResourceState::replaceProcessingUnits(const QVector<ProcessingUnit>& changed)
{
    return replaceRecords(List::ProcessingUnit, changed, m_overview.EditProcessingUnit());
}

bool ResourceState::replaceStorageUnits(const QVector<StorageUnit>& changed)
{
    return replaceRecords(List::StorageUnit, changed, m_overview.EditStorageUnit());
}

/// What may be taken over of a record from outside.
template<class Record>
Record ResourceState::corrected(Record record) const
{
    if constexpr (std::is_same_v<Record, Tuner>) {
        if (m_held.contains(record.GetTavikResource().GetGUID()))
            record.SetIdle(false);
    }
    return record;
}

template<class Record>
bool ResourceState::replaceRecords(List list, const QVector<Record>& changed, QVector<Record>& records)
{
    bool any = false;
    for (const Record& given : changed) {
        const Record record = corrected(given);
        const QString guid = record.GetTavikResource().GetGUID();
        const int index = indexIn(list, guid);
        if (index < 0 || records.at(index) == record)
            continue;
        records[index] = record;
        noteChanged(guid);
        any = true;
    }
    return any;
}

bool ResourceState::switchUnits(const QStringList& guids, bool on)
{
    bool any = false;
    for (const QString& guid : guids)
        any = switchUnit(guid, on) || any;
    return any;
}

bool ResourceState::switchUnit(const QString& guid, bool on)
{
    const auto place = m_places.constFind(guid);
    if (place == m_places.constEnd())
        return false;
    if (place->list == List::Tuner)
        return setTunerAccessible(guid, on);
    const bool changed = place->list == List::ProcessingUnit
                             ? setRegistered(m_overview.EditProcessingUnit()[place->index], on)
                             : setRegistered(m_overview.EditStorageUnit()[place->index], on);
    if (changed)
        noteChanged(guid);
    return changed;
}

bool ResourceState::holdTuner(const QString& guid)
{
    m_held.insert(guid);
    return setTunerIdle(guid, false);
}

bool ResourceState::releaseTuner(const QString& guid)
{
    return m_held.remove(guid) && setTunerIdle(guid, true);
}

ResourceState::Changes ResourceState::takeChanges()
{
    m_noted.clear();
    return std::exchange(m_changes, Changes());
}

template<class Record>
void ResourceState::indexRecords(const QVector<Record>& records, List list)
{
    int index = 0;
    for (const Record& record : records)
        m_places.insert(record.GetTavikResource().GetGUID(), {list, index++});
}

void ResourceState::rebuildIndex()
{
    m_places.clear();
    indexRecords(m_overview.GetStorageUnit(), List::StorageUnit);
    indexRecords(m_overview.GetProcessingUnit(), List::ProcessingUnit);
    indexRecords(m_overview.GetTuner(), List::Tuner);
}

int ResourceState::indexIn(List list, const QString& guid) const
{
    const auto place = m_places.constFind(guid);
    return place != m_places.constEnd() && place->list == list ? place->index : -1;
}

void ResourceState::countTuners()
{
    if (m_overview.IsNumberOfTunersSet())
        m_overview.SetNumberOfTuners(m_overview.GetTuner().size());
}

void ResourceState::noteChanged(const QString& guid)
{
    if (m_noted.contains(guid))
        return;
    m_noted.insert(guid);
    m_changes.changed.append(guid);
}

} // namespace KoltaSimulation
