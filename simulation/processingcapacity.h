#pragma once

#include <resourcemodel/resources.h>

#include <QHash>
#include <QString>
#include <QVector>

#include <set>
#include <utility>

namespace KoltaSimulation {

/// How much the processing units of a server still can do, in CPU credits. Units that are not registered can
/// do nothing.
class ProcessingCapacity
{
public:
    explicit ProcessingCapacity(int creditsPerUnit) : m_creditsPerUnit(creditsPerUnit) {}

    /// Takes the units as they are now; what is taken on them stays. Costs nothing when nothing has changed.
    void setUnits(const QVector<RESOURCEMANAGEMENT::ProcessingUnit>& units);
    bool isRegistered(const QString& unit) const { return m_places.contains(unit); }
    /// The unit that has most credits left, the first of several; empty when it has less than `credits`.
    QString choose(int credits) const;
    bool hasRoom(const QString& unit, int credits) const;
    void take(const QString& unit, int credits);
    void give(const QString& unit, int credits) { take(unit, -credits); }
    void giveAll();

private:
    void rebuild();

    int m_creditsPerUnit;
    QVector<RESOURCEMANAGEMENT::ProcessingUnit> m_units;
    QHash<QString, int> m_taken;             ///< by unit
    QHash<QString, int> m_places;            ///< of the registered units in m_units
    std::set<std::pair<int, int>> m_byTaken; ///< credits taken and place of the registered units
};

} // namespace KoltaSimulation
