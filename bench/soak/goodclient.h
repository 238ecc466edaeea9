#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>

namespace Kolta {
class KoltaConnection;
}

namespace Soak {

/// A client as there should be: asks one thing after the other, waits for each reply, and comes again when
/// its link is lost.
class GoodClient : public QObject
{
    Q_OBJECT

public:
    GoodClient(const QString& hostAndPort, int number, QObject* parent);
    ~GoodClient() override;

    void start();
    void stop();
    /// The request with that number was answered, rightly or not.
    void answered(quint64 number, bool right);

    quint64 replies() const noexcept { return m_next; }
    quint64 wrongReplies() const noexcept { return m_wrong; }
    quint64 lostLinks() const noexcept { return m_lost; }
    /// The longest wait for a reply, new links included, in milliseconds, since the last call.
    qint64 takeLongestWait();

private:
    void open();
    void ask();

    const QString m_hostAndPort;
    const int m_number;
    QPointer<Kolta::KoltaConnection> m_connection;
    QElapsedTimer m_waiting;
    quint64 m_next = 0; ///< number of the request that is to be answered next
    quint64 m_wrong = 0;
    quint64 m_lost = 0;
    qint64 m_longestWait = 0;
    bool m_stopped = false;
};

} // namespace Soak
