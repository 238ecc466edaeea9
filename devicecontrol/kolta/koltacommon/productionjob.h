#pragma once

#include <koltacommon/export.h>
#include <koltacommon/productionorder.h>
#include <koltacommon/serveroperation.h>
#include <koltacommon/tunerselection.h>

namespace Kolta {

/// One production, from the order until it runs: chooses a tuner, plans it, asks the server, and waits for
/// its answer and for the processor in the mirror.
///
/// Done: it runs. Refused: the server was not changed and the plan is undone. Lost: the production ended
/// before this was done, or the server came back without it; it is not asked for again, the caller may do
/// that. Ended with Effect::Unknown it is looked after: what the server starts late is stopped.
///
/// A server that vanishes meanwhile is waited for within the time limit. What it still, or again, runs is
/// taken over (wasAdopted()), never asked for twice. Cancelling stops what was asked for.
class KOLTA_COMMON_EXPORT ProductionJob : public ServerOperation
{
    Q_OBJECT

public:
    enum class Step {
        Waiting,    ///< for its begin
        Choosing,   ///< a tuner
        Asked,      ///< the server
        Accepted,   ///< not shown yet
        ServerAway, ///< after it was asked
        Returned,   ///< the server; it does not show it yet
        Stopping,   ///< it was cancelled
        Ended
    };
    Q_ENUM(Step)

    /// What it waits for the mirror after an answer, or for the answer after the mirror, and for either when
    /// the server has come back; milliseconds.
    static constexpr int kShowMs = 2000, kReturnMs = 3000;

    ProductionJob(KoltaServerInterface& server, const ProductionOrder& order, QObject* parent);
    /// While it runs: what was asked for is stopped or looked after, nobody is told.
    ~ProductionJob() override;

    /// Whether what is started although nobody waits for it any more is stopped; true unless set otherwise.
    void setTakeBack(bool on) { m_takeBack = on; }
    /// Whether selection() is made, which costs more than the choice alone; it always is when there is no
    /// tuner to be had.
    void setExplained(bool on) { m_explained = on; }

    Step step() const noexcept { return m_step; }
    /// The order with what it left open, once it has begun.
    const ProductionOrder& order() const noexcept { return m_order; }
    /// Null until it was asked for.
    const QUuid& production() const noexcept { return m_production; }
    /// GUID of the processor; empty until the mirror shows it.
    const QString& processor() const noexcept { return m_processor; }
    /// The chosen one; empty for none.
    const RESOURCEMANAGEMENT::Tuner& tuner() const noexcept { return m_tuner; }
    /// Whether it ran already when it was looked for.
    bool wasAdopted() const noexcept { return m_adopted; }
    /// How the choice of a tuner of a class came about.
    const TunerSelection& selection() const noexcept { return m_selection; }

protected:
    void ask() override;
    void cancelBegun() override;
    void timeIsOver() override;
    void cleanUp() override;

private:
    // ServerDesk::Client
    void replied(const ServerReply& reply) override;
    void ended(const QUuid& production) override;
    void processorsStopped(const QSet<QString>& processors) override;
    void mirrorChanged(ServerDesk::Mirror mirror) override;
    void operational(bool on) override;

    void choose();
    bool chooseOfClass(const TunerNeeds& needs);
    bool takeTuner(const TunerNeeds& needs);
    void askServer();
    QUuid request();
    void evaluate();
    void takeRefusal();
    bool wasSomebodyFaster() const;
    void accept();
    void show();
    void done();
    void stop();
    void lose(Reason reason, const QString& text);

    ProductionOrder m_order;
    Step m_step = Step::Waiting;
    bool m_takeBack = true;
    bool m_explained = false;
    bool m_adopted = false;
    bool m_isLookedAfter = false;
    int m_attemptsLeft = 0;
    QUuid m_production;
    QString m_processor;
    RESOURCEMANAGEMENT::Tuner m_tuner;
    TunerSelection m_selection;
    TunerPlan m_plan;
    ProductionMark m_mark;
    std::optional<ServerReply> m_reply;
    Startup::ptrAlarm m_show;
    Startup::ptrAlarm m_return;
};

} // namespace Kolta
