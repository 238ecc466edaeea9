#pragma once

#include <kolta/cli/command.h>

#include <koltacommon/userrights.h>

namespace KoltaCli {

class EmbeddedInstallation;

/// The right to start, move and stop processors of that kind, "MCP" for instance; what is within others goes
/// with the FFPs.
Kolta::UserRights::eManagementRight rightToRun(const QString& kind);

/// The users of an installation while a command runs; after that there are none.
class Users
{
public:
    /// --user.
    static Option option();

    /// Logs in whom the installation's file says to be logged in, or else --user. Prints an error when that
    /// fails.
    Users(const EmbeddedInstallation& installation, const CommandLine& line);
    ~Users();
    Users(const Users&) = delete;
    Users& operator=(const Users&) = delete;

    /// False when the file was refused or there is no such user.
    bool areKnown() const noexcept { return m_known; }
    /// Whether the user who is logged in holds all these rights; prints an error that names them otherwise.
    bool may(Kolta::UserRights::eManagementRights rights) const;

private:
    Kolta::UserRights& m_rights;
    bool m_known = false;
};

} // namespace KoltaCli
