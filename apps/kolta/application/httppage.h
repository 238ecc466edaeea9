#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTcpServer>

#include <chrono>
#include <functional>
#include <list>

class QTcpSocket;

namespace KoltaCli {

/// What peers may cost a HttpPage.
struct HttpBounds
{
    int peers = 16; ///< one more, and the one that came first goes
    int requestBytes = 8192;
    std::chrono::milliseconds time{5000};    ///< from a peer's coming to its end
    std::chrono::milliseconds pageAge{1000}; ///< a page that is no older is given again
};

/// One page over HTTP, for programs on this machine: answers GET and HEAD, one request a connection, and is
/// no server for anything else.
class HttpPage : public QObject
{
    Q_OBJECT

public:
    using Make = std::function<QByteArray()>;

    /// `make` makes the page whenever one is asked for.
    HttpPage(QByteArray path, QByteArray contentType, Make make, const HttpBounds& bounds = HttpBounds());
    ~HttpPage() override;

    /// Port 0 lets the system pick one. False on failure, see errorString(); also for addresses that others
    /// than this machine can reach.
    bool listen(const QHostAddress& address, quint16 port);
    QString errorString() const { return m_error; }
    /// "http://127.0.0.1:9469/metrics".
    QString url() const;

private:
    struct Peer;

    void accept();
    void pause();
    void read(Peer& peer);
    void answer(Peer& peer);
    void remove(QTcpSocket* socket);
    QByteArray replyTo(const QByteArray& request);
    QByteArray page();

    const QByteArray m_path;
    const QByteArray m_contentType;
    const Make m_make;
    const HttpBounds m_bounds;
    QTcpServer m_server;
    QString m_error;
    std::list<Peer> m_peers; ///< in the order in which they came
    QByteArray m_page;
    std::chrono::steady_clock::time_point m_madeAt;
};

} // namespace KoltaCli
