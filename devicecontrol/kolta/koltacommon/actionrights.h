#pragma once

#include <koltacommon/export.h>
#include <koltacommon/userrights.h>

#include <QString>
#include <QVector>

#include <functional>

/// \file
/// Which right belongs to what users do. The one table of it: who sends an order asks it before, and a server
/// that receives one asks it again.

namespace Kolta {

/// Something that a user does to an installation.
enum class UserAction {
    PlanTuner, ///< here alone, as looking at all there is
    RunScp,    ///< start it, change it, stop it
    RunMcp,
    RunFfp, ///< and whatever else is within another processor
    MoveFfp,
    StopAll, ///< of a server, whoever started it
    TakeOwnership,
    ReleaseOwnership, ///< one's own
    ForceOwnership,   ///< take or release what somebody else owns
    ShowFrontEnd,     ///< of a driver, on the user's own machine
    SwitchPower,
    ChangeUnits, ///< tuners, processing units and storage units: what they are, not what they do
    ChangeTunerClasses,
    ChangeHardwareProcessing,
    EditProfiles,
    EditAssignments,
    Convert,           ///< begin or end the conversion of a recording
    RemoveConversions, ///< results of conversions
    Record,
    CommandServer, ///< what its links take beside that
    ResetServer,
    QuitServer
};

/// The right that it needs; no right (0) for what everybody may do. Any thread.
KOLTA_COMMON_EXPORT UserRights::eManagementRight rightFor(UserAction action);
/// To run a processor of that kind, "MCP" for instance, in any letter case.
KOLTA_COMMON_EXPORT UserAction actionToRun(const QString& kind);

/// Why the user who is logged in here may not do all of this, as a translated sentence that names user and
/// rights, "operator lacks the right TerminateServices"; empty when the user may. Main thread.
KOLTA_COMMON_EXPORT QString objectionTo(const QVector<UserAction>& actions);
KOLTA_COMMON_EXPORT QString objectionTo(UserAction action);
/// The same for a user of whom somebody else knows which rights are held; any thread that `holds` allows. No
/// name for nobody.
KOLTA_COMMON_EXPORT QString objectionTo(const QVector<UserAction>& actions, const QString& user,
                                        const std::function<bool(UserRights::eManagementRight)>& holds);

} // namespace Kolta
