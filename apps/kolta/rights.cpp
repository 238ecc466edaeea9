#include "commandline.h"
#include "commands.h"
#include "embeddedinstallation.h"
#include "output.h"

#include <koltacommon/userrights.h>
#include <usermanagement/activeuserproxy.h>

namespace KoltaCli {

using Kolta::UserRights;
using Nax::ActiveUserProxy;

namespace {

/// The users of a file are the installation's while this lives; after that there are none.
class Users
{
public:
    explicit Users(const QString& file) : m_rights(UserRights::Instance())
    {
        m_rights.Initialize();
        m_good = m_rights.InitForStandalone(file);
    }
    ~Users() { m_rights.InitForStandalone(QString()); }
    Users(const Users&) = delete;
    Users& operator=(const Users&) = delete;

    /// Logs a user in, if there is a name. Prints an error and gives false when that fails.
    bool logIn(const QString& name) const
    {
        ActiveUserProxy& proxy = ActiveUserProxy::Instance();
        if (!m_good) {
            printError(proxy.ConfigurationError());
        } else if (!name.isNull() && !proxy.LogIn(name)) {
            const QString known = proxy.GetUserNames().join(QStringLiteral(", "));
            printError(QStringLiteral("there is no user \"%1\"; known: %2")
                           .arg(name, known.isEmpty() ? QStringLiteral("none") : known));
        } else {
            return true;
        }
        return false;
    }

private:
    UserRights& m_rights;
    bool m_good = false;
};

/// One object per right.
void printObjects(const UserRights& rights)
{
    for (int i = 0; i < UserRights::GetNumberOfRights(); ++i) {
        const auto right = UserRights::GetRightValueByIndex(i);
        printJson({{QStringLiteral("user"), rights.GetActiveUserName()},
                   {QStringLiteral("userId"), rights.GetActiveUserID()},
                   {QStringLiteral("right"), UserRights::GetRightNameByIndex(i, false)},
                   {QStringLiteral("held"), rights.IsUserAllowedTo(right)},
                   {QStringLiteral("count"), rights.GetRightCount(right)}});
    }
}

void printTable(const UserRights& rights)
{
    printLine(rights.GetActiveUserID() < 0
                  ? QStringLiteral("nobody is logged in")
                  : QStringLiteral("%1 (user %2) is logged in")
                        .arg(rights.GetActiveUserName(), QString::number(rights.GetActiveUserID())));
    Table table({QStringLiteral("RIGHT"), QStringLiteral("HELD"), QStringLiteral("COUNT")});
    table.alignRight(2);
    for (int i = 0; i < UserRights::GetNumberOfRights(); ++i) {
        const auto right = UserRights::GetRightValueByIndex(i);
        table.addRow({UserRights::GetRightNameByIndex(i, false),
                      rights.IsUserAllowedTo(right) ? QStringLiteral("yes") : QStringLiteral("no"),
                      QString::number(rights.GetRightCount(right))});
    }
    printLine(table.toText());
}

} // namespace

int runRights(const QStringList& arguments)
{
    CommandLine line(
        QStringLiteral("rights"),
        QStringLiteral("Lists the management rights, and which of them the user who is logged in "
                       "to a simulated installation inside this process holds."));
    line.addOption({QStringLiteral("user"), QStringLiteral("Log this user in first, for this command only."),
                    QStringLiteral("name")});
    EmbeddedInstallation::declareOptions(line);
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    const auto installation = EmbeddedInstallation::start(line);
    if (!installation)
        return eExitFailed;
    const Users users(installation->folder() + QStringLiteral("/users.xml"));
    if (!users.logIn(line.isSet(QStringLiteral("user")) ? line.value(QStringLiteral("user")) : QString()))
        return eExitFailed;
    if (line.json())
        printObjects(UserRights::Instance());
    else
        printTable(UserRights::Instance());
    return eExitOk;
}

} // namespace KoltaCli
