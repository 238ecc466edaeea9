#include "server.h"

#include "framing.h"
#include "socketoptions.h"

#include <startup/errorhandler.h>

#include <QNetworkProxy>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

using XmlCommon::CMsgFragment;
using XmlCommon::CXmlMessage;
using XmlCommon::MessageCodec;
using XmlCommon::ptrCXmlMessage;

namespace XmlCommunication {

namespace {

constexpr int kReadBytes = 64 * 1024;
constexpr int kAcceptPauseMs = 1000;

} // namespace

struct CServerLink::Private
{
    Private(CServerLink* link, QTcpSocket* peer, quint32 id, const XmlCommon::MessageLimits& messageLimits)
        : q(link)
        , socket(peer)
        , linkId(id)
        , limits(messageLimits)
        , reader(messageLimits.maxMessageBytes)
        , address(peer->peerAddress())
        , port(peer->peerPort())
        , buffer(std::make_unique<char[]>(kReadBytes))
    {
    }

    void read();
    bool readMessages();
    void malformed(const QString& what);
    void end(const QString& reason);
    template<class Function>
    void inSocketSignal(Function function);

    CServerLink* const q;
    QTcpSocket* const socket;
    const quint32 linkId;
    const XmlCommon::MessageLimits limits;
    FrameReader reader;
    const QHostAddress address;
    const quint16 port;
    std::unique_ptr<char[]> buffer;
    QByteArray payload;
    QByteArray frame;
    bool reading = true;
    bool ended = false;
    int socketSignals = 0; ///< signals of the socket that are being handled
};

CServerLink::CServerLink(QTcpSocket* socket, quint32 id, const XmlCommon::MessageLimits& limits,
                         QObject* parent)
    : QObject(parent), d(std::make_unique<Private>(this, socket, id, limits))
{
    socket->setParent(this);
    socket->setReadBufferSize(kReadBytes);
    tuneSocket(*socket);
    connect(socket, &QTcpSocket::readyRead, this, [this] { d->inSocketSignal([this] { d->read(); }); });
    connect(socket, &QTcpSocket::disconnected, this,
            [this] { d->inSocketSignal([this] { d->end(QString()); }); });
    connect(socket, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError error) {
        const bool orderly = error == QAbstractSocket::RemoteHostClosedError;
        d->inSocketSignal([&] { d->end(orderly ? QString() : d->socket->errorString()); });
    });
}

CServerLink::~CServerLink()
{
    d->ended = true;
    d->socket->disconnect(this);
    d->socket->abort();
    if (d->socketSignals > 0) {
        // Deleted from a slot: the socket is still at work below it.
        d->socket->setParent(nullptr);
        d->socket->deleteLater();
    }
}

/// Marks that a signal of the socket is being handled, as long as the link lives.
template<class Function>
void CServerLink::Private::inSocketSignal(Function function)
{
    const QPointer<CServerLink> alive(q);
    ++socketSignals;
    function();
    if (alive)
        --socketSignals;
}

quint32 CServerLink::getLinkId() const noexcept
{
    return d->linkId;
}

QHostAddress CServerLink::getPeerAddress() const
{
    return d->address;
}

quint16 CServerLink::getPeerPort() const
{
    return d->port;
}

QString CServerLink::getPeerName() const
{
    return endpointName(d->address.toString(), d->port);
}

void CServerLink::send(const CXmlMessage& message)
{
    recycle(d->payload);
    recycle(d->frame);
    MessageCodec::encode(message, d->payload);
    appendFrame(d->frame, d->payload);
    sendRaw(d->frame);
}

void CServerLink::sendRaw(const QByteArray& bytes)
{
    if (d->ended)
        return;
    d->inSocketSignal([this, &bytes] {
        d->socket->write(bytes);
        d->socket->flush();
    });
}

qint64 CServerLink::bytesToWrite() const
{
    return d->ended ? 0 : d->socket->bytesToWrite();
}

