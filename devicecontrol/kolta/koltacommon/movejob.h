#pragma once

#include <koltacommon/export.h>
#include <koltacommon/serveroperation.h>

namespace Kolta {

/// Moves an FFP to another MCP of its server.
///
/// Done when the server says so, or when the mirror has shown the FFP there for a while without a word; lost
/// when the server comes back and shows it elsewhere, or not at all. A move that was asked for is not taken
/// back.
class KOLTA_COMMON_EXPORT MoveJob : public ServerOperation
{
    Q_OBJECT

public:
    MoveJob(KoltaServerInterface& server, const QUuid& ffp, const QUuid& mcp, QObject* parent);

    /// Of the request; known from the beginning.
    const QUuid& id() const noexcept { return m_id; }

protected:
    void ask() override;
    void cancelBegun() override { settleGivenUp(Effect::Unknown, QString()); }
    void timeIsOver() override { settleGivenUp(Effect::Unknown, QString()); }
    void cleanUp() override;

private:
    void replied(const ServerReply& reply) override;
    void mirrorChanged(ServerDesk::Mirror mirror) override;
    void operational(bool on) override;
    bool isThere() const;

    const QUuid m_ffp;
    const QUuid m_mcp;
    const QUuid m_id = QUuid::createUuid();
    bool m_isAway = false;
    Startup::ptrAlarm m_show;
    Startup::ptrAlarm m_return;
};

} // namespace Kolta
