#include "tunerboard.h"

#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/listmatching.h>
#include <koltacommon/processorfacts.h>
#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/servertuners.h>
#include <koltacommon/tunerclassesobserver.h>
#include <koltacommon/tunerclasstree.h>
#include <koltacommon/tunermodel.h>
#include <koltacommon/viewroles.h>
#include <koltacommon/viewtime.h>

#include <QSet>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace Kolta {

using RESOURCEMANAGEMENT::Tuner;

namespace {

/// Whether default classes, which are made from these, hold both in the same way.
bool areOfOneKind(const Tuner& a, const Tuner& b)
{
    return a.GetType() == b.GetType() && a.GetMaxSWBandwidth() == b.GetMaxSWBandwidth() &&
           a.GetMaxHWBandwidth() == b.GetMaxHWBandwidth() &&
           a.GetSupportsHardwareProcessing() == b.GetSupportsHardwareProcessing();
}

} // namespace

QVariant TunerEntry::value(int role) const
{
    switch (role) {
    case ViewRoles::ItemRole:
        return QVariant::fromValue(record);
    case ViewRoles::GroupRole:
        return tunerClass;
    case ViewRoles::GuidRole:
        return ResourceGuid::of(record);
    case ViewRoles::StateRole:
        return static_cast<int>(state);
    case ViewRoles::PlannedRole:
        return state == TunerBookingManager::ePlanned;
    case ViewRoles::HolderRole:
        return holder;
    case ViewRoles::SinceRole:
        return since.isValid() ? since : QVariant();
    default:
        return QVariant();
    }
}

TunerBoard::TunerBoard(KoltaServerInterface& server, Detail detail) : m_server(&server), m_detail(detail)
{
    // The parts come first, so that they have followed a change when it is heard of here.
    TunerBookingManager& booking = server.getBookingManager();
    KoltaResourceObserver& resources = server.getResourceObserver();
    connect(&resources, &KoltaResourceObserver::si_ResourcesChanged, this, &TunerBoard::readResources);
    connect(&booking, &TunerBookingManager::si_PlanningChanged, this,
            [this](const QString& guid, bool planned) {
                if (planned) // for whom is said behind the signal
                    QTimer::singleShot(0, this, [this, guid] { readState(guid); });
                readState(guid);
            });
    connect(&booking, &TunerBookingManager::si_TunerStateChanged, this, [this](const QString& guid) {
        // As a rule an overview follows, which is looked at as a whole.
        if (m_lateStates.isEmpty())
            QTimer::singleShot(0, this, &TunerBoard::readLateStates);
        m_lateStates.append(guid);
    });
    connect(&server, &KoltaServerInterface::si_ConnectionChanged, this, &TunerBoard::readAll);
    if (detail == Detail::ClassesAndUsers) {
        m_processors = std::make_unique<ProcessorLedger>(server);
        connect(m_processors.get(), &ProcessorLedger::changed, this, &TunerBoard::readUsers);
        connect(&server.getGuiOwnerObserver(), &KoltaOwnerObserver::si_OwnersChanged, this,
                &TunerBoard::readUsers);
        connect(&server.getTunerClassObserver(), &TunerClassesObserver::si_TunerClassesChanged, this,
                &TunerBoard::readClasses);
        connect(&server.getRdcObserver(),
                qOverload<>(&ResourceDemandClassObserver::si_ResourceDemandClassesChanged), this, [this] {
                    if (m_hasDefaultClasses)
                        readClasses();
                });
        m_users = usersNow();
    }
    rebuildTuners(resources.GetCurrentResources().GetTuner());
    buildClasses();
    m_isFirstLook = false;
}

TunerBoard::~TunerBoard() = default;

bool TunerBoard::isAway() const
{
    return !m_server || m_server->getState() == SERVER_STATES::eDisconnected;
}

/// What has changed meanwhile nobody here saw begin.
void TunerBoard::readAll()
{
    if (isAway())
        return;
    m_isFirstLook = true;
    if (m_detail == Detail::ClassesAndUsers)
        m_users = usersNow();
    rebuildTuners(m_server->getResourceObserver().GetCurrentResources().GetTuner());
    buildClasses();
    m_isFirstLook = false;
    Q_EMIT rebuilt();
}

void TunerBoard::readResources()
{
    if (isAway())
        return;
    const QVector<Tuner> tuners = m_server->getResourceObserver().GetCurrentResources().GetTuner();
    std::vector<int> places;
    if (!takeTuners(tuners, places)) {
        rebuildTuners(tuners);
        buildClasses();
        Q_EMIT rebuilt();
        return;
    }
    const bool areSameClasses = refreshClasses(places);
    if (!areSameClasses)
        buildClasses();
    if (!m_lateStates.isEmpty()) {
        const std::vector<int> late = placesOfAll(std::exchange(m_lateStates, {}));
        std::vector<int> all;
        std::set_union(places.begin(), places.end(), late.begin(), late.end(), std::back_inserter(all));
        places = std::move(all);
    }
    for (const int place : places) {
        TunerEntry& entry = m_tuners[static_cast<std::size_t>(place)];
        takeState(entry);
        takeUser(entry);
    }
    if (!areSameClasses)
        Q_EMIT rebuilt();
    else if (!places.empty())
        Q_EMIT changed(places);
}

