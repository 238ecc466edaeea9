#include <simulation/commandrights.h>

#include <simulation/productionrequest.h>

#include <koltacommon/servernodes.h>
#include <resourcemodel/owners.h>

namespace KoltaSimulation {

using Kolta::UserAction;
using Kolta::UserRights;
using namespace Kolta::ServerNodes;

namespace {

/// What clients write, but for productions and ownership.
constexpr struct
{
    eNode node;
    UserAction action;
} kNodes[] = {{eQuit, UserAction::QuitServer},
              {eReset, UserAction::ResetServer},
              {eStopAll, UserAction::StopAll},
              {eHardwareProcessing, UserAction::ChangeHardwareProcessing},
              {eUnitPowerControl, UserAction::SwitchPower},
              {eChangedTuners, UserAction::ChangeUnits},
              {eChangedPUs, UserAction::ChangeUnits},
              {eChangedSUs, UserAction::ChangeUnits},
              {eResources, UserAction::ChangeUnits},
              {eTunerClasses, UserAction::ChangeTunerClasses}};

/// What cannot be read is no force: nothing will come of it.
UserAction actionOfOwnerRequest(const QString& text)
{
    RESOURCEMANAGEMENT::OwnerRequest request;
    try {
        const bool isForced = request.SetXmlString(text, true) &&
                              request.GetAction() != RESOURCEMANAGEMENT::OwnerRequest::eTake &&
                              request.GetAction() != RESOURCEMANAGEMENT::OwnerRequest::eRelease;
        return isForced ? UserAction::ForceOwnership : UserAction::TakeOwnership;
    } catch (const REPORTGENERATOR::RGException&) {
        return UserAction::TakeOwnership;
    }
}

} // namespace

bool CommandRights::load(const QString& file, QString& error)
{
    m_asked = true;
    return m_users.load(file, error);
}

UserAction CommandRights::actionFor(const QString& component)
{
    return component == QLatin1String("Recording") ? UserAction::Record : UserAction::CommandServer;
}

UserAction CommandRights::actionToWrite(const QString& node, const QString& text, const QString& stopped)
{
    const QString first = node.section(QLatin1Char('/'), 0, 0);
    if (first == name(eRequestsNode)) {
        const auto request = ProductionRequest::read(node.section(QLatin1Char('/'), 1), text);
        return request.kind == ProductionRequest::Kind::Move ? UserAction::MoveFfp
                                                             : Kolta::actionToRun(request.kindName());
    }
    if (first == name(eStopResource))
        return Kolta::actionToRun(stopped);
    if (first == name(eOwnerRequest))
        return actionOfOwnerRequest(text);
    for (const auto& row : kNodes) {
        if (first == name(row.node))
            return row.action;
    }
    return UserAction::PlanTuner;
}

bool CommandRights::allow(const QString& user, const QString& component) const
{
    return objectionTo(user, actionFor(component)).isEmpty();
}

QString CommandRights::objectionTo(const QString& user, const QString& node, const QString& text,
                                   const QString& stopped) const
{
    return m_asked ? objectionTo(user, actionToWrite(node, text, stopped)) : QString();
}

QString CommandRights::objectionToChange(const QString& user, const QString& collection, bool removes) const
{
    if (collection == shortTimeName<Kolta::ShortTimeFFPAssignmentItemMap>())
        return objectionTo(user, UserAction::EditAssignments);
    if (collection != shortTimeName<Kolta::ConvertProductionResultMap>())
        return objectionTo(user, UserAction::EditProfiles);
    return objectionTo(user, removes ? UserAction::RemoveConversions : UserAction::Convert);
}

QString CommandRights::objectionTo(const QString& user, UserAction action) const
{
    if (!m_asked)
        return QString();
    const Nax::User* const known = m_users.findByName(user);
    return Kolta::objectionTo({action}, user, [known](UserRights::eManagementRight right) {
        return known && known->rights.contains(UserRights::GetRightNameByValue(right, true));
    });
}

} // namespace KoltaSimulation
