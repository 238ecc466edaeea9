#include "commands.h"

#include <kolta/application/processordirectory.h>
#include <kolta/application/shorttimecollection.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <common/commalist.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/maprequestjobs.h>

#include <QJsonArray>

#include <limits>
#include <type_traits>

namespace KoltaCli {

using Kolta::ShortTimeFFPAssignment;
using Kolta::ShortTimeFFPAssignmentItemMap;

namespace {

using Assignments = ShortTimeCollection<ShortTimeFFPAssignmentItemMap>;

/// The GUID of the FFP that `text` means: a GUID, also of one that does not run, or the name of one that
/// runs. Prints an error and gives an empty text when it means none.
QString findFfp(Server& server, const QString& text)
{
    QUuid guid = Kolta::guidFromText(text);
    if (guid.isNull()) {
        QString problem;
        const ProcessorDirectory directory({&server});
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
    table.alignRight({3, 4, 5});
    for (const ShortTimeFFPAssignment& assignment : assignments) {
        table.addRow({assignment.ffpGuid, yesNo(assignment.enabled), yesNo(assignment.autoRecording),
                      QString::number(assignment.minCoverage), QString::number(assignment.radioId),
                      QString::number(assignment.tavikResourceId),
                      assignment.profiles.join(QStringLiteral(", "))});
        if (json)
            printJson(toJson(assignment));
    }
    if (!json)
        printTable(table, QStringLiteral("nothing is assigned"));
}

int list(const CommandLine& line, const Assignments& known)
{
    QVector<ShortTimeFFPAssignment> assignments;
    for (const QString& guid : known.keys())
        assignments.append(known.map().At(guid));
    print(assignments, line.json());
    return eExitOk;
}

int show(const CommandLine& line, const Assignments& known)
{
    const QString ffp = findFfp(known.server(), line.argument(0));
    if (ffp.isEmpty())
        return eExitFailed;
    if (!known.map().Contains(ffp)) {
        printError(QStringLiteral("nothing is assigned to the FFP %1").arg(ffp));
        return eExitFailed;
    }
    print({known.map().At(ffp)}, line.json());
    return eExitOk;
}

/// Takes over what the options say; what they do not name stays.
void change(ShortTimeFFPAssignment& assignment, const CommandLine& line)
{
    const auto take = [&line](const char* option, auto& number) {
        if (line.isSet(option))
            number = static_cast<std::remove_reference_t<decltype(number)>>(line.number(option));
    };
    take("radio", assignment.radioId);
    take("resource", assignment.tavikResourceId);
    take("coverage", assignment.minCoverage);
    assignment.enabled = !line.isSet("disabled");
    assignment.autoRecording = line.isSet("record");
    if (!line.isSet("profiles"))
        return;
    assignment.profiles.clear();
    for (const QString& names : line.values("profiles"))
        assignment.profiles += KoltaApps::namesOf(names);
}

int tell(const Kolta::AssignmentJob& job, const ShortTimeFFPAssignment& assignment, const QString& address,
         bool json)
{
    const bool granted = job.state() == Kolta::Operation::State::Done;
    if (json) {
        QJsonObject object = toJson(assignment);
        object[QStringLiteral("granted")] = granted;
        addEnd(object, job);
        printJson(object);
    } else if (granted) {
        printLine(QStringLiteral("%1 has assigned %2 to the FFP %3")
                      .arg(address, counted(assignment.profiles.size(), QStringLiteral("profile")),
                           assignment.ffpGuid));
    }
    if (granted)
        return eExitOk;
    printError((job.state() == Kolta::Operation::State::Refused ? QStringLiteral("%1 refuses: %2")
                                                                : QStringLiteral("%1: %2"))
                   .arg(address, problemOf(job)));
    return eExitFailed;
}

int set(const CommandLine& line, const Assignments& known)
{
    const QString ffp = findFfp(known.server(), line.argument(0));
    if (ffp.isEmpty())
        return eExitFailed;
    ShortTimeFFPAssignment assignment =
        known.map().Contains(ffp) ? known.map().At(ffp) : ShortTimeFFPAssignment();
    if (assignment.isNull())
        assignment.minCoverage = ShortTimeFFPAssignment::kDefaultCoverage;
    assignment.ffpGuid = ffp;
    change(assignment, line);
    Kolta::AssignmentJob job(known.map(), assignment, nullptr);
    await(job, line.timeoutMs());
    return tell(job, assignment, known.server().getAddress(), line.json());
}

} // namespace

Command assignmentsCommand()
{
    const Argument ffp{"FFP", "GUID of an FFP, or the display name of one that runs."};
    const auto on = [](auto use) { return onShortTime<ShortTimeFFPAssignmentItemMap>(use); };
    return {
        "assignments",
        "list, show or set what FFPs are to look for",
        "Works on what the FFPs of a server in the installation are to look for. "
        "FFP is a GUID, or the display name of one that runs. What set does not say of profiles, radio, "
        "resource and coverage stays as it is.",
        {},
        Servers::options(
            {text("profiles", "names",
                  "set: names of the profiles, separated by commas, a comma of a name twice; \"\" for none."),
             whole("radio", "number", "set: radio identifier (0).", 0, std::numeric_limits<int>::max()),
             whole("resource", "number", "set: number of the FFP in the resource model, up to {most} (0).", 0,
                   std::numeric_limits<quint16>::max()),
             whole("coverage", "number", "set: minimum coverage in per cent ({preset}).", 0, 100,
                   ShortTimeFFPAssignment::kDefaultCoverage),
             flag("disabled", "set: the FFP does not look for them yet."),
             flag("record", "set: record the emissions that are detected."), Users::option()}),
        nullptr,
        {{"list", {}, "Lists all assignments.", on(list)},
         {"show", {ffp}, "Shows that of an FFP.", on(show)},
         {"set",
          {ffp},
          "Asks the server for another one.",
          changeShortTime<ShortTimeFFPAssignmentItemMap>(Kolta::UserAction::EditAssignments, set)}}};
}

} // namespace KoltaCli
