#include <simulation/hostilepeers.h>

#include <simulation/brokenreply.h>

#include <xmlmessaging/converters.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

namespace KoltaSimulation {

namespace {

constexpr int kPieceBytes = 256 * 1024;
constexpr int kDripMs = 50;
constexpr int kReturnMs = 200;

QByteArray query(const XmlCommon::CMsgFragment& fragment, XmlCommon::CXmlMessage::eSERVICE_TYPES type)
{
    XmlCommon::CXmlMessage message(type);
    message.setMessageID(1);
    message.addFragment(fragment);
    return framedBytes(message);
}

/// As many descriptions asked for as fit into one piece.
const QByteArray& manyQueries()
{
    static const QByteArray bytes = [] {
        const QByteArray one =
            query(XmlCommunication::CAppDescription::makeFragment(), XmlCommon::CXmlMessage::eSERVICE_QUERY);
        return one.repeated(kPieceBytes / one.size());
    }();
    return bytes;
}

} // namespace

HostilePeers::HostilePeers(const QHostAddress& address, quint16 port, QObject* parent)
    : QObject(parent), m_address(address), m_port(port)
{
}

void HostilePeers::add(Hostility kind, int count, qint64 bytes, bool returning)
{
    for (int i = 0; i < count; ++i) {
        m_peers.push_back(std::make_unique<Peer>());
        Peer& peer = *m_peers.back();
        peer.kind = kind;
        peer.bytes = bytes;
        peer.returning = returning;
        QTcpSocket& socket = peer.socket;
        // With a buffer of one byte that is never taken out the system's own fills, and nothing is read any
        // more.
        socket.setReadBufferSize(1);
        connect(&socket, &QTcpSocket::connected, this, [this, &peer] { begin(peer); });
        connect(&socket, &QTcpSocket::bytesWritten, this, [this, &peer](qint64 written) {
            m_moved += written;
            sendMore(peer);
        });
        connect(&socket, &QTcpSocket::stateChanged, this, [this, &peer](QAbstractSocket::SocketState state) {
            if (state == QAbstractSocket::UnconnectedState)
                end(peer);
        });
        socket.connectToHost(m_address, m_port);
    }
}

void HostilePeers::begin(Peer& peer)
{
    using XmlCommon::CXmlMessage;
    QTcpSocket& socket = peer.socket;
    peer.left = peer.bytes;
    switch (peer.kind) {
    case Hostility::DeafAsker:
        sendMore(peer);
        break;
    case Hostility::DeafSubscriber:
        socket.write(query(XmlCommunication::CEventFilterConverter::makeFragment(QStringLiteral("*")),
                           CXmlMessage::eSERVICE_COMMAND));
        break;
    case Hostility::HalfMessage:
        socket.write("\n#" + QByteArray::number(qMax(qint64(1), peer.bytes)) + '\n');
        --peer.left; // one byte is missing
        sendMore(peer);
        break;
    case Hostility::Silent:
        break;
    case Hostility::Garbage:
        socket.write(QByteArray(1000, 'x'));
        break;
    case Hostility::Dripping:
        peer.left = 1000;
        socket.write("\n#1000\n");
        break;
    case Hostility::Leaving:
        socket.write(manyQueries());
        break;
    }
}

void HostilePeers::sendMore(Peer& peer)
{
    QTcpSocket& socket = peer.socket;
    if (socket.state() != QAbstractSocket::ConnectedState || socket.bytesToWrite() > 0)
        return;
    if (peer.kind == Hostility::Leaving) {
        socket.abort();
    } else if (peer.kind == Hostility::Dripping) {
        QTimer::singleShot(kDripMs, &socket, [&socket] { socket.write(" "); });
    } else if (peer.left > 0) {
        const bool asks = peer.kind == Hostility::DeafAsker;
        const QByteArray piece =
            asks ? manyQueries() : QByteArray(static_cast<int>(qMin(peer.left, qint64(kPieceBytes))), ' ');
        peer.left -= piece.size();
        socket.write(piece);
    }
}

void HostilePeers::end(Peer& peer)
{
    ++m_ended;
    if (peer.returning)
        QTimer::singleShot(kReturnMs, &peer.socket,
                           [this, &peer] { peer.socket.connectToHost(m_address, m_port); });
}

bool HostilePeers::settle(int quietMs, int limitMs)
{
    QElapsedTimer total;
    QElapsedTimer quiet;
    qint64 moved = -1;
    for (total.start(); total.elapsed() < limitMs;) {
        if (std::exchange(moved, m_moved) != m_moved)
            quiet.start();
        else if (quiet.elapsed() >= quietMs)
            return true;
        QEventLoop loop;
        QTimer::singleShot(10, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return false;
}

qint64 peakMemory(qint64 processId)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(processId));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.simplified().split(' ').value(1).toLongLong() * 1024;
    }
    return 0;
}

} // namespace KoltaSimulation
