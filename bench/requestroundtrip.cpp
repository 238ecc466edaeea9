#include "figure.h"
#include "peerlinks.h"
#include "threadcall.h"

#include <koltacommon/koltaconnection.h>
#include <support/heapbytes.h>
#include <xmlmessaging/framing.h>
#include <xmlmessaging/messagecodec.h>
#include <xmlmessaging/server.h>

#include <QEventLoop>
#include <QThread>
#include <QTimer>

#include <memory>

namespace Bench {

namespace {

using XmlCommon::CDataTree;
using XmlCommon::CXmlMessage;
using XmlCommon::ptrCXmlMessage;
using XmlCommunication::CServer;
using XmlCommunication::CServerLink;

// A call takes a few milliseconds on either side: on a busy machine most calls are then not interrupted, and
// none of the sides more often than the other.
constexpr int kTripsPerCall = 100;
constexpr int kRawTripsPerCall = 300;
constexpr int kPatienceMs = 20000;

/// About 400 bytes as they go over the link.
ptrCXmlMessage makeRequest(const XmlCommon::CRequestTree& tree)
{
    ptrCXmlMessage message(new CXmlMessage(CXmlMessage::eSERVICE_COMMAND));
    XmlCommon::CMsgFragment fragment(QStringLiteral("Resources"));
    fragment.setRequestTree(tree);
    message->addFragment(fragment);
    return message;
}

CDataTree makeParameters()
{
    CDataTree tree(QLatin1String("SetTuner"));
    XmlCommon::CElement root = tree.editRoot();
    root.append("GUID", QStringLiteral("{6d9f2a51-73c4-4b0e-9d18-2f5e0c7ab913}"));
    root.append("Frequency", QStringLiteral("433920000"));
    root.append("Bandwidth", QStringLiteral("200000"));
    root.append("Demodulation", QStringLiteral("FM"));
    root.append("Attenuation", QStringLiteral("10"));
    root.append("Antenna", QStringLiteral("A7"));
    root.append("Detector", QStringLiteral("RMS"));
    root.append("IntegrationTime", QStringLiteral("50000"));
    return tree;
}

/// The reply as a server makes it: the request's trees and a short result.
CXmlMessage makeReplyTo(const CXmlMessage& request, const CDataTree& result)
{
    CXmlMessage reply = XmlCommunication::makeReply(request, false);
    reply.getFragment(0).setDataTree(result);
    return reply;
}

int bytesOnLink(const CXmlMessage& message)
{
    QByteArray text;
    QByteArray frame;
    XmlCommon::MessageCodec::encode(message, text);
    XmlCommunication::appendFrame(frame, text);
    return frame.size();
}

/// A connection and the server that it talks to, the server on a thread of its own.
class Requests : public QObject
{
    Q_OBJECT

public:
    Requests() : m_tree(makeParameters()), m_result(QLatin1String("Done"))
    {
        m_serverThread.start();
        const quint16 port = callOn(m_serverThread, [this] { return startServer(); });
        m_connection = std::make_unique<Kolta::KoltaConnection>(
            QStringLiteral("bench"), QStringLiteral("1"), QHostAddress(QHostAddress::LocalHost), port, false);
        connect(m_connection.get(), &Kolta::KoltaConnection::ConnectionOpened, &m_loop, &QEventLoop::quit);
        connect(m_connection.get(), &Kolta::KoltaConnection::ConnectionError, this, &Requests::fail);
        connect(m_connection.get(), &Kolta::KoltaConnection::Fault, this, &Requests::fail);
        m_connection->open();
        waitForLoop();
        roundTrips(1); // waits behind the requests that open the link
    }
    ~Requests() override
    {
        m_connection->closeAndWaitForFinished(1000, false);
        m_connection.reset();
        m_serverThread.quit();
        m_serverThread.wait();
    }

    /// Each request is executed when the reply to the one before has been handled.
    void roundTrips(int count)
    {
        m_left = count;
        executeNext();
        waitForLoop();
        require(m_left == 0, "replies are missing");
    }

