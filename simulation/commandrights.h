#pragma once

#include <usermanagement/userdirectory.h>

#include <QString>

namespace KoltaSimulation {

/// Who may give which command. Without a file of users everybody may.
class CommandRights
{
public:
    /// Reads the users. False, with an `error` that names file and line, when the file is none; then nobody
    /// may give any command.
    bool load(const QString& file, QString& error);
    /// Whether the user, as the link's certificate names him, may give commands to `component`. What concerns
    /// nothing but the client's own link needs no right.
    bool allow(const QString& user, const QString& component) const;
    /// The right that commands to `component` need.
    static QString rightFor(const QString& component);

private:
    bool m_asked = false;
    Nax::UserDirectory m_users;
};

} // namespace KoltaSimulation