/// False when they are not the same tuners at the same places; `places` are those of changed records else.
bool TunerBoard::takeTuners(const QVector<Tuner>& tuners, std::vector<int>& places)
{
    const auto haveOneGuid = [](const Tuner& a, const Tuner& b) {
        return ResourceGuid::of(a) == ResourceGuid::of(b);
    };
    if (!findChangedPlaces(m_list, tuners, haveOneGuid, places))
        return false;
    m_list = tuners;
    m_index.moveTo(tuners);
    for (const int place : places)
        m_tuners[static_cast<std::size_t>(place)].record = tuners.at(place);
    return true;
}

void TunerBoard::rebuildTuners(const QVector<Tuner>& tuners)
{
    QHash<QString, TunerEntry> before;
    for (TunerEntry& entry : m_tuners)
        before[entry.key] = std::move(entry);
    m_tuners.clear();
    m_list = tuners;
    m_index.rebuild(tuners);
    m_lateStates.clear();
    QHash<QString, int> numbers; // of those with one GUID
    QSet<QString> keys;
    const QDateTime now = ViewTime::now();
    for (const Tuner& tuner : tuners) {
        const QString& guid = ResourceGuid::of(tuner);
        QString key = guid;
        while (keys.contains(key))
            key = guid + QLatin1Char('\n') + QString::number(++numbers[guid] + 1);
        keys.insert(key);
        const bool isKnown = before.contains(key);
        TunerEntry entry = before.take(key);
        entry.key = key;
        entry.record = tuner;
        if (!isKnown) {
            entry.state = stateOf(entry);
            entry.seen = now;
        }
        m_tuners.push_back(std::move(entry));
    }
    m_counts.fill(0);
    for (TunerEntry& entry : m_tuners) {
        ++m_counts[static_cast<std::size_t>(entry.state)];
        takeState(entry);
        takeUser(entry);
    }
}

/// False when the classes have to be built anew.
bool TunerBoard::refreshClasses(const std::vector<int>& places)
{
    if (!m_classes)
        return true;
    const QVector<Tuner>& before = m_classes->getResources().GetTuner();
    const auto isOther = [&](int place) {
        return place >= before.size() || !areOfOneKind(before.at(place), tuner(place).record);
    };
    if (m_hasDefaultClasses && std::any_of(places.begin(), places.end(), isOther))
        return false;
    std::vector<int> changedPlaces;
    return m_classes->refresh(m_server->getResourceObserver().GetCurrentResources(), changedPlaces);
}

void TunerBoard::buildClasses()
{
    if (m_detail != Detail::ClassesAndUsers)
        return;
    const TunerClassesObserver& classes = m_server->getTunerClassObserver();
    m_classes = classes.getTunerClassTree(m_server->getResourceObserver().GetCurrentResources());
    m_hasDefaultClasses = classes.getTunerClassOverview().GetTunerClass().isEmpty();
    if (m_hasDefaultClasses)
        m_classes->createDefaultHierarchy(
            m_server->getRdcObserver().GetCurrentDemandClasses().GetResourceDemandClass());
    const auto nameOf = [](const ptrTunerClassTreeItem& item) {
        return item && !item->isRootItem() ? item->getName() : QString();
    };
    for (TunerEntry& entry : m_tuners)
        entry.tunerClass = m_index.isUnique() ? QString() : nameOf(m_classes->getClassForTuner(entry.record));
    if (!m_index.isUnique())
        return;
    m_classes->getRootItem()->applyToAllDescendants([&](const ptrTunerClassTreeItem& item) {
        const int place = item->isTunerItem() ? m_index.indexOf(ResourceGuid::of(item->getTuner())) : -1;
        if (place >= 0)
            m_tuners[static_cast<std::size_t>(place)].tunerClass = nameOf(item->getParent());
    });
}

void TunerBoard::readClasses()
{
    if (isAway())
        return;
    buildClasses();
    Q_EMIT rebuilt();
}