    int requestBytes() const { return bytesOnLink(*numbered(makeRequest(m_tree))); }
    int replyBytes() const { return bytesOnLink(makeReplyTo(*numbered(makeRequest(m_tree)), m_result)); }

private Q_SLOTS:
    void sl_reply(XmlCommon::ptrCXmlMessage reply)
    {
        if (!reply->getFragment(0).hasDataTree())
            fail(QStringLiteral("a reply holds no data"));
        else if (--m_left > 0)
            executeNext();
        else
            m_loop.quit();
    }

private:
    quint16 startServer()
    {
        auto* server = new CServer;
        connect(&m_serverThread, &QThread::finished, server, &QObject::deleteLater);
        const auto serve = [result = m_result](CServerLink* link) {
            connect(link, &CServerLink::MessageReceived, link, [link, result](const ptrCXmlMessage& request) {
                link->send(makeReplyTo(*request, result));
            });
        };
        connect(server, &CServer::LinkOpened, server, serve, Qt::DirectConnection);
        require(server->listen(), "the server cannot listen");
        return server->port();
    }

    void executeNext()
    {
        m_connection->executeRequest(new Kolta::ParameterRequest(makeRequest(m_tree), this,
                                                                 SLOT(sl_reply(XmlCommon::ptrCXmlMessage))));
    }

    /// As the connection completes a message before it is sent, with an ID of usual length.
    static ptrCXmlMessage numbered(ptrCXmlMessage message)
    {
        message->setMessageID(10000);
        message->setAvailableTime(6000000);
        message->setToken_byGenerator();
        return message;
    }

    void fail(const QString& what)
    {
        m_failure = what;
        m_loop.quit();
    }

    void waitForLoop()
    {
        QTimer patience;
        connect(&patience, &QTimer::timeout, this, [this] { fail(QStringLiteral("no reply came")); });
        patience.start(kPatienceMs);
        m_loop.exec();
        require(m_failure.isEmpty(), m_failure.toUtf8().constData());
    }

    XmlCommon::CRequestTree m_tree;
    CDataTree m_result;
    QThread m_serverThread;
    std::unique_ptr<Kolta::KoltaConnection> m_connection;
    QEventLoop m_loop;
    QString m_failure;
    int m_left = 0;
};

/// What a request holds that waits for its turn, its message with parameters of its own included.
double queuedRequestBytes()
{
    constexpr int count = 900; // at 1,000 the connection complains
    QObject receiver;
    Kolta::KoltaConnection connection(QStringLiteral("bench"), QStringLiteral("1"),
                                      QHostAddress(QHostAddress::LocalHost), 1, false);
    const qint64 before = heapBytes();
    for (int i = 0; i < count; ++i)
        connection.executeRequest(new Kolta::ParameterRequest(
            makeRequest(XmlCommon::CRequestTree(makeParameters())), &receiver, SLOT(deleteLater())));
    require(connection.hasRequestsPending(), "the requests do not wait");
    return static_cast<double>(heapBytes() - before) / count;
}

Sides queuedRequest()
{
    return {queuedRequestBytes, [] { return 1.0; }};
}

template<class Peer, int peerTrips>
Sides roundTripAgainst()
{
    const auto requests = std::make_shared<Requests>();
    const auto peer = std::make_shared<Peer>(requests->requestBytes(), requests->replyBytes());
    return {timed([requests] { requests->roundTrips(kTripsPerCall); }, kTripsPerCall),
            timed([peer] { peer->roundTrips(peerTrips); }, peerTrips)};
}

const bool qtAdded = addFigure({"request_roundtrip_vs_bare_qt",
                                "bare Qt client and echo server: same threads, same bytes, no XML", 1.6,
                                Unit::Time, roundTripAgainst<QtLink, kTripsPerCall>});
const bool rawAdded = addFigure({"request_roundtrip_vs_raw_socket",
                                 "blocking sockets with TCP_NODELAY on two threads, same bytes, no XML", 0,
                                 Unit::Time, roundTripAgainst<RawLink, kRawTripsPerCall>});
const bool queuedAdded = addFigure({"queued_request_bytes", "one byte", 4096, Unit::Bytes, queuedRequest});

} // namespace

} // namespace Bench

#include "requestroundtrip.moc"
