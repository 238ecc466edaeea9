#include "server.h"

#include "serverbounds.h"
#include "socketoptions.h"

#include <QNetworkProxy>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <utility>
#include <vector>

using XmlCommon::CMsgFragment;
using XmlCommon::CXmlMessage;

namespace XmlCommunication {

namespace {

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

    void accept(qintptr descriptor);
    void open(QTcpSocket* socket);
    void pauseAccepting();
    void resumeAccepting();

    CServer* const q;
    Listener listener;
    XmlCommon::MessageLimits limits;
    ServerBounds bounds{ServerLimits::fromConfiguration()};
    QTimer checkTimer;
    QList<CServerLink*> links;
    quint32 lastLinkId = 0;
    bool acceptingPaused = false;
};

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
    auto* const socket = new QTcpSocket;
    socket->setSocketDescriptor(descriptor);
    if (socket->state() == QAbstractSocket::ConnectedState && bounds.admits(socket->peerAddress())) {
        open(socket);
        return;
    }
    resetOnClose(*socket);
    delete socket;
}

void CServer::Private::open(QTcpSocket* socket)
{
    auto* const link = new CServerLink(socket, ++lastLinkId, limits, bounds, q);
    links.append(link);
    connect(link, &CServerLink::Closed, q, [this, link] {
        links.removeOne(link);
        link->deleteLater();
    });
    connect(link, &QObject::destroyed, q, [this, link] { links.removeOne(link); });
    if (!checkTimer.isActive())
        checkTimer.start(bounds.interval());
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
    const QList<CServerLink*> links = std::exchange(d->links, QList<CServerLink*>());
    for (CServerLink* link : links) {
        link->disconnect(this);
        delete link;
    }
}

bool CServer::listen(const QHostAddress& address, quint16 port)
{
    return d->listener.listen(address, port);
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
    return d->listener.errorString();
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
