#include <koltacommon/ordercandidates.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/ivaluechangenotifier.h>
#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/tunerclassesobserver.h>

#include <algorithm>
#include <utility>

namespace Kolta {

using RESOURCEMANAGEMENT::Tuner;

namespace {

bool isTaken(TunerRefusal refusal)
{
    return refusal == TunerRefusal::NotIdle || refusal == TunerRefusal::Excluded;
}

} // namespace

QString OrderCandidate::reason() const
{
    if (facts.refusal == TunerRefusal::None)
        return toText(facts.ahead);
    const QString detail = isTaken(facts.refusal) ? holder.text() : facts.detail;
    return detail.isEmpty() ? toText(facts.refusal) : detail;
}

bool OrderCandidate::isSameAs(const OrderCandidate& other) const
{
    return rank == other.rank && state == other.state && facts.cost == other.facts.cost &&
           facts.refusal == other.facts.refusal && facts.ahead == other.facts.ahead &&
           facts.detail == other.facts.detail && holder == other.holder &&
           (facts.tuner.IsSameAs(other.facts.tuner) || facts.tuner == other.facts.tuner);
}

int OrderChoice::acceptedCount() const
{
    const auto isAccepted = [](const OrderCandidate& each) { return each.rank > 0; };
    return static_cast<int>(std::count_if(candidates.begin(), candidates.end(), isAccepted));
}

OrderExplainer::OrderExplainer(KoltaServerInterface& server, const ProductionOrder& order, QObject* parent)
    : QObject(parent), m_server(&server), m_order(order)
{
    const auto noting = [this](unsigned what) { return [this, what] { note(what); }; };
    const KoltaResourceObserver* const resources = &server.getResourceObserver();
    connect(resources, &KoltaResourceObserver::si_ResourcesChanged, this, noting(eTuners));
    const TunerBookingManager* const booking = &server.getBookingManager();
    connect(booking, &TunerBookingManager::si_TunerStateChanged, this, noting(eAnswer));
    connect(booking, &TunerBookingManager::si_PlanningChanged, this, noting(eAnswer));
    connect(&server.getTunerClassObserver(), &IValueChangeNotifier::si_ValueChanged, this, noting(eClasses));
    connect(&server.getRdcObserver(), &IValueChangeNotifier::si_ValueChanged, this, noting(eClasses));
    // Who holds a tuner, and how it is called.
    connect(&server.getProcessorObserver(), &KoltaProcessorObserver::si_RunningProcessorsChanged, this,
            noting(eAnswer));
    connect(&server.getGuiOwnerObserver(), &KoltaOwnerObserver::si_OwnersChanged, this, noting(eAnswer));
    connect(&server, &KoltaServerInterface::si_StateChanged, this, noting(eAnswer));
}

OrderExplainer::~OrderExplainer() = default;

void OrderExplainer::setOrder(const ProductionOrder& order)
{
    m_order = order;
    note(eAnswer);
}

void OrderExplainer::note(unsigned what)
{
    m_stale |= what | eAnswer;
    if (std::exchange(m_isDue, true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_isDue = false;
            Q_EMIT mayHaveChanged();
        },
        Qt::QueuedConnection);
}

const OrderChoice& OrderExplainer::choice()
{
    if (!m_server || m_server->getState() == SERVER_STATES::eDisconnected) {
        m_choice.problem = tr("the server is away");
        m_stale |= eAnswer | eTuners | eClasses;
    } else if (std::exchange(m_stale, m_stale & ~unsigned(eAnswer)) & eAnswer) {
        choose();
    }
    return m_choice;
}

/// False when a class that is asked for does not exist.
bool OrderExplainer::bringTunersUpToDate()
{
    const unsigned stale = std::exchange(m_stale, eNothing);
    const bool isKept = m_tuners && !(stale & eClasses) && (!(stale & eTuners) || m_tuners->refresh());
    if (!isKept)
        m_tuners = std::make_unique<ServerTuners>(*m_server);
    m_choice.problem = m_tuners->problemOfClass(m_order.tunerClass);
    return m_choice.problem.isEmpty();
}

void OrderExplainer::choose()
{
    m_choice = OrderChoice();
    m_choice.problem = problemOfOrder(m_order);
    if (!m_choice.problem.isEmpty())
        return;
    ProductionOrder order = m_order;
    const bool isNamed = !order.tunerGuid.isEmpty();
    if (!isNamed && !order.tunerClass.isEmpty() && !bringTunersUpToDate())
        return;
    m_choice.problem = problemOfMcp(order, *m_server);
    if (!m_choice.problem.isEmpty())
        return;
    // What completing it would look for among all that runs, or in tuner classes of its own.
    if (order.displayName.isEmpty())
        order.displayName = kindName(order.kind);
    if (order.demandClass.isEmpty() && !order.processor && !isNamed && m_tuners &&
        order.kind == ProductionOrder::Kind::Mcp)
        order.demandClass = m_tuners->selector().getMCPResourceDemandClassForTunerClass(order.tunerClass);
    order = completed(order, *m_server);
    const TunerNeeds needs = needsOf(order, *m_server);
    if (!order.tunerGuid.isEmpty())
        chooseNamed(order, needs);
    else if (!order.tunerClass.isEmpty())
        chooseOfClass(order, needs);
    else if (m_choice.problem = problemWithinMcp(order, *m_server); m_choice.problem.isEmpty())
        m_choice.problem = tr("it is fed by the tuner of its MCP");
}

void OrderExplainer::chooseOfClass(const ProductionOrder& order, const TunerNeeds& needs)
{
    TunerSelection selection = m_tuners->weigh(order.tunerClass, needs, order.storageGuids);
    m_choice.candidates.reserve(static_cast<std::size_t>(selection.candidates.size()));
    int rank = 0;
    for (TunerCandidate& facts : selection.candidates) {
        m_choice.candidates.push_back(candidateOf(std::move(facts), needs));
        OrderCandidate& candidate = m_choice.candidates.back();
        candidate.rank = candidate.facts.refusal == TunerRefusal::None ? ++rank : 0;
    }
}

void OrderExplainer::chooseNamed(const ProductionOrder& order, const TunerNeeds& needs)
{
    const QUuid guid = guidFromText(order.tunerGuid);
    const QVector<Tuner>& tuners = m_server->getResourceObserver().GetCurrentResources().GetTuner();
    const auto found = std::find_if(tuners.begin(), tuners.end(), [&](const Tuner& tuner) {
        const QString& own = tuner.GetTavikResource().GetGUID();
        return own == order.tunerGuid || (!guid.isNull() && guidFromText(own) == guid);
    });
    if (found == tuners.end()) {
        m_choice.problem = tr("%1 has no tuner %2").arg(m_server->getAddress(), order.tunerGuid);
        return;
    }
    const auto isPlanned = [this](const Tuner& tuner) {
        return m_server->getBookingManager().getTunerState(tuner.GetTavikResource().GetGUID()) ==
               TunerBookingManager::ePlanned;
    };
    TunerCandidate facts;
    facts.tuner = *found;
    facts.bandwidth = found->GetMaxSWBandwidth();
    facts.refusal = TunerFilter::freeTuners(isPlanned, order.storageGuids).withNeeds(needs).refusalOf(*found);
    if (facts.refusal == TunerRefusal::OutOfRange || facts.refusal == TunerRefusal::TooNarrow)
        facts.detail = problemWith(*found, needs);
    OrderCandidate candidate = candidateOf(std::move(facts), needs);
    candidate.rank = candidate.facts.refusal == TunerRefusal::None ? 1 : 0;
    m_choice.candidates.push_back(std::move(candidate));
}

OrderCandidate OrderExplainer::candidateOf(TunerCandidate facts, const TunerNeeds& needs) const
{
    OrderCandidate candidate;
    candidate.facts = std::move(facts);
    candidate.needs = needs;
    candidate.state = m_server->getBookingManager().getTunerState(candidate.guid());
    if (isTaken(candidate.facts.refusal))
        candidate.holder = ServerTuners::holder(*m_server, candidate.guid());
    return candidate;
}

} // namespace Kolta
