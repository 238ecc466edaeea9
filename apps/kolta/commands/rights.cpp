#include "commands.h"

#include <kolta/application/embeddedinstallation.h>
#include <kolta/application/users.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

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
    Users::declareOption(line);
    EmbeddedInstallation::declareOptions(line);
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    const auto installation = EmbeddedInstallation::start(line);
    if (!installation)
        return eExitFailed;
    const Users users(*installation, line);
    if (!users.areKnown())
        return eExitFailed;
    if (line.json())
        printObjects(UserRights::Instance());
    else
        printTable(UserRights::Instance());
    return eExitOk;
}

} // namespace KoltaCli
