#include "shorttimecommands.h"

#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <algorithm>
#include <utility>

namespace KoltaCli {

int runAction(const CommandLine& line, std::initializer_list<Action> actions)
{
    const QString name = line.argument(0);
    const auto action = std::find_if(actions.begin(), actions.end(), [&name](const Action& candidate) {
        return name == QLatin1String(candidate.name);
    });
    if (action == actions.end()) {
        QStringList names;
        for (const Action& known : actions)
            names.append(QLatin1String(known.name));
        return line.usageError(QStringLiteral("\"%1\" is no action: expected one of %2")
                                   .arg(name, names.join(QStringLiteral(", "))));
    }
    const QStringList wanted =
        QString(QLatin1String(action->arguments)).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const QStringList given = line.arguments().mid(1);
    if (given.size() < wanted.size())
        return line.usageError(QStringLiteral("%1: %2 is missing").arg(name, wanted.at(given.size())));
    if (given.size() > wanted.size())
        return line.usageError(
            QStringLiteral("%1: unexpected argument \"%2\"").arg(name, given.at(wanted.size())));
    if (!line.timeoutMs())
        return eExitUsage;
    return action->run(line, given);
}

std::optional<ShortTimeServer> ShortTimeServer::startUp(const CommandLine& line)
{
    const auto timeout = line.timeoutMs();
    if (!timeout)
        return std::nullopt;
    auto servers = Servers::startUp(line, *timeout);
    Server* const server = servers ? servers->only() : nullptr;
    if (!server)
        return std::nullopt;
    return ShortTimeServer(std::move(*servers), *server, *timeout);
}

ShortTimeServer::ShortTimeServer(Servers servers, Server& server, int timeoutMs)
    : m_servers(std::move(servers)), m_server(&server), m_timeoutMs(timeoutMs)
{
}

QString ShortTimeServer::path(const QString& name) const
{
    return m_server->getDataBasePath() + QStringLiteral("/ShortTime/") + name;
}

void ShortTimeServer::tellMissing(const QString& name) const
{
    printError(
        QStringLiteral("%1 publishes no %2 of short-time data").arg(m_server->getAddress(), name.toLower()));
}

QString yesNo(bool value)
{
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

} // namespace KoltaCli
