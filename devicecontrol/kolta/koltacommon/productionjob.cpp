#include <koltacommon/productionjob.h>

#include <koltacommon/guidindex.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/tunerbookingmanager.h>

#include <algorithm>
#include <utility>

namespace Kolta {

using RESOURCEMANAGEMENT::Tuner;

namespace {

QString nameOf(const Tuner& tuner)
{
    const auto& identity = tuner.GetTavikResource();
    return identity.GetDisplayName().isEmpty() ? identity.GetGUID() : identity.GetDisplayName();
}

} // namespace

ProductionJob::ProductionJob(KoltaServerInterface& server, const ProductionOrder& order, QObject* parent)
    : ServerOperation(server, parent), m_order(order)
{
}

ProductionJob::~ProductionJob()
{
    if (isFinished() || !desk() || m_step <= Step::Choosing)
        return;
    ServerDesk* const ownDesk = desk();
    detach();
    const bool isStarted = m_step == Step::Accepted || m_step == Step::Stopping;
    if (isStarted || m_production.isNull()) // or the request is just being made
        ownDesk->keep(std::move(m_plan));
    else
        ownDesk->lookAfter(m_production, m_mark, std::move(m_plan), m_takeBack);
    if (m_step == Step::Accepted && m_takeBack)
        stop();
}

void ProductionJob::ask()
{
    if (!m_order.production.isNull() && m_order.kind != ProductionOrder::Kind::Ffp) {
        m_mark = ProductionMark::ofTop(m_order.production);
        m_processor = desk()->shown(m_mark);
        m_production = m_processor.isEmpty() ? QUuid() : m_order.production;
        m_adopted = !m_processor.isEmpty();
        if (m_adopted)
            return done();
    }
    m_attemptsLeft = std::max(1, m_order.attempts);
    choose();
}

void ProductionJob::choose()
{
    m_step = Step::Choosing;
    if (const QString problem = problemOfOrder(m_order); !problem.isEmpty())
        return refuse(Reason::InvalidOrder, problem);
    if (!m_order.tunerClass.isEmpty() && m_order.tunerGuid.isEmpty()) {
        const QString problem = desk()->tuners()->problemOfClass(m_order.tunerClass);
        if (!problem.isEmpty())
            return refuse(Reason::NoSuchThing, problem);
    }
    m_order = completed(m_order, *server());
    const TunerNeeds needs = needsOf(m_order, *server());
    if (const QString problem = problemOfMcp(m_order, *server()); !problem.isEmpty())
        return refuse(Reason::NoSuchThing, problem);
    if (const QString problem = problemWithinMcp(m_order, *server()); !problem.isEmpty())
        return refuse(Reason::Unsuitable, problem);
    bool chosen = true;
    if (!m_order.tunerGuid.isEmpty())
        chosen = takeTuner(needs);
    else if (!m_order.tunerClass.isEmpty())
        chosen = chooseOfClass(needs);
    if (!chosen || isFinished())
        return;
    if (!ResourceGuid::of(m_tuner).isEmpty()) {
        QString problem;
        const QPointer<ProductionJob> guard(this);
        TunerPlan plan = desk()->plan(ResourceGuid::of(m_tuner), needs, m_order.displayName, problem);
        if (!guard || isFinished())
            return;
        m_plan = std::move(plan);
        if (!m_plan.stands())
            return refuse(Reason::NoTuner, problem);
    }
    askServer();
}

/// The one that is named. One that feeds the FFP's MCP may be used together with it.
bool ProductionJob::takeTuner(const TunerNeeds& needs)
{
    const QString& guid = m_order.tunerGuid;
    const QVector<Tuner>& tuners = server()->getResourceObserver().GetCurrentResources().GetTuner();
    const auto tuner = std::find_if(tuners.begin(), tuners.end(),
                                    [&](const Tuner& each) { return ResourceGuid::of(each) == guid; });
    if (tuner == tuners.end()) {
        refuse(Reason::NoSuchThing, tr("there is no tuner %1").arg(guid));
        return false;
    }
    if (const QString problem = problemWith(*tuner, needs); !problem.isEmpty()) {
        refuse(Reason::Unsuitable, tr("tuner %1 does not fit: %2").arg(nameOf(*tuner), problem));
        return false;
    }
    const QStringList fed = server()->getProcessorObserver().GetGUIDsFedByTuner(guid);
    if (m_order.kind == ProductionOrder::Kind::Ffp && fed.contains(m_order.mcp.toString()))
        return true;
    if (server()->getBookingManager().getTunerState(guid) != TunerBookingManager::eFree) {
        const QString holder = ServerTuners::holderOf(*server(), guid);
        refuse(Reason::NoTuner, holder.isEmpty() ? tr("tuner %1 is not free").arg(nameOf(*tuner))
                                                 : tr("tuner %1 is taken: %2").arg(nameOf(*tuner), holder));
        return false;
    }
    m_tuner = *tuner;
    return true;
}

bool ProductionJob::chooseOfClass(const TunerNeeds& needs)
{
    const std::shared_ptr<const ServerTuners> tuners = desk()->tuners();
    const QString& name = m_order.tunerClass;
    m_tuner = tuners->selector().selectTuner(name, tuners->filter(needs, m_order.storageGuids));
    const bool chosen = !ResourceGuid::of(m_tuner).isEmpty();
    if (!chosen || m_explained)
        m_selection = tuners->explain(name, needs, m_order.storageGuids);
    if (chosen)
        return true;
    const auto& candidates = m_selection.candidates;
    const bool anyFits =
        std::any_of(candidates.begin(), candidates.end(), [&](const TunerCandidate& candidate) {
            return candidate.refusal != TunerRefusal::NotInTree &&
                   misfitOf(candidate.tuner, needs) == TunerMisfit::None;
        });
    refuse(anyFits ? Reason::NoTuner : Reason::Unsuitable,
           tr("no tuner of class %1 can be had: %2").arg(name, refusalSummary(m_selection)));
    return false;
}

void ProductionJob::askServer()
{
    setAsked();
    m_step = Step::Asked; // before the request: its answer may come within it
    m_reply.reset();
    m_show.reset();
    setProgress(tr("waiting for the answer of %1").arg(serverName()));
    const QPointer<ProductionJob> guard(this);
    const ServerDesk::Asking asking(*this);
    const QUuid asked = request();
    if (!guard || isFinished())
        return;
    if (asked.isNull()) {
        m_production = QUuid();
        return refuse(Reason::NotConnected, tr("%1 takes no requests").arg(serverName()));
    }
    evaluate();
}

/// Returns the production's GUID; null when it could not be asked for.
QUuid ProductionJob::request()
{
    const QPointer<ProductionJob> guard(this);
    KoltaProductionControl& control = server()->getProductionControl();
    const QString tuner = ResourceGuid::of(m_tuner).isEmpty() ? m_order.tunerGuid : ResourceGuid::of(m_tuner);
    if (m_order.kind != ProductionOrder::Kind::Ffp) {
        m_production = m_order.production.isNull() ? QUuid::createUuid() : m_order.production;
        m_mark = ProductionMark::ofTop(m_production);
        expect(m_production);
        return control.requestProduction(*processorFor(m_order, tuner, m_production), true);
    }
    m_mark =
        ProductionMark::ofFfp(m_order.mcp.toString(), m_order.displayName, server()->getProcessorObserver());
    const QPointer<ServerDesk> ownDesk = desk();
    const ProductionMark mark = m_mark;
    const bool takeBack = m_takeBack;
    const ServerDesk::Listening heard(*ownDesk);
    const QUuid production =
        control.requestProduction(*processorFor(m_order, tuner, QUuid()), false, m_order.mcp);
    if (!guard && ownDesk && !production.isNull())
        ownDesk->lookAfter(production, mark, TunerPlan(), takeBack);
    if (!guard || isFinished() || production.isNull())
        return production;
    m_production = production;
    expect(m_production);
    m_reply = heard.to(m_production);
    return production;
}

void ProductionJob::replied(const ServerReply& reply)
{
    m_reply = reply;
    evaluate();
}

void ProductionJob::mirrorChanged(ServerDesk::Mirror mirror)
{
    if (mirror == ServerDesk::Mirror::Processors)
        evaluate();
}

/// Decides by what is known now. Nothing counts while the server is away.
void ProductionJob::evaluate()
{
    if (isFinished() || m_production.isNull() || !desk() || !desk()->isConnected())
        return;
    const QString processor = desk()->shown(m_mark);
    if (!processor.isEmpty())
        m_processor = processor;
    switch (m_step) {
    case Step::ServerAway:
        if (processor.isEmpty())
            return; // until it is operational
        m_step = Step::Returned;
        Q_FALLTHROUGH();
    case Step::Returned:
        if (!processor.isEmpty()) {
            m_adopted = true;
            return show();
        }
        Q_FALLTHROUGH();
    case Step::Asked:
        if (m_reply)
            return m_reply->accepted ? accept() : takeRefusal();
        if (!processor.isEmpty() && !m_show)
            m_show = ringIn(kShowMs, [this] { show(); }); // the answer was lost
        return;
    case Step::Accepted:
        if (!processor.isEmpty())
            show();
        return;
    case Step::Stopping:
        if (processor.isEmpty() && !m_processor.isEmpty())
            settleGivenUp(Effect::None, QString());
        return;
    case Step::Waiting:
    case Step::Choosing:
    case Step::Ended:
        return;
    }
}

void ProductionJob::takeRefusal()
{
    const QString text = tr("%1 refuses: %2").arg(serverName(), m_reply->text);
    const QPointer<ProductionJob> guard(this);
    const bool again = !isCancelled() && wasSomebodyFaster() && --m_attemptsLeft > 0;
    m_plan.undo();
    if (!guard || isFinished())
        return;
    if (isCancelled())
        return settleGivenUp(Effect::None, QString());
    if (again)
        return choose();
    refuse(wasSomebodyFaster() ? Reason::Conflict : Reason::RefusedByServer, text);
}

/// Whether the chosen tuner of the class is used by somebody else meanwhile.
bool ProductionJob::wasSomebodyFaster() const
{
    return !m_order.tunerClass.isEmpty() && !ResourceGuid::of(m_tuner).isEmpty() && server() &&
           server()->getBookingManager().getTunerState(ResourceGuid::of(m_tuner)) ==
               TunerBookingManager::eInUse;
}

void ProductionJob::accept()
{
    m_step = Step::Accepted;
    m_return.reset();
    if (isCancelled())
        return stop();
    setProgress(tr("waiting for %1 to show it").arg(serverName()));
    if (!desk()->shown(m_mark).isEmpty())
        return show();
    m_show = ringIn(kShowMs, [this] { show(); });
}

/// It runs, as far as can be told.
void ProductionJob::show()
{
    if (isCancelled())
        return stop();
    done();
}

void ProductionJob::done()
{
    m_return.reset();
    settleDone();
}

void ProductionJob::stop()
{
    m_step = Step::Stopping;
    m_show.reset();
    m_return.reset();
    setProgress(tr("stopping"));
    const ServerDesk::Asking asking(*this);
    if (server())
        server()->getProductionControl().StopProduction(m_production); // the answer may end this
}

void ProductionJob::ended(const QUuid&)
{
    if (m_step == Step::Asked || m_step == Step::Accepted || m_step == Step::Returned)
        lose(Reason::Ended, tr("%1 ended it before it was seen to run").arg(serverName()));
    else if (m_step == Step::Stopping)
        settleGivenUp(Effect::None, QString());
}

void ProductionJob::processorsStopped(const QSet<QString>& processors)
{
    if (!m_processor.isEmpty() && processors.contains(m_processor))
        ended(m_production);
}

void ProductionJob::operational(bool on)
{
    if (m_step == Step::Waiting || isFinished())
        return;
    if (!on) {
        m_reply.reset(); // what it said is no more
        m_show.reset();
        m_return.reset();
        if (m_step == Step::Stopping)
            return settleGivenUp(Effect::Unknown, QString());
        m_step = Step::ServerAway;
        return setProgress(tr("waiting for %1 to return").arg(serverName()));
    }
    if (m_step != Step::ServerAway)
        return;
    m_step = Step::Returned;
    setProgress(tr("waiting for %1 to show it").arg(serverName()));
    m_return = ringIn(kReturnMs, [this] {
        lose(Reason::NotThereAfterReturn, tr("%1 came back without it").arg(serverName()));
    });
    evaluate();
}

void ProductionJob::lose(Reason reason, const QString& text)
{
    if (isCancelled())
        settleGivenUp(Effect::None, QString());
    else
        settle(State::Lost, Effect::None, reason, text);
}

/// Of what was asked, nothing can be taken back before the answer: a server that decides later than it hears
/// of the stop would start it.
void ProductionJob::cancelBegun()
{
    if (m_step == Step::Accepted)
        return stop();
    setProgress(tr("waiting for the answer of %1, to take it back").arg(serverName()));
}

void ProductionJob::timeIsOver()
{
    m_isLookedAfter = m_step != Step::Stopping;
    settleGivenUp(Effect::Unknown, QString());
}

void ProductionJob::cleanUp()
{
    const Step last = std::exchange(m_step, Step::Ended);
    m_show.reset();
    m_return.reset();
    ServerDesk* const ownDesk = desk();
    ServerOperation::cleanUp();
    TunerPlan plan = std::move(m_plan);
    if (!ownDesk)
        return;
    const bool started = state() == State::Done || last == Step::Stopping;
    if (m_isLookedAfter)
        ownDesk->lookAfter(m_production, m_mark, std::move(plan), m_takeBack);
    else if (started && effect() != Effect::None)
        ownDesk->keep(std::move(plan));
}

} // namespace Kolta
