#pragma once

#include <koltacommon/export.h>
#include <koltacommon/serveroperation.h>

namespace Kolta {

/// Takes or gives back the ownership of a processor, or of the server itself.
///
/// Done when the mirror of owners shows it, at once if it does already; refused when somebody else is shown
/// at its limit, 5 s. When nobody waits for a taking any more, because it was cancelled or deleted or its
/// time is over, what comes of it is given back; not to the owner before, if it was taken by force.
class KOLTA_COMMON_EXPORT OwnershipJob : public ServerOperation
{
    Q_OBJECT

public:
    enum class Action {
        Take,
        Release,
        ForceTake,   ///< whoever owns it
        ForceRelease ///< so that nobody owns it
    };
    static constexpr int kLimitMs = 5000;

    /// `guid`: of the processor; empty for the server.
    OwnershipJob(KoltaServerInterface& server, const QString& guid, Action action, QObject* parent);
    ~OwnershipJob() override;

protected:
    void ask() override;
    void cancelBegun() override;
    void timeIsOver() override;

private:
    void mirrorChanged(ServerDesk::Mirror mirror) override;
    void operational(bool on) override;

    bool request(Action action);
    bool takes() const noexcept { return m_action == Action::Take || m_action == Action::ForceTake; }
    bool isOwner() const;
    bool isAsWished() const;
    void evaluate();

    const QString m_guid;
    const Action m_action;
    bool m_isGivingBack = false;
};

} // namespace Kolta
