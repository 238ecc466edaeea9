#include "demoshorttime.h"

#include "demoreport.h"

#include <kolta/application/assignmentrequest.h>
#include <kolta/application/profilefile.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <koltacommon/q9rprofiles.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <simulation/simulatedserver.h>
#include <values/localreplicapair.h>

#include <QTemporaryDir>

#include <map>
#include <string>

namespace KoltaCli {

using Kolta::ShortTimeFFPAssignment;
using Kolta::ShortTimeFFPAssignmentItemMap;
using Kolta::ShortTimeProfile;
using Kolta::ShortTimeProfileItemMap;

namespace {

/// A collection as another process would have it, and the link that keeps it so.
template<class Map>
struct Mirror
{
    explicit Mirror(values::Replica& primary) : replica(map), pair(primary, replica) {}

    Map map;
    values::Replica replica;
    values::LocalReplicaPair pair;
};

/// The items as they travel. The order in which a collection has them means nothing.
template<class Map>
std::map<QString, std::string> bytesOf(const Map& map)
{
    std::map<QString, std::string> bytes;
    for (const auto& [key, item] : map.data())
        bytes.emplace(key, Map::Format::toStandardString(item));
    return bytes;
}

template<class Map>
int sizeInBytes(const Map& map)
{
    std::size_t size = 0;
    for (const auto& entry : bytesOf(map))
        size += entry.second.size();
    return static_cast<int>(size);
}

ShortTimeProfile demoProfile(const char* name, quint64 frequencyMin, quint64 frequencyMax)
{
    ShortTimeProfile profile;
    profile.name = QLatin1String(name);
    profile.useFrequency = true;
    profile.frequencyMin = frequencyMin;
    profile.frequencyMax = frequencyMax;
    profile.useModulation = true;
    profile.modulation = Kolta::stringToModulationType(QStringLiteral("FSK2"));
    return profile;
}

/// The two collections of the server, and the story that is told with them.
class ShortTimeStory
{
public:
    ShortTimeStory(DemoReport& report, ShortTimeProfileItemMap& profiles,
                   ShortTimeFFPAssignmentItemMap& assignments, int timeoutMs)
        : m_report(report)
        , m_timeoutMs(timeoutMs)
        , m_profiles(profiles)
        , m_assignments(assignments)
        , m_profilesPrimary(profiles)
        , m_assignmentsPrimary(assignments)
        , m_profilesMirror(m_profilesPrimary)
        , m_assignmentsMirror(m_assignmentsPrimary)
    {
        m_wanted.ffpGuid = QUuid::createUuid().toString();
        m_wanted.enabled = true;
        m_wanted.minCoverage = 50;
    }

    void importProfiles();
    void requestAssignment();
    void joinLate();
    void compare();

private:
    DemoReport& m_report;
    int m_timeoutMs;
    ShortTimeProfileItemMap& m_profiles;
    ShortTimeFFPAssignmentItemMap& m_assignments;
    values::Replica m_profilesPrimary;
    values::Replica m_assignmentsPrimary;
    Mirror<ShortTimeProfileItemMap> m_profilesMirror;
    Mirror<ShortTimeFFPAssignmentItemMap> m_assignmentsMirror;
    ShortTimeFFPAssignment m_wanted;
};

void ShortTimeStory::importProfiles()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("profiles.xml"));
    const QString problem = VESK_Q9R::writeProfileFile(
        file, ShortTimeProfile::toQ9RProfile({demoProfile("Demo burst", 148000000, 174000000),
                                              demoProfile("Demo hopper", 30000000, 88000000)}));
    const auto read = problem.isEmpty() ? readProfiles(file) : std::nullopt;
    if (!m_report.check(read.has_value(), QStringLiteral("a file of profiles is read: ") + problem))
        return;
    for (const ShortTimeProfile& profile : *read) {
        m_profiles.Set(profile);
        m_wanted.profiles.append(profile.name);
    }
    m_report.say(QStringLiteral("%1 profiles imported, the server now has %2")
                     .arg(QString::number(read->size()), QString::number(m_profiles.Size())));
    m_report.set(QStringLiteral("profiles"), static_cast<int>(m_profiles.Size()));
}

