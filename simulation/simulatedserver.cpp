#include <simulation/simulatedserver.h>

#include <simulation/administration.h>
#include <simulation/adminnodes.h>
#include <simulation/brokenreply.h>
#include <simulation/shorttimeowner.h>
#include <simulation/simulatedlink.h>

#include <startup/hostandport.h>
#include <startup/onelinetext.h>
#include <startup/tracesource.h>
#include <xmlmessaging/server.h>

#include <QMetaMethod>
#include <QTimer>

namespace KoltaSimulation {

using XmlCommon::CDataTree;
using XmlCommon::CMsgFragment;
using XmlCommon::CXmlMessage;
using XmlCommunication::CServerLink;

namespace {

enum eTracePoint : int { eCannotListen = 290, eCannotComeBack = 400 };
constexpr Startup::TraceSource kTrace("simulation/simulatedserver", Startup::eTraceWarning);

SimulatedLink* simulatedLink(CServerLink* link)
{
    return link->findChild<SimulatedLink*>(QString(), Qt::FindDirectChildrenOnly);
}

bool isRequest(const CXmlMessage& message)
{
    return message.getServiceType() == CXmlMessage::eSERVICE_QUERY ||
           message.getServiceType() == CXmlMessage::eSERVICE_COMMAND;
}

} // namespace

SimulatedServer::SimulatedServer(const Installation& installation, QObject* parent)
    : QObject(parent)
    , m_installation(installation)
    , m_resources(installation.resources())
    , m_desk(m_installation, m_resources, m_statistics)
    , m_server(std::make_unique<XmlCommunication::CServer>())
    , m_administration(std::make_unique<Administration>(m_installation, m_resources, m_plan))
{
    connect(m_administration.get(), &Administration::resourcesChanged, this, [this] { told(true); });
    connect(m_administration.get(), &Administration::ended, this, &SimulatedServer::followEnd);
    connect(m_server.get(), &XmlCommunication::CServer::LinkOpened, this, &SimulatedServer::openLink,
            Qt::DirectConnection);
}

SimulatedServer::~SimulatedServer()
{
    // Links end while the members that their slots use are still there.
    m_administration->withdraw();
    m_server.reset();
}

bool SimulatedServer::listen(const QHostAddress& address, quint16 port)
{
    m_address = address;
    m_port = port;
    m_vanished = false;
    if (!openPort())
        return false;
    applyRefusal();
    return true;
}

bool SimulatedServer::openPort()
{
    if (m_server->isListening())
        return true;
    if (!m_server->listen(m_address, m_port))
        return false;
    m_port = m_server->port();
    return true;
}

void SimulatedServer::setTls(const XmlCommunication::TlsSettings& settings)
{
    m_server->setTls(settings);
}

void SimulatedServer::setPlainNetworkAllowed(bool allowed)
{
    m_server->setPlainNetworkAllowed(allowed);
}

void SimulatedServer::close()
{
    cutLinks();
    m_server->close();
    m_vanished = true;
}

QString SimulatedServer::hostAndPort() const
{
    return Startup::joinHostAndPort(m_address.toString(), m_port);
}

QString SimulatedServer::errorString() const
{
    return m_server->errorString();
}

void SimulatedServer::publish()
{
    publish(values::Tree::Instance());
}

void SimulatedServer::publish(values::Tree& tree)
{
    m_administration->publish(tree);
    told(true);
}

void SimulatedServer::withdraw()
{
    m_administration->withdraw();
    told(true);
}

values::Tree* SimulatedServer::tree() const
{
    return m_administration->tree();
}

void SimulatedServer::setStartupStep(int milliseconds)
{
    m_administration->setStartupStep(milliseconds);
}

QString SimulatedServer::nodePath(const QString& name) const
{
    return AdminNodes::path(m_installation, name);
}

QString SimulatedServer::kindOf(const QUuid& guid) const
{
    return m_administration->kindOf(guid);
}

bool SimulatedServer::setTunerIdle(const QString& guid, bool idle)
{
    return told(m_resources.setTunerIdle(guid, idle));
}

bool SimulatedServer::setTunerAccessible(const QString& guid, bool accessible)
{
    return told(m_resources.setTunerAccessible(guid, accessible));
}

bool SimulatedServer::addTuner(const RESOURCEMANAGEMENT::Tuner& tuner)
{
    return told(m_resources.addTuner(tuner));
}

bool SimulatedServer::removeTuner(const QString& guid)
{
    return told(m_resources.removeTuner(guid));
}

void SimulatedServer::setWorkingState(int state)
{
    m_administration->setWorkingState(state);
}

void SimulatedServer::setStatus(const QString& text)
{
    m_administration->setStatus(text);
}

void SimulatedServer::endBatch()
{
    if (--m_batches == 0)
        tellChanges();
}

bool SimulatedServer::told(bool changed)
{
    if (changed && m_batches == 0)
        tellChanges();
    return changed;
}

void SimulatedServer::tellChanges()
{
    const ResourceState::Changes changes = m_resources.takeChanges();
    if (changes.isEmpty())
        return;
    CDataTree data(QLatin1String("ResourcesChanged"));
    XmlCommon::CElement root = data.editRoot();
    for (const QString& guid : changes.added)
        root.append("Added", guid);
    for (const QString& guid : changes.changed)
        root.append("Changed", guid);
    for (const QString& guid : changes.removed)
        root.append("Removed", guid);
    broadcast(QStringLiteral("Resources"), data);
    m_administration->showResources();
}

void SimulatedServer::vanish()
{
    m_administration->disappear();
    close();
    told(true);
}

bool SimulatedServer::comeBack()
{
    // A server that never listened comes back to its nodes only.
    if (m_port != 0 && !openPort())
        return false;
    m_vanished = false;
    applyRefusal();
    m_administration->appear();
    return true;
}

void SimulatedServer::cutLinks()
{
    for (CServerLink* link : m_server->links()) {
        SimulatedLink* simulated = simulatedLink(link);
        if (!simulated || simulated->isDead())
            continue;
        ++m_statistics.cuts;
        simulated->reset();
    }
}

void SimulatedServer::setReading(bool enabled)
{
    for (CServerLink* link : m_server->links())
        link->setReading(enabled);
}

int SimulatedServer::broadcast(const QString& component, const CDataTree& data)
{
    CMsgFragment fragment(component);
    fragment.setDataTree(data);
    return broadcastMessage(fragment);
}

int SimulatedServer::broadcastFault(const QString& component, const XmlCommon::CFaultTree& fault)
{
    CMsgFragment fragment(component);
    fragment.setFaultTree(fault);
    return broadcastMessage(fragment);
}

int SimulatedServer::broadcastMessage(const CMsgFragment& fragment)
{
    CXmlMessage message(CXmlMessage::eSERVICE_BROADCAST);
    message.addFragment(fragment);
    int reached = 0;
    for (CServerLink* link : m_server->links()) {
        SimulatedLink* simulated = simulatedLink(link);
        if (!simulated || simulated->isDead() || !simulated->settings().wants(fragment.getComponentName()))
            continue;
        simulated->send(message);
        ++reached;
    }
    m_statistics.broadcasts += static_cast<quint64>(reached);
    return reached;
}

void SimulatedServer::addMisbehaviour(const MisbehaviourRule& rule)
{
    m_plan.add(rule);
    applyRefusal();
}

void SimulatedServer::clearMisbehaviour()
{
    m_plan.clear();
    applyRefusal();
}

void SimulatedServer::applyRefusal()
{
    if (m_port == 0 || m_vanished)
        return;
    if (m_plan.refuses())
        m_server->close();
    else if (!openPort())
        kTrace(eCannotListen,
               QStringLiteral("Cannot listen on %1 again: %2").arg(hostAndPort(), errorString()));
}

void SimulatedServer::openLink(CServerLink* link)
{
    ++m_statistics.links;
    auto* simulated = new SimulatedLink(*link);
    simulated->settings().user = link->getPeerUser();
    tell(*simulated, QStringLiteral("link opened"));
    connect(link, &CServerLink::Closed, this, [this, simulated](const QString& reason) {
        tell(*simulated, simulated->isDead() ? QStringLiteral("link ended by the server")
                         : reason.isEmpty()  ? QStringLiteral("link ended by the client")
                                             : QStringLiteral("link ended: ") + reason);
        simulated->markDead();
    });
    connect(link, &CServerLink::MessageReceived, this,
            [this, simulated](const XmlCommon::ptrCXmlMessage& message) { receive(*simulated, message); });
    const MisbehaviourPlan::Decision decision = m_plan.decideLink();
    if (decision.kind != Misbehaviour::None)
        tell(*simulated, QStringLiteral("misbehaves: ") + misbehaviourName(decision.kind));
    switch (decision.kind) {
    case Misbehaviour::CloseAtOnce:
        ++m_statistics.cuts;
        simulated->cut(QByteArray(), 0);
        break;
    case Misbehaviour::StopReading:
        link->setReading(false);
        break;
    case Misbehaviour::Garbage:
        simulated->sendBytes(m_plan.garbage(decision.argument));
        break;
    default:
        break;
    }
}

void SimulatedServer::receive(SimulatedLink& link, const XmlCommon::ptrCXmlMessage& message)
{
    if (link.isDead() || !message || !isRequest(*message))
        return;
    m_desk.count(*message);
    const CXmlMessage reply = m_desk.answer(*message, link.link().getPeerName(), link.settings(),
                                            [&](const QString& line) { tell(link, line); });
    const QString component =
        message->getNumberOfFragments() > 0 ? message->getFragment(0).getComponentName() : QString();
    const MisbehaviourPlan::Decision decision = m_plan.decideRequest(component);
    if (decision.kind != Misbehaviour::None)
        tell(link, QStringLiteral("misbehaves: ") + misbehaviourName(decision.kind));
    misbehave(link, reply, decision);
}

void SimulatedServer::tell(const SimulatedLink& link, const QString& what)
{
    static const QMetaMethod signal = QMetaMethod::fromSignal(&SimulatedServer::happened);
    if (!isSignalConnected(signal))
        return;
    const QString& user = link.settings().user;
    Q_EMIT happened(Startup::oneLineText(QStringLiteral("%1%2 %3").arg(
        link.link().getPeerName(), user.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(user), what)));
}

void SimulatedServer::misbehave(SimulatedLink& link, const CXmlMessage& reply,
                                const MisbehaviourPlan::Decision& decision)
{
    switch (decision.kind) {
    case Misbehaviour::None:
        sendReply(link, reply);
        break;
    case Misbehaviour::Silent:
        break;
    case Misbehaviour::Reset:
        ++m_statistics.cuts;
        link.reset();
        break;
    case Misbehaviour::Delay:
        QTimer::singleShot(decision.argument, &link, [this, &link, reply] { sendReply(link, reply); });
        break;
    case Misbehaviour::WrongId:
        sendReply(link, withWrongId(reply));
        break;
    case Misbehaviour::WrongComponent:
        sendReply(link, withWrongComponent(reply));
        break;
    case Misbehaviour::ForgedText:
        sendReply(link, withForgedText(reply));
        break;
    case Misbehaviour::Twice:
        sendReply(link, reply);
        sendReply(link, reply);
        break;
    case Misbehaviour::Cut: {
        const QByteArray bytes = framedBytes(reply);
        ++m_statistics.cuts;
        link.cut(bytes, decision.argument < 0 ? m_plan.randomBelow(bytes.size()) : decision.argument);
        break;
    }
    default:
        sendSpoilt(link, reply, decision);
    }
}

void SimulatedServer::sendSpoilt(SimulatedLink& link, const CXmlMessage& reply,
                                 const MisbehaviourPlan::Decision& decision)
{
    ++m_statistics.replies;
    switch (decision.kind) {
    case Misbehaviour::Split:
        link.sendInPieces(framedBytes(reply), decision.argument);
        break;
    case Misbehaviour::Merge:
        link.sendMerged(framedBytes(reply), decision.argument);
        break;
    case Misbehaviour::BrokenFrame:
        link.sendBytes(brokenFrame(reply, decision.argument < 0 ? m_plan.randomBelow(kBrokenFrameVariants)
                                                                : decision.argument));
        break;
    case Misbehaviour::BrokenXml:
        link.sendBytes(brokenXml(reply));
        break;
    case Misbehaviour::Oversize:
        link.sendBytes(oversizeReply(reply, decision.argument));
        break;
    case Misbehaviour::Deep:
        link.sendBytes(deepReply(reply, decision.argument));
        break;
    default:
        link.sendBytes(nonUtf8Reply(reply));
        break;
    }
}

void SimulatedServer::sendReply(SimulatedLink& link, const CXmlMessage& reply)
{
    if (link.isDead())
        return;
    ++m_statistics.replies;
    link.send(reply);
}

void SimulatedServer::followEnd(bool returns)
{
    vanish();
    if (!returns) {
        Q_EMIT quitRequested();
        return;
    }
    QTimer::singleShot(0, this, [this] {
        if (m_vanished && !comeBack())
            kTrace(eCannotComeBack,
                   QStringLiteral("Cannot come back on %1: %2").arg(hostAndPort(), errorString()));
    });
}

} // namespace KoltaSimulation
