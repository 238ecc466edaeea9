#include "resourcewatch.h"

#include <kolta/cli/output.h>

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

QString registrationText(bool registered)
{
    return registered ? QStringLiteral("registered") : QStringLiteral("not registered");
}

template<class Unit>
QString registrationOf(const Unit& unit)
{
    return registrationText(unit.IsRegistrationSet() && unit.GetRegistration() == Unit::eRegistered);
}

} // namespace

ResourceWatch::ResourceWatch(const KoltaResourceObserver& observer) : m_observer(observer)
{
    for (const Tuner& tuner : observer.GetCurrentResources().GetTuner())
        nameOf(tuner.GetTavikResource().GetGUID());
    watchTuners();
    watchUnits();
}

QString ResourceWatch::nameOf(const QString& guid)
{
    const QString name = m_observer.GetDisplayNameByGUID(guid);
    if (!name.isEmpty())
        m_names.insert(guid, name);
    return m_names.value(guid, guid);
}

void ResourceWatch::watchTuners()
{
    const auto tell = [this](const QString& guid, const QString& what) {
        Q_EMIT changed(QStringLiteral("tuner %1 %2").arg(nameOf(guid), what));
    };
    connect(&m_observer, &KoltaResourceObserver::si_NewTuner, this,
            [tell](const QString& guid) { tell(guid, QStringLiteral("is new")); });
    connect(&m_observer, &KoltaResourceObserver::si_RemovedTuner, this,
            [tell](const QString& guid) { tell(guid, QStringLiteral("has gone")); });
    connect(&m_observer, &KoltaResourceObserver::si_TunerAccessiblityChanged, this,
            [tell](const QString& guid, bool accessible) {
                tell(guid,
                     accessible ? QStringLiteral("is accessible") : QStringLiteral("is not accessible"));
            });
    connect(&m_observer, &KoltaResourceObserver::si_TunerIdleStateChanged, this,
            [tell](const QString& guid, bool idle) {
                tell(guid, idle ? QStringLiteral("is free") : QStringLiteral("is busy"));
            });
}

void ResourceWatch::watchUnits()
{
    connect(&m_observer, &KoltaResourceObserver::si_PuRegistrationChanged, this,
            [this](const QString& guid, ProcessingUnit::Registration registration) {
                Q_EMIT changed(
                    QStringLiteral("processing unit %1 is %2")
                        .arg(nameOf(guid), registrationText(registration == ProcessingUnit::eRegistered)));
            });
    connect(&m_observer, &KoltaResourceObserver::si_SuRegistrationChanged, this,
            [this](const QString& guid, StorageUnit::Registration registration) {
                Q_EMIT changed(
                    QStringLiteral("storage unit %1 is %2")
                        .arg(nameOf(guid), registrationText(registration == StorageUnit::eRegistered)));
            });
}

QString resourceTables(const ResourceOverview& overview)
{
    Table tuners({QStringLiteral("TUNER"), QStringLiteral("TYPE"), QStringLiteral("SW MHz"),
                  QStringLiteral("HW MHz"), QStringLiteral("ADDRESS"), QStringLiteral("STATE")});
    tuners.alignRight(2);
    tuners.alignRight(3);
    for (const Tuner& tuner : overview.GetTuner()) {
        tuners.addRow({tuner.GetTavikResource().GetDisplayName(), tuner.GetType(),
                       megahertz(tuner.IsMaxSWBandwidthSet(), tuner.GetMaxSWBandwidth()),
                       megahertz(tuner.IsMaxHWBandwidthSet(), tuner.GetMaxHWBandwidth()),
                       tuner.GetTavikResource().GetAddress(), stateOf(tuner)});
    }
    Table units(
        {QStringLiteral("UNIT"), QStringLiteral("KIND"), QStringLiteral("ADDRESS"), QStringLiteral("STATE")});
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
