#include "embeddedinstallation.h"

#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>

#include <QCoreApplication>
#include <QEvent>

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

Option EmbeddedInstallation::option()
{
    return text("installation", "folder",
                "Folder with an installation's files (the sample); several times for several servers.");
}

std::shared_ptr<EmbeddedInstallation> EmbeddedInstallation::start(const CommandLine& line)
{
    if (auto running = shared().lock()) {
        if (!line.isSet("installation"))
            return running;
        printError(
            QStringLiteral("--installation has no place within a shell, which has its own already; give "
                           "it to \"kolta shell\""));
        return nullptr;
    }
    std::shared_ptr<EmbeddedInstallation> started(new EmbeddedInstallation);
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

QVector<Kolta::KoltaServerInterface*> EmbeddedInstallation::interfaces()
{
    QVector<Kolta::KoltaServerInterface*> interfaces;
    for (const auto& server : m_servers) {
        const Installation& installation = server->installation();
        auto* const known =
            KoltaServerRegistry::Instance().addServer(installation.serverName(), installation.basePath());
        if (known)
            interfaces.append(known);
    }
    return interfaces;
}

void EmbeddedInstallation::forgetInterfaces() const
{
    for (const auto& server : m_servers)
        KoltaServerRegistry::Instance().removeServer(server->installation().serverName());
    // Not later: what comes next may publish other servers at these paths.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

bool EmbeddedInstallation::isShared()
{
    return !shared().expired();
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
    if (!installation.basePath().startsWith(QLatin1String("/ConnectManager/"))) {
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
        printError(QStringLiteral("%1 publishes no %2").arg(server().installation().serverName(), name));
    else if (!error.isEmpty())
        printError(error);
    return bound && error.isEmpty();
}

} // namespace KoltaCli
