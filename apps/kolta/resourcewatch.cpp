#include "resourcewatch.h"

#include "output.h"

namespace KoltaCli {

using Kolta::KoltaResourceObserver;
using RESOURCEMANAGEMENT::ProcessingUnit;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::StorageUnit;
using RESOURCEMANAGEMENT::Tuner;

namespace {

QString stateOf(const Tuner& tuner)
{
    if (!tuner.GetAccessible())
        return QStringLiteral("not accessible");
    return tuner.GetIdle() ? QStringLiteral("free") : QStringLiteral("busy");
}

QString megahertz(bool isSet, double hertz)
{
    return isSet ? QString::number(hertz / 1e6) : QString();
}

template<class Unit>
QString registrationOf(const Unit& unit)
{
    return unit.IsRegistrationSet() && unit.GetRegistration() == Unit::eRegistered ? QStringLiteral("registered")
                                                                                  : QStringLiteral("not registered");
}

} // namespace

ResourceWatch::ResourceWatch(const KoltaResourceObserver& observer) : m_observer(observer)
{
    watchTuners();
    watchUnits();
}

QString ResourceWatch::nameOf(const QString& guid) const
{
    const QString name = m_observer.GetDisplayNameByGUID(guid);
    return name.isEmpty() ? guid : name;
}

void ResourceWatch::watchTuners()
{
    connect(&m_observer, &KoltaResourceObserver::si_NewTuner, this,
            [this](const QString& guid) { Q_EMIT changed(QStringLiteral("tuner %1 is new").arg(nameOf(guid))); });
    connect(&m_observer, &KoltaResourceObserver::si_RemovedTuner, this,
            [this](const QString& guid) { Q_EMIT changed(QStringLiteral("tuner %1 has gone").arg(guid)); });
    connect(&m_observer, &KoltaResourceObserver::si_TunerAccessiblityChanged, this,
            [this](const QString& guid, bool accessible) {
                Q_EMIT changed(QStringLiteral("tuner %1 is %2")
                                   .arg(nameOf(guid), accessible ? QStringLiteral("accessible")
                                                                 : QStringLiteral("not accessible")));
            });
    connect(&m_observer, &KoltaResourceObserver::si_TunerIdleStateChanged, this,
            [this](const QString& guid, bool idle) {
                Q_EMIT changed(QStringLiteral("tuner %1 is %2")
                                   .arg(nameOf(guid), idle ? QStringLiteral("idle") : QStringLiteral("busy")));
            });
}

void ResourceWatch::watchUnits()
{
    connect(&m_observer, &KoltaResourceObserver::si_PuRegistrationChanged, this,
            [this](const QString& guid, ProcessingUnit::Registration registration) {
                Q_EMIT changed(QStringLiteral("processing unit %1: registration %2")
                                   .arg(nameOf(guid), QString::number(registration)));
            });
    connect(&m_observer, &KoltaResourceObserver::si_SuRegistrationChanged, this,
            [this](const QString& guid, StorageUnit::Registration registration) {
                Q_EMIT changed(QStringLiteral("storage unit %1: registration %2")
                                   .arg(nameOf(guid), QString::number(registration)));
            });
}

QString resourceTables(const ResourceOverview& overview)
{
    Table tuners({QStringLiteral("TUNER"), QStringLiteral("TYPE"), QStringLiteral("SW MHz"), QStringLiteral("HW MHz"),
                  QStringLiteral("ADDRESS"), QStringLiteral("STATE")});
    tuners.alignRight(2);
    tuners.alignRight(3);
    for (const Tuner& tuner : overview.GetTuner()) {
        tuners.addRow({tuner.GetTavikResource().GetDisplayName(), tuner.GetType(),
                       megahertz(tuner.IsMaxSWBandwidthSet(), tuner.GetMaxSWBandwidth()),
                       megahertz(tuner.IsMaxHWBandwidthSet(), tuner.GetMaxHWBandwidth()),
                       tuner.GetTavikResource().GetAddress(), stateOf(tuner)});
    }
    Table units({QStringLiteral("UNIT"), QStringLiteral("KIND"), QStringLiteral("ADDRESS"), QStringLiteral("STATE")});
    for (const ProcessingUnit& unit : overview.GetProcessingUnit()) {
        units.addRow({unit.GetTavikResource().GetDisplayName(), QStringLiteral("processing"),
                      unit.GetTavikResource().GetAddress(), registrationOf(unit)});
    }
    for (const StorageUnit& unit : overview.GetStorageUnit()) {
        units.addRow({unit.GetTavikResource().GetDisplayName(), QStringLiteral("storage"),
                      unit.GetTavikResource().GetAddress(), registrationOf(unit)});
    }
    return tuners.toText() + QStringLiteral("\n\n") + units.toText();
}

} // namespace KoltaCli
