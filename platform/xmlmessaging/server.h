#pragma once

#include <xmlmessaging/export.h>
#include <xmlmessaging/messagecodec.h>
#include <xmlmessaging/serverlimits.h>
#include <xmlmessaging/tlssettings.h>
#include <xmlmessaging/xmlmessage.h>

#include <QHostAddress>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class QSslSocket;
class QTcpSocket;

namespace XmlCommunication {

class CServer;
class ServerBounds;

/// The server end of one client's link. Owned by its CServer, deleted (later) when the link has ended.
/// Lives on the server's thread.
///
/// A link whose peer does not read what it is sent stops being read, and ends when ServerLimits says so.
class KOLTA_XMLMESSAGING_EXPORT CServerLink : public QObject
{
    Q_OBJECT

public:
    ~CServerLink() override;

    /// Number of this link, counted from 1 within its server.
    quint32 getLinkId() const noexcept;
    QHostAddress getPeerAddress() const;
    quint16 getPeerPort() const;
    /// Peer as "address:port", with brackets around an IPv6 address.
    QString getPeerName() const;
    /// Whom the peer's certificate names; empty when it showed none.
    QString getPeerUser() const;

    /// Encodes, frames and sends. May end this link, or another of the same server, whose Closed() is then
    /// emitted before this returns.
    void send(const XmlCommon::CXmlMessage& message);
    /// Sends bytes as they are. What the peer makes of them is the caller's concern.
    void sendRaw(const QByteArray& bytes);
    /// Bytes not yet handed to the operating system.
    qint64 bytesToWrite() const;
    /// While false nothing is read from the socket, so that the peer's sending finally stalls.
    void setReading(bool enabled);
    /// Ends the link after pending bytes were sent.
    void close();
    /// Ends the link at once with a reset.
    void abort();

Q_SIGNALS:
    /// A whole message arrived; its object belongs to the receiver.
    void MessageReceived(XmlCommon::ptrCXmlMessage message);
    /// The link has ended; `reason` is empty when the peer closed it in order.
    void Closed(const QString& reason);

private:
    friend class CServer;
    CServerLink(QTcpSocket* socket, quint32 id, const XmlCommon::MessageLimits& limits, ServerBounds& bounds,
                QObject* parent);
    /// Before anything else on a link that is to be protected; `ready` is called once it is.
    void shakeHands(QSslSocket* socket, const std::function<void()>& ready);
    struct Private;
    std::unique_ptr<Private> d;
};

/// Listens for clients of the XML protocol. Lives on any thread with an event loop; starts none. What it
/// refuses is told in trace lines, of each cause one a minute.
class KOLTA_XMLMESSAGING_EXPORT CServer : public QObject
{
    Q_OBJECT

public:
    /// Bounded by what the configuration says.
    explicit CServer(QObject* parent = nullptr);
    ~CServer() override;

    /// Port 0 lets the system pick one. False on failure, see errorString(): also when TLS is required and
    /// its files are not right, and for anything but this machine's own addresses without TLS, unless
    /// setPlainNetworkAllowed().
    bool listen(const QHostAddress& address = QHostAddress(QHostAddress::LocalHost), quint16 port = 0);
    /// Stops listening; links that are open stay.
    void close();
    bool isListening() const;
    quint16 port() const;
    QHostAddress address() const;
    QString errorString() const;
    /// Instead of what the configuration says, for the next listen(). With TLS a link opens once its
    /// handshake is over.
    void setTls(const TlsSettings& settings);
    /// Whether listen() may offer unprotected links to the network; a trace line then warns of it.
    void setPlainNetworkAllowed(bool allowed);
    /// For links that open from now on.
    void setLimits(const XmlCommon::MessageLimits& limits);
    /// From now on, for links that are open too.
    void setServerLimits(const ServerLimits& limits);
    const ServerLimits& serverLimits() const;
    /// The links that are open, those in their handshake left out, in the order in which they came.
    QList<CServerLink*> links() const;

Q_SIGNALS:
    /// Connect to the link's signals in a direct slot of this signal, or its first message may be missed.
    void LinkOpened(XmlCommunication::CServerLink* link);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

/// The reply to `request`: service type two above, same ID, one fragment per request fragment with its
/// component name and, unless `suppressRequestTrees`, its request tree.
KOLTA_XMLMESSAGING_EXPORT XmlCommon::CXmlMessage makeReply(const XmlCommon::CXmlMessage& request,
                                                           bool suppressRequestTrees);

} // namespace XmlCommunication
