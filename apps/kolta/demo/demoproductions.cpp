#include "demoproductions.h"

#include <kolta/application/processordirectory.h>
#include <kolta/application/session.h>
#include <kolta/application/tunerallocation.h>
#include <kolta/application/tunertables.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <koltacommon/hardwareprocessingcontroller.h>
#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/tunerbookingmanager.h>
#include <simulation/simulatedserver.h>

#include <QCoreApplication>
#include <QEvent>
#include <QSet>

namespace KoltaCli {

using Kolta::KoltaProcessorObserver;
using Kolta::KoltaProductionControl;
using Kolta::KoltaServerRegistry;
using Kolta::TunerBookingManager;

namespace {

/// Long enough for each working state to be seen, too short to be waited for.
constexpr int startupStepMs = 20;

QString nowhere()
{
    return QStringLiteral("-");
}

} // namespace

DemoProductions::DemoProductions(DemoReport& report, KoltaSimulation::SimulatedServer& server, int timeoutMs)
    : m_report(report), m_simulated(server), m_timeoutMs(timeoutMs)
{
}

DemoProductions::~DemoProductions()
{
    m_hardware.reset();
    if (m_server && KoltaServerRegistry::Instance().removeServer(m_server->getAddress()))
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

bool DemoProductions::waitForServer(const QString& whatMustHold)
{
    return m_report.check(waitUntil([this] { return isUp(*m_server); }, m_timeoutMs), whatMustHold);
}

bool DemoProductions::bringUpServer()
{
    m_report.beginStep(QStringLiteral("The server comes up through its states and the mirrors fill"));
    m_simulated.withdraw();
    m_simulated.setStartupStep(startupStepMs);
    const auto& installation = m_simulated.installation();
    m_server = KoltaServerRegistry::Instance().addServer(installation.serverName(), installation.basePath());
    if (!m_report.check(m_server && !m_server->isReady(), QStringLiteral("the server is known, and gone")))
        return m_report.endStep();
    QStringList states{m_server->getStateString(m_server->getState())};
    QObject scope;
    connect(m_server, &Server::si_StateChanged, &scope, [&](Kolta::SERVER_STATES::eServerState state) {
        states.append(m_server->getStateString(state));
    });
    m_simulated.publish();
    if (!waitForServer(QStringLiteral("the server comes up")))
        return m_report.endStep();
    m_report.say(states.join(QStringLiteral(" → ")));
    m_report.set(QStringLiteral("states"), states.join(QStringLiteral(", ")));
    m_report.check(m_server->getResourceObserver().GetCurrentResources() == m_simulated.resources(),
                   QStringLiteral("the mirror equals the server's resources"));
    m_hardware = std::make_unique<Kolta::HardwareProcessingController>();
    const QString path = administrationPath(*m_server);
    m_report.check(m_hardware->init(path + QStringLiteral("/ActualConfiguration"),
                                    path + QStringLiteral("/HardwareProcessing")),
                   QStringLiteral("the lists of processors and hardware processing are there"));
    m_freeTuners = m_server->getBookingManager().getNumberOfFreeTuners();
    chooseClass();
    m_report.say(QStringLiteral("%1 on %2: %3 tuners, %4 of them free; %5 processors run")
                     .arg(m_server->getAddress(), m_server->getHostname(),
                          QString::number(m_server->getBookingManager().getOverallNumberOfTuners()),
                          QString::number(m_freeTuners),
                          QString::number(ProcessorDirectory({m_server}).all().size())));
    m_report.set(QStringLiteral("free"), m_freeTuners);
    return m_report.endStep();
}

/// A class with at least two free tuners, best one of which the processing is done in hardware.
void DemoProductions::chooseClass()
{
    const TunerAllocation allocation(*m_server);
    allocation.tree().getRootItem()->applyToAllDescendants([&](const Kolta::ptrTunerClassTreeItem& item) {
        if (!item->isClassItem() || countTuners(*item).free < 2)
            return;
        const bool inHardware = item->getHWProcessing();
        if (m_className.isEmpty() || (inHardware && !m_inHardware)) {
            m_className = item->getName();
            m_inHardware = inHardware;
        }
    });
}

/// Says so when it is not.
bool DemoProductions::isPossible()
{
    if (m_className.isEmpty())
        m_report.say(QStringLiteral("no class has two free tuners, so there is nothing to produce on"));
    return !m_className.isEmpty();
}

ProductionOutcome DemoProductions::start(ProductionOrder::eKind kind, const QString& mcp)
{
    ProductionOrder order;
    order.kind = kind;
    order.mcp = mcp;
    order.frequency = 98.5e6;
    order.bandwidth = kind == ProductionOrder::eFfp ? 2e5 : 5e6;
    if (kind == ProductionOrder::eMcp)
        order.className = m_className;
    const ProductionOutcome outcome = produce(*m_server, order, m_timeoutMs);
    m_report.check(
        outcome.answer.accepted,
        QStringLiteral("the server accepts the %1: %2").arg(kindName(kind), outcome.answer.problem));
    return outcome;
}

bool DemoProductions::startProduction()
{
    m_report.beginStep(QStringLiteral("A production is requested, accepted, and seen in every mirror"));
    if (!isPossible())
        return m_report.endStep();
    QObject scope;
    connect(&m_server->getBookingManager(), &TunerBookingManager::si_TunerStateChanged, &scope,
            [this](const QString& guid, TunerBookingManager::eTunerState before,
                   TunerBookingManager::eTunerState after) {
                m_report.check(before == TunerBookingManager::ePlanned &&
                                   after == TunerBookingManager::eInUse,
                               QStringLiteral("tuner %1 was planned and is in use").arg(guid));
            });
    m_first = start(ProductionOrder::eMcp);
    const QString tuner = nameOf(m_first.tuner);
    m_report.say(QStringLiteral("%1 is chosen for class %2 and planned, %3 is accepted:")
                     .arg(tuner, m_className, m_first.name));
    m_report.set(QStringLiteral("tuner"), tuner);
    m_report.set(QStringLiteral("production"), m_first.answer.request.toString());
    tellMirrors(m_first);
    m_report.check(isSeen(m_first), QStringLiteral("every mirror shows the production"));
    return m_report.endStep();
}

DemoProductions::Sight DemoProductions::look(const ProductionOutcome& outcome) const
{
    const auto& processors = m_server->getProcessorObserver();
    const auto& control = m_server->getProductionControl();
    const auto* const hardware =
        m_server->getHWProcessingObserver().findActiveHWProcessors(outcome.processor);
    const QString task = control.getTaskIDForGuid(outcome.processor);
    Sight sight;
    sight.processor = processors.GetDisplayNameByGUID(outcome.answer.request.toString());
    switch (m_server->getBookingManager().getTunerState(guidOf(outcome.tuner))) {
    case TunerBookingManager::eInUse:
        sight.tuner = QStringLiteral("in use");
        break;
    case TunerBookingManager::ePlanned:
        sight.tuner = QStringLiteral("planned");
        break;
    default:
        break;
    }
    sight.driver = task;
    sight.hardware = hardware ? hardware->GetStatus() : QString();
    return sight;
}

bool DemoProductions::isSeen(const ProductionOutcome& outcome) const
{
    const Sight sight = look(outcome);
    return !sight.processor.isEmpty() && sight.tuner == QLatin1String("in use") && !sight.driver.isEmpty() &&
           (!m_inHardware || !sight.hardware.isEmpty());
}

void DemoProductions::tellMirrors(const ProductionOutcome& outcome)
{
    const Sight sight = look(outcome);
    Table table({QStringLiteral("MIRROR"), QStringLiteral("SHOWS")});
    const QPair<QString, QString> rows[] = {
        {QStringLiteral("running processors"), sight.processor},
        {QStringLiteral("tuner %1").arg(nameOf(outcome.tuner)), sight.tuner},
        {QStringLiteral("driver's task"), sight.driver},
        {QStringLiteral("hardware processing"), sight.hardware}};
    for (const auto& [mirror, shows] : rows)
        table.addRow({mirror, shows.isEmpty() ? nowhere() : shows});
    m_report.show(table.toText());
}

bool DemoProductions::refuseProduction()
{
    m_report.beginStep(QStringLiteral("A second production on the same tuner is refused with its reason"));
    if (!isPossible())
        return m_report.endStep();
    const QString guid = guidOf(m_first.tuner);
    QString problem;
    m_report.check(!m_server->getBookingManager().planTuner(guid, problem),
                   QStringLiteral("a tuner in use is not planned"));
    m_report.say(QStringLiteral("planning: ") + problem);
    ProductionOrder order;
    order.name = QStringLiteral("MCP in vain");
    const int before = ProcessorDirectory({m_server}).all().size();
    const ServerAnswer answer = requestOn(*m_server, order, guid, m_timeoutMs);
    m_report.check(!answer.accepted && !answer.request.isNull(), QStringLiteral("the server refuses it"));
    m_report.check(ProcessorDirectory({m_server}).all().size() == before,
                   QStringLiteral("nothing has started"));
    m_report.say(QStringLiteral("asking all the same: ") + answer.problem);
    m_report.set(QStringLiteral("refusal"), answer.problem);
    return m_report.endStep();
}

bool DemoProductions::moveFfp()
{
    m_report.beginStep(QStringLiteral("An FFP starts in one MCP and moves to another"));
    if (!isPossible())
        return m_report.endStep();
    m_second = start(ProductionOrder::eMcp);
    const ProductionOutcome ffp = start(ProductionOrder::eFfp, m_first.processor);
    const KoltaProcessorObserver& processors = m_server->getProcessorObserver();
    const auto place = [&] { return processors.GetMcpGUIDFor(ffp.processor); };
    m_report.check(place() == m_first.processor, QStringLiteral("the FFP runs in the first MCP"));
    QStringList heard;
    QObject scope;
    connect(&processors, &KoltaProcessorObserver::si_ProcessorChanged, &scope,
            [&](const QString& guid) { heard.append(processors.GetDisplayNameByGUID(guid)); });
    connect(&processors, &KoltaProcessorObserver::si_ProcessorStopped, &scope, [this](const QString& guid) {
        m_report.check(false, QStringLiteral("nothing stops (%1)").arg(guid));
    });
    const ServerAnswer answer = awaitAnswer(
        *m_server,
        [&] {
            return m_server->getProductionControl().requestFFPMove(QUuid(ffp.processor),
                                                                   QUuid(m_second.processor));
        },
        m_timeoutMs);
    m_report.check(answer.accepted, QStringLiteral("the move is accepted: ") + answer.problem);
    m_report.check(place() == m_second.processor, QStringLiteral("the FFP runs in the second MCP"));
    m_report.check(heard.contains(ffp.name), QStringLiteral("the mirror tells of the move"));
    m_report.say(QStringLiteral("%1 has started in %2 and moved to %3; it did not stop meanwhile")
                     .arg(ffp.name, m_first.name, m_second.name));
    m_report.set(QStringLiteral("ffp"), ffp.name);
    m_report.set(QStringLiteral("to"), m_second.name);
    return m_report.endStep();
}

bool DemoProductions::endOneMcp()
{
    m_report.beginStep(QStringLiteral("Hardware processing follows what runs"));
    if (!isPossible())
        return m_report.endStep();
    const auto& list = m_hardware->getHWProcessingObserver();
    const auto count = [&list] { return list.getActiveHWProcessors().GetHWProcessing().size(); };
    const int before = count();
    QUuid ended;
    QObject scope;
    connect(&m_server->getProductionControl(), &KoltaProductionControl::si_ProductionStopped, &scope,
            [&ended](const QUuid& production) { ended = production; });
    m_server->getProductionControl().StopProduction(m_first.answer.request);
    m_report.check(waitUntil([&] { return ended == m_first.answer.request; }, m_timeoutMs),
                   QStringLiteral("%1 ends").arg(m_first.name));
    m_report.check(!list.findActiveHWProcessors(m_first.processor),
                   QStringLiteral("no hardware works for %1 any more").arg(m_first.name));
    m_report.check(isSeen(m_second), QStringLiteral("%1 runs on").arg(m_second.name));
    m_report.check(m_server->getBookingManager().getTunerState(guidOf(m_first.tuner)) ==
                       TunerBookingManager::eFree,
                   QStringLiteral("the tuner of %1 is free").arg(m_first.name));
    m_report.say(
        QStringLiteral("%1 ends: hardware processing shrinks from %2 to %3 entries, %4 is free again")
            .arg(m_first.name, QString::number(before), QString::number(count()), nameOf(m_first.tuner)));
    m_report.set(QStringLiteral("hardware"), count());
    return m_report.endStep();
}

/// Neither the mirrors nor the drivers may show anything that runs.
void DemoProductions::checkNothingRuns(const QString& when)
{
    const auto& control = m_server->getProductionControl();
    m_report.check(ProcessorDirectory({m_server}).all().isEmpty(),
                   QStringLiteral("%1 no processor is shown").arg(when));
    m_report.check(m_server->getProcessorObserver().GetCurrentProcessors().GetMCP().isEmpty(),
                   QStringLiteral("%1 the mirror of processors is empty").arg(when));
    m_report.check(control.getFrequencyRangesOfAllMCPs().isEmpty() &&
                       control.getTaskIDForGuid(m_second.processor).isEmpty(),
                   QStringLiteral("%1 no driver is found").arg(when));
}

/// Writes down all that is heard of the server while `scope` lives.
void DemoProductions::tellDeath(QStringList& heard, QObject& scope)
{
    const auto& processors = m_server->getProcessorObserver();
    connect(m_server, &Server::si_StateChanged, &scope,
            [&](Kolta::SERVER_STATES::eServerState state) { heard.append(m_server->getStateString(state)); });
    for (const auto signal :
         {&KoltaProcessorObserver::si_ProcessorStarted, &KoltaProcessorObserver::si_ProcessorChanged})
        connect(&processors, signal, &scope, [this](const QString& guid) {
            m_report.check(false, QStringLiteral("nobody hears of the processor %1").arg(guid));
        });
}

bool DemoProductions::surviveServer(Session* session)
{
    m_report.beginStep(QStringLiteral("The server dies and returns, and nothing stale is shown in between"));
    if (!isPossible())
        return m_report.endStep();
    QStringList heard;
    QObject scope;
    tellDeath(heard, scope);
    const int reconnects = session->reconnects();
    m_simulated.vanish();
    m_report.check(!m_server->isReady() && m_server->getState() == Kolta::SERVER_STATES::eDisconnected,
                   QStringLiteral("the application knows at once that the server has gone"));
    checkNothingRuns(QStringLiteral("while the server is gone"));
    m_report.check(m_server->getProductionControl().requestProduction(RESOURCEMANAGEMENT::MCP()).isNull(),
                   QStringLiteral("no request can be made"));
    m_report.check(m_simulated.comeBack(), QStringLiteral("the server listens again"));
    if (!waitForServer(QStringLiteral("the server comes up again")))
        return m_report.endStep();
    checkNothingRuns(QStringLiteral("after its return"));
    m_report.check(m_server->getBookingManager().getNumberOfFreeTuners() == m_freeTuners,
                   QStringLiteral("as many tuners are free as in the beginning"));
    m_report.check(m_server->getHWProcessingObserver().getActiveHWProcessors().GetHWProcessing().isEmpty(),
                   QStringLiteral("no hardware is in use"));
    m_report.check(
        session->waitFor([&] { return session->reconnects() > reconnects && session->connection().isIdle(); },
                         m_timeoutMs),
        QStringLiteral("the link is opened again"));
    m_report.say(heard.join(QStringLiteral(" → ")));
    m_report.say(
        QStringLiteral("%1 and its FFP have ended with the server; its tuner is free, its link is up")
            .arg(m_second.name));
    m_report.set(QStringLiteral("states"), heard.join(QStringLiteral(", ")));
    return m_report.endStep();
}

bool DemoProductions::stopProductions()
{
    m_report.beginStep(QStringLiteral("All productions are stopped and the books are clear"));
    if (!isPossible())
        return m_report.endStep();
    QSet<QUuid> running;
    for (int i = 0; i < 2; ++i)
        running.insert(start(ProductionOrder::eMcp).answer.request);
    QSet<QUuid> ended;
    QObject scope;
    connect(&m_server->getProductionControl(), &KoltaProductionControl::si_ProductionStopped, &scope,
            [&ended](const QUuid& production) { ended.insert(production); });
    m_server->getProductionControl().StopAllProductions();
    m_report.check(waitUntil([&] { return ended.contains(running); }, m_timeoutMs),
                   QStringLiteral("the server tells of the end of both productions"));
    checkNothingRuns(QStringLiteral("in the end"));
    const TunerBookingManager& booking = m_server->getBookingManager();
    int planned = 0;
    for (const auto& tuner : booking.getAllTuners())
        planned += booking.getTunerState(guidOf(tuner)) == TunerBookingManager::ePlanned ? 1 : 0;
    const int entries = m_server->getHWProcessingObserver().getActiveHWProcessors().GetHWProcessing().size();
    m_report.check(planned == 0 && booking.getNumberOfFreeTuners() == m_freeTuners,
                   QStringLiteral("no tuner is planned, and as many are free as in the beginning"));
    m_report.check(entries == 0, QStringLiteral("no hardware is in use"));
    m_report.say(
        QStringLiteral("%1 productions started and stopped; %2 tuners planned, %3 free, %4 entries of "
                       "hardware processing")
            .arg(QString::number(ended.size()), QString::number(planned),
                 QString::number(booking.getNumberOfFreeTuners()), QString::number(entries)));
    m_report.set(QStringLiteral("stopped"), ended.size());
    m_report.set(QStringLiteral("free"), booking.getNumberOfFreeTuners());
    return m_report.endStep();
}

} // namespace KoltaCli
