#include "figure.h"
#include "peerlinks.h"
#include "threadcall.h"

#include <QByteArray>
#include <QEventLoop>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

namespace Bench {

namespace {

/// Both ends of the link: waits for `expected` bytes, then says so.
class Endpoint : public QObject
{
    Q_OBJECT

public:
    Endpoint(QTcpSocket* socket, int expected, QObject* parent)
        : QObject(parent), m_socket(socket), m_expected(expected)
    {
        m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(m_socket, &QTcpSocket::readyRead, this, &Endpoint::read);
    }

    void write(const QByteArray& bytes)
    {
        m_socket->write(bytes);
        m_socket->flush();
    }

Q_SIGNALS:
    void received(const QByteArray& bytes);

private:
    void read()
    {
        m_pending += m_socket->readAll();
        if (m_pending.size() < m_expected)
            return;
        Q_EMIT received(m_pending);
        m_pending = QByteArray();
    }

    QTcpSocket* m_socket;
    int m_expected;
    QByteArray m_pending;
};

/// Server end, on the server's thread.
class EchoServer : public QTcpServer
{
    Q_OBJECT

public:
    EchoServer(int requestBytes, int replyBytes)
    {
        connect(this, &QTcpServer::newConnection, this, [this, requestBytes, replyBytes] {
            auto* socket = nextPendingConnection();
            auto* end = new Endpoint(socket, requestBytes, socket);
            connect(end, &Endpoint::received, end,
                    [end, reply = QByteArray(replyBytes, 'r')] { end->write(reply); });
        });
    }
};

/// Client end, on the client's thread.
class Client : public QObject
{
    Q_OBJECT

public:
    Client(quint16 port, int replyBytes)
    {
        auto* socket = new QTcpSocket(this);
        socket->connectToHost(QStringLiteral("127.0.0.1"), port);
        require(socket->waitForConnected(), "the bare link cannot connect");
        m_end = new Endpoint(socket, replyBytes, this);
        connect(m_end, &Endpoint::received, this, &Client::received);
    }

public Q_SLOTS:
    void send(const QByteArray& bytes) { m_end->write(bytes); }

Q_SIGNALS:
    void received(const QByteArray& bytes);

private:
    Endpoint* m_end;
};

/// The owner's side of the link, on the caller's thread.
class Owner : public QObject
{
    Q_OBJECT

public:
    explicit Owner(int requestBytes) : m_request(requestBytes, 'q') {}

    void roundTrips(int count)
    {
        m_left = count;
        QEventLoop loop;
        connect(this, &Owner::finished, &loop, &QEventLoop::quit);
        Q_EMIT send(m_request);
        loop.exec();
    }

public Q_SLOTS:
    void reply(const QByteArray&)
    {
        if (--m_left > 0)
            Q_EMIT send(m_request);
        else
            Q_EMIT finished();
    }

Q_SIGNALS:
    void send(const QByteArray& bytes);
    void finished();

private:
    QByteArray m_request;
    int m_left = 0;
};

} // namespace

struct QtLink::Private
{
    explicit Private(int requestBytes) : owner(requestBytes) {}

    Owner owner;
    QThread serverThread;
    QThread clientThread;
};

QtLink::QtLink(int requestBytes, int replyBytes) : d(std::make_unique<Private>(requestBytes))
{
    d->serverThread.start();
    d->clientThread.start();
    auto* server = callOn(d->serverThread, [=] { return new EchoServer(requestBytes, replyBytes); });
    const quint16 port = callOn(d->serverThread, [=] {
        return server->listen(QHostAddress::LocalHost) ? server->serverPort() : quint16(0);
    });
    auto* client = callOn(d->clientThread, [=] { return new Client(port, replyBytes); });
    QObject::connect(&d->serverThread, &QThread::finished, server, &QObject::deleteLater);
    QObject::connect(&d->clientThread, &QThread::finished, client, &QObject::deleteLater);
    QObject::connect(&d->owner, &Owner::send, client, &Client::send, Qt::QueuedConnection);
    QObject::connect(client, &Client::received, &d->owner, &Owner::reply, Qt::QueuedConnection);
}

QtLink::~QtLink()
{
    for (QThread* thread : {&d->clientThread, &d->serverThread}) {
        thread->quit();
        thread->wait();
    }
}

void QtLink::roundTrips(int count)
{
    d->owner.roundTrips(count);
}

} // namespace Bench

#include "qtlink.moc"
