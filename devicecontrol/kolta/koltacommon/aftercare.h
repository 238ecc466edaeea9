#pragma once

#include <koltacommon/openwork.h>
#include <koltacommon/serverdesk.h>

namespace Kolta {

/// Looks after one order whose handle has ended before it was known what became of it.
class Aftercare : public ServerDesk::Client
{
public:
    /// What it waits for the server at most, and for the production after the server's return.
    static constexpr int kLimitMs = 600000;
    static constexpr int kReturnMs = 3000;

    Aftercare(ServerDesk& desk, const QUuid& production, const ProductionMark& mark, TunerPlan plan,
              bool takeBack);

    /// Looks at the mirror; may destroy this.
    void look();

private:
    void replied(const ServerReply& reply) override;
    void ended(const QUuid&) override { finish(); }
    void mirrorChanged(ServerDesk::Mirror mirror) override;
    void operational(bool on) override;

    void started();
    void finish();

    const QUuid m_production;
    const ProductionMark m_mark;
    TunerPlan m_plan;
    const bool m_takeBack;
    Startup::ptrAlarm m_limit;
    Startup::ptrAlarm m_return;
    OpenWork m_open;
};

} // namespace Kolta
