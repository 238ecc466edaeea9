#pragma once

#include <koltacommon/export.h>
#include <koltacommon/generalrequests.h>
#include <koltacommon/instancecount.h>
#include <koltacommon/linkfigures.h>

#include <QAbstractSocket>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QString>

#include <memory>

namespace XmlCommunication {
class CConnectionThread;
}

namespace Kolta {

class FaultMessageHandler;
class LinkAccount;

/// The client end of one TCP link to one server: a first-in-first-out queue of requests, one in flight at a
/// time.
///
/// Lives on the thread that creates it, which needs an event loop; everything here is called on that thread
/// and every signal is emitted on it. A receiver may do anything in a signal or in a reply, also delete the
/// connection (deleteLater() is the usual way), close it, execute requests or run an event loop of its own.
///
/// After a socket error a link that has carried at least one reply is opened again at once, and the request
/// that was in flight is sent again. A link that has not, or whose reopening fails, ends with
/// ConnectionClosed(). A reply that never comes blocks the queue until the transport gives up waiting and
/// ends the link.
class KOLTA_COMMON_EXPORT KoltaConnection : public QObject
{
    Q_OBJECT

public:
    /// `hostAndPort` is split at its last ':', so "10.0.0.1:1234", "[::1]:1234" and "::1:1234" all work. A
    /// text without ':' gives a null address and port 0, an unreadable number gives port 0; open() then ends
    /// with a socket error. With `debugLog` the message log holds whole messages instead of one line each.
    KoltaConnection(const QString& connectionName, const QString& version, const QString& hostAndPort,
                    bool debugLog);
    KoltaConnection(const QString& connectionName, const QString& version, const QHostAddress& address,
                    quint16 port, bool debugLog);
    /// Tells a running link to end and does not wait for it. Queued requests are released unanswered, no
    /// signal is emitted.
    ~KoltaConnection() override;

    /// Starts the link; nothing when there is one. ConnectionOpened() or ConnectionError() follow.
    /// Opening again after close() or a failed link does not lift the refusal of new requests: make a new
    /// object.
    void open();
    /// Ends the link; ConnectionClosed() follows. With `discardQueue` at once, else when the queue has been
    /// worked off. No new request is accepted from now on. Nothing when there is no link.
    void close(bool discardQueue);
    /// Ends the link and waits at most `timeout` milliseconds for it; true when it has ended or there was
    /// none. With `sendPending` the messages of all queued requests, the one in flight included, which may be
    /// executed twice therefore, are handed to the link first; nobody hears of their replies. A link that is
    /// still connecting has half a second for that. ConnectionClosed() still comes through the event loop.
    bool closeAndWaitForFinished(unsigned int timeout, bool sendPending);

    /// Appends `request` to the queue and takes a share of it. It is refused, which abandoned() tells it,
    /// when the connection is closing or its message is null or has no fragment. An exception from the
    /// request is traced. One request object belongs to one connection at a time; it may be executed again,
    /// also while it waits, and is then sent once per call.
    ///
    /// A request that is let go of without its reply hears abandoned() once for each time that it was in the
    /// queue, in the order of the queue, when the connection has done what it is about and before
    /// ConnectionClosed(); it may delete the connection then. A fault in a reply is an answer.
    void executeRequest(Kolta::ptrKoltaRequest request);
    /// As above, for a request made with new: the connection shares its ownership, also when it drops it.
    void executeRequest(KoltaRequest* request);

    /// Takes `request` out of the queue, its last place there when it waits several times, without a word to
    /// it. False, and nothing happens, when it does not wait or was sent already.
    bool withdrawRequest(const Kolta::ptrKoltaRequest& request);
    /// Whether any request waits for being sent or for its reply.
    bool hasRequestsPending() const { return !queue.isEmpty(); }
    /// Whether nothing is pending and requests are accepted.
    bool isIdle() const { return !closing && queue.isEmpty(); }
    /// Whether there is a link, be it still connecting or already ending.
    bool isOpen() const { return thread != nullptr; }

    /// How long to wait for a link, and for the reply to a request whose message does not say so itself, in
    /// milliseconds: 10 s and 60 s unless this is called. The first holds from the next open() on.
    void setTimeLimits(int connectMs, int replyMs);
    /// That many milliseconds as CXmlMessage::setAvailableTime() takes them.
    static quint32 availableTime(int milliseconds);
    /// Replaces the requests that are sent after each (re)connection; from the next one on.
    void setEventFilterRequests(const QList<Kolta::ptrKoltaRequest>& requests);
    /// Subscribes to no broadcasts from the next (re)connection on.
    void DisableFilter();
    /// Names the message log: `description`, or the connection's name when it is empty, with
    /// "_<address>_port<port>" behind it if asked for. Reaches the logger when called before open().
    void setLogDescription(const QString& description, bool appendAddress);

    /// Loads the fault texts, from the configured file or else from this connection's server, and then calls
    /// `slot` of `receiver` as a ParameterRequest does. When the texts are there already, the slot is called
    /// before this returns, with an empty message as the reply.
    void initMessageHandler(QObject* receiver, const char* slot);
    /// The converter of fault texts that all connections of the process share. Any thread.
    static std::shared_ptr<FaultMessageHandler> getStaticFaultMessageHandler();