/// At the mirror, from which the request travels to the owner and the answer back.
void ShortTimeStory::requestAssignment()
{
    AssignmentRequest request(m_assignmentsMirror.map, m_wanted);
    const bool granted = request.wait(m_timeoutMs) == AssignmentRequest::Outcome::Granted;
    m_report.check(granted, QStringLiteral("the assignment is granted: ") + request.problem());
    m_report.check(m_assignments.Contains(m_wanted.ffpGuid) && m_assignments.At(m_wanted.ffpGuid) == m_wanted,
                   QStringLiteral("the server has the assignment"));
    if (granted)
        m_report.say(QStringLiteral("a mirror asks for an assignment; the server makes it and answers"));
    m_report.set(QStringLiteral("granted"), granted);
}

/// A mirror that is made while a request is open.
void ShortTimeStory::joinLate()
{
    ShortTimeFFPAssignment impossible = m_wanted;
    impossible.profiles.append(QStringLiteral("Nobody knows"));
    AssignmentRequest request(m_assignmentsMirror.map, impossible);
    // At once: the owner answers as soon as the event loop runs.
    m_assignmentsMirror.pair.Deliver();
    Mirror<ShortTimeFFPAssignmentItemMap> late(m_assignmentsPrimary);
    late.pair.Deliver();
    const bool learned = late.map.GetPendingRequests().count(request.id()) > 0;
    m_report.check(learned, QStringLiteral("the late mirror knows the open request"));
    m_report.check(request.wait(m_timeoutMs) == AssignmentRequest::Outcome::Refused,
                   QStringLiteral("an assignment of an unknown profile is refused"));
    m_report.check(waitUntil([&late] { return late.map.GetPendingRequests().empty(); }, m_timeoutMs),
                   QStringLiteral("the late mirror hears of the answer"));
    m_report.check(bytesOf(late.map) == bytesOf(m_assignments),
                   QStringLiteral("the late mirror has the server's assignments"));
    m_report.say(QStringLiteral("a mirror that joins late learns of a request that is open: %1, and of its "
                                "answer: %2")
                     .arg(learned ? QStringLiteral("yes") : QStringLiteral("no"), request.problem()));
    m_report.set(QStringLiteral("answer"), request.problem());
}

void ShortTimeStory::compare()
{
    const int bytes = sizeInBytes(m_profiles) + sizeInBytes(m_assignments);
    m_report.check(waitUntil(
                       [this] {
                           return bytesOf(m_profilesMirror.map) == bytesOf(m_profiles) &&
                                  bytesOf(m_assignmentsMirror.map) == bytesOf(m_assignments);
                       },
                       m_timeoutMs),
                   QStringLiteral("the mirrors equal the server's collections byte for byte"));
    m_report.check(m_assignmentsMirror.map.GetPendingRequests().empty() &&
                       m_assignments.GetPendingRequests().empty(),
                   QStringLiteral("no request is open in the end"));
    m_report.say(
        QStringLiteral("the mirrors hold %1 and %2, the same %3 bytes as the server")
            .arg(counted(static_cast<int>(m_profilesMirror.map.Size()), QStringLiteral("profile")),
                 counted(static_cast<int>(m_assignmentsMirror.map.Size()), QStringLiteral("assignment")),
                 QString::number(bytes)));
    m_report.set(QStringLiteral("bytes"), bytes);
}

} // namespace

bool shareShortTimeData(DemoReport& report, const KoltaSimulation::SimulatedServer& server, int timeoutMs)
{
    report.beginStep(QStringLiteral("Short-time profiles are imported, assigned and mirrored"));
    values::Tree& tree = values::Tree::Instance();
    auto* const profiles =
        tree.FindAs<ShortTimeProfileItemMap>(server.shortTimePath(QStringLiteral("Profiles")));
    auto* const assignments =
        tree.FindAs<ShortTimeFFPAssignmentItemMap>(server.shortTimePath(QStringLiteral("Assignments")));
    if (report.check(profiles && assignments, QStringLiteral("the server publishes short-time data"))) {
        ShortTimeStory story(report, *profiles, *assignments, timeoutMs);
        story.importProfiles();
        story.requestAssignment();
        story.joinLate();
        story.compare();
    }
    return report.endStep();
}

} // namespace KoltaCli
