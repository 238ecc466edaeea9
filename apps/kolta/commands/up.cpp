#include "commands.h"

#include <common/terminationsignals.h>
#include <kolta/application/localinstallation.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <simulation/resourcegenerator.h>

namespace KoltaCli {

namespace {

/// How long all servers may take to be published, beside --timeout.
constexpr int kStartLimitMs = 60000;

void printEverything(const LocalInstallation& installation)
{
    printLine(QStringLiteral("tree %1").arg(installation.url()));
    printLine(QStringLiteral("broker %1").arg(installation.brokerPid()));
    for (const LocalInstallation::Server& server : installation.servers())
        printLine(QStringLiteral("%1 %2 %3")
                      .arg(server.name)
                      .arg(server.process->processId())
                      .arg(server.endpoint));
    printLine(
        QStringLiteral(
            "Try in another terminal:  export KOLTA_TREE=%1;  kolta servers;  kolta status;  kolta watch")
            .arg(installation.url()));
}

int up(const CommandLine& line)
{
    LocalInstallation::Settings settings;
    settings.servers = line.number("servers");
    settings.tuners = line.number("tuners");
    settings.tls = line.isSet("tls");
    settings.restart = line.isSet("restart");
    bool isOver = false;
    TerminationSignals termination;
    QObject::connect(&termination, &TerminationSignals::terminationRequested, [&isOver] { isOver = true; });
    LocalInstallation installation(settings);
    QObject::connect(&installation, &LocalInstallation::si_Told,
                     [](const QString& text) { printError(text); });
    QString error;
    const int limitMs = line.isSet("timeout") ? line.timeoutMs() : kStartLimitMs;
    if (!installation.start(
            limitMs, [&isOver] { return isOver; }, error)) {
        printError(error);
        return eExitFailed;
    }
    printEverything(installation);
    waitUntil([&isOver] { return isOver || outputIsLost(); }, kWaitForever);
    return eExitOk;
}

} // namespace

Command upCommand()
{
    return {"up",
            "start a whole installation on this machine, until Ctrl-C",
            "Starts a broker of its own and simulated servers, each a process, and prints the URL of their "
            "tree: with it, as "
            "--tree or KOLTA_TREE, every program of the same user can look at them. Says when one of them "
            "ends. Ctrl-C ends "
            "all of it.",
            {},
            {whole("servers", "number", "How many servers ({preset}).", 1, 100, 1),
             whole("tuners", "number", "How many tuners each has (those of the sample).", 0,
                   KoltaSimulation::kMostTuners, 0),
             flag("tls", "Protect the connections to the broker by TLS."),
             flag("restart", "Start again what ends.")},
            up};
}

} // namespace KoltaCli
