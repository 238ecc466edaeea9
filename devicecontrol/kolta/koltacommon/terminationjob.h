#pragma once

#include <koltacommon/export.h>
#include <koltacommon/serveroperation.h>

namespace Kolta {

/// Asks a server to end, or to restart. Either stops all that runs on it, whoever started that.
///
/// Ending is done when the server has gone, a restart when it has gone and is operational again. What was
/// asked for is not taken back. The limit is the usual one.
class KOLTA_COMMON_EXPORT TerminationJob : public ServerOperation
{
    Q_OBJECT

public:
    enum class Action { Reset, Quit };

    TerminationJob(KoltaServerInterface& server, Action action, QObject* parent);

protected:
    void ask() override;
    void cancelBegun() override { settleGivenUp(Effect::Unknown, QString()); }
    void timeIsOver() override;

private:
    void operational(bool on) override;
    void serverLost() override;

    const Action m_action;
    bool m_hasGone = false;
};

} // namespace Kolta
