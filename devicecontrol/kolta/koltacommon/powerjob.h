#pragma once

#include <koltacommon/export.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/serveroperation.h>

#include <QVector>

namespace Kolta {

/// Switches tuners, processing units and storage units of one server on or off.
///
/// Done when the mirror of resources shows all of them so: a tuner is on when it is accessible, a unit when
/// it is registered, and what is not shown is off. At once if it is so already. A switching that was asked
/// for is not taken back.
class KOLTA_COMMON_EXPORT PowerJob : public ServerOperation
{
    Q_OBJECT

public:
    using Command = KoltaResourceObserver::ePowerControlCommand;
    struct Unit
    {
        QString guid;
        bool isDone = false;
    };

    PowerJob(KoltaServerInterface& server, Command command, const QStringList& guids, QObject* parent);

    /// In the order in which they were named.
    const QVector<Unit>& units() const noexcept { return m_units; }

protected:
    void ask() override;
    void cancelBegun() override { settleGivenUp(Effect::Unknown, QString()); }
    void timeIsOver() override;

private:
    void mirrorChanged(ServerDesk::Mirror mirror) override;
    void operational(bool on) override;

    bool look();

    const Command m_command;
    QVector<Unit> m_units;
};

} // namespace Kolta
