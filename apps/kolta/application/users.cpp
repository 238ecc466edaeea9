#include "users.h"

#include "embeddedinstallation.h"

#include <common/usersfile.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <usermanagement/activeuserproxy.h>

namespace KoltaCli {

using Kolta::UserRights;
using Nax::ActiveUserProxy;

namespace {

QString fileOf(const EmbeddedInstallation& installation)
{
    return installation.isSimulated() ? installation.folder() + QStringLiteral("/users.xml")
                                      : KoltaApps::usersFile();
}

QString problemOfLogIn(const QString& name)
{
    ActiveUserProxy& proxy = ActiveUserProxy::Instance();
    if (proxy.LogIn(name))
        return {};
    const QString known = proxy.GetUserNames().join(QStringLiteral(", "));
    return QStringLiteral("there is no user \"%1\"; known: %2")
        .arg(name, known.isEmpty() ? QStringLiteral("none") : known);
}

} // namespace

Option Users::option()
{
    return text("user", "name", "Log this user in first, for this command only.");
}

Users::Users(const EmbeddedInstallation& installation, const CommandLine& line)
    : m_rights(UserRights::Instance())
{
    m_rights.Initialize();
    const QString file = fileOf(installation);
    m_asked = !file.isEmpty();
    QString problem;
    if (!m_asked && line.isSet("user"))
        problem = QStringLiteral("--user needs the file of the users, which the configuration names in "
                                 "Users/File; the servers decide by the user of the broker");
    else if (!m_rights.InitForStandalone(file))
        problem = ActiveUserProxy::Instance().ConfigurationError();
    else if (line.isSet("user"))
        problem = problemOfLogIn(line.value("user"));
    m_known = problem.isEmpty();
    if (!m_known)
        printError(problem);
}

Users::~Users()
{
    m_rights.InitForStandalone(QString());
}

bool Users::may(const QVector<Kolta::UserAction>& actions) const
{
    const QString objection = m_asked ? Kolta::objectionTo(actions) : QString();
    if (!objection.isEmpty())
        printError(objection);
    return objection.isEmpty();
}

} // namespace KoltaCli
