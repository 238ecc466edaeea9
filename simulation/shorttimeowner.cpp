#include <simulation/shorttimeowner.h>

#include <simulation/installation.h>

#include <koltacommon/convertproductionresultmap.h>
#include <koltacommon/guidtext.h>
#include <koltacommon/q9rprofiles.h>
#include <koltacommon/servernodes.h>
#include <koltacommon/shapecollectionitemmap.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>

#include <QMetaObject>
#include <QSet>

#include <memory>
#include <utility>
#include <vector>

namespace KoltaSimulation {

using Kolta::ConvertProductionResultMap;
using Kolta::ShapeCollectionItemMap;
using Kolta::ShortTimeFFPAssignment;
using Kolta::ShortTimeFFPAssignmentItemMap;
using Kolta::ShortTimeProfile;
using Kolta::ShortTimeProfileItemMap;
using Kolta::ShortTimeResultItemMap;
using Kolta::ServerNodes::shortTimePath;

namespace {

/// The minimum coverage is in per cent.
constexpr quint32 kMaxCoverage = 100;

std::unique_ptr<ShortTimeProfileItemMap> makeProfiles(const Installation& installation)
{
    auto map = std::make_unique<ShortTimeProfileItemMap>();
    if (const VESK_Q9R::ShortTimeProfiles* const file = installation.profiles()) {
        for (const ShortTimeProfile& profile :
             ShortTimeProfile::fromQ9RProfile(*file, Kolta::eShortTimeProfileUnspecified))
            map->Set(profile);
    }
    return map;
}

/// The open requests in the order in which they came. Those of which the change log does not tell any more
/// are older than all others.
template<class Protocol, class Map>
std::vector<QUuid> openRequests(const Map& map)
{
    const auto& pending = map.GetPendingRequests();
    std::vector<QUuid> ids;
    if (pending.empty())
        return ids;
    QSet<QUuid> logged;
    for (std::size_t i = 0; i < map.GetChangeLog().Size(); ++i) {
        const auto& entry = map.GetChangeLog().At(i);
        const QUuid id = entry.kind == Protocol::requestKind ? Kolta::guidFromText(entry.key) : QUuid();
        if (pending.count(id) == 0 || logged.contains(id))
            continue;
        logged.insert(id);
        ids.push_back(id);
    }
    std::vector<QUuid> older;
    for (const auto& request : pending) {
        if (!logged.contains(request.first))
            older.push_back(request.first);
    }
    ids.insert(ids.begin(), older.begin(), older.end());
    return ids;
}

QString unknownProfile(const QString& name)
{
    return QStringLiteral("There is no profile \"%1\"").arg(name);
}

/// Empty, or why the type of the profile stays as it is.
QString changeType(ShortTimeProfileItemMap& profiles, const ShortTimeProfileItemMap::TypeChange& wanted,
                   IObserver* originator)
{
    if (!profiles.Contains(wanted.profileName))
        return unknownProfile(wanted.profileName);
    if (wanted.targetType < Kolta::eShortTimeProfileUnspecified ||
        wanted.targetType > Kolta::eShortTimeProfileIgnore)
        return QStringLiteral("Profiles have no type %1").arg(int(wanted.targetType));
    ShortTimeProfile profile = profiles.At(wanted.profileName);
    profile.type = wanted.targetType;
    profiles.Set(profile, originator);
    return {};
}

/// Empty, or what is wrong with an assignment.
QString problemOf(const ShortTimeFFPAssignment& assignment, const ShortTimeProfileItemMap* profiles)
{
    if (Kolta::guidFromText(assignment.ffpGuid).isNull())
        return QStringLiteral("\"%1\" is no GUID of an FFP").arg(assignment.ffpGuid);
    if (assignment.minCoverage > kMaxCoverage)
        return QStringLiteral("The minimum coverage is %1 %, expected at most %2 %")
            .arg(QString::number(assignment.minCoverage), QString::number(kMaxCoverage));
    QSet<QString> seen;
    for (const QString& name : assignment.profiles) {
        if (!profiles || !profiles->Contains(name))
            return unknownProfile(name);
        if (seen.contains(name))
            return QStringLiteral("The profile \"%1\" is assigned twice").arg(name);
        seen.insert(name);
    }
    return {};
}

/// Under one spelling of its GUID, so that an FFP has one assignment.
QString changeAssignment(ShortTimeFFPAssignmentItemMap& assignments, const ShortTimeProfileItemMap* profiles,
                         ShortTimeFFPAssignment wanted, IObserver* originator)
{
    const QString problem = problemOf(wanted, profiles);
    if (!problem.isEmpty())
        return problem;
    wanted.ffpGuid = Kolta::guidFromText(wanted.ffpGuid).toString();
    assignments.Set(wanted, originator);
    return {};
}

} // namespace

ShortTimeOwner::ShortTimeOwner(const Installation& installation) : m_installation(installation) {}

ShortTimeOwner::~ShortTimeOwner()
{
    withdraw();
}

template<class Map>
Map* ShortTimeOwner::find() const
{
    return m_tree ? m_tree->FindAs<Map>(shortTimePath<Map>(m_installation.basePath())) : nullptr;
}

/// False when somebody who was told of it ended this publication.
template<class Map>
bool ShortTimeOwner::publishOne(std::unique_ptr<Map> map)
{
    const int life = m_life;
    m_tree->Add(shortTimePath<Map>(m_installation.basePath()), std::move(map), this);
    return life == m_life;
}

void ShortTimeOwner::publish(values::Tree& tree)
{
    withdraw();
    ++m_life;
    m_tree = &tree;
    if (!publishOne(makeProfiles(m_installation)) ||
        !publishOne(std::make_unique<ShortTimeFFPAssignmentItemMap>()) ||
        !publishOne(std::make_unique<ShortTimeResultItemMap>()) ||
        !publishOne(std::make_unique<ConvertProductionResultMap>()) ||
        !publishOne(std::make_unique<ShapeCollectionItemMap>()))
        return;
    if (auto* const profiles = find<ShortTimeProfileItemMap>())
        profiles->Attach(this);
    if (auto* const assignments = find<ShortTimeFFPAssignmentItemMap>())
        assignments->Attach(this);
    // Somebody may have asked as the first of them appeared.
    Update(nullptr, eChangeValue);
}

template<class Map>
void ShortTimeOwner::withdrawOne()
{
    if (auto* const map = find<Map>())
        map->Detach(this);
}

void ShortTimeOwner::withdraw()
{
    if (!m_tree)
        return;
    withdrawOne<ShortTimeProfileItemMap>();
    withdrawOne<ShortTimeFFPAssignmentItemMap>();
    ++m_life;
    values::Tree& tree = *std::exchange(m_tree, nullptr);
    tree.Remove(shortTimePath(m_installation.basePath()), this);
}

void ShortTimeOwner::Update(Observable*, TChangeCode code)
{
    if (code != eChangeValue || std::exchange(m_posted, true))
        return;
    // Not at once: who asked has not returned yet.
    QMetaObject::invokeMethod(
        &m_context, [this] { answerAll(); }, Qt::QueuedConnection);
}

void ShortTimeOwner::answerAll()
{
    m_posted = false;
    const auto changesType = [this](ShortTimeProfileItemMap& map, const auto& wanted) {
        return changeType(map, wanted, this);
    };
    const auto assigns = [this](ShortTimeFFPAssignmentItemMap& map, const auto& wanted) {
        return changeAssignment(map, find<ShortTimeProfileItemMap>(), wanted, this);
    };
    if (answer<Kolta::ShortTimeProfileProtocol, ShortTimeProfileItemMap>(
            changesType, &ShortTimeProfileItemMap::ReplyTypeChange))
        answer<Kolta::ShortTimeFFPAssignmentProtocol, ShortTimeFFPAssignmentItemMap>(
            assigns, &ShortTimeFFPAssignmentItemMap::ReplyAssignmentChange);
}

/// False when somebody who was told of a change or an answer ended this publication.
template<class Protocol, class Map, class Execute, class Reply>
bool ShortTimeOwner::answer(const Execute& execute, const Reply& reply)
{
    Map* const map = find<Map>();
    if (!map)
        return true;
    const int life = m_life;
    for (const QUuid& id : openRequests<Protocol>(*map)) {
        const auto found = map->GetPendingRequests().find(id);
        // Answered by somebody else, perhaps at this very moment.
        if (found == map->GetPendingRequests().end() || map->FindReply(id))
            continue;
        const auto wanted = found->second;
        const QString problem = execute(*map, wanted);
        if (life != m_life)
            return false;
        (map->*reply)(id, problem, this);
        if (life != m_life)
            return false;
    }
    return true;
}

} // namespace KoltaSimulation
