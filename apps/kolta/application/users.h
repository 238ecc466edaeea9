#pragma once

#include <kolta/cli/command.h>

#include <koltacommon/actionrights.h>

namespace KoltaCli {

class EmbeddedInstallation;

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
    /// Whether the user who is logged in may do all of this; prints an error that names the rights that are
    /// missing otherwise. True where the servers decide.
    bool may(const QVector<Kolta::UserAction>& actions) const;
    bool may(Kolta::UserAction action) const { return may(QVector<Kolta::UserAction>{action}); }

private:
    Kolta::UserRights& m_rights;
    bool m_asked = true;
    bool m_known = false;
};

} // namespace KoltaCli
