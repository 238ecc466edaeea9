#include "embeddedinstallation.h"

#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/servernodes.h>

#include <QCoreApplication>
#include <QEvent>

#include <algorithm>

namespace KoltaCli {

using Kolta::KoltaServerRegistry;
using KoltaSimulation::Installation;
using KoltaSimulation::SimulatedServer;

namespace {

std::weak_ptr<EmbeddedInstallation>& shared()
{
    static std::weak_ptr<EmbeddedInstallation> installation;
    return installation;
}

} // namespace

QVector<Option> EmbeddedInstallation::options(const QVector<Option>& own)
{
    return own +
           QVector<Option>{text("installation", "folder",
                                "Folder with an installation's files (the sample) that is simulated in this "
                                "process; several times for several servers.")} +
           TreeMirror::options();
}

std::shared_ptr<EmbeddedInstallation> EmbeddedInstallation::start(const CommandLine& line)
{
    return startFor(line, {});
}

std::shared_ptr<EmbeddedInstallation> EmbeddedInstallation::startFor(const CommandLine& line,
                                                                     const QStringList& wanted)
{
    auto started = startWith(line, wanted, TreeMirror::join);
    // Within a shell they were live when it began.
    const bool isMirrored = started && started->m_mirror && started == shared().lock();
    return isMirrored && !started->m_mirror->admit(line, wanted) ? nullptr : started;
}

std::shared_ptr<EmbeddedInstallation> EmbeddedInstallation::reach(const CommandLine& line)
{
    return reachFor(line, {});
}

std::shared_ptr<EmbeddedInstallation> EmbeddedInstallation::reachFor(const CommandLine& line,
                                                                     const QStringList& wanted)
{
    return startWith(line, wanted, TreeMirror::reach);
}

std::shared_ptr<EmbeddedInstallation> EmbeddedInstallation::look(const CommandLine& line)
{
    return startWith(line, {}, TreeMirror::look);
}

std::shared_ptr<EmbeddedInstallation>
EmbeddedInstallation::startWith(const CommandLine& line, const QStringList& wanted, MirrorStart startMirror)
{
    if (auto running = shared().lock()) {
        if (!line.isSet("installation") && !line.isSet("tree"))
            return running;
        printError(QStringLiteral("--installation and --tree have no place within a shell, which has its own "
                                  "servers already; give them to \"kolta shell\""));
        return nullptr;
    }
    if (line.isSet("installation")) {
        if (!line.isSet("tree"))
            return simulate(line);
        printError(QStringLiteral("--installation and --tree exclude each other"));
        return nullptr;
    }
    if (TreeMirror::urlOf(line).isEmpty()) {
        printError(QStringLiteral("the servers are simulated and end with this command"));
        return simulate(line);
    }
    std::shared_ptr<EmbeddedInstallation> started(new EmbeddedInstallation);
    started->m_mirror = startMirror(line, wanted);
    return started->m_mirror ? started : nullptr;
}

std::shared_ptr<EmbeddedInstallation> EmbeddedInstallation::simulate(const CommandLine& line)
{
    std::shared_ptr<EmbeddedInstallation> started(new EmbeddedInstallation);
    started->m_configuration.emplace();
    QStringList folders = line.values("installation");
    if (folders.isEmpty())
        folders.append(Installation::sampleFolder());
    for (const QString& folder : folders) {
        if (!started->add(folder))
            return nullptr;
    }
    started->m_folder = folders.first();
    started->publish();
    return started;
}

void EmbeddedInstallation::share(const std::shared_ptr<EmbeddedInstallation>& installation)
{
    shared() = installation;
}

EmbeddedInstallation::~EmbeddedInstallation()
{
    forgetInterfaces();
}

QVector<EmbeddedInstallation::Node> EmbeddedInstallation::nodes() const
{
    QVector<Node> nodes;
    for (const auto& server : m_servers)
        nodes.append({server->installation().serverName(), server->installation().basePath(), true});
    const auto branches = m_mirror ? m_mirror->branches() : QVector<TreeMirror::Branch>();
    for (const TreeMirror::Branch& branch : branches) {
        if (!branch.basePath.isEmpty())
            nodes.append({branch.name, branch.basePath, branch.isLive()});
    }
    return nodes;
}

EmbeddedInstallation::Node EmbeddedInstallation::firstNode() const
{
    const QVector<Node> all = nodes();
    const auto live = std::find_if(all.begin(), all.end(), [](const Node& node) { return node.isLive; });
    return live == all.end() ? Node() : *live;
}

QVector<Kolta::KoltaServerInterface*> EmbeddedInstallation::interfaces()
{
    QVector<Kolta::KoltaServerInterface*> interfaces;
    for (const Node& node : nodes()) {
        auto* const known = KoltaServerRegistry::Instance().addServer(node.name, node.basePath);
        if (known)
            interfaces.append(known);
    }
    return interfaces;
}

void EmbeddedInstallation::forgetInterfaces() const
{
    for (const Node& node : nodes())
        KoltaServerRegistry::Instance().removeServer(node.name);
    // Not later: what comes next may publish other servers at these paths.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

bool EmbeddedInstallation::isShared()
{
    return !shared().expired();
}

bool EmbeddedInstallation::isMirrorShared()
{
    const auto installation = shared().lock();
    return installation && !installation->isSimulated();
}

std::optional<KoltaApps::Endpoint> EmbeddedInstallation::endpointOf(const QString& serverName)
{
    const auto installation = shared().lock();
    if (!installation)
        return std::nullopt;
    for (const auto& server : installation->m_servers) {
        if (server->installation().serverName() == serverName && server->port() != 0)
            return KoltaApps::Endpoint{server->address(), server->port()};
    }
    return std::nullopt;
}

EmbeddedInstallation::Withdrawal::Withdrawal() : m_withdrawn(shared().lock())
{
    if (!m_withdrawn)
        return;
    shared().reset();
    m_withdrawn->forgetInterfaces();
    for (const auto& server : m_withdrawn->m_servers)
        server->withdraw();
}

EmbeddedInstallation::Withdrawal::~Withdrawal()
{
    if (!m_withdrawn)
        return;
    m_withdrawn->publish();
    share(m_withdrawn);
}

bool EmbeddedInstallation::add(const QString& folder)
{
    Installation installation;
    QString error;
    if (!installation.load(folder, error)) {
        printError(error);
        return false;
    }
    if (!installation.basePath().startsWith(Kolta::ServerNodes::kConnectManager + QLatin1Char('/'))) {
        printError(QStringLiteral("%1: found the base path %2, expected one below /ConnectManager")
                       .arg(folder, installation.basePath()));
        return false;
    }
    for (const auto& other : m_servers) {
        const bool samePath = other->installation().basePath() == installation.basePath();
        if (!samePath && other->installation().serverName() != installation.serverName())
            continue;
        printError(QStringLiteral("%1: the %2 %3 is already taken, expected one of its own")
                       .arg(folder, samePath ? QStringLiteral("base path") : QStringLiteral("name"),
                            samePath ? installation.basePath() : installation.serverName()));
        return false;
    }
    m_servers.push_back(std::make_unique<SimulatedServer>(installation));
    return true;
}

void EmbeddedInstallation::publish() const
{
    for (const auto& server : m_servers)
        server->publish();
}

bool EmbeddedInstallation::report(bool bound, const QString& name, const QString& error) const
{
    if (!bound)
        printError(QStringLiteral("%1 publishes no %2").arg(nodes().value(0).name, name));
    else if (!error.isEmpty())
        printError(error);
    return bound && error.isEmpty();
}

} // namespace KoltaCli
