#include "embeddedinstallation.h"

#include "commandline.h"
#include "output.h"

namespace KoltaCli {

using KoltaSimulation::Installation;
using KoltaSimulation::SimulatedServer;

namespace {

QString optionName()
{
    return QStringLiteral("installation");
}

} // namespace

void EmbeddedInstallation::declareOptions(CommandLine& line)
{
    line.addOption({optionName(),
                    QStringLiteral("Folder with an installation's files; several times for several servers."),
                    QStringLiteral("folder"), Installation::sampleFolder()});
}

std::unique_ptr<EmbeddedInstallation> EmbeddedInstallation::start(const CommandLine& line)
{
    std::unique_ptr<EmbeddedInstallation> started(new EmbeddedInstallation);
    for (const QString& folder : line.values(optionName())) {
        if (!started->add(folder))
            return nullptr;
    }
    for (const auto& server : started->m_servers)
        server->publish();
    return started;
}

bool EmbeddedInstallation::add(const QString& folder)
{
    Installation installation;
    QString error;
    if (!installation.load(folder, error)) {
        printError(error);
        return false;
    }
    for (const auto& other : m_servers) {
        if (other->installation().basePath() != installation.basePath())
            continue;
        printError(QStringLiteral("%1: the base path %2 is already taken, expected one of its own")
                       .arg(folder, installation.basePath()));
        return false;
    }
    m_servers.push_back(std::make_unique<SimulatedServer>(installation));
    return true;
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