    /// The text of the fragment's fault; a null text when it has none.
    static QString getFaultText(const XmlCommon::CMsgFragment& fragment);
    /// The fault texts of all fragments, one line each; a null text when there is no fault.
    static QString getFaultText(XmlCommon::ptrCXmlMessage message);
    static bool hasFault(XmlCommon::ptrCXmlMessage message);
    /// What is wrong with a reply: the texts of its faults, else which component it should answer and does
    /// not; a null text when it is in order.
    static QString getReplyProblem(XmlCommon::ptrCXmlMessage reply);
    /// One line per fragment: kind, ID, component and what it holds.
    static QString getShortInfo(XmlCommon::ptrCXmlMessage message);
    /// The word for a socket error, as ConnectionError() tells it; "Unknown" for those without one.
    static QString getSocketError(QAbstractSocket::SocketError error);
    /// The same for people, translated; any other `word` as it is.
    static QString socketErrorText(const QString& word);

    /// Figures of this link, see KoltaConnectionsViewer.
    LinkFigures figures() const;

    const QString& getName() const noexcept { return name; }
    /// "KoltaConnection(<name>,<address>,<port>)".
    const QString& getInfo() const noexcept { return info; }
    const QString& getInterfaceVersion() const noexcept { return interfaceVersion; }
    const QHostAddress& getPeerAddress() const noexcept { return peerAddress; }
    quint16 getPeerPort() const noexcept { return peerPort; }

Q_SIGNALS:
    /// The server sent something of its own accord.
    void Broadcast(XmlCommon::ptrCXmlMessage message);
    /// The link has ended for good.
    void ConnectionClosed();
    /// The link failed; `error` is the word of getSocketError(). A reconnection may follow.
    void ConnectionError(QString error);
    /// The link is up, after open() or after a reconnection.
    void ConnectionOpened();
    /// A broadcast, or the reply to a request that does not handle faults itself, carried a fault; or such a
    /// reply lacked a component that was asked.
    void Fault(QString text);

private Q_SLOTS:
    void SlotConnected(quint32 id);
    void SlotConnectionClosed();
    void SlotDispatch(XmlCommon::ptrCXmlMessage message, GLOBAL_XML_TYPES::eMESSAGE_TYPES messageType);
    void SlotSocketError(quint32 id, QAbstractSocket::SocketError error);
    void SlotSocketStateChanged(quint32 id, QAbstractSocket::SocketState state);

private:
    struct Entry
    {
        Kolta::ptrKoltaRequest request;
        bool isStartUp = false; ///< queued by a start-up exchange, which the next one repeats
        bool wasSent = false;   ///< handed to a link at least once
        qint64 since = 0;       ///< in the queue, by the clock
    };
    using Entries = QList<Entry>;
    static void abandon(const Entries& entries, Abandonment why);
    friend class LinkKeeper;
    void keepAccountIn(const std::shared_ptr<LinkAccount>& other);
    void fillFigures(LinkFigures& figures) const;
    void endFigures();
    void execute(const Kolta::ptrKoltaRequest& request, bool isStartUp);

    void connectThread();
    void giveUp(const std::shared_ptr<XmlCommunication::CConnectionThread>& link);
    void exitThread();
    static bool isReply(const XmlCommon::ptrCXmlMessage& message);
    static XmlCommon::ptrCXmlMessage makeStartUpMessage();
    void transmit(const XmlCommon::ptrCXmlMessage& message);
    void transmitAll();
    void enqueue(const Entry& entry);
    void dropStaleStartUp();
    void sendNextRequest();
    bool sendHead();
    XmlCommon::ptrCXmlMessage messageOfHead(const Kolta::ptrKoltaRequest& head);
    void processReply(const XmlCommon::ptrCXmlMessage& reply);
    Kolta::ptrKoltaRequest handleReply(const Kolta::ptrKoltaRequest& request,
                                       const XmlCommon::ptrCXmlMessage& reply);
    void processBroadcast(const XmlCommon::ptrCXmlMessage& message);
    static void clearMessageReply(const XmlCommon::ptrCXmlMessage& message);

    QString name;
    QString info;
    QString interfaceVersion;
    QHostAddress peerAddress;
    quint16 peerPort = 0;
    bool debug = false;
    int connectLimitMs = 10000;
    int replyLimitMs = 60000;
    QString logName;
    /// Null while not open. Slots that it calls hold a share, so that it outlives them whatever they do.
    std::shared_ptr<XmlCommunication::CConnectionThread> thread;
    Entries queue; ///< the head is in flight while busy
    bool connected = false;
    bool closing = false;
    bool busy = false;
    QList<Kolta::ptrKoltaRequest> eventFilterRequests;
    qint32 reconnectState = 0; ///< 0: not wanted, 1: on the next socket error, 2: when the thread has ended
    std::shared_ptr<LinkAccount> account;
    InstanceCount<KoltaConnection> instanceCount;

    static std::shared_ptr<FaultMessageHandler> m_pFaultMessageHandler;
};

} // namespace Kolta
