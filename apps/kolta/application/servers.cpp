#include "servers.h"

#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <koltacommon/connectioninfo.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/servernodes.h>

#include <algorithm>

namespace KoltaCli {

QString administrationPath(const Server& server)
{
    return server.getServerBasePath() + Kolta::ServerNodes::kAdministration;
}

/// A server that tells of no progress does not start in steps.
bool isUp(const Server& server)
{
    namespace Nodes = Kolta::ServerNodes;
    const QString progress =
        Kolta::ConnectionInfo::text(administrationPath(server), Nodes::name(Nodes::eStartupProgress));
    return server.isReady() && server.getState() != Kolta::SERVER_STATES::eDisconnected &&
           (progress.isEmpty() || progress.toInt() >= 100);
}

QVector<Option> Servers::options(const QVector<Option>& own)
{
    return EmbeddedInstallation::options(
        own + QVector<Option>{text("server", "name",
                                   "Only this server of the installation; several times for several.")});
}

std::optional<Servers> Servers::reach(const CommandLine& line)
{
    const QStringList wanted = line.values("server");
    return take(EmbeddedInstallation::reachFor(line, wanted), wanted);
}

std::optional<Servers> Servers::start(const CommandLine& line)
{
    const QStringList wanted = line.values("server");
    std::optional<Servers> servers = take(EmbeddedInstallation::startFor(line, wanted), wanted);
    if (servers)
        servers->keepLive();
    return servers;
}

std::optional<Servers> Servers::take(std::shared_ptr<EmbeddedInstallation> installation,
                                     const QStringList& wanted)
{
    if (!installation)
        return std::nullopt;
    Servers servers;
    servers.m_installation = std::move(installation);
    servers.m_servers = servers.m_installation->interfaces();
    if (!servers.keepNamed(wanted))
        return std::nullopt;
    servers.m_chosen = servers.names();
    return servers;
}

std::optional<Servers> Servers::startUp(const CommandLine& line)
{
    std::optional<Servers> servers = start(line);
    if (servers && !servers->waitUntilUp(line.timeoutMs()))
        return std::nullopt;
    return servers;
}

QStringList Servers::namesOf(const QVector<Server*>& servers)
{
    QStringList names;
    for (const Server* server : servers)
        names.append(server->getAddress());
    return names;
}

bool Servers::keepNamed(const QStringList& wanted)
{
    const QStringList known = names();
    for (const QString& name : wanted) {
        if (known.contains(name))
            continue;
        printError(QStringLiteral("there is no server \"%1\"; known: %2").arg(name, listed(known)));
        return false;
    }
    const auto isUnwanted = [&wanted](const Server* server) {
        return !wanted.isEmpty() && !wanted.contains(server->getAddress());
    };
    m_servers.erase(std::remove_if(m_servers.begin(), m_servers.end(), isUnwanted), m_servers.end());
    return true;
}

void Servers::keepLive()
{
    const TreeMirror* const mirror = m_installation->treeMirror();
    const auto branches = mirror ? mirror->branches() : QVector<TreeMirror::Branch>();
    for (const TreeMirror::Branch& branch : branches) {
        const auto isIt = [&branch](const Server* server) { return server->getAddress() == branch.name; };
        if (!branch.isLive())
            m_servers.erase(std::remove_if(m_servers.begin(), m_servers.end(), isIt), m_servers.end());
        if (branch.hasLeft())
            m_chosen.removeAll(branch.name);
    }
}

bool Servers::waitUntilUp(int timeoutMs) const
{
    const auto isDown = [](const Server* server) { return !isUp(*server); };
    const auto areUp = [&] { return std::none_of(m_servers.begin(), m_servers.end(), isDown); };
    if (waitUntil(areUp, timeoutMs))
        return true;
    QVector<Server*> down;
    std::copy_if(m_servers.begin(), m_servers.end(), std::back_inserter(down), isDown);
    printError(orInterrupted(
        QStringLiteral("%1 did not come up within %2").arg(listed(namesOf(down)), secondsText(timeoutMs))));
    return false;
}

Server* Servers::only() const
{
    if (m_servers.size() == 1 && m_chosen.size() == 1)
        return m_servers.first();
    printError(QStringLiteral("there are several servers, name one with --server: %1").arg(listed(m_chosen)));
    return nullptr;
}

} // namespace KoltaCli
