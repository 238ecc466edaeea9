#include "httppage.h"

#include <common/endpoint.h>

#include <QTcpSocket>
#include <QTimer>

#include <algorithm>

namespace KoltaCli {

namespace {

/// After which accepting is tried again when the system had no descriptor.
constexpr int kAcceptPauseMs = 1000;

QByteArray reply(const char* status, const QByteArray& contentType, const QByteArray& body,
                 const QByteArray& more = QByteArray(), bool withBody = true)
{
    return QByteArray("HTTP/1.1 ") + status + "\r\nContent-Type: " + contentType +
           "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\nConnection: close\r\n" + more +
           "\r\n" + (withBody ? body : QByteArray());
}

QByteArray refusal(const char* status, const QByteArray& more = QByteArray(), bool withBody = true)
{
    return reply(status, "text/plain", QByteArray(status) + '\n', more, withBody);
}

} // namespace

struct HttpPage::Peer
{
    QTcpSocket* socket;
    QByteArray request;
    bool isAnswered = false;
};

HttpPage::HttpPage(QByteArray path, QByteArray contentType, Make make, const HttpBounds& bounds)
    : m_path(std::move(path))
    , m_contentType(std::move(contentType))
    , m_make(std::move(make))
    , m_bounds(bounds)
{
    connect(&m_server, &QTcpServer::newConnection, this, &HttpPage::accept);
    connect(&m_server, &QTcpServer::acceptError, this, &HttpPage::pause);
}

HttpPage::~HttpPage()
{
    for (const Peer& peer : m_peers)
        peer.socket->disconnect(this);
}

bool HttpPage::listen(const QHostAddress& address, quint16 port)
{
    if (!address.isLoopback()) {
        m_error = QStringLiteral("others can reach %1, expected an address of this machine alone")
                      .arg(address.toString());
        return false;
    }
    if (m_server.listen(address, port))
        return true;
    m_error = m_server.errorString();
    return false;
}

QString HttpPage::url() const
{
    return QStringLiteral("http://%1%2")
        .arg(KoltaApps::Endpoint{m_server.serverAddress(), m_server.serverPort()}.toString(),
             QString::fromLatin1(m_path));
}

/// Without a descriptor the same failure would come at once, again and again.
void HttpPage::pause()
{
    m_server.pauseAccepting();
    QTimer::singleShot(kAcceptPauseMs, &m_server, [this] { m_server.resumeAccepting(); });
}

void HttpPage::accept()
{
    while (QTcpSocket* const socket = m_server.nextPendingConnection()) {
        if (static_cast<int>(m_peers.size()) >= m_bounds.peers)
            remove(m_peers.front().socket);
        socket->setReadBufferSize(m_bounds.requestBytes + 1);
        m_peers.push_back({socket, QByteArray()});
        Peer& peer = m_peers.back();
        connect(socket, &QTcpSocket::readyRead, this, [this, &peer] { read(peer); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] { remove(socket); });
        QTimer::singleShot(m_bounds.time, socket, [this, socket] { remove(socket); });
        if (socket->bytesAvailable() > 0)
            read(peer);
        else if (socket->state() != QAbstractSocket::ConnectedState)
            remove(socket);
    }
}

void HttpPage::remove(QTcpSocket* socket)
{
    const auto peer = std::find_if(m_peers.begin(), m_peers.end(),
                                   [socket](const Peer& candidate) { return candidate.socket == socket; });
    if (peer == m_peers.end())
        return;
    m_peers.erase(peer);
    socket->disconnect(this);
    socket->abort();
    socket->deleteLater();
}

void HttpPage::read(Peer& peer)
{
    const QByteArray bytes = peer.socket->readAll();
    if (peer.isAnswered)
        return; // what follows the request is of no use to anybody
    peer.request += bytes;
    const bool isWhole = peer.request.contains("\r\n\r\n") || peer.request.contains("\n\n");
    if (isWhole || peer.request.size() > m_bounds.requestBytes)
        answer(peer);
}

void HttpPage::answer(Peer& peer)
{
    peer.isAnswered = true;
    peer.socket->write(peer.request.size() > m_bounds.requestBytes
                           ? refusal("431 Request Header Fields Too Large")
                           : replyTo(peer.request));
    peer.request.clear();
    peer.socket->disconnectFromHost(); // once all is written; this may remove the peer
}

QByteArray HttpPage::replyTo(const QByteArray& request)
{
    const QByteArrayList words = request.left(request.indexOf('\n')).trimmed().split(' ');
    if (words.size() != 3 || !words[2].startsWith("HTTP/1."))
        return refusal("400 Bad Request");
    const bool isHead = words[0] == "HEAD";
    if (!isHead && words[0] != "GET")
        return refusal("405 Method Not Allowed", "Allow: GET, HEAD\r\n");
    if (words[1].split('?').first() != m_path)
        return refusal("404 Not Found", QByteArray(), !isHead);
    return reply("200 OK", m_contentType, page(), QByteArray(), !isHead);
}

/// Many who ask at once cost one look at the servers.
QByteArray HttpPage::page()
{
    const auto now = std::chrono::steady_clock::now();
    if (m_page.isEmpty() || now - m_madeAt > m_bounds.pageAge) {
        m_page = m_make();
        m_madeAt = now;
    }
    return m_page;
}

} // namespace KoltaCli
