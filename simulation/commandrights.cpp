#include <simulation/commandrights.h>

#include <simulation/productionrequest.h>

#include <koltacommon/servernodes.h>

namespace KoltaSimulation {

using Kolta::UserRights;
using namespace Kolta::ServerNodes;

namespace {

/// What clients write, but for productions. The list of hardware processing follows the MCPs.
constexpr struct
{
    eNode node;
    UserRights::eManagementRight right;
} kNodes[] = {{eQuit, UserRights::TerminateServices},
              {eReset, UserRights::TerminateServices},
              {eStopAll, UserRights::StopJobsAndTasks},
              {eOwnerRequest, UserRights::RequestOwnership},
              {eHardwareProcessing, UserRights::StartAndStopMcp},
              {eUnitPowerControl, UserRights::AdministrateSubsystem},
              {eChangedTuners, UserRights::AdministrateSubsystem},
              {eChangedPUs, UserRights::AdministrateSubsystem},
              {eChangedSUs, UserRights::AdministrateSubsystem},
              {eResources, UserRights::AdministrateSubsystem},
              {eTunerClasses, UserRights::AdministrateSubsystem}};
constexpr UserRights::eManagementRight kNone{};

} // namespace

bool CommandRights::load(const QString& file, QString& error)
{
    m_asked = true;
    return m_users.load(file, error);
}

CommandRights::Right CommandRights::rightFor(const QString& component)
{
    // Whoever may put recordings away may make them; everything else is the administrators'.
    return component == QLatin1String("Recording") ? UserRights::ArchiveRecordings
                                                   : UserRights::AdministrateSubsystem;
}

CommandRights::Right CommandRights::rightToRun(const QString& kind)
{
    if (kind == QLatin1String("SCP"))
        return UserRights::StartAndStopScp;
    return kind == QLatin1String("MCP") ? UserRights::StartAndStopMcp : UserRights::StartAndStopFfp;
}

CommandRights::Right CommandRights::rightToWrite(const QString& node, const QString& text,
                                                 const QString& stopped)
{
    const QString first = node.section(QLatin1Char('/'), 0, 0);
    if (first == QLatin1String("ShortTime"))
        return UserRights::ManageShortTime;
    if (first == name(eRequestsNode))
        return rightToRun(ProductionRequest::read(node.section(QLatin1Char('/'), 1), text).kindName());
    if (first == name(eStopResource))
        return rightToRun(stopped);
    for (const auto& row : kNodes) {
        if (first == name(row.node))
            return row.right;
    }
    return kNone;
}

bool CommandRights::allow(const QString& user, const QString& component) const
{
    return !m_asked || holds(user, rightFor(component));
}

QString CommandRights::objectionTo(const QString& user, const QString& node, const QString& text,
                                   const QString& stopped) const
{
    const Right right = m_asked ? rightToWrite(node, text, stopped) : kNone;
    return right == kNone || holds(user, right)
               ? QString()
               : QStringLiteral("%1 lacks the right %2")
                     .arg(user, UserRights::GetRightNameByValue(right, false));
}

bool CommandRights::holds(const QString& user, Right right) const
{
    const Nax::User* const known = m_users.findByName(user);
    return known && known->rights.contains(UserRights::GetRightNameByValue(right, true));
}

} // namespace KoltaSimulation
