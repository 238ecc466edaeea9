#include <distribution/mqttcarrier.h>

#include <distribution/call.h>
#include <distribution/texts.h>

#include <QMetaObject>
#include <QRandomGenerator>
#include <QUuid>

#include <algorithm>
#include <utility>

namespace distribution {

namespace {

constexpr int kFirstRetryMs = 200;
constexpr int kLongestRetryMs = 10000;
constexpr int kRefusedRetryMs = 30000;
/// Timers, input and painting have their turn after so long.
constexpr int kTurnMs = 5;
/// A connection that held so long was a good one.
constexpr int kGoodAfterMs = 5000;
constexpr int kPatienceMs = 15000;
/// Longer than a connection takes to leave, so that its farewell is not lost.
constexpr int kLeaveLimitMs = 2000;

/// A quarter more or less.
int scattered(int milliseconds)
{
    return milliseconds * 3 / 4 + QRandomGenerator::global()->bounded(milliseconds / 2 + 1);
}

} // namespace

MqttCarrier::MqttCarrier(const MqttOptions& options) : m_options(options), m_retryMs(kFirstRetryMs)
{
    m_retry.setSingleShot(true);
    m_rest.setSingleShot(true);
    m_patience.setSingleShot(true);
    m_patience.setInterval(kPatienceMs);
    QObject::connect(&m_rest, &QTimer::timeout, &m_context, [this] { takeEvents(); });
    QObject::connect(&m_retry, &QTimer::timeout, &m_context, [this] { connect(); });
    QObject::connect(&m_patience, &QTimer::timeout, &m_context, [this] {
        down(DownReason::Lost, Texts::tr("%1: no answer within %2 s")
                                   .arg(m_options.address.ToText(), QString::number(kPatienceMs / 1000)));
    });
}

MqttCarrier::~MqttCarrier()
{
    m_connection.reset();
    if (m_left)
        m_left->WaitForEnd(kLeaveLimitMs);
}

void MqttCarrier::Open(const Will& will, const Bytes& clientId)
{
    Close();
    m_will = will;
    // The same for all attempts: the broker ends a connection that it holds for alive still, and publishes
    // its will, before it takes the next one of that name. Nobody else can guess it.
    m_clientId =
        clientId.empty() ? "kolta-" + QUuid::createUuid().toByteArray(QUuid::Id128).toStdString() : clientId;
    m_isOpen = true;
    m_retryMs = kFirstRetryMs;
    connect();
}

void MqttCarrier::Close()
{
    m_isOpen = false;
    m_isUp = false;
    m_said.clear();
    m_retry.stop();
    m_patience.stop();
    if (!m_connection)
        return;
    m_connection->Leave();
    m_left = giveUp();
}

void MqttCarrier::Publish(Publication publication)
{
    if (m_isUp)
        check(m_connection->Publish(std::move(publication)));
}

void MqttCarrier::Subscribe(const Bytes& filter)
{
    if (m_isUp)
        check(m_connection->Subscribe(filter));
}

void MqttCarrier::Unsubscribe(const Bytes& filter)
{
    if (m_isUp)
        check(m_connection->Unsubscribe(filter));
}

/// A line that takes nothing more is given up, but not from within the caller's call.
void MqttCarrier::check(bool couldSend)
{
    if (couldSend)
        return;
    m_isUp = false;
    QMetaObject::invokeMethod(
        &m_context,
        [this, connection = m_connection.get()] {
            if (m_connection.get() != connection)
                return;
            m_isUp = true;
            down(DownReason::Lost,
                 Texts::tr("%1: the broker does not keep up").arg(m_options.address.ToText()));
        },
        Qt::QueuedConnection);
}

void MqttCarrier::connect()
{
    m_patience.start();
    // Called on the connection's thread, which lets nobody destroy the connection meanwhile.
    m_connection = std::make_unique<MqttConnection>(m_options, m_will, m_clientId, [this] {
        const auto take = [this] {
            if (!m_rest.isActive())
                takeEvents();
        };
        QMetaObject::invokeMethod(&m_context, take, Qt::QueuedConnection);
    });
}

/// Listeners may do anything, also close or destroy this.
void MqttCarrier::takeEvents()
{
    const values::Weak<MqttCarrier> self(this);
    QElapsedTimer turn;
    turn.start();
    while (self && m_connection) {
        if (m_taken.empty())
            m_connection->Take(m_taken);
        if (m_taken.empty())
            return;
        if (turn.hasExpired(kTurnMs)) {
            m_rest.start();
            return;
        }
        const MqttConnection::Event event = std::move(m_taken.front());
        m_taken.pop_front();
        tell(event);
    }
}

/// What has come of a connection that is given up is not told any more.
std::unique_ptr<MqttConnection> MqttCarrier::giveUp()
{
    m_rest.stop();
    m_taken.clear();
    return std::move(m_connection);
}

void MqttCarrier::tell(const MqttConnection::Event& event)
{
    switch (event.kind) {
    case MqttConnection::Event::Kind::Up:
        m_patience.stop();
        m_upSince.start();
        m_isUp = true;
        m_said.clear();
        call(onUp, event.maximumPayload);
        break;
    case MqttConnection::Event::Kind::Down:
        down(event.reason, event.text);
        break;
    case MqttConnection::Event::Kind::Message:
        if (m_isUp)
            call(onMessage, event.topic, event.payload);
        break;
    case MqttConnection::Event::Kind::Refused:
        if (m_isUp)
            call(onRefused, event.topic, event.text);
        break;
    }
}

void MqttCarrier::down(DownReason reason, const QString& text)
{
    const bool wasUp = std::exchange(m_isUp, false);
    m_patience.stop();
    giveUp().reset();
    if (wasUp && m_upSince.hasExpired(kGoodAfterMs))
        m_retryMs = kFirstRetryMs;
    if (reason == DownReason::Lost) {
        m_retry.start(scattered(m_retryMs));
        m_retryMs = std::min(2 * m_retryMs, kLongestRetryMs);
    } else if (reason == DownReason::Refused) {
        m_retry.start(scattered(kRefusedRetryMs));
    }
    // The same failure of one attempt after the other is told once.
    if (wasUp || m_said != text) {
        m_said = text;
        call(onDown, reason, text);
    }
}

} // namespace distribution
