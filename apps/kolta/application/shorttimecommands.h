#pragma once

#include "servers.h"

#include <koltacommon/koltaserverinterface.h>
#include <values/tree.h>

#include <QString>
#include <QStringList>

#include <initializer_list>
#include <optional>

/// \file
/// What the commands on short-time data have in common.

namespace KoltaCli {

class CommandLine;

/// What the first argument of a command asks for.
struct Action
{
    const char* name;
    const char* arguments; ///< that follow it, one word each, "NAME" for instance
    /// Returns an eExitCode.
    int (*run)(const CommandLine& line, const QStringList& arguments);
};

/// Runs the action that the first argument of a parsed command line names. An unknown one, or a wrong number
/// of arguments, is told with eExitUsage.
int runAction(const CommandLine& line, std::initializer_list<Action> actions);

/// The one server whose short-time data a command works on, once it has come up.
class ShortTimeServer
{
public:
    /// Prints an error and gives nothing when there is none, or several.
    static std::optional<ShortTimeServer> startUp(const CommandLine& line);

    Server& server() const { return *m_server; }
    const Servers& servers() const { return m_servers; }
    int timeoutMs() const noexcept { return m_timeoutMs; }
    /// The collection of that name, "Profiles" for instance. Prints an error and gives null when there is
    /// none.
    template<class Map>
    Map* find(const QString& name) const
    {
        auto* const map = values::Tree::Instance().FindAs<Map>(path(name));
        if (map && !map->IsDeleted())
            return map;
        tellMissing(name);
        return nullptr;
    }

private:
    ShortTimeServer(Servers servers, Server& server, int timeoutMs);
    QString path(const QString& name) const;
    void tellMissing(const QString& name) const;

    Servers m_servers;
    Server* m_server;
    int m_timeoutMs;
};

/// The keys of a map in the order of their texts.
template<class Map>
QStringList sortedKeys(const Map& map)
{
    QStringList keys;
    for (const auto& entry : map.data())
        keys.append(entry.first);
    keys.sort();
    return keys;
}

/// "yes" or "no".
QString yesNo(bool value);

} // namespace KoltaCli
