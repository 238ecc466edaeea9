#include "server.h"

#include "framing.h"
#include "serverbounds.h"
#include "socketoptions.h"
#include "tlssocket.h"

#include <startup/hostandport.h>

#include <QPointer>
#include <QSslSocket>
#include <QTcpSocket>

using XmlCommon::CXmlMessage;
using XmlCommon::MessageCodec;
using XmlCommon::ptrCXmlMessage;

namespace XmlCommunication {

namespace {

constexpr int kReadBytes = 64 * 1024;

} // namespace

struct CServerLink::Private
{
    Private(CServerLink* link, QTcpSocket* peer, quint32 id, const XmlCommon::MessageLimits& messageLimits,
            ServerBounds& server)
        : q(link)
        , socket(peer)
        , linkId(id)
        , limits(messageLimits)
        , refusals(server.refusals())
        , reader(messageLimits.maxMessageBytes)
        , address(peer->peerAddress())
        , port(peer->peerPort())
        , buffer(std::make_unique<char[]>(kReadBytes))
    {
        bounds =
            std::make_unique<LinkBounds>(server, address, Startup::joinHostAndPort(address.toString(), port),
                                         [this](const QString& reason) { end(reason); });
    }

    void read();
    bool readMessages();
    bool mayRead() const { return !ended && reading && !bounds->isClogged(); }
    void followReading(bool could);
    void countUnsent(bool progress);
    void refuse(RefusalLog::Cause cause, const QString& what);
    void fail(QAbstractSocket::SocketError error);
    void end(const QString& reason);
    template<class Function>
    void inSocketSignal(Function function);

    CServerLink* const q;
    QTcpSocket* const socket;
    const quint32 linkId;
    const XmlCommon::MessageLimits limits;
    RefusalLog& refusals;
    FrameReader reader;
    const QHostAddress address;
    const quint16 port;
    std::unique_ptr<char[]> buffer;
    std::unique_ptr<LinkBounds> bounds; ///< as long as the link has not ended
    QByteArray payload;
    QByteArray frame;
    QSslSocket* shakingHands = nullptr; ///< until the handshake has ended
    bool reading = true;
    bool ended = false;
    int socketSignals = 0; ///< signals of the socket that are being handled
};

CServerLink::CServerLink(QTcpSocket* socket, quint32 id, const XmlCommon::MessageLimits& limits,
                         ServerBounds& bounds, QObject* parent)
    : QObject(parent), d(std::make_unique<Private>(this, socket, id, limits, bounds))
{
    socket->setParent(this);
    socket->setReadBufferSize(kReadBytes);
    tuneSocket(*socket);
    limitUnacknowledgedTime(*socket, bounds.limits().stallTime);
    connect(socket, &QTcpSocket::readyRead, this, [this] { d->inSocketSignal([this] { d->read(); }); });
    const auto progress = [this] { d->inSocketSignal([this] { d->countUnsent(true); }); };
    if (auto* const protectedSocket = qobject_cast<QSslSocket*>(socket))
        connect(protectedSocket, &QSslSocket::encryptedBytesWritten, this, progress);
    else
        connect(socket, &QTcpSocket::bytesWritten, this, progress);
    connect(socket, &QTcpSocket::disconnected, this,
            [this] { d->inSocketSignal([this] { d->end(QString()); }); });
    connect(socket, &QTcpSocket::errorOccurred, this,
            [this](QAbstractSocket::SocketError error) { d->inSocketSignal([&] { d->fail(error); }); });
}

void CServerLink::shakeHands(QSslSocket* socket, const std::function<void()>& ready)
{
    d->shakingHands = socket;
    d->bounds->setShakingHands(true);
    connect(socket, &QSslSocket::encrypted, this, [this, ready] {
        d->inSocketSignal([&] {
            d->shakingHands = nullptr;
            d->bounds->setShakingHands(false);
            ready();
        });
    });
    d->inSocketSignal([socket] { socket->startServerEncryption(); });
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
    return Startup::joinHostAndPort(d->address.toString(), d->port);
}

QString CServerLink::getPeerUser() const
{
    return certifiedName(*d->socket);
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
        const QPointer<CServerLink> alive(this);
        d->socket->write(bytes);
        d->socket->flush();
        if (alive)
            d->countUnsent(false);
    });
}

qint64 CServerLink::bytesToWrite() const
{
    return d->ended ? 0 : unsentBytes(*d->socket);
}

void CServerLink::setReading(bool enabled)
{
    if (d->ended)
        return;
    const bool could = d->mayRead();
    d->reading = enabled;
    d->followReading(could);
}

/// Goes on reading when that has become possible again.
void CServerLink::Private::followReading(bool could)
{
    const bool can = mayRead();
    if (can == could)
        return;
    bounds->setReading(can);
    if (can)
        QMetaObject::invokeMethod(
            q, [this] { read(); }, Qt::QueuedConnection);
}

void CServerLink::Private::countUnsent(bool progress)
{
    if (ended)
        return;
    const QPointer<CServerLink> alive(q);
    const bool could = mayRead();
    bounds->setUnsent(unsentBytes(*socket), progress);
    if (alive && !ended)
        followReading(could);
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
    while (mayRead() && reader.next(text)) {
        QString error;
        const ptrCXmlMessage message = MessageCodec::decode(std::move(text), error, limits);
        if (!message) {
            refuse(RefusalLog::eMalformed, error);
            return false;
        }
        bounds->noteMessage();
        Q_EMIT q->MessageReceived(message);
        if (!alive)
            return false;
    }
    if (!mayRead())
        return false;
    if (reader.hasError()) {
        refuse(RefusalLog::eMalformed, reader.error());
        return false;
    }
    bounds->setUnfinished(reader.pendingBytes());
    return alive && !ended;
}

/// The socket has ended by itself.
void CServerLink::Private::fail(QAbstractSocket::SocketError error)
{
    if (shakingHands && !ended)
        refuse(RefusalLog::eHandshake, tlsFailure(*shakingHands));
    else
        end(error == QAbstractSocket::RemoteHostClosedError ? QString() : socket->errorString());
}

void CServerLink::Private::refuse(RefusalLog::Cause cause, const QString& what)
{
    refusals.tell(cause, QStringLiteral("%1: %2").arg(q->getPeerName(), what));
    end(what);
}

/// Ends the link once. Its receivers may delete it.
void CServerLink::Private::end(const QString& reason)
{
    if (ended)
        return;
    ended = true;
    bounds.reset();
    socket->abort();
    Q_EMIT q->Closed(reason);
}

} // namespace XmlCommunication
