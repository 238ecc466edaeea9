#include "server.h"

#include "serverbounds.h"
#include "socketoptions.h"

#include <startup/tracesource.h>

#include <QNetworkProxy>
#include <QPointer>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <optional>
#include <utility>
#include <vector>

using XmlCommon::CMsgFragment;
using XmlCommon::CXmlMessage;

namespace XmlCommunication {

namespace {

/// The numbers up to 70 are the causes of RefusalLog, which traces from this source too.
enum eTracePoint : int { ePlainNetwork = 80 };
constexpr Startup::TraceSource kTrace("platform/xmlmessaging/server", Startup::eTraceWarning);

constexpr int kAcceptPauseMs = 1000;

/// Keeps what was accepted as bare descriptors until the listener is left, so that its owner may destroy it
/// then.
class Listener : public QTcpServer
{
public:
    using QTcpServer::QTcpServer;
    std::vector<qintptr> takeAccepted() { return std::exchange(m_accepted, {}); }

protected:
    void incomingConnection(qintptr descriptor) override { m_accepted.push_back(descriptor); }

private:
    std::vector<qintptr> m_accepted;
};

} // namespace

struct CServer::Private
{
    explicit Private(CServer* server) : q(server), listener(server) {}

    bool prepare(const QHostAddress& address);

    void accept(qintptr descriptor);
    void open(QTcpSocket* socket, QSslSocket* protectedSocket);
    void announce(CServerLink* link);
    void pauseAccepting();
    void resumeAccepting();

    CServer* const q;
    Listener listener;
    XmlCommon::MessageLimits limits;
    ServerBounds bounds{ServerLimits::fromConfiguration()};
    QTimer checkTimer;
    QList<CServerLink*> links;
    quint32 lastLinkId = 0;
    TlsSettings tls = TlsSettings::ofServer();
    std::optional<QSslConfiguration> tlsConfiguration; ///< making one loads all of TLS
    QString error; ///< why nothing listens, when the listener does not know
    bool plainNetworkAllowed = false;
    bool acceptingPaused = false;
};

/// Whether a server set up like this may listen there.
bool CServer::Private::prepare(const QHostAddress& address)
{
    error.clear();
    if (tls.required || !tls.problem.isEmpty())
        return tls.load(TlsSettings::eServer, tlsConfiguration.emplace(), error);
    if (address.isLoopback())
        return true;
    if (!plainNetworkAllowed) {
        error = QStringLiteral("without TLS this address is not protected, and that was not allowed");
        return false;
    }
    kTrace(ePlainNetwork,
           QStringLiteral("%1 is open to the network without TLS: everybody there can read and send")
               .arg(address.toString()));
    return true;
}

/// Out of descriptors; links that end give some back.
void CServer::Private::pauseAccepting()
{
    if (!std::exchange(acceptingPaused, true))
        bounds.refusals().tell(RefusalLog::eNoDescriptors,
                               QStringLiteral("accepting pauses: %1").arg(listener.errorString()));
    QTimer::singleShot(kAcceptPauseMs, &listener, &QTcpServer::resumeAccepting);
}

void CServer::Private::accept(qintptr descriptor)
{
    acceptingPaused = false;
    QSslSocket* const protectedSocket = tls.required ? new QSslSocket : nullptr;
    QTcpSocket* const socket = protectedSocket ? protectedSocket : new QTcpSocket;
    socket->setSocketDescriptor(descriptor);
    if (socket->state() == QAbstractSocket::ConnectedState && bounds.admits(socket->peerAddress())) {
        open(socket, protectedSocket);
        return;
    }
    resetOnClose(*socket);
    delete socket;
}

void CServer::Private::open(QTcpSocket* socket, QSslSocket* protectedSocket)
{
    auto* const link = new CServerLink(socket, ++lastLinkId, limits, bounds, q);
    connect(link, &CServerLink::Closed, q, [this, link] {
        links.removeOne(link);
        link->deleteLater();
    });
    connect(link, &QObject::destroyed, q, [this, link] { links.removeOne(link); });
    if (!checkTimer.isActive())
        checkTimer.start(bounds.interval());
    if (protectedSocket) {
        protectedSocket->setSslConfiguration(*tlsConfiguration);
        link->shakeHands(protectedSocket, [this, link] { announce(link); });
    } else {
        announce(link);
    }
}

void CServer::Private::announce(CServerLink* link)
{
    links.append(link);
    Q_EMIT q->LinkOpened(link);
}

CServer::CServer(QObject* parent) : QObject(parent), d(std::make_unique<Private>(this))
{
    qRegisterMetaType<XmlCommon::ptrCXmlMessage>("XmlCommon::ptrCXmlMessage");
    d->listener.setProxy(QNetworkProxy::NoProxy);
    connect(&d->listener, &QTcpServer::acceptError, this, [this] { d->pauseAccepting(); });
    connect(&d->listener, &QTcpServer::newConnection, this, [this] {
        const QPointer<CServer> alive(this);
        for (const qintptr descriptor : d->listener.takeAccepted()) {
            if (alive)
                d->accept(descriptor);
        }
    });
    connect(&d->checkTimer, &QTimer::timeout, this, [this] { d->bounds.check(); });
}

CServer::~CServer()
{
    // Those in their handshake too, before what they count with goes.
    d->links.clear();
    for (CServerLink* link : findChildren<CServerLink*>(QString(), Qt::FindDirectChildrenOnly)) {
        link->disconnect(this);
        delete link;
    }
}

bool CServer::listen(const QHostAddress& address, quint16 port)
{
    return d->prepare(address) && d->listener.listen(address, port);
}

void CServer::close()
{
    d->listener.close();
}

bool CServer::isListening() const
{
    return d->listener.isListening();
}

quint16 CServer::port() const
{
    return d->listener.serverPort();
}

QHostAddress CServer::address() const
{
    return d->listener.serverAddress();
}

QString CServer::errorString() const
{
    return d->error.isEmpty() ? d->listener.errorString() : d->error;
}

void CServer::setTls(const TlsSettings& settings)
{
    d->tls = settings;
}

void CServer::setPlainNetworkAllowed(bool allowed)
{
    d->plainNetworkAllowed = allowed;
}

void CServer::setLimits(const XmlCommon::MessageLimits& limits)
{
    d->limits = limits;
}

void CServer::setServerLimits(const ServerLimits& limits)
{
    d->bounds.setLimits(limits);
    d->checkTimer.start(d->bounds.interval());
}

const ServerLimits& CServer::serverLimits() const
{
    return d->bounds.limits();
}

QList<CServerLink*> CServer::links() const
{
    return d->links;
}

CXmlMessage makeReply(const CXmlMessage& request, bool suppressRequestTrees)
{
    const CXmlMessage::eSERVICE_TYPES type = request.getServiceType();
    const bool asks = type == CXmlMessage::eSERVICE_QUERY || type == CXmlMessage::eSERVICE_COMMAND;
    CXmlMessage reply(asks ? static_cast<CXmlMessage::eSERVICE_TYPES>(type + 2) : type);
    reply.setMessageID(request.getMessageID());
    for (int i = 0; i < request.getNumberOfFragments(); ++i) {
        CMsgFragment fragment(request.getFragment(i).getComponentName());
        if (!suppressRequestTrees)
            fragment.setRequestTree(request.getFragment(i).getRequestTree());
        reply.addFragment(fragment);
    }
    return reply;
}

} // namespace XmlCommunication
