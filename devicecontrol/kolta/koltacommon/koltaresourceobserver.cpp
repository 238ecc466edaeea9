#include <koltacommon/koltaresourceobserver.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/listmatching.h>
#include <koltacommon/powercontrolcmd.h>
#include <koltacommon/reportexceptiontext.h>
#include <koltacommon/servernodes.h>
#include <koltacommon/tavikresourceconverter.h>
#include <koltacommon/tunerbookingmanager.h>

#include <resourcemodel/requests.h>
#include <startup/tracesource.h>

#include <algorithm>
#include <vector>

namespace Kolta {

using RESOURCEMANAGEMENT::ProcessingUnit;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::StorageUnit;
using RESOURCEMANAGEMENT::TavikResource;
using RESOURCEMANAGEMENT::Tuner;

namespace {

enum eTracePoint : int { eReportException = 100 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/koltaresourceobserver");

enum eChangeKind {
    eNewTuner,
    eRemovedTuner,
    eTunerAccessible,
    eTunerIdle,
    eNewPU,
    eRemovedPU,
    ePuRegistration,
    ePuLocalStorage,
    eNewSU,
    eRemovedSU,
    eSuRegistration
};

/// One difference between two overviews, with the new value where there is one.
struct Change
{
    eChangeKind kind;
    QString guid;
    int value = 0;
};
using Changes = std::vector<Change>;

bool isFree(const Tuner& tuner)
{
    return TunerBookingManager::reportedState(tuner) == TunerBookingManager::eFree;
}

bool offersLocalStorage(const ProcessingUnit& unit)
{
    return isRegistered(unit) && unit.GetLocalStorage() == ProcessingUnit::eOffersLocalStorage;
}

void compareElements(const Tuner& before, const Tuner& after, Changes& changes)
{
    if (before.GetAccessible() != after.GetAccessible())
        changes.push_back({eTunerAccessible, ResourceGuid::of(after), after.GetAccessible()});
    if (before.GetIdle() != after.GetIdle())
        changes.push_back({eTunerIdle, ResourceGuid::of(after), after.GetIdle()});
}

void compareElements(const ProcessingUnit& before, const ProcessingUnit& after, Changes& changes)
{
    if (before.GetRegistration() != after.GetRegistration())
        changes.push_back({ePuRegistration, ResourceGuid::of(after), after.GetRegistration()});
    if (before.GetLocalStorage() != after.GetLocalStorage())
        changes.push_back({ePuLocalStorage, ResourceGuid::of(after), after.GetLocalStorage()});
}

void compareElements(const StorageUnit& before, const StorageUnit& after, Changes& changes)
{
    if (before.GetRegistration() != after.GetRegistration())
        changes.push_back({eSuRegistration, ResourceGuid::of(after), after.GetRegistration()});
}

template<class Element>
void makeIndexFor(GuidIndex<Element>& index, const QVector<Element>& list)
{
    if (!index.isFor(list))
        index.rebuild(list);
}

/// Appends the differences of one list. `index` is the index of any list; it serves the old list and is
/// handed on to the new one.
template<class Element>
void compareLists(const QVector<Element>& before, const QVector<Element>& after, GuidIndex<Element>& index,
                  eChangeKind added, eChangeKind removed, Changes& changes)
{
    makeIndexFor(index, before);
    ListMatching<Element> matching(before, after, index);
    for (const Element& element : after) {
        bool isSame = false;
        const int old = matching.next(isSame);
        if (old < 0)
            changes.push_back({added, ResourceGuid::of(element)});
        else if (!isSame)
            compareElements(before.at(old), element, changes);
    }
    // By count alone nothing can have gone. With GUIDs that occur twice this may miss one; it is meant.
    const bool mayBeGone = before.size() > after.size() - matching.added();
    for (int old = 0; mayBeGone && old < before.size(); ++old) {
        if (matching.isGone(old) && matching.isGone(index.indexOf(ResourceGuid::of(before.at(old)))))
            changes.push_back({removed, ResourceGuid::of(before.at(old))});
    }
    matching.hand(index);
}

void announce(KoltaResourceObserver& observer, const Change& change)
{
    switch (change.kind) {
    case eNewTuner:
        Q_EMIT observer.si_NewTuner(change.guid);
        break;
    case eRemovedTuner:
        Q_EMIT observer.si_RemovedTuner(change.guid);
        break;
    case eTunerAccessible:
        Q_EMIT observer.si_TunerAccessiblityChanged(change.guid, change.value != 0);
        break;
    case eTunerIdle:
        Q_EMIT observer.si_TunerIdleStateChanged(change.guid, change.value != 0);
        break;
    case eNewPU:
        Q_EMIT observer.si_NewPU(change.guid);
        break;
    case eRemovedPU:
        Q_EMIT observer.si_RemovedPU(change.guid);
        break;
    case ePuRegistration:
        Q_EMIT observer.si_PuRegistrationChanged(change.guid,
                                                 static_cast<ProcessingUnit::Registration>(change.value));
        break;
    case ePuLocalStorage:
        Q_EMIT observer.si_PuLocalStorageChanged(change.guid,
                                                 static_cast<ProcessingUnit::LocalStorage>(change.value));
        break;
    case eNewSU:
        Q_EMIT observer.si_NewSU(change.guid);
        break;
    case eRemovedSU:
        Q_EMIT observer.si_RemovedSU(change.guid);
        break;
    case eSuRegistration:
        Q_EMIT observer.si_SuRegistrationChanged(change.guid,
                                                 static_cast<StorageUnit::Registration>(change.value));
        break;
    }
}

template<class Element>
const Element* lookUp(GuidIndex<Element>& index, const QVector<Element>& list, const QString& guid)
{
    makeIndexFor(index, list);
    return index.find(guid);
}

template<class Element>
void appendGuids(const QVector<Element>& list, const QString& displayName, QStringList& guids)
{
    for (const Element& element : list) {
        if (element.GetTavikResource().GetDisplayName() == displayName)
            guids.append(ResourceGuid::of(element));
    }
}

PowerControlCmd powerCommand(KoltaResourceObserver::ePowerControlCommand cmd, const QStringList& units)
{
    switch (cmd) {
    case KoltaResourceObserver::eUnitOff:
        return {PowerControlCmd::eScopeUnit, false, units};
    case KoltaResourceObserver::eSupplyOn:
        return {PowerControlCmd::eScopeSupply, true, units};
    case KoltaResourceObserver::eSupplyOff:
        return {PowerControlCmd::eScopeSupply, false, units};
    case KoltaResourceObserver::eDevicesOn:
        return {PowerControlCmd::eScopeDevices, true, units};
    case KoltaResourceObserver::eDevicesOff:
        return {PowerControlCmd::eScopeDevices, false, units};
    case KoltaResourceObserver::eProgramsOff:
        return {PowerControlCmd::eScopePrograms, false, units};
    case KoltaResourceObserver::eSystemOff:
        return {PowerControlCmd::eScopeSystem, false, units};
    case KoltaResourceObserver::eUnitOn:
        break;
    }
    return {PowerControlCmd::eScopeUnit, true, units};
}

} // namespace

KoltaResourceObserver::KoltaResourceObserver(QObject* parent) : KoltaResourceObserver(QString(), parent) {}

KoltaResourceObserver::KoltaResourceObserver(const QString& path, QObject* parent)
    : AbstractRGValueObserver(QString(), parent), m_currentOverview(&currentValue)
{
    qRegisterMetaType<ResourceOverview>();
    qRegisterMetaType<ProcessingUnit::Registration>();
    qRegisterMetaType<ProcessingUnit::LocalStorage>();
    qRegisterMetaType<StorageUnit::Registration>();
    setIgnoreEmptyStringUpdates(true);
    if (!path.isEmpty())
        KoltaResourceObserver::init(path);
}

KoltaResourceObserver::~KoltaResourceObserver() = default;

const ResourceOverview& KoltaResourceObserver::GetCurrentResources() const
{
    return *m_currentOverview;
}

QString KoltaResourceObserver::GetCurrentResourcesAsString() const
{
    return getCurrentValueAsString();
}

KoltaResourceObserver::Match KoltaResourceObserver::findMatch(const QString& guid) const
{
    if (!isGuid(guid))
        return {};
    if (const Tuner* const tuner = lookUp(m_tunerIndex, m_currentOverview->GetTuner(), guid))
        return {&tuner->GetTavikResource(), tuner};
    if (const StorageUnit* const unit = lookUp(m_storageUnitIndex, m_currentOverview->GetStorageUnit(), guid))
        return {&unit->GetTavikResource(), unit};
    if (const ProcessingUnit* const unit =
            lookUp(m_processingUnitIndex, m_currentOverview->GetProcessingUnit(), guid))
        return {&unit->GetTavikResource(), unit};
    return {};
}

const REPORTGENERATOR::IRGObject* KoltaResourceObserver::FindResource(const QString& guid) const
{
    return findMatch(guid).object;
}

QString KoltaResourceObserver::FindResourceAddress(const QString& guid) const
{
    const TavikResource* const identity = findMatch(guid).identity;
    return identity && identity->IsAddressSet() ? identity->GetAddress() : QString();
}

QString KoltaResourceObserver::GetDisplayNameByGUID(const QString& guid) const
{
    const TavikResource* const identity = findMatch(guid).identity;
    return identity ? identity->GetDisplayName() : QString();
}

QStringList KoltaResourceObserver::GetGUIDForDisplayName(const QString& name) const
{
    QStringList guids;
    appendGuids(m_currentOverview->GetTuner(), name, guids);
    appendGuids(m_currentOverview->GetProcessingUnit(), name, guids);
    appendGuids(m_currentOverview->GetStorageUnit(), name, guids);
    return guids;
}

QString KoltaResourceObserver::GetGUIDForFreeTuner(const QString& typeOrGuid) const
{
    for (const Tuner& tuner : m_currentOverview->GetTuner()) {
        if (isFree(tuner) && (tuner.GetType() == typeOrGuid || ResourceGuid::of(tuner) == typeOrGuid))
            return ResourceGuid::of(tuner);
    }
    return QString();
}

bool KoltaResourceObserver::supportsDetection(const QString& tunerGuid) const
{
    const Tuner* const tuner = lookUp(m_tunerIndex, m_currentOverview->GetTuner(), tunerGuid);
    if (!tuner)
        return false;
    const auto has = [tuner](QLatin1String option) {
        return tuner->GetOptions().contains(option, Qt::CaseInsensitive);
    };
    return has(QLatin1String("VRTQ")) && (has(QLatin1String("O2")) || has(QLatin1String("SP")));
}

bool KoltaResourceObserver::hasStorage() const
{
    const auto& storageUnits = m_currentOverview->GetStorageUnit();
    const auto& processingUnits = m_currentOverview->GetProcessingUnit();
    return std::any_of(storageUnits.begin(), storageUnits.end(),
                       RESOURCEMANAGEMENT::isRegistered<StorageUnit>) ||
           std::any_of(processingUnits.begin(), processingUnits.end(), offersLocalStorage);
}

bool KoltaResourceObserver::canSystemRunAppWithLocalStorage(eAppType appType) const
{
    ProcessingUnit::Exclusion exclusion = ProcessingUnit::eExcludeDCP;
    switch (appType) {
    case eAppSCP:
    case eAppMCP:
        // Both are of one kind of application; it is meant that they share the code.
        break;
    case eAppFFP:
        exclusion = ProcessingUnit::eExcludeFFP;
        break;
    case eAppDSC:
        exclusion = ProcessingUnit::eExcludeDSC;
        break;
    case eAppFHP:
        exclusion = ProcessingUnit::eExcludeFHP;
        break;
    default:
        return false;
    }
    const auto& units = m_currentOverview->GetProcessingUnit();
    return std::any_of(units.begin(), units.end(), [exclusion](const ProcessingUnit& unit) {
        return offersLocalStorage(unit) && !unit.GetExclusion().contains(exclusion);
    });
}

TavikResourceConverter* KoltaResourceObserver::createResourceConverter()
{
    auto* const converter = new TavikResourceConverter(this);
    converter->SetOverViewVTPath(getVtPath());
    return converter;
}

void KoltaResourceObserver::setChangedTuners(const ResourceOverview& tuners)
{
    writeRequest(ServerNodes::suffix(ServerNodes::eChangedTuners), tuners);
}

void KoltaResourceObserver::setChangedTuners(const RESOURCEMANAGEMENT::TunerManagementRequest& request)
{
    writeRequest(ServerNodes::suffix(ServerNodes::eChangedTuners), request);
}

void KoltaResourceObserver::setChangedProcessingUnits(const ResourceOverview& units)
{
    writeRequest(ServerNodes::suffix(ServerNodes::eChangedPUs), units);
}

void KoltaResourceObserver::setChangedStorageUnits(const ResourceOverview& units)
{
    writeRequest(ServerNodes::suffix(ServerNodes::eChangedSUs), units);
}

void KoltaResourceObserver::writeRequest(const QString& name, const REPORTGENERATOR::IRGObject& object)
{
    try {
        values::WriteOrAnnounce(getParentNodePath() + name, object.GetXmlString());
    } catch (const REPORTGENERATOR::RGException& exception) {
        kTrace(eReportException, reportExceptionText(exception));
    }
}

void KoltaResourceObserver::powerControl(ePowerControlCommand cmd, const QStringList& units)
{
    if (!units.isEmpty())
        values::WriteOrAnnounce(getParentNodePath() + ServerNodes::suffix(ServerNodes::eUnitPowerControl),
                                powerCommand(cmd, units).toString());
}

void KoltaResourceObserver::powerControl(ePowerControlCommand cmd, const QString& unit)
{
    powerControl(cmd, QStringList(unit));
}

void KoltaResourceObserver::onValueChange(const ResourceOverview& oldOverview,
                                          const ResourceOverview& newOverview)
{
    Changes changes;
    compareLists(oldOverview.GetTuner(), newOverview.GetTuner(), m_tunerIndex, eNewTuner, eRemovedTuner,
                 changes);
    compareLists(oldOverview.GetProcessingUnit(), newOverview.GetProcessingUnit(), m_processingUnitIndex,
                 eNewPU, eRemovedPU, changes);
    compareLists(oldOverview.GetStorageUnit(), newOverview.GetStorageUnit(), m_storageUnitIndex, eNewSU,
                 eRemovedSU, changes);

    // The comparison is over before the first slot runs: slots may change the value again or delete this.
    const QPointer<KoltaResourceObserver> guard(this);
    for (const Change& change : changes) {
        announce(*this, change);
        if (!guard)
            return;
    }
    Q_EMIT si_ResourcesChanged(newOverview);
}

} // namespace Kolta
