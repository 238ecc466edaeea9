#pragma once

#include <distribution/carrier.h>
#include <distribution/export.h>
#include <distribution/mqttconnection.h>
#include <distribution/mqttoptions.h>

#include <values/lifetime.h>

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <deque>
#include <memory>

namespace distribution {

/// The carrier over MQTT 5. Names are looked up, lines opened and bytes moved on a thread of each connection;
/// a connection that broke is thrown away with all that it had queued. Retries come after 0.2 s, doubled up
/// to 10 s, after 30 s when the broker has refused, each a quarter more or less, so that many programs do not
/// return in one instant. Needs an event loop on its thread.
class KOLTA_DISTRIBUTION_EXPORT MqttCarrier final : public ICarrier
{
public:
    explicit MqttCarrier(const MqttOptions& options);
    /// Waits a second at most for what Close() has left to be sent. Without Close() it is like a crash: the
    /// broker publishes the will.
    ~MqttCarrier() override;

    void Open(const Will& will, const Bytes& clientId) override;
    void Close() override;
    void Publish(Publication publication) override;
    void Subscribe(const Bytes& filter) override;
    void Unsubscribe(const Bytes& filter) override;
    int GetNextTryMs() const override { return m_retry.remainingTime(); }

    const MqttOptions& GetOptions() const noexcept { return m_options; }
    /// For values::Weak.
    const values::Life& GetLife() const noexcept { return m_life; }

private:
    void connect();
    void takeEvents();
    std::unique_ptr<MqttConnection> giveUp();
    void tell(const MqttConnection::Event& event);
    void down(DownReason reason, const QString& text);
    void check(bool couldSend);

    const MqttOptions m_options;
    Will m_will;
    Bytes m_clientId;
    std::unique_ptr<MqttConnection> m_connection;
    std::unique_ptr<MqttConnection> m_left;    ///< the one that Close() has ended
    QObject m_context;                         ///< events of the connection's thread come to it
    std::deque<MqttConnection::Event> m_taken; ///< from it, and not told yet
    QTimer m_rest;                             ///< of these, once others had their turn
    QTimer m_retry;
    QTimer m_patience; ///< with an attempt that does not come to an end
    QElapsedTimer m_upSince;
    int m_retryMs;
    bool m_isOpen = false;
    bool m_isUp = false;
    QString m_said; ///< why it is down, as told last
    values::Life m_life;
};

} // namespace distribution
