#pragma once

#include "servers.h"
#include "users.h"

#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/shorttimemaps.h>

#include <QString>
#include <QStringList>

#include <optional>
#include <utility>

namespace KoltaCli {

/// A collection of short-time data of the one server that a command works on.
template<class Map>
class ShortTimeCollection
{
public:
    Server& server() const { return *m_server; }
    const EmbeddedInstallation& installation() const { return m_servers.installation(); }
    Map& map() const { return *m_map; }
    /// Of all items in the order of their texts.
    QStringList keys() const
    {
        QStringList keys;
        for (const auto& entry : m_map->data())
            keys.append(entry.first);
        keys.sort();
        return keys;
    }

    /// Waits until the server has come up. Prints an error and gives nothing when there is none, there are
    /// several, or it has no collection of that kind.
    static std::optional<ShortTimeCollection> startUp(const CommandLine& line)
    {
        auto servers = Servers::startUp(line);
        Server* const server = servers ? servers->only() : nullptr;
        if (!server)
            return std::nullopt;
        if (auto* const map = Kolta::shortTimeMap<Map>(server->getServerBasePath()))
            return ShortTimeCollection(std::move(*servers), *server, *map);
        printError(
            QStringLiteral("%1 publishes no %2 of short-time data")
                .arg(server->getAddress(), QString(Kolta::ServerNodes::shortTimeName<Map>()).toLower()));
        return std::nullopt;
    }

private:
    ShortTimeCollection(Servers servers, Server& server, Map& map)
        : m_servers(std::move(servers)), m_server(&server), m_map(&map)
    {
    }

    Servers m_servers;
    Server* m_server;
    Map* m_map;
};

/// A run that works on the collection of that kind.
template<class Map, class Use>
Run onShortTime(Use use)
{
    return with(&ShortTimeCollection<Map>::startUp, use);
}

/// The same for what changes the collection: asks for the right before, and tells when the owner of the
/// collection does not let the change stand. The command takes Users::option().
template<class Map, class Use>
Run changeShortTime(Kolta::UserAction action, Use use)
{
    return onShortTime<Map>(
        [action, use](const CommandLine& line, const ShortTimeCollection<Map>& collection) {
            const Users users(collection.installation(), line);
            if (!users.areKnown() || !users.may(action))
                return int(eExitFailed);
            collection.installation().settle(0); // what failed before is not this command's
            const int exitCode = use(line, collection);
            const QString problem = collection.installation().settle(line.timeoutMs());
            if (!problem.isEmpty())
                printError(problem);
            return problem.isEmpty() ? exitCode : int(eExitFailed);
        });
}

} // namespace KoltaCli
