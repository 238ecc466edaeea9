#pragma once

#include <koltacommon/actionrights.h>
#include <usermanagement/userdirectory.h>

#include <QString>

namespace KoltaSimulation {

/// Who may give which order, at each of a server's doors: commands on the XML links, and what others write
/// into its value tree. Without a file of users everybody may.
class CommandRights
{
public:
    /// Reads the users. False, with an `error` that names file and line, when the file is none; then nobody
    /// may give any order.
    bool load(const QString& file, QString& error);
    /// Whether the user, as the link's certificate names him, may give commands to `component`. What concerns
    /// nothing but the client's own link needs no right.
    bool allow(const QString& user, const QString& component) const;
    /// Why the user, as the broker names him, may not write `text` into the value `node`, a path below the
    /// administrative node; empty when he may. `stopped`: kind of what the text names, where the order is to
    /// stop that.
    QString objectionTo(const QString& user, const QString& node, const QString& text,
                        const QString& stopped) const;

    /// The same for changing short-time data, "Profiles" for instance; `removes`: takes items away.
    QString objectionToChange(const QString& user, const QString& collection, bool removes) const;

    /// What commands to `component` do.
    static Kolta::UserAction actionFor(const QString& component);
    /// What writing into `node` does; PlanTuner, which needs no right, for what everybody may write.
    static Kolta::UserAction actionToWrite(const QString& node, const QString& text, const QString& stopped);

private:
    QString objectionTo(const QString& user, Kolta::UserAction action) const;

    bool m_asked = false;
    Nax::UserDirectory m_users;
};

} // namespace KoltaSimulation
