#include <koltacommon/koltaconnection.h>

#include "koltaconnectiontrace.h"
#include "linkaccount.h"

#include <koltacommon/eventfilterall.h>
#include <koltacommon/koltaconnectionsviewer.h>

#include <startup/clock.h>
#include <startup/hostandport.h>
#include <xmlmessaging/connectionthread.h>
#include <xmlmessaging/logger.h>

#include <QPointer>

#include <exception>

using XmlCommon::CXmlMessage;
using XmlCommon::ptrCXmlMessage;
using XmlCommunication::CConnectionThread;

namespace Kolta {

namespace {

constexpr quint32 kAvailableTimePerMs = 100;

/// Lets go of a thread object without waiting: it deletes itself once the thread has ended.
void retire(CConnectionThread* thread)
{
    thread->exit(0);
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    QObject::connect(thread, &CConnectionThread::terminated, thread, &QObject::deleteLater);
    // Asked after connecting, so that a thread that ends meanwhile is not missed.
    if (!thread->isRunning())
        thread->deleteLater();
}

QHostAddress hostOf(const QString& hostAndPort)
{
    QString host;
    QString port;
    return Startup::splitHostAndPort(hostAndPort, host, port) ? QHostAddress(host) : QHostAddress();
}

quint16 portOf(const QString& hostAndPort)
{
    QString host;
    QString port;
    if (!Startup::splitHostAndPort(hostAndPort, host, port))
        return 0;
    return static_cast<quint16>(qMax(0, Startup::portFromText(port)));
}

} // namespace

KoltaConnection::KoltaConnection(const QString& connectionName, const QString& version,
                                 const QString& hostAndPort, bool debugLog)
    : KoltaConnection(connectionName, version, hostOf(hostAndPort), portOf(hostAndPort), debugLog)
{
}

KoltaConnection::KoltaConnection(const QString& connectionName, const QString& version,
                                 const QHostAddress& address, quint16 port, bool debugLog)
    : name(connectionName), interfaceVersion(version), peerAddress(address), peerPort(port), debug(debugLog)
{
    const QString host = peerAddress.toString();
    const QString portText = QString::number(peerPort);
    info = QStringLiteral("KoltaConnection(%1,%2,%3)").arg(name, host, portText);
    logName = QStringLiteral("%1_%2_port%3").arg(name, host, portText);

    static const int messageType = qRegisterMetaType<XmlCommon::ptrCXmlMessage>("XmlCommon::ptrCXmlMessage");
    static const int requestType = qRegisterMetaType<Kolta::ptrKoltaRequest>("Kolta::ptrKoltaRequest");
    Q_UNUSED(messageType)
    Q_UNUSED(requestType)

    eventFilterRequests.append(ptrKoltaRequest(new EventFilterAll));
    keepAccountIn(std::make_shared<LinkAccount>(name, host, peerPort));
}

KoltaConnection::~KoltaConnection()
{
    endFigures();
    account->setConnection(nullptr);
    if (thread) {
        thread->disconnect(this);
        exitThread();
        thread.reset();
    }
    // Requests may run code when they are told and released; by then the lists are no longer the
    // connection's, and what they execute here is refused.
    closing = true;
    Entries released;
    released.swap(queue);
    QList<ptrKoltaRequest> releasedFilters;
    releasedFilters.swap(eventFilterRequests);
    abandon(released, Abandonment::Closed);
}

/// This one's own, or that of the keeper who has made this.
void KoltaConnection::keepAccountIn(const std::shared_ptr<LinkAccount>& other)
{
    account = other;
    account->setConnection([this](LinkFigures& figures) { fillFigures(figures); });
}

void KoltaConnection::fillFigures(LinkFigures& figures) const
{
    figures.queued += queue.size();
    if (!queue.isEmpty())
        figures.headAgeMs = Startup::Clock::instance().now() - queue.first().since;
    if (thread) {
        figures.bytesOut += thread->getBytesSent();
        figures.bytesIn += thread->getBytesReceived();
    }
}

/// Takes over what the present thread has counted.
void KoltaConnection::endFigures()
{
    if (thread)
        account->addBytes(thread->getBytesSent(), thread->getBytesReceived());
}

LinkFigures KoltaConnection::figures() const
{
    return account->figures();
}

void KoltaConnection::open()
{
    if (thread)
        return;
    reconnectState = 0;
    const QPointer<KoltaConnection> guard(this);
    const std::shared_ptr<CConnectionThread> link(new CConnectionThread(peerAddress.toString(), peerPort),
                                                  &retire);
    link->setConnectTime(std::chrono::milliseconds(connectLimitMs));
    thread = link;
    if (!account->hasKeeper())
        account->setState(LinkFigures::State::Connecting);
    if (!guard || thread != link)
        return;
    connectThread();
    const bool fullLog = debug;
    const QString log = logName;
    KoltaConnectionsViewer::Instance().registerConnection(link.get(), QString());
    // Somebody who watches the registry may have deleted this connection.
    if (!guard || thread != link)
        return;
    XmlCommunication::logger::Logger::instance().registerConnection(
        link.get(), fullLog ? XmlCommunication::logger::eLogFull : XmlCommunication::logger::eLogShort, log);
    link->start(QThread::InheritPriority);
    if (!link->isRunning() && !link->isFinished())
        QMetaObject::invokeMethod(
            this, [this, link] { giveUp(link); }, Qt::QueuedConnection);
}

/// The system had no thread for the link, which therefore says nothing of its own.
void KoltaConnection::giveUp(const std::shared_ptr<CConnectionThread>& link)
{
    const QPointer<KoltaConnection> guard(this);
    if (thread == link)
        SlotSocketError(link->getLinkId(), QAbstractSocket::SocketResourceError);
    if (guard && thread == link)
        SlotConnectionClosed();
}

void KoltaConnection::connectThread()
{
    CConnectionThread* const link = thread.get();
    connect(link, &CConnectionThread::SignalNewJob, this, &KoltaConnection::SlotDispatch);
    connect(link, &CConnectionThread::SignalSocketError, this, &KoltaConnection::SlotSocketError);
    connect(link, &CConnectionThread::SignalSocketStateChanged, this,
            &KoltaConnection::SlotSocketStateChanged);
    connect(link, &QThread::finished, this, &KoltaConnection::SlotConnectionClosed,
            static_cast<Qt::ConnectionType>(Qt::AutoConnection | Qt::UniqueConnection));
}

void KoltaConnection::close(bool discardQueue)
{
    if (!thread)
        return;
    closing = true;
    reconnectState = 0;
    Entries released;
    if (discardQueue)
        released.swap(queue);
    if (queue.isEmpty())
        exitThread();
    abandon(released, Abandonment::Closed);
}

bool KoltaConnection::closeAndWaitForFinished(unsigned int timeout, bool sendPending)
{
    if (!thread)
        return true;
    const QPointer<KoltaConnection> guard(this);
    const auto link = thread;
    if (sendPending)
        transmitAll();
    if (!guard)
        return true;
    Entries released;
    released.swap(queue);
    closing = true;
    reconnectState = 0;
    exitThread();
    const bool ended = link->waitForFinished(timeout);
    abandon(released, Abandonment::Closed);
    return ended;
}

quint32 KoltaConnection::availableTime(int milliseconds)
{
    return static_cast<quint32>(milliseconds) * kAvailableTimePerMs;
}

void KoltaConnection::setTimeLimits(int connectMs, int replyMs)
{
    connectLimitMs = connectMs;
    replyLimitMs = replyMs;
}

void KoltaConnection::setEventFilterRequests(const QList<Kolta::ptrKoltaRequest>& requests)
{
    eventFilterRequests = requests;
}

void KoltaConnection::DisableFilter()
{
    eventFilterRequests.clear();
}

void KoltaConnection::setLogDescription(const QString& description, bool appendAddress)
{
    logName = description.isEmpty() ? name : description;
    // The placeholders are numbered as in the complete pattern on purpose; they are filled in order.
    if (appendAddress)
        logName += QStringLiteral("_%2_port%3").arg(peerAddress.toString(), QString::number(peerPort));
}

void KoltaConnection::SlotSocketStateChanged(quint32 id, QAbstractSocket::SocketState state)
{
    if (state == QAbstractSocket::ConnectedState)
        SlotConnected(id);
}

void KoltaConnection::SlotConnected(quint32 id)
{
    Q_UNUSED(id)
    const QPointer<KoltaConnection> guard(this);
    const auto keepThread = thread;
    if (!account->hasKeeper())
        account->setState(LinkFigures::State::Up);
    if (!guard || thread != keepThread)
        return;
    connected = true;
    busy = false;
    dropStaleStartUp();

    // Goes behind what is queued already, so that a request that a lost link left unanswered stays the head.
    const QList<ptrKoltaRequest> filters = eventFilterRequests;
    execute(ptrKoltaRequest(new GeneralRequest(makeStartUpMessage())), true);
    if (!guard)
        return;
    sendNextRequest();
    if (!guard)
        return;
    for (const ptrKoltaRequest& filter : filters) {
        execute(filter, true);
        if (!guard)
            return;
    }
    Q_EMIT ConnectionOpened();
}

void KoltaConnection::SlotConnectionClosed()
{
    endFigures();
    connected = false;
    if (thread) {
        // Nothing that the ended link still has to say may reach the next one.
        thread->disconnect(this);
        thread.reset();
    }
    if (reconnectState == 2)
        return open();
    // A close that was to work off the queue has lost its link before it had.
    Entries released;
    if (closing)
        released.swap(queue);
    const QPointer<KoltaConnection> guard(this);
    const auto keepAccount = account;
    if (!account->hasKeeper())
        account->setState(LinkFigures::State::Closed);
    abandon(released, Abandonment::LinkEnded);
    if (guard)
        Q_EMIT ConnectionClosed();
}

void KoltaConnection::SlotDispatch(ptrCXmlMessage message, GLOBAL_XML_TYPES::eMESSAGE_TYPES messageType)
{
    Q_UNUSED(messageType)
    if (!message)
        return;
    const QPointer<KoltaConnection> guard(this);
    const auto keepThread = thread;
    const auto keepAccount = account;
    account->noteReceived(message);
    if (!guard)
        return;
    try {
        if (isReply(message))
            processReply(message);
        else if (message->getServiceType() == CXmlMessage::eSERVICE_BROADCAST)
            processBroadcast(message);
    } catch (const std::exception&) { // any other passes on
        kTrace.caught(eDispatchException, eDispatchException, "KoltaRequest::SlotDispatch");
    }
}

void KoltaConnection::SlotSocketError(quint32 id, QAbstractSocket::SocketError error)
{
    Q_UNUSED(id)
    const QPointer<KoltaConnection> guard(this);
    const auto link = thread;
    account->fail(getSocketError(error));
    try {
        Q_EMIT ConnectionError(getSocketError(error));
    } catch (...) { // what follows decides whether the link is opened again
        kTrace(eReceiverException, QStringLiteral("caught exception from a receiver of ConnectionError"));
    }
    // A receiver may have run an event loop in which this link ended and another one took its place.
    if (!guard || thread != link)
        return;
    if (reconnectState == 1) {
        reconnectState = 2;
        connected = false;
        exitThread();
        return;
    }
    if (!thread)
        return;
    closing = true;
    reconnectState = 0;
    Entries released;
    released.swap(queue);
    exitThread();
    abandon(released, Abandonment::LinkEnded);
}

void KoltaConnection::exitThread()
{
    if (thread)
        thread->exit(0);
}

void KoltaConnection::processReply(const ptrCXmlMessage& reply)
{
    if (queue.isEmpty())
        return;
    const QPointer<KoltaConnection> guard(this);
    const ptrKoltaRequest head = queue.first().request;
    const ptrCXmlMessage message = messageOfHead(head);
    if (!guard || !message || message->getMessageID() != reply->getMessageID())
        return;
    if (!connected) {
        clearMessageReply(reply);
        return;
    }
    if (queue.isEmpty() || queue.first().request != head)
        return;
    queue.removeFirst();
    account->noteAnswer();
    message->setToken(QString());
    message->setSentAgain(false);
    reconnectState = 1;
    busy = false;

    const ptrKoltaRequest followUp = handleReply(head, reply);
    if (!guard)
        return;
    if (followUp)
        executeRequest(followUp);
    if (guard)
        sendNextRequest();
}

/// Returns the follow-up request. This may be gone afterwards.
ptrKoltaRequest KoltaConnection::handleReply(const ptrKoltaRequest& request, const ptrCXmlMessage& reply)
{
    const QPointer<KoltaConnection> guard(this);
    try {
        const QString problem = request->handleFault() ? QString() : getReplyProblem(reply);
        if (!problem.isNull())
            Q_EMIT Fault(problem);
        // What answers nothing is no fault: the request may have more to ask all the same.
        if (guard && (problem.isNull() || !hasFault(reply)))
            return request->processReply(reply);
    } catch (...) {
        kTrace.caught(eProcessReplyException, eProcessReplyException, "KoltaRequest::processReply");
    }
    return ptrKoltaRequest();
}

void KoltaConnection::processBroadcast(const ptrCXmlMessage& message)
{
    const QPointer<KoltaConnection> guard(this);
    std::exception_ptr thrown;
    try {
        if (hasFault(message))
            Q_EMIT Fault(getFaultText(message));
    } catch (...) { // the others hear of the broadcast all the same
        thrown = std::current_exception();
    }
    if (guard)
        Q_EMIT Broadcast(message);
    if (thrown)
        std::rethrow_exception(thrown);
}

} // namespace Kolta