void TunerBoard::readUsers()
{
    if (isAway())
        return;
    const Users before = std::exchange(m_users, usersNow());
    QStringList guids;
    for (auto user = m_users.begin(); user != m_users.end(); ++user) {
        if (!(before.value(user.key()) == user.value()))
            guids.append(user.key());
    }
    for (auto user = before.begin(); user != before.end(); ++user) {
        if (!m_users.contains(user.key()))
            guids.append(user.key());
    }
    std::vector<int> places = placesOfAll(guids);
    const auto isSame = [this](int place) { return !takeUser(m_tuners[static_cast<std::size_t>(place)]); };
    places.erase(std::remove_if(places.begin(), places.end(), isSame), places.end());
    if (!places.empty())
        Q_EMIT changed(places);
}

/// The first processor that a tuner feeds, in the order of the overview, is who works with it.
TunerBoard::Users TunerBoard::usersNow() const
{
    Users users;
    for (const ProcessorIndex::Processor& processor : m_processors->processors().processors()) {
        const QString& tunerGuid = ProcessorFacts::tunerOf(processor);
        if (!tunerGuid.isEmpty() && !users.contains(tunerGuid))
            users.insert(tunerGuid, userOf(processor, tunerGuid));
    }
    return users;
}

TunerBoard::User TunerBoard::userOf(const ProcessorIndex::Processor& processor,
                                    const QString& tunerGuid) const
{
    User user;
    user.processor = processor.guid();
    user.production = ProcessorFacts::productionOf(processor);
    user.text = processor.GetTavikResource().GetDisplayName();
    if (user.text.isEmpty())
        user.text = processor.object->GetObjectName();
    if (const auto* const owner = m_server->getGuiOwnerObserver().FindOwner(user.processor))
        user.text += QStringLiteral(", ") + owner->GetName();
    const auto before = m_users.find(tunerGuid);
    user.holder = before != m_users.end() && *before == user ? before->holder
                                                             : ServerTuners::holderOf(*m_server, tunerGuid);
    return user;
}

/// Whether it is another user.
bool TunerBoard::takeUser(TunerEntry& entry) const
{
    QString user;
    QString holder;
    if (entry.state == TunerBookingManager::ePlanned) {
        user = holder = ServerTuners::holderOf(*m_server, ResourceGuid::of(entry.record));
    } else if (const auto found = m_users.find(ResourceGuid::of(entry.record)); found != m_users.end()) {
        user = found->text;
        holder = found->holder;
    }
    const bool isSame = user == entry.user && holder == entry.holder;
    entry.user = user;
    entry.holder = holder;
    return !isSame;
}

TunerBoard::State TunerBoard::stateOf(const TunerEntry& entry) const
{
    const TunerBookingManager& booking = m_server->getBookingManager();
    const QString& guid = ResourceGuid::of(entry.record);
    if (booking.existsTuner(guid) || guid.isEmpty())
        return booking.getTunerState(guid);
    return TunerBookingManager::reportedState(entry.record);
}

/// Whether it is another state.
bool TunerBoard::takeState(TunerEntry& entry)
{
    const State now = stateOf(entry);
    if (now == entry.state)
        return false;
    --m_counts[static_cast<std::size_t>(entry.state)];
    ++m_counts[static_cast<std::size_t>(now)];
    entry.state = now;
    entry.seen = ViewTime::now();
    entry.since = m_isFirstLook ? QDateTime() : entry.seen;
    return true;
}

void TunerBoard::readState(const QString& guid)
{
    if (!m_server)
        return;
    std::vector<int> places = placesOf(guid);
    const auto isSame = [this](int place) {
        TunerEntry& entry = m_tuners[static_cast<std::size_t>(place)];
        const bool isOther = takeState(entry);
        return !takeUser(entry) && !isOther;
    };
    places.erase(std::remove_if(places.begin(), places.end(), isSame), places.end());
    if (!places.empty())
        Q_EMIT changed(places);
}

void TunerBoard::readLateStates()
{
    if (!m_server)
        return;
    const std::vector<int> places = placesOfAll(std::exchange(m_lateStates, {}));
    for (const int place : places) {
        TunerEntry& entry = m_tuners[static_cast<std::size_t>(place)];
        takeState(entry);
        takeUser(entry);
    }
    if (!places.empty())
        Q_EMIT changed(places);
}

std::vector<int> TunerBoard::placesOf(const QString& guid) const
{
    std::vector<int> places;
    if (m_index.isUnique()) {
        if (const int place = m_index.indexOf(guid); place >= 0)
            places.push_back(place);
        return places;
    }
    for (int place = 0; place < m_list.size(); ++place) {
        if (ResourceGuid::of(m_list.at(place)) == guid)
            places.push_back(place);
    }
    return places;
}

/// Each once, in their order.
std::vector<int> TunerBoard::placesOfAll(const QStringList& guids) const
{
    std::vector<int> all;
    for (const QString& guid : guids) {
        const std::vector<int> places = placesOf(guid);
        all.insert(all.end(), places.begin(), places.end());
    }
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

} // namespace Kolta
