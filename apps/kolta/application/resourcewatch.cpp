#include "resourcewatch.h"

namespace KoltaCli {

using Kolta::KoltaResourceObserver;
using RESOURCEMANAGEMENT::ProcessingUnit;
using RESOURCEMANAGEMENT::StorageUnit;
using RESOURCEMANAGEMENT::Tuner;

namespace {

QString registrationText(bool registered)
{
    return registered ? QStringLiteral("registered") : QStringLiteral("not registered");
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
        Q_EMIT changed(guid, QStringLiteral("tuner %1 %2").arg(nameOf(guid), what));
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
                Q_EMIT changed(guid, QStringLiteral("processing unit %1 is %2")
                                         .arg(nameOf(guid),
                                              registrationText(registration == ProcessingUnit::eRegistered)));
            });
    connect(&m_observer, &KoltaResourceObserver::si_SuRegistrationChanged, this,
            [this](const QString& guid, StorageUnit::Registration registration) {
                Q_EMIT changed(
                    guid, QStringLiteral("storage unit %1 is %2")
                              .arg(nameOf(guid), registrationText(registration == StorageUnit::eRegistered)));
            });
}

} // namespace KoltaCli
