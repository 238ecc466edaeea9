#include <koltacommon/koltaconnection.h>

#include <koltacommon/eventfilterall.h>
#include <koltacommon/koltaconnectionsviewer.h>

#include <startup/tracesource.h>
#include <xmlmessaging/connectionthread.h>
#include <xmlmessaging/converters.h>
#include <xmlmessaging/logger.h>

#include <QPointer>

#include <exception>

using XmlCommon::CXmlMessage;
using XmlCommon::ptrCXmlMessage;
using XmlCommunication::CConnectionThread;

namespace Kolta {

namespace {

constexpr quint32 kAvailableTimePerMs = 100;
/// Every multiple of this queue length is worth a warning.
constexpr int kQueueWarningStep = 1000;

/// Numbers of the trace points. Support tools match on them.
enum eTracePoint : int {
    eQueueLength = 288,
    eExecuteException = 300,
    eExecuteUnknownException = 304,
    eDispatchException = 340,
    eProcessReplyException = 390,
    eSendException = 444,
    eAbandonedException = 460,
    eReceiverException = 470
};
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/koltaconnection");

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

/// Tells the server how this client wants its request trees handled; the first message on every link.
ptrCXmlMessage makeStartUpMessage()
{
    XmlCommunication::CRequestTreeConverter converter;
    converter.setRequestTreeSuppression(false);
    const ptrCXmlMessage message(new CXmlMessage(CXmlMessage::eSERVICE_COMMAND));
    message->setMessageID_byGenerator();
    message->addFragment(converter.makeFragment(), -1);
    return message;
}

bool isReply(CXmlMessage::eSERVICE_TYPES kind)
{
    return kind == CXmlMessage::eSERVICE_QUERY_REPLY || kind == CXmlMessage::eSERVICE_COMMAND_REPLY;
}

QHostAddress hostOf(const QString& hostAndPort)
{
    const int colon = hostAndPort.lastIndexOf(QLatin1Char(':'));
    return colon < 0 ? QHostAddress() : QHostAddress(hostAndPort.left(colon));
}

quint16 portOf(const QString& hostAndPort)
{
    const int colon = hostAndPort.lastIndexOf(QLatin1Char(':'));
    return colon < 0 ? quint16(0) : hostAndPort.mid(colon + 1).toUShort(nullptr, 10);
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
}

KoltaConnection::~KoltaConnection()
{
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
    if (sendPending) {
        const Entries pending = queue;
        if (!connected && !pending.isEmpty())
            transmit(makeStartUpMessage());
        for (const Entry& entry : pending) {
            try {
                const ptrCXmlMessage message = entry.request->getMessage();
                if (guard && message && thread == link) {
                    transmit(message);
                    for (Entry& queued : queue)
                        queued.wasSent = queued.wasSent || queued.request == entry.request;
                }
            } catch (...) {
                kTrace(eSendException, QStringLiteral("exception caught in sendNextRequest"));
            }
            if (!guard)
                return true;
        }
    }
    Entries released;
    released.swap(queue);
    closing = true;
    reconnectState = 0;
    exitThread();
    const bool ended = link->waitForFinished(timeout);
    abandon(released, Abandonment::Closed);
    return ended;
}

void KoltaConnection::executeRequest(Kolta::ptrKoltaRequest request)
{
    if (request)
        execute(request, false);
}

void KoltaConnection::execute(const ptrKoltaRequest& request, bool isStartUp)
{
    const Entry entry{request, isStartUp, false};
    try {
        return enqueue(entry);
    } catch (...) {
        kTrace.caught(eExecuteException, eExecuteUnknownException, "KoltaRequest::executeRequest");
    }
    abandon({entry}, Abandonment::Refused);
}

void KoltaConnection::executeRequest(KoltaRequest* request)
{
    executeRequest(ptrKoltaRequest(request));
}

void KoltaConnection::enqueue(const Entry& entry)
{
    const QPointer<KoltaConnection> guard(this);
    const ptrCXmlMessage message = entry.request->getMessage();
    if (!guard || closing || !message || message->getNumberOfFragments() == 0)
        return abandon({entry}, Abandonment::Refused);
    queue.append(entry);
    const int length = queue.size();
    if (length % kQueueWarningStep == 0)
        kTrace(eQueueLength, QStringLiteral("!!! Warning: %1 requests in connection queue (%2) !!!")
                                 .arg(QString::number(length), name));
    sendNextRequest();
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

/// A link that is lost again and again before its start-up exchange was sent must not make the queue grow.
/// The head stays: it may be in the server's hands.
void KoltaConnection::dropStaleStartUp()
{
    Entries released;
    for (int place = queue.size() - 1; place > 0; --place) {
        if (queue.at(place).isStartUp)
            released.append(queue.takeAt(place));
    }
}

void KoltaConnection::SlotConnectionClosed()
{
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
    abandon(released, Abandonment::LinkEnded);
    if (guard)
        Q_EMIT ConnectionClosed();
}

void KoltaConnection::SlotDispatch(ptrCXmlMessage message, GLOBAL_XML_TYPES::eMESSAGE_TYPES messageType)
{
    Q_UNUSED(messageType)
    if (!message)
        return;
    const auto keepThread = thread;
    try {
        if (isReply(message->getServiceType()))
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

/// Needs the connection no more: the first of them may delete it.
void KoltaConnection::abandon(const Entries& entries, Abandonment why)
{
    for (const Entry& entry : entries) {
        try {
            entry.request->abandoned(why, entry.wasSent);
        } catch (...) {
            kTrace(eAbandonedException, QStringLiteral("caught exception from KoltaRequest::abandoned"));
        }
    }
}

bool KoltaConnection::withdrawRequest(const ptrKoltaRequest& request)
{
    for (int place = queue.size() - 1; place >= (busy ? 1 : 0); --place) {
        if (queue.at(place).request == request && !queue.at(place).wasSent) {
            const Entry released = queue.takeAt(place);
            return true;
        }
    }
    return false;
}

void KoltaConnection::exitThread()
{
    if (thread)
        thread->exit(0);
}

void KoltaConnection::transmit(const ptrCXmlMessage& message)
{
    // A request that was answered before holds that reply; it goes out as the request that it was.
    if (isReply(message->getServiceType()))
        clearMessageReply(message);
    // Until it is answered a command keeps its token, by which the server knows it when it comes again.
    if (message->getServiceType() == CXmlMessage::eSERVICE_COMMAND && message->getToken().isEmpty())
        message->setToken_byGenerator();
    message->setMessageID_byGenerator();
    if (message->getAvailableTime() == 0)
        message->setAvailableTime(availableTime(replyLimitMs));
    thread->sendMessage(message, 0);
    message->setSentAgain(true);
}

void KoltaConnection::sendNextRequest()
{
    const QPointer<KoltaConnection> guard(this);
    while (!busy && connected && thread && !queue.isEmpty()) {
        if (sendHead() || !guard)
            return;
    }
    if (closing)
        exitThread();
}

/// False when the head could not be sent. It would block the queue for ever and is therefore dropped.
bool KoltaConnection::sendHead()
{
    const QPointer<KoltaConnection> guard(this);
    const ptrKoltaRequest head = queue.first().request;
    busy = true;
    try {
        const ptrCXmlMessage message = head->getMessage();
        if (!guard)
            return false;
        if (message && thread) {
            if (!queue.isEmpty() && queue.first().request == head)
                queue.first().wasSent = true;
            transmit(message);
            return true;
        }
    } catch (...) {
        kTrace(eSendException, QStringLiteral("exception caught in sendNextRequest"));
    }
    if (!guard)
        return false;
    busy = false;
    if (!queue.isEmpty() && queue.first().request == head) {
        const Entries released{queue.takeFirst()};
        abandon(released, Abandonment::Refused);
    }
    return false;
}

/// A head that cannot even name its message when its reply has come would block the queue for ever.
ptrCXmlMessage KoltaConnection::messageOfHead(const ptrKoltaRequest& head)
{
    const QPointer<KoltaConnection> guard(this);
    try {
        return head->getMessage();
    } catch (...) {
        if (guard && !queue.isEmpty() && queue.first().request == head) {
            const Entries released{queue.takeFirst()};
            busy = false;
            abandon(released, Abandonment::Refused);
            if (guard)
                sendNextRequest();
        }
        throw;
    }
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
    try {
        if (request->handleFault() || !hasFault(reply))
            return request->processReply(reply);
        Q_EMIT Fault(getFaultText(reply));
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

void KoltaConnection::clearMessageReply(const ptrCXmlMessage& message)
{
    const CXmlMessage::eSERVICE_TYPES kind = message->getServiceType();
    for (int i = 0; i < message->getNumberOfFragments(); ++i) {
        message->getFragment(i).setDataTree(XmlCommon::CDataTree());
        message->getFragment(i).setFaultTree(XmlCommon::CFaultTree());
    }
    message->removeReplyFragments();
    if (kind == CXmlMessage::eSERVICE_QUERY_REPLY)
        message->setServiceType(CXmlMessage::eSERVICE_QUERY);
    else if (kind == CXmlMessage::eSERVICE_COMMAND_REPLY)
        message->setServiceType(CXmlMessage::eSERVICE_COMMAND);
}

} // namespace Kolta
