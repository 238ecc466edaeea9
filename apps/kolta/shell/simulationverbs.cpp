#include "simulationverbs.h"

#include <common/endpoint.h>
#include <kolta/application/embeddedinstallation.h>
#include <kolta/application/servers.h>
#include <kolta/application/tunertables.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/installationevents.h>
#include <koltacommon/koltaserverinterface.h>
#include <simulation/resourcegenerator.h>

#include <algorithm>
#include <vector>

namespace KoltaCli {

using KoltaSimulation::MisbehaviourRule;
using KoltaSimulation::SimulatedServer;
using RESOURCEMANAGEMENT::Tuner;

namespace {

constexpr int kLongestStep = 60000;

enum eTunerState { eBusy, eFree, eLost, eFound, eNew, eRemoved };

QStringList tunerStates()
{
    return {QStringLiteral("busy"),  QStringLiteral("free"), QStringLiteral("lost"),
            QStringLiteral("found"), QStringLiteral("new"),  QStringLiteral("removed")};
}

Option serverOption()
{
    return text("server", "name", "Which server (the first one).");
}

/// Prints an error and gives null when there is no such server.
SimulatedServer* findServer(const EmbeddedInstallation& installation, const CommandLine& line)
{
    if (!installation.isSimulated()) {
        printError(QStringLiteral("the servers are not simulated in this process"));
        return nullptr;
    }
    if (!line.isSet("server"))
        return &installation.server();
    QStringList names;
    for (const auto& server : installation.servers()) {
        names.append(server->installation().serverName());
        if (names.last() == line.value("server"))
            return server.get();
    }
    printError(
        QStringLiteral("there is no server \"%1\"; known: %2").arg(line.value("server"), listed(names)));
    return nullptr;
}

/// GUID of the tuner that has that name; empty when there is none.
QString findTuner(const SimulatedServer& server, const QString& name)
{
    for (const Tuner& tuner : server.resources().GetTuner()) {
        if (nameOf(tuner) == name)
            return guidOf(tuner);
    }
    return {};
}

QString problemOfRule(const QString& text)
{
    MisbehaviourRule rule;
    QString problem;
    return MisbehaviourRule::fromText(text, rule, problem) ? QString() : problem;
}

bool change(SimulatedServer& server, const QString& name, eTunerState state)
{
    const QString guid = findTuner(server, name);
    switch (state) {
    case eBusy:
    case eFree:
        return server.setTunerIdle(guid, state == eFree);
    case eLost:
    case eFound:
        return server.setTunerAccessible(guid, state == eFound);
    case eRemoved:
        return server.removeTuner(guid);
    case eNew:
        break;
    }
    Tuner tuner = KoltaSimulation::makeTuner(server.resources().GetTuner().size(), 1);
    tuner.EditTavikResource().SetDisplayName(name);
    return guid.isEmpty() && server.addTuner(tuner);
}

} // namespace

/// Prints what happens on all servers, a line each.
class SimulationVerbs::Follower : public QObject
{
public:
    Follower(const QVector<Server*>& servers, bool json)
    {
        for (Server* server : servers)
            m_events.addServer(*server);
        connect(&m_events, &Kolta::InstallationEvents::happened, this, [json](const Kolta::Event& event) {
            if (json)
                printJson(event.toJson());
            else
                printLine(event.server() + QLatin1Char(' ') + event.text);
        });
    }

private:
    Kolta::InstallationEvents m_events;
};

SimulationVerbs::SimulationVerbs(EmbeddedInstallation& installation) : m_installation(installation) {}

SimulationVerbs::~SimulationVerbs() = default;

QVector<Command> SimulationVerbs::commands()
{
    return lifeOfServers() + doingsOfServers();
}

Run SimulationVerbs::own(Verb verb)
{
    return [this, verb](const CommandLine& line) { return (this->*verb)(line); };
}

QVector<Command> SimulationVerbs::lifeOfServers()
{
    const Option server = serverOption();
    return {
        {"serve",
         "let a simulated server listen on loopback",
         "Lets a server of this shell listen on the loopback interface. Commands that take HOST:PORT "
         "understand its name then.",
         {},
         {server,
          whole("port", "number", "The port (0: the system picks one).", 0, KoltaApps::kHighestPort, 0)},
         own(&SimulationVerbs::serve)},
        {"vanish",
         "let a server die",
         "Lets a server die: its data are gone, its links are reset, connections are refused.",
         {},
         {server},
         own(&SimulationVerbs::vanish)},
        {"return",
         "let a server come back that has vanished",
         "Lets a server come back that has vanished; it comes up through its working states.",
         {},
         {server, whole("step", "ms", "Milliseconds in each working state (as the installation says).", 0,
                        kLongestStep)},
         own(&SimulationVerbs::comeBack)},
        {"cut",
         "reset all links to a server",
         "Resets all links to a server.",
         {},
         {server},
         own(&SimulationVerbs::cut)},
    };
}

QVector<Command> SimulationVerbs::doingsOfServers()
{
    const Option server = serverOption();
    return {
        {"misbehave",
         "let a server do something wrong, or behave again",
         "Lets a server do what \"koltasim --misbehave\" would. Without a RULE it behaves again.",
         {{"RULE",
           "KIND[=ARG][,component=NAME][,after=N][,times=N][,chance=0...1].",
           Argument::eAny,
           {},
           problemOfRule}},
         {server},
         own(&SimulationVerbs::misbehave)},
        {"tuner",
         "let something happen to a tuner",
         "Lets a tuner of a server become busy or free, be lost or found on the network, be new or removed.",
         {{"TUNER", "Its name."}, {"STATE", "What it becomes.", Argument::eOnce, tunerStates()}},
         {server},
         own(&SimulationVerbs::changeTuner)},
        {"follow",
         "print what happens on the servers from now on",
         "Prints what happens on the servers from now on, between and during commands, as \"watch\" does.",
         {},
         {flag("stop", "Not any more.")},
         own(&SimulationVerbs::follow)},
    };
}

int SimulationVerbs::serve(const CommandLine& line)
{
    SimulatedServer* const server = findServer(m_installation, line);
    if (!server)
        return eExitFailed;
    const QString name = server->installation().serverName();
    if (!server->listen(QHostAddress(QHostAddress::LocalHost), static_cast<quint16>(line.number("port")))) {
        printError(QStringLiteral("%1 cannot listen: %2").arg(name, server->errorString()));
        return eExitFailed;
    }
    if (line.json())
        printJson({{QStringLiteral("server"), name}, {QStringLiteral("address"), server->hostAndPort()}});
    else
        printLine(QStringLiteral("%1 listens on %2").arg(name, server->hostAndPort()));
    return eExitOk;
}

int SimulationVerbs::vanish(const CommandLine& line)
{
    SimulatedServer* const server = findServer(m_installation, line);
    if (server)
        server->vanish();
    return server ? eExitOk : eExitFailed;
}

int SimulationVerbs::comeBack(const CommandLine& line)
{
    SimulatedServer* const server = findServer(m_installation, line);
    if (!server)
        return eExitFailed;
    if (line.isSet("step"))
        server->setStartupStep(line.number("step"));
    if (server->comeBack())
        return eExitOk;
    printError(QStringLiteral("%1 cannot listen: %2")
                   .arg(server->installation().serverName(), server->errorString()));
    return eExitFailed;
}

int SimulationVerbs::cut(const CommandLine& line)
{
    SimulatedServer* const server = findServer(m_installation, line);
    if (server)
        server->cutLinks();
    return server ? eExitOk : eExitFailed;
}

int SimulationVerbs::misbehave(const CommandLine& line)
{
    SimulatedServer* const server = findServer(m_installation, line);
    if (!server)
        return eExitFailed;
    if (line.arguments().isEmpty())
        server->clearMisbehaviour();
    for (const QString& text : line.arguments()) {
        MisbehaviourRule rule;
        QString problem;
        MisbehaviourRule::fromText(text, rule, problem);
        server->addMisbehaviour(rule);
    }
    return eExitOk;
}

int SimulationVerbs::changeTuner(const CommandLine& line)
{
    SimulatedServer* const server = findServer(m_installation, line);
    if (!server)
        return eExitFailed;
    const QString name = line.argument(0);
    if (change(*server, name, static_cast<eTunerState>(line.choice(1))))
        return eExitOk;
    printError(QStringLiteral("tuner \"%1\" cannot become %2").arg(name, line.argument(1)));
    return eExitFailed;
}

int SimulationVerbs::follow(const CommandLine& line)
{
    m_follower.reset();
    if (!line.isSet("stop"))
        m_follower = std::make_unique<Follower>(m_installation.interfaces(), line.json());
    return eExitOk;
}

} // namespace KoltaCli
