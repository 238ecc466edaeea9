#include "commands.h"

#include <kolta/application/assignmentrequest.h>
#include <kolta/application/processordirectory.h>
#include <kolta/application/shorttimecommands.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/interruption.h>
#include <kolta/cli/output.h>

#include <koltacommon/guidtext.h>

#include <QJsonArray>

#include <limits>

namespace KoltaCli {

using Kolta::ShortTimeFFPAssignment;
using Kolta::ShortTimeFFPAssignmentItemMap;

namespace {

const QString profilesOption = QStringLiteral("profiles");
const QString radioOption = QStringLiteral("radio");
const QString resourceOption = QStringLiteral("resource");
const QString coverageOption = QStringLiteral("coverage");
const QString disabledOption = QStringLiteral("disabled");
const QString recordOption = QStringLiteral("record");
constexpr quint32 defaultCoverage = 50;

ShortTimeFFPAssignmentItemMap* findAssignments(const std::optional<ShortTimeServer>& server)
{
    return server ? server->find<ShortTimeFFPAssignmentItemMap>(QStringLiteral("Assignments")) : nullptr;
}

/// The GUID of the FFP that `text` means: a GUID, also of one that does not run, or the name of one that
/// runs. Prints an error and gives an empty text when it means none.
QString findFfp(const ShortTimeServer& server, const QString& text)
{
    QUuid guid = Kolta::guidFromText(text);
    if (guid.isNull()) {
        QString problem;
        const ProcessorDirectory directory({&server.server()});
        const ProcessorEntry* const entry = directory.find(text, QStringLiteral("FFP"), problem);
        if (!entry) {
            printError(problem);
            return {};
        }
        guid = Kolta::guidFromText(entry->guid);
    }
    return guid.toString();
}

QJsonObject toJson(const ShortTimeFFPAssignment& assignment)
{
    return {{QStringLiteral("ffp"), assignment.ffpGuid},
            {QStringLiteral("resource"), assignment.tavikResourceId},
            {QStringLiteral("radio"), static_cast<double>(assignment.radioId)},
            {QStringLiteral("enabled"), assignment.enabled},
            {QStringLiteral("record"), assignment.autoRecording},
            {QStringLiteral("coverage"), static_cast<double>(assignment.minCoverage)},
            {QStringLiteral("profiles"), QJsonArray::fromStringList(assignment.profiles)}};
}

/// One assignment per row, the profiles last as they are the longest.
void print(const QVector<ShortTimeFFPAssignment>& assignments, bool json)
{
    Table table({QStringLiteral("FFP"), QStringLiteral("ENABLED"), QStringLiteral("RECORD"),
                 QStringLiteral("COVERAGE %"), QStringLiteral("RADIO"), QStringLiteral("RESOURCE"),
                 QStringLiteral("PROFILES")});
    for (const int column : {3, 4, 5})
        table.alignRight(column);
    for (const ShortTimeFFPAssignment& assignment : assignments) {
        table.addRow({assignment.ffpGuid, yesNo(assignment.enabled), yesNo(assignment.autoRecording),
                      QString::number(assignment.minCoverage), QString::number(assignment.radioId),
                      QString::number(assignment.tavikResourceId),
                      assignment.profiles.join(QStringLiteral(", "))});
        if (json)
            printJson(toJson(assignment));
    }
    if (!json)
        printLine(assignments.isEmpty() ? QStringLiteral("nothing is assigned") : table.toText());
}

int list(const CommandLine& line, const QStringList&)
{
    const auto server = ShortTimeServer::startUp(line);
    const ShortTimeFFPAssignmentItemMap* const map = findAssignments(server);
    if (!map)
        return eExitFailed;
    QVector<ShortTimeFFPAssignment> assignments;
    for (const QString& guid : sortedKeys(*map))
        assignments.append(map->At(guid));
    print(assignments, line.json());
    return eExitOk;
}

int show(const CommandLine& line, const QStringList& arguments)
{
    const auto server = ShortTimeServer::startUp(line);
    const ShortTimeFFPAssignmentItemMap* const map = findAssignments(server);
    const QString ffp = map ? findFfp(*server, arguments.first()) : QString();
    if (ffp.isEmpty())
        return eExitFailed;
    if (!map->Contains(ffp)) {
        printError(QStringLiteral("nothing is assigned to the FFP %1").arg(ffp));
        return eExitFailed;
    }
    print({map->At(ffp)}, line.json());
    return eExitOk;
}

/// False for an option that is no number in range; what is not given stays.
bool readNumber(const CommandLine& line, const QString& option, int maximum, quint32& number)
{
    if (!line.isSet(option))
        return true;
    const auto read = line.number(option, 0, maximum);
    number = static_cast<quint32>(read.value_or(0));
    return read.has_value();
}

/// False for wrong usage, which was told.
bool readOptions(const CommandLine& line, ShortTimeFFPAssignment& assignment)
{
    quint32 resource = assignment.tavikResourceId;
    if (!readNumber(line, radioOption, std::numeric_limits<int>::max(), assignment.radioId) ||
        !readNumber(line, resourceOption, std::numeric_limits<quint16>::max(), resource) ||
        !readNumber(line, coverageOption, 100, assignment.minCoverage))
        return false;
    assignment.tavikResourceId = static_cast<quint16>(resource);
    assignment.enabled = !line.isSet(disabledOption);
    assignment.autoRecording = line.isSet(recordOption);
    if (!line.isSet(profilesOption))
        return true;
    assignment.profiles.clear();
    const QString names = line.values(profilesOption).join(QLatin1Char(','));
    for (const QString& name : names.split(QLatin1Char(','), Qt::SkipEmptyParts))
        assignment.profiles.append(name.trimmed());
    return true;
}

int tell(const AssignmentRequest& request, const ShortTimeFFPAssignment& assignment,
         const ShortTimeServer& server, bool json)
{
    const QString address = server.server().getAddress();
    const bool granted = request.outcome() == AssignmentRequest::Outcome::Granted;
    if (json) {
        QJsonObject object = toJson(assignment);
        object[QStringLiteral("granted")] = granted;
        if (!request.problem().isEmpty())
            object[QStringLiteral("problem")] = request.problem();
        printJson(object);
    } else if (granted) {
        printLine(QStringLiteral("%1 has assigned %2 to the FFP %3")
                      .arg(address, counted(assignment.profiles.size(), QStringLiteral("profile")),
                           assignment.ffpGuid));
    }
    switch (request.outcome()) {
    case AssignmentRequest::Outcome::Granted:
        return eExitOk;
    case AssignmentRequest::Outcome::Refused:
        printError(QStringLiteral("%1 refuses: %2").arg(address, request.problem()));
        break;
    case AssignmentRequest::Outcome::Lost:
        printError(QStringLiteral("%1 has gone").arg(address));
        break;
    case AssignmentRequest::Outcome::Open:
        printError(isInterrupted() ? QStringLiteral("interrupted")
                                   : QStringLiteral("%1 has not answered within %2 s")
                                         .arg(address, QString::number(server.timeoutMs() / 1000)));
        break;
    }
    return eExitFailed;
}

int set(const CommandLine& line, const QStringList& arguments)
{
    ShortTimeFFPAssignment assignment;
    // Before anything is started: the command line may be wrong.
    if (!readOptions(line, assignment))
        return eExitUsage;
    const auto server = ShortTimeServer::startUp(line);
    ShortTimeFFPAssignmentItemMap* const map = findAssignments(server);
    const QString ffp = map ? findFfp(*server, arguments.first()) : QString();
    if (ffp.isEmpty())
        return eExitFailed;
    assignment = map->Contains(ffp) ? map->At(ffp) : ShortTimeFFPAssignment();
    if (assignment.isNull())
        assignment.minCoverage = defaultCoverage;
    assignment.ffpGuid = ffp;
    readOptions(line, assignment);
    AssignmentRequest request(*map, assignment);
    request.wait(server->timeoutMs());
    return tell(request, assignment, *server, line.json());
}

} // namespace

int runAssignments(const QStringList& arguments)
{
    CommandLine line(
        QStringLiteral("assignments"),
        QStringLiteral("Works on what the FFPs of a server in a simulated installation inside this "
                       "process are to look for: list, show FFP, set FFP. What set does not say "
                       "of profiles, radio, resource and coverage stays as it is."));
    line.addArgument(QStringLiteral("ACTION"), QStringLiteral("list, show or set."));
    line.addOptionalArguments(QStringLiteral("FFP"),
                              QStringLiteral("GUID of an FFP, or the display name of one that runs."));
    const auto addNumber = [&line](const QString& name, const char* text) {
        line.addOption({name, QLatin1String(text), QStringLiteral("number")});
    };
    line.addOption({profilesOption,
                    QStringLiteral("Names of the profiles, separated by commas; \"\" for none."),
                    QStringLiteral("names")});
    addNumber(radioOption, "Radio identifier (0).");
    addNumber(resourceOption, "Number of the FFP in the resource model, up to 65535 (0).");
    addNumber(coverageOption, "Minimum coverage in per cent (50).");
    line.addOption({disabledOption, QStringLiteral("The FFP does not look for them yet.")});
    line.addOption({recordOption, QStringLiteral("Record the emissions that are detected.")});
    Servers::declareOptions(line);
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    return runAction(line, {{"list", "", list}, {"show", "FFP", show}, {"set", "FFP", set}});
}

} // namespace KoltaCli
