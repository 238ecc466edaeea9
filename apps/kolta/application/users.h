#pragma once

#include <kolta/cli/command.h>

#include <koltacommon/userrights.h>

namespace KoltaCli {

class EmbeddedInstallation;

/// The right to start, move and stop processors of that kind, "MCP" for instance; what is within others goes
/// with the FFPs.
Kolta::UserRights::eManagementRight rightToRun(const QString& kind);

/// The users of an installation while a command runs; after that there are none.
///
/// A simulated one has a file of its own. Of one that other processes show, the users are in the file that
/// the configuration names in Users/File; without it nothing is asked here: its servers decide by the user
/// whom the broker knows, and tell what they refuse.
class Users
{
public:
    /// --user.
    static Option option();

    /// Logs in whom the file says to be logged in, or else --user. Prints an error when that
    /// fails.
    Users(const EmbeddedInstallation& installation, const CommandLine& line);
    ~Users();
    Users(const Users&) = delete;
    Users& operator=(const Users&) = delete;

    /// False when the file was refused or there is no such user.
    bool areKnown() const noexcept { return m_known; }
    /// False when the servers alone decide.
    bool areAskedHere() const noexcept { return m_asked; }
    /// Whether the user who is logged in holds all these rights; prints an error that names them otherwise.
    /// True where the servers decide.
    bool may(Kolta::UserRights::eManagementRights rights) const;

private:
    Kolta::UserRights& m_rights;
    bool m_asked = true;
    bool m_known = false;
};

} // namespace KoltaCli
