#include <koltacommon/actionrights.h>

#include <QCoreApplication>
#include <QStringList>

#include <iterator>

namespace Kolta {

namespace {

using Right = UserRights::eManagementRight;

constexpr Right kNone{};

struct Row
{
    UserAction action;
    Right right;
};

/// Row i is action i.
constexpr Row kTable[] = {{UserAction::PlanTuner, kNone},
                          {UserAction::RunScp, UserRights::StartAndStopScp},
                          {UserAction::RunMcp, UserRights::StartAndStopMcp},
                          {UserAction::RunFfp, UserRights::StartAndStopFfp},
                          {UserAction::MoveFfp, UserRights::StartAndStopFfp},
                          {UserAction::StopAll, UserRights::StopJobsAndTasks},
                          {UserAction::TakeOwnership, UserRights::RequestOwnership},
                          {UserAction::ReleaseOwnership, UserRights::RequestOwnership},
                          {UserAction::ForceOwnership, UserRights::ForceOwnership},
                          {UserAction::ShowFrontEnd, kNone},
                          {UserAction::SwitchPower, UserRights::AdministrateSubsystem},
                          {UserAction::ChangeUnits, UserRights::AdministrateSubsystem},
                          {UserAction::ChangeTunerClasses, UserRights::AdministrateSubsystem},
                          // That list follows the MCPs.
                          {UserAction::ChangeHardwareProcessing, UserRights::StartAndStopMcp},
                          {UserAction::EditProfiles, UserRights::ManageShortTime},
                          {UserAction::EditAssignments, UserRights::ManageShortTime},
                          // Whoever may put recordings away may make and convert them.
                          {UserAction::Convert, UserRights::ArchiveRecordings},
                          {UserAction::RemoveConversions, UserRights::DeleteRecordings},
                          {UserAction::Record, UserRights::ArchiveRecordings},
                          {UserAction::CommandServer, UserRights::AdministrateSubsystem},
                          {UserAction::ResetServer, UserRights::TerminateServices},
                          {UserAction::QuitServer, UserRights::TerminateServices}};

constexpr bool isInOrder()
{
    int place = 0;
    for (const Row& row : kTable) {
        if (static_cast<int>(row.action) != place++)
            return false;
    }
    return place == static_cast<int>(UserAction::QuitServer) + 1;
}
static_assert(isInOrder(), "row i is action i, and every action has one");

QString translated(const char* text)
{
    return QCoreApplication::translate("Kolta::UserAction", text);
}

} // namespace

UserRights::eManagementRight rightFor(UserAction action)
{
    const auto place = static_cast<std::size_t>(action);
    return place < std::size(kTable) ? kTable[place].right : UserRights::AdministrateSubsystem;
}

UserAction actionToRun(const QString& kind)
{
    if (kind.compare(QLatin1String("SCP"), Qt::CaseInsensitive) == 0)
        return UserAction::RunScp;
    return kind.compare(QLatin1String("MCP"), Qt::CaseInsensitive) == 0 ? UserAction::RunMcp
                                                                        : UserAction::RunFfp;
}

QString objectionTo(const QVector<UserAction>& actions)
{
    const UserRights& rights = UserRights::Instance();
    return objectionTo(actions, rights.GetActiveUserName(),
                       [&rights](Right right) { return rights.IsUserAllowedTo(right); });
}

QString objectionTo(UserAction action)
{
    return objectionTo(QVector<UserAction>{action});
}

QString objectionTo(const QVector<UserAction>& actions, const QString& user,
                    const std::function<bool(Right)>& holds)
{
    UserRights::eManagementRights needed;
    for (const UserAction action : actions)
        needed |= rightFor(action);
    QStringList missing;
    for (int i = 0; i < UserRights::GetNumberOfRights(); ++i) {
        const Right right = UserRights::GetRightValueByIndex(i);
        if (needed.testFlag(right) && !holds(right))
            missing.append(UserRights::GetRightNameByIndex(i, false));
    }
    if (missing.isEmpty())
        return QString();
    const QString names = missing.join(QStringLiteral(", "));
    if (user.isEmpty())
        return (missing.size() == 1
                    ? translated(QT_TRANSLATE_NOOP("Kolta::UserAction",
                                                   "nobody is logged in; this needs the right %1"))
                    : translated(QT_TRANSLATE_NOOP("Kolta::UserAction",
                                                   "nobody is logged in; this needs the rights %1")))
            .arg(names);
    return (missing.size() == 1
                ? translated(QT_TRANSLATE_NOOP("Kolta::UserAction", "%1 lacks the right %2"))
                : translated(QT_TRANSLATE_NOOP("Kolta::UserAction", "%1 lacks the rights %2")))
        .arg(user, names);
}

} // namespace Kolta
