#include <simulation/processingcapacity.h>

namespace KoltaSimulation {

using RESOURCEMANAGEMENT::ProcessingUnit;

void ProcessingCapacity::setUnits(const QVector<ProcessingUnit>& units)
{
    // The same data is the same list, because this one keeps it alive.
    if (units.constData() == m_units.constData() && units.size() == m_units.size())
        return;
    m_units = units;
    rebuild();
}

QString ProcessingCapacity::choose(int credits) const
{
    if (m_byTaken.empty() || m_byTaken.begin()->first + credits > m_creditsPerUnit)
        return QString();
    return m_units.at(m_byTaken.begin()->second).GetTavikResource().GetGUID();
}

bool ProcessingCapacity::hasRoom(const QString& unit, int credits) const
{
    return isRegistered(unit) && m_taken.value(unit) + credits <= m_creditsPerUnit;
}

void ProcessingCapacity::take(const QString& unit, int credits)
{
    const int before = m_taken.value(unit);
    m_taken.insert(unit, before + credits);
    const auto place = m_places.constFind(unit);
    if (place == m_places.constEnd())
        return;
    m_byTaken.erase({before, *place});
    m_byTaken.insert({before + credits, *place});
}

void ProcessingCapacity::giveAll()
{
    m_taken.clear();
    rebuild();
}

void ProcessingCapacity::rebuild()
{
    m_places.clear();
    m_byTaken.clear();
    for (int i = 0; i < m_units.size(); ++i) {
        const ProcessingUnit& unit = m_units.at(i);
        if (!RESOURCEMANAGEMENT::isRegistered(unit))
            continue;
        const QString guid = unit.GetTavikResource().GetGUID();
        m_places.insert(guid, i);
        m_byTaken.insert({m_taken.value(guid), i});
    }
}

} // namespace KoltaSimulation
