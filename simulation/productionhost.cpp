#include <simulation/productionhost.h>

#include <simulation/installation.h>
#include <simulation/misbehaviour.h>
#include <simulation/resourcestate.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/productionrequestreply.h>

#include <QTimer>

#include <utility>

namespace KoltaSimulation {

using RESOURCEMANAGEMENT::ProcessorOverview;

namespace {

QString replyNode()
{
    return ServerNodes::name(ServerNodes::eReplyResource);
}

QString stoppedNode()
{
    return ServerNodes::name(ServerNodes::eStoppedResource);
}

QString driverNode(const QUuid& guid)
{
    return ServerNodes::name(ServerNodes::eConnectionInfo) + QLatin1Char('/') + guid.toString();
}

QStringList textsOfGuids(const QVector<QUuid>& guids)
{
    QStringList texts;
    texts.reserve(guids.size());
    for (const QUuid& guid : guids)
        texts.append(guid.toString());
    return texts;
}

void auditOrder(const Orderer& orderer, const QString& what, const QString& result)
{
    audit(orderer.who, orderer.where, what, result);
}

} // namespace

ProductionHost::ProductionHost(const Installation& installation, ResourceState& resources,
                               MisbehaviourPlan& plan, AdminNodes& nodes)
    : m_installation(installation)
    , m_resources(resources)
    , m_plan(plan)
    , m_nodes(nodes)
    , m_productions(installation, resources)
{
}

void ProductionHost::begin()
{
    end();
    ProcessorOverview overview;
    const QString text =
        m_installation.furtherOverviews().value(ServerNodes::name(ServerNodes::eActualConfiguration));
    if (!text.isEmpty())
        overview.SetXmlString(text, true); // was read before when the installation was loaded
    m_productions.load(overview);
    m_productions.takeChanges();
}

void ProductionHost::end()
{
    ++m_life;
    m_waiting.clear();
    m_sayings.clear();
    m_hardware.clear();
    m_productions.clear();
}

QVector<NodeText> ProductionHost::texts() const
{
    QVector<NodeText> texts;
    for (const QUuid& guid : m_productions.drivers())
        texts += textsOf(*m_productions.driver(guid));
    texts.append(
        {ServerNodes::name(ServerNodes::eActualConfiguration), m_productions.overview().GetXmlString()});
    return texts;
}

void ProductionHost::request(const QString& name, const QString& text)
{
    enqueue({Job::Request, QString(), ProductionRequest::read(name, text)});
}

void ProductionHost::stop(const QString& text)
{
    enqueue({Job::Stop, text, {}});
}

void ProductionHost::stopAll()
{
    enqueue({Job::StopAll, QString(), {}});
}

void ProductionHost::stopLost()
{
    enqueue({Job::StopLost, QString(), {}});
}

void ProductionHost::enqueue(Waiting waiting)
{
    m_waiting.push_back(std::move(waiting));
    if (std::exchange(m_scheduled, true))
        return;
    const auto workOffAll = [this] {
        m_scheduled = false;
        settle();
    };
    QMetaObject::invokeMethod(this, workOffAll, Qt::QueuedConnection);
}

void ProductionHost::settle()
{
    const std::deque<Waiting> waiting = std::exchange(m_waiting, {});
    for (const Waiting& one : waiting)
        workOff(one);
    flush();
}

void ProductionHost::workOff(const Waiting& waiting)
{
    switch (waiting.job) {
    case Job::Request:
        workOffRequest(waiting);
        break;
    case Job::Stop:
        stopGuid(waiting);
        break;
    case Job::StopAll:
        auditOrder(waiting.orderer, QStringLiteral("stop all"), QStringLiteral("done"));
        sayEnded(m_productions.stopAll());
        break;
    case Job::StopLost:
        sayEnded(m_productions.stopLost());
        break;
    }
}

void ProductionHost::workOffRequest(const Waiting& waiting)
{
    const ProductionRequest& request = waiting.request;
    MisbehaviourPlan::Decision decision;
    if (!waiting.decided)
        decision = m_plan.decideProduction(request.kindName());
    switch (decision.kind) {
    case Misbehaviour::RefuseProduction:
        answer(waiting, decision.text);
        return;
    case Misbehaviour::DelayProduction:
        delay(waiting, decision.argument);
        return;
    case Misbehaviour::SilentProduction:
        return;
    case Misbehaviour::BrokenProduction:
        fulfil(request);
        m_sayings.append({replyNode(), QStringLiteral("@?@") + request.id.toString()});
        return;
    case Misbehaviour::StrayStop:
        m_sayings.append({stoppedNode(), QUuid::createUuid().toString()});
        break;
    default:
        break;
    }
    answer(waiting, fulfil(request));
}

/// Empty, or the reason of the refusal.
QString ProductionHost::fulfil(const ProductionRequest& request)
{
    return m_refusal.isEmpty() ? m_productions.fulfil(request) : m_refusal;
}

void ProductionHost::delay(const Waiting& waiting, int milliseconds)
{
    Waiting later = waiting;
    later.decided = true;
    QTimer::singleShot(milliseconds, this, [this, later, life = m_life] {
        if (life == m_life)
            enqueue(later);
    });
}

void ProductionHost::stopGuid(const Waiting& waiting)
{
    const QString& text = waiting.text;
    const QUuid guid = Kolta::guidFromText(text);
    const auto ended = m_productions.stop(guid);
    auditOrder(waiting.orderer, QStringLiteral("stop ") + text,
               ended ? QStringLiteral("done") : QStringLiteral("nothing to stop"));
    if (ended)
        sayEnded(*ended);
    else
        m_sayings.append(
            {QString(), QStringLiteral("Nothing to stop: no production or processor %1").arg(text)});
}

/// `problem` is the reason of a refusal, empty for none.
void ProductionHost::answer(const Waiting& waiting, const QString& problem)
{
    const ProductionRequest& request = waiting.request;
    auditOrder(waiting.orderer, request.kindName() + QLatin1Char(' ') + request.id.toString(),
               problem.isEmpty() ? QStringLiteral("done") : QStringLiteral("refused, %1").arg(problem));
    if (request.id.isNull()) {
        m_sayings.append(
            {QString(), QStringLiteral("Refused a request that names nothing: %1").arg(problem)});
        return;
    }
    const Kolta::ProductionRequestReply reply(request.id, problem.isEmpty(), problem);
    m_sayings.append({replyNode(), reply.toString()});
}

void ProductionHost::sayEnded(const QVector<QUuid>& ended)
{
    for (const QUuid& production : ended)
        m_sayings.append({stoppedNode(), production.toString()});
}

void ProductionHost::flush()
{
    const Productions::Changes changes = m_productions.takeChanges();
    const QVector<NodeText> sayings = std::exchange(m_sayings, {});
    const int life = m_life;
    if (!changes.isEmpty() && !showChanges(changes))
        return;
    for (const NodeText& saying : sayings) {
        if (saying.node.isEmpty())
            Q_EMIT noticed(saying.text);
        else
            m_nodes.sayText(saying.node, saying.text);
        if (life != m_life)
            return;
    }
}

/// Connection information comes first and goes last: it belongs to what the overviews show. False when
/// somebody who was told ended this life, which leaves nothing to be shown.
bool ProductionHost::showChanges(const Productions::Changes& changes)
{
    const int life = m_life;
    showDrivers(changes.started);
    if (life == m_life)
        m_nodes.setText(ServerNodes::name(ServerNodes::eActualConfiguration),
                        m_productions.overview().GetXmlString());
    if (life == m_life)
        showHardware(changes);
    if (life == m_life)
        hideDrivers(changes.stopped);
    if (life == m_life)
        Q_EMIT processorsStopped(changes.stopped);
    if (life == m_life)
        Q_EMIT resourcesChanged();
    return life == m_life;
}

void ProductionHost::showHardware(const Productions::Changes& changes)
{
    const QString node = ServerNodes::name(ServerNodes::eHardwareProcessing);
    m_nodes.setText(node, m_hardware.amend(m_nodes.text(node), textsOfGuids(changes.hardware),
                                           textsOfGuids(changes.stopped)));
}

QVector<NodeText> ProductionHost::textsOf(const Driver& driver) const
{
    const RESOURCEMANAGEMENT::Tuner* const tuner = m_resources.tuner(driver.tuner);
    const QString server = m_installation.serverName();
    const std::pair<const char*, QString> values[] = {
        {"Processor_Type", driver.type},
        {"vtconnection",
         QStringLiteral("%1/%2/%3")
             .arg(m_installation.hostName(), driver.type, driver.guid.toString(QUuid::WithoutBraces))},
        {"taskID", QStringLiteral("%1-%2").arg(server).arg(driver.task)},
        {"ReservedTime", driver.reserved.toString(Qt::ISODate)},
        {"Frequency", QString::number(driver.frequency, 'g', 17)},
        {"Bandwidth", QString::number(driver.bandwidth, 'g', 17)},
        {"settings", tuner ? tuner->GetConfiguration() : QString()},
        // Who finds the child by its GUID finds all the rest in place.
        {"Kolta_GUID", driver.guid.toString()},
    };
    QVector<NodeText> texts;
    for (const auto& [name, text] : values)
        texts.append({driverNode(driver.guid) + QLatin1Char('/') + QLatin1String(name), text});
    return texts;
}

void ProductionHost::showDrivers(const QVector<QUuid>& drivers)
{
    const int life = m_life;
    for (const QUuid& guid : drivers) {
        const std::optional<Driver> driver = m_productions.driver(guid);
        if (!driver)
            continue;
        for (const NodeText& text : textsOf(*driver)) {
            m_nodes.setText(text.node, text.text);
            if (life != m_life)
                return;
        }
    }
}

void ProductionHost::hideDrivers(const QVector<QUuid>& processors)
{
    const int life = m_life;
    for (const QUuid& guid : processors) {
        m_nodes.remove(driverNode(guid));
        if (life != m_life)
            return;
    }
}

} // namespace KoltaSimulation
