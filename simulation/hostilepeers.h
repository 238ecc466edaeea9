#pragma once

#include <QHostAddress>
#include <QObject>
#include <QTcpSocket>

#include <memory>
#include <vector>

namespace KoltaSimulation {

/// What a client may do to a server.
enum class Hostility {
    DeafAsker,      ///< asks without end and reads nothing
    DeafSubscriber, ///< wants all broadcasts and reads nothing
    HalfMessage,    ///< announces a large message and sends half of it
    Silent,         ///< says nothing at all
    Garbage,        ///< sends bytes that are no message
    Dripping,       ///< sends a message byte by byte
    Leaving         ///< asks, and resets the link before the answer
};
constexpr int kHostilityCount = 7;

/// Clients that are as bad as the protocol lets them, for tests, benchmarks and soaks of a server. Lives on
/// one thread with an event loop; keeps next to nothing in memory itself.
class HostilePeers : public QObject
{
    Q_OBJECT

public:
    HostilePeers(const QHostAddress& address, quint16 port, QObject* parent = nullptr);

    /// `bytes` is what a deaf asker asks, or what of its message a half one sends. With `returning` a client
    /// whose link has ended comes again.
    void add(Hostility kind, int count, qint64 bytes = 0, bool returning = false);
    /// Runs the event loop until for `quietMs` none could send anything, at most `limitMs`.
    bool settle(int quietMs, int limitMs);
    /// Links that have ended so far.
    int endedLinks() const noexcept { return m_ended; }

private:
    struct Peer
    {
        Hostility kind;
        qint64 bytes;
        bool returning;
        QTcpSocket socket;
        qint64 left = 0; ///< of what it means to send
    };
    void begin(Peer& peer);
    void sendMore(Peer& peer);
    void end(Peer& peer);

    const QHostAddress m_address;
    const quint16 m_port;
    std::vector<std::unique_ptr<Peer>> m_peers;
    qint64 m_moved = 0; ///< bytes that could be sent
    int m_ended = 0;
};

/// The largest memory that a process has had in use so far, in bytes (Linux); 0 when it cannot be read.
qint64 peakMemory(qint64 processId);

} // namespace KoltaSimulation
