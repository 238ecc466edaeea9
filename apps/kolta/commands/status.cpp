#include "commands.h"

#include <kolta/application/health.h>
#include <kolta/application/serverfigures.h>
#include <kolta/application/session.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <algorithm>
#include <utility>

namespace KoltaCli {

namespace {

void printObject(const ServerFigures& figures)
{
    QJsonObject object{
        {QStringLiteral("server"), figures.name},     {QStringLiteral("host"), figures.host},
        {QStringLiteral("state"), figures.state},     {QStringLiteral("stateText"), figures.stateText},
        {QStringLiteral("message"), figures.message}, {QStringLiteral("ready"), figures.isReady}};
    if (figures.isConnected) {
        for (const auto& [name, count] : figures.counts())
            object[name] = count;
    }
    printJson(object);
}

void printTable(const QVector<ServerFigures>& servers)
{
    Table table({QStringLiteral("SERVER"), QStringLiteral("HOST"), QStringLiteral("STATE"),
                 QStringLiteral("READY"), QStringLiteral("FREE"), QStringLiteral("IN USE"),
                 QStringLiteral("OUT OF REACH"), QStringLiteral("PLANNED"), QStringLiteral("PROCESSORS"),
                 QStringLiteral("PRODUCTIONS"), QStringLiteral("HARDWARE"), QStringLiteral("MESSAGE")});
    table.alignRight({4, 5, 6, 7, 8, 9, 10});
    for (const ServerFigures& figures : servers) {
        QStringList cells{figures.name, figures.host,
                          QStringLiteral("%1 %2").arg(figures.state).arg(figures.stateText),
                          yesNo(figures.isReady)};
        for (const auto& [name, count] : figures.counts())
            cells.append(figures.isConnected ? QString::number(count) : QString());
        table.addRow(cells << figures.message);
    }
    table.print();
}

int tell(const CommandLine& line, const Servers& servers)
{
    QVector<ServerFigures> all;
    for (Server* const server : servers.all())
        all.append(ServerFigures::of(*server));
    if (line.json())
        std::for_each(all.begin(), all.end(), printObject);
    else
        printTable(all);
    const auto isReady = [](const ServerFigures& figures) { return figures.isReady; };
    return std::all_of(all.begin(), all.end(), isReady) ? eExitOk : eExitFailed;
}

HealthReport check(const CommandLine& line)
{
    // A monitoring system reads one line, and that from standard output.
    const OutputManner quiet(OutputManner::eSilent);
    const auto unknown = [&quiet] {
        takeStartFailure();
        HealthReport report;
        report.health = Health::Unknown;
        report.text = quiet.lines().isEmpty() ? QString() : quiet.lines().last().section(QLatin1Char(' '), 1);
        return report;
    };
    if (!line.arguments().isEmpty()) {
        const auto session = Session::start(line);
        return session ? healthOf(*session, line.timeoutMs()) : unknown();
    }
    const auto survey = Survey::start(line);
    return survey ? healthOf(survey->servers(), survey->mirror() ? survey->mirror()->problem() : QString())
                  : unknown();
}

int status(const CommandLine& line)
{
    if (line.isSet("health"))
        return check(line).print(line.json());
    if (!line.arguments().isEmpty())
        return line.usageError(QStringLiteral("HOST:PORT is for --health"));
    return with(Servers::reach, tell)(line);
}

} // namespace

Command statusCommand()
{
    Argument server = Session::argument();
    server.count = Argument::eOptional;
    server.help = "With --health, a server that is asked over the XML protocol.";
    return {
        "status",
        "tell how the servers are",
        "Tells how the servers of an installation are: their working state and how much of everything "
        "they have. With --health it answers as monitoring systems expect it: one line, and the exit code 0 "
        "for OK, 1 for WARNING, 2 for CRITICAL, 3 for UNKNOWN.",
        {server},
        Servers::options({flag("health", "Answer a monitoring system.")}),
        status};
}

} // namespace KoltaCli