void CServerLink::setReading(bool enabled)
{
    const bool resumes = enabled && !d->reading;
    d->reading = enabled;
    if (resumes)
        QMetaObject::invokeMethod(
            this, [this] { d->read(); }, Qt::QueuedConnection);
}

void CServerLink::close()
{
    if (!d->ended)
        d->socket->disconnectFromHost();
}

void CServerLink::abort()
{
    if (d->ended)
        return;
    resetOnClose(*d->socket);
    d->end(QStringLiteral("aborted"));
}

/// Reads until the socket is empty. A slot may stop the reading, end or delete the link.
void CServerLink::Private::read()
{
    while (readMessages()) {
        const qint64 count = socket->read(buffer.get(), kReadBytes);
        if (count <= 0)
            return;
        reader.feed(buffer.get(), static_cast<int>(count));
    }
}

/// Hands on the whole messages that have arrived; false when nothing more is to be read, or the link is gone.
bool CServerLink::Private::readMessages()
{
    const QPointer<CServerLink> alive(q);
    QByteArray text;
    while (!ended && reading && reader.next(text)) {
        QString error;
        const ptrCXmlMessage message = MessageCodec::decode(std::move(text), error, limits);
        if (!message) {
            malformed(error);
            return false;
        }
        Q_EMIT q->MessageReceived(message);
        if (!alive)
            return false;
    }
    if (ended || !reading)
        return false;
    if (reader.hasError()) {
        malformed(reader.error());
        return false;
    }
    return true;
}

void CServerLink::Private::malformed(const QString& what)
{
    Startup::ErrorHandler::Instance().trace(Startup::eTrace, QStringLiteral("platform/xmlmessaging/server"),
                                            10, QStringLiteral("%1: %2").arg(q->getPeerName(), what));
    end(what);
}

/// Ends the link once. Its receivers may delete it.
void CServerLink::Private::end(const QString& reason)
{
    if (ended)
        return;
    ended = true;
    socket->abort();
    Q_EMIT q->Closed(reason);
}

struct CServer::Private
{
    QTcpServer* listener = nullptr;
    XmlCommon::MessageLimits limits;
    QList<CServerLink*> links;
    quint32 lastLinkId = 0;
};

CServer::CServer(QObject* parent) : QObject(parent), d(std::make_unique<Private>())
{
    qRegisterMetaType<XmlCommon::ptrCXmlMessage>("XmlCommon::ptrCXmlMessage");
    d->listener = new QTcpServer(this);
    d->listener->setProxy(QNetworkProxy::NoProxy);
    // Accepting pauses when the process runs out of descriptors; links that end give some back.
    connect(d->listener, &QTcpServer::acceptError, this,
            [this] { QTimer::singleShot(kAcceptPauseMs, d->listener, &QTcpServer::resumeAccepting); });
    connect(d->listener, &QTcpServer::newConnection, this, [this] {
        const QPointer<CServer> alive(this);
        while (alive && d->listener->hasPendingConnections()) {
            auto* const link =
                new CServerLink(d->listener->nextPendingConnection(), ++d->lastLinkId, d->limits, this);
            d->links.append(link);
            connect(link, &CServerLink::Closed, this, [this, link] {
                d->links.removeOne(link);
                link->deleteLater();
            });
            connect(link, &QObject::destroyed, this, [this, link] { d->links.removeOne(link); });
            Q_EMIT LinkOpened(link);
        }
    });
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
    return d->listener->listen(address, port);
}

void CServer::close()
{
    d->listener->close();
}

bool CServer::isListening() const
{
    return d->listener->isListening();
}

quint16 CServer::port() const
{
    return d->listener->serverPort();
}

QHostAddress CServer::address() const
{
    return d->listener->serverAddress();
}

QString CServer::errorString() const
{
    return d->listener->errorString();
}

void CServer::setLimits(const XmlCommon::MessageLimits& limits)
{
    d->limits = limits;
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
