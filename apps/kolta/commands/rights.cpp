#include "commands.h"

#include <kolta/application/embeddedinstallation.h>
#include <kolta/application/users.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/userrights.h>

namespace KoltaCli {

using Kolta::UserRights;

namespace {

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
    table.alignRight({2});
    for (int i = 0; i < UserRights::GetNumberOfRights(); ++i) {
        const auto right = UserRights::GetRightValueByIndex(i);
        table.addRow({UserRights::GetRightNameByIndex(i, false), yesNo(rights.IsUserAllowedTo(right)),
                      QString::number(rights.GetRightCount(right))});
    }
    table.print();
}

int rights(const CommandLine& line, const EmbeddedInstallation& installation)
{
    const Users users(installation, line);
    if (!users.areKnown())
        return eExitFailed;
    if (!users.areAskedHere()) {
        printError(QStringLiteral("the servers decide what their users may do; to look into their file here, "
                                  "name it in the configuration as Users/File"));
        return eExitFailed;
    }
    if (line.json())
        printObjects(UserRights::Instance());
    else
        printTable(UserRights::Instance());
    return eExitOk;
}

} // namespace

Command rightsCommand()
{
    return {"rights",
            "list what the user may do",
            "Lists the management rights, and which of them the user who is logged in holds: to the "
            "installation, or by the file that the configuration names in Users/File.",
            {},
            EmbeddedInstallation::options({Users::option()}),
            with(EmbeddedInstallation::start, rights)};
}

} // namespace KoltaCli
