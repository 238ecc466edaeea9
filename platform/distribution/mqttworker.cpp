#include <distribution/mqttworker.h>

#include <distribution/texts.h>

#include <QFile>

#include <mqtt_protocol.h>
#include <openssl/crypto.h>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <iterator>
#include <mutex>
#include <utility>

namespace distribution {

namespace {

constexpr int kInflightMessages = 1000;
constexpr unsigned int kLostAfterMs = 15000;
constexpr auto kLeaveLimit = std::chrono::seconds(1);
/// Of a packet beside topic and payload.
constexpr std::size_t kPacketOverhead = 1024;

/// No signal reaches the thread, and writing to a line that is gone is an error of that write alone.
void blockSignals()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

/// The library ignores SIGPIPE for the whole process; that is not its business.
mosquitto* makeHandle(const Bytes& clientId, void* user)
{
    static std::mutex oneAtATime;
    const std::lock_guard<std::mutex> lock(oneAtATime);
    struct sigaction before = {};
    sigaction(SIGPIPE, nullptr, &before);
    mosquitto* const handle = mosquitto_new(clientId.c_str(), true, user);
    sigaction(SIGPIPE, &before, nullptr);
    return handle;
}

/// Properties of a packet to be sent.
class Properties
{
public:
    ~Properties() { mosquitto_property_free_all(&m_list); }
    Properties() = default;
    Properties(const Properties&) = delete;
    Properties& operator=(const Properties&) = delete;
    void AddUInt32(int id, quint32 value) { mosquitto_property_add_int32(&m_list, id, value); }
    const mosquitto_property* Get() const { return m_list; }

private:
    mosquitto_property* m_list = nullptr;
};

/// OpenSSL keeps what it has until the process is gone: at the end of main() it would take it away from a
/// connection that is just being made on its thread.
int initialise()
{
    OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
    return mosquitto_lib_init();
}

} // namespace

void MqttConnection::Worker::Run()
{
    blockSignals();
    if (connect())
        loop();
    m_handle.reset();
    {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        m_shared->isOver = true;
        m_shared->outbox.clear();
    }
    m_shared->push({Event::Kind::Down, {}, {}, 0, m_verdict.reason, m_verdict.text});
    m_shared->hasEnded.notify_all();
}

/// By the reason code of the protocol.
MqttConnection::Worker::Verdict MqttConnection::Worker::verdictOf(int code, const QString& user)
{
    const QString said = QString::fromUtf8(mosquitto_reason_string(code));
    switch (code) {
    case MQTT_RC_BAD_USERNAME_OR_PASSWORD:
    case MQTT_RC_NOT_AUTHORIZED:
        return {DownReason::Refused, user.isEmpty()
                                         ? Texts::tr("the broker admits nobody without user and password")
                                         : Texts::tr("the broker does not admit the user \"%1\" with this "
                                                     "password")
                                               .arg(user)};
    case MQTT_RC_UNSUPPORTED_PROTOCOL_VERSION:
        return {DownReason::Refused, Texts::tr("the broker does not speak MQTT 5")};
    case MQTT_RC_CLIENTID_NOT_VALID:
    case MQTT_RC_BANNED:
    case MQTT_RC_BAD_AUTHENTICATION_METHOD:
        return {DownReason::Refused, Texts::tr("the broker refuses the connection: %1").arg(said)};
    case MQTT_RC_SESSION_TAKEN_OVER:
        return {DownReason::Displaced, Texts::tr("another program has taken over the connection")};
    default:
        return {DownReason::Lost, Texts::tr("the broker ends the connection: %1").arg(said)};
    }
}

bool MqttConnection::Worker::connect()
{
    static const int initialised = initialise();
    m_handle.reset(makeHandle(m_clientId, this));
    mosquitto* const handle = m_handle.get();
    if (initialised != MOSQ_ERR_SUCCESS || !handle)
        return fail(DownReason::Lost, Texts::tr("no memory"));
    mosquitto_int_option(handle, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
    mosquitto_int_option(handle, MOSQ_OPT_TCP_NODELAY, 1);
    mosquitto_int_option(handle, MOSQ_OPT_RECEIVE_MAXIMUM, kInflightMessages);
    mosquitto_max_inflight_messages_set(handle, kInflightMessages);
    mosquitto_connect_v5_callback_set(
        handle, [](mosquitto*, void* self, int code, int, const mosquitto_property* properties) {
            static_cast<Worker*>(self)->onConnect(code, properties);
        });
    mosquitto_disconnect_v5_callback_set(handle,
                                         [](mosquitto*, void* self, int code, const mosquitto_property*) {
                                             static_cast<Worker*>(self)->onDisconnect(code);
                                         });
    mosquitto_publish_v5_callback_set(
        handle, [](mosquitto*, void* self, int id, int code, const mosquitto_property*) {
            static_cast<Worker*>(self)->onPublished(id, code);
        });
    mosquitto_subscribe_v5_callback_set(
        handle, [](mosquitto*, void* self, int id, int count, const int* granted, const mosquitto_property*) {
            static_cast<Worker*>(self)->onSubscribed(id, count, granted);
        });
    mosquitto_message_v5_callback_set(
        handle, [](mosquitto*, void* self, const mosquitto_message* message, const mosquitto_property*) {
            static_cast<Worker*>(self)->onMessage(*message);
        });
    if (!m_will.topic.empty() &&
        mosquitto_will_set_v5(handle, m_will.topic.c_str(), static_cast<int>(m_will.payload.size()),
                              m_will.payload.data(), 1, true, nullptr) != MOSQ_ERR_SUCCESS)
        return fail(DownReason::Refused, Texts::tr("the will cannot be set"));
    return setUser() && (!m_options.address.tls || setTls()) && open();
}

bool MqttConnection::Worker::setUser()
{
    QByteArray password = m_options.address.password;
    if (!m_options.passwordFile.isEmpty()) {
        QFile file(m_options.passwordFile);
        if (!file.open(QIODevice::ReadOnly))
            return fail(DownReason::Refused, Texts::tr("cannot read the password file %1: %2")
                                                 .arg(m_options.passwordFile, file.errorString()));
        password = file.readLine();
        while (password.endsWith('\n') || password.endsWith('\r'))
            password.chop(1);
    }
    if (m_options.address.user.isEmpty())
        return true;
    const int code = mosquitto_username_pw_set(m_handle.get(), m_options.address.user.constData(),
                                               password.isEmpty() ? nullptr : password.constData());
    return code == MOSQ_ERR_SUCCESS || fail(DownReason::Refused, Texts::tr("the user's name is no text"));
}

bool MqttConnection::Worker::setTls()
{
    QString error;
    m_tls = TlsContext::Make(m_options, error);
    if (!m_tls)
        return fail(DownReason::Refused, error);
    mosquitto_int_option(m_handle.get(), MOSQ_OPT_SSL_CTX_WITH_DEFAULTS, 0);
    const int code = mosquitto_void_option(m_handle.get(), MOSQ_OPT_SSL_CTX, m_tls->Get());
    return code == MOSQ_ERR_SUCCESS || fail(DownReason::Refused, textOf(code));
}

/// Blocks as long as the network lets it.
bool MqttConnection::Worker::open()
{
    const QByteArray host = m_options.address.host.toUtf8();
    errno = 0;
    const int code = mosquitto_connect_bind_v5(m_handle.get(), host.constData(), m_options.address.port,
                                               std::max(5, m_options.keepAliveS), nullptr, nullptr);
    if (code != MOSQ_ERR_SUCCESS)
        return fail(m_tls && !m_tls->Refusal().isEmpty() ? DownReason::Refused : DownReason::Lost,
                    textOf(code));
    // What is not acknowledged for so long will not be; the system itself would try for a quarter of an hour.
    setsockopt(mosquitto_socket(m_handle.get()), IPPROTO_TCP, TCP_USER_TIMEOUT, &kLostAfterMs,
               sizeof kLostAfterMs);
    return true;
}

QString MqttConnection::Worker::textOf(int code) const
{
    if (m_tls && !m_tls->Refusal().isEmpty())
        return m_tls->Refusal();
    const int error = errno;
    switch (code) {
    case MOSQ_ERR_EAI:
        return Texts::tr("the host is not known: %1").arg(QString::fromLocal8Bit(gai_strerror(error)));
    case MOSQ_ERR_ERRNO:
        if (error == EPROTO)
            return Texts::tr("the broker breaks the TLS connection off");
        return QString::fromLocal8Bit(std::strerror(error));
    case MOSQ_ERR_TLS:
        return Texts::tr("no TLS connection comes about");
    case MOSQ_ERR_KEEPALIVE:
        return Texts::tr("the broker does not answer");
    case MOSQ_ERR_CONN_LOST:
        return m_isUp ? Texts::tr("the connection was lost")
                      : Texts::tr("the broker ends the connection without an answer");
    default:
        return QString::fromUtf8(mosquitto_strerror(code));
    }
}

void MqttConnection::Worker::loop()
{
    mosquitto* const handle = m_handle.get();
    auto nextMisc = Clock::now();
    bool isReadable = false;
    while (waitForLine(isReadable)) {
        const auto now = Clock::now();
        int code = isReadable ? mosquitto_loop_read(handle, 1) : MOSQ_ERR_SUCCESS;
        takeOrders();
        if (code == MOSQ_ERR_SUCCESS && mosquitto_want_write(handle))
            code = mosquitto_loop_write(handle, 1);
        if (code == MOSQ_ERR_SUCCESS && now >= nextMisc) {
            nextMisc = now + std::chrono::milliseconds(500);
            code = mosquitto_loop_misc(handle);
        }
        if (code != MOSQ_ERR_SUCCESS && !m_isDown) {
            m_isDown = true;
            fail(m_tls && !m_tls->Refusal().isEmpty() ? DownReason::Refused : DownReason::Lost, textOf(code));
        }
        if (m_isDown || isDone(now))
            return;
    }
}

/// False when the connection is to end at once.
bool MqttConnection::Worker::waitForLine(bool& isReadable)
{
    bool hasRoom = false;
    {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        if (m_shared->isAbandoned)
            return false;
        hasRoom = m_shared->inboxBytes < m_options.maximumInboxBytes;
        m_shared->isPaused = !hasRoom;
    }
    const int line = mosquitto_socket(m_handle.get());
    if (line < 0) {
        if (!m_isDown)
            fail(DownReason::Lost, textOf(MOSQ_ERR_CONN_LOST));
        return false;
    }
    const int wanted = (hasRoom ? POLLIN : 0) | (mosquitto_want_write(m_handle.get()) ? POLLOUT : 0);
    // A line that is gone is always ready, so it is not asked when nothing is wanted of it.
    pollfd watched[] = {{wanted != 0 ? line : -1, static_cast<short>(wanted), 0},
                        {m_shared->wakeUp, POLLIN, 0}};
    ::poll(watched, 2, m_isLeaving ? 20 : 500);
    if (watched[1].revents & POLLIN) {
        eventfd_t ignored = 0;
        eventfd_read(m_shared->wakeUp, &ignored);
    }
    isReadable = hasRoom && (watched[0].revents & (POLLIN | POLLERR | POLLHUP)) != 0;
    return true;
}

/// No more than the broker may leave unanswered, so that packet identifiers in use never meet.
void MqttConnection::Worker::takeOrders()
{
    std::deque<Order> orders;
    {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        auto& outbox = m_shared->outbox;
        const std::size_t room =
            m_isUp && !m_isDown
                ? kInflightMessages - std::min<std::size_t>(kInflightMessages, m_waiting.size())
                : 0;
        const auto end = outbox.begin() + static_cast<std::ptrdiff_t>(std::min(room, outbox.size()));
        orders.assign(std::make_move_iterator(outbox.begin()), std::make_move_iterator(end));
        outbox.erase(outbox.begin(), end);
        if (m_shared->isLeaving && !m_isLeaving) {
            m_isLeaving = true;
            m_leaveBy = Clock::now() + kLeaveLimit;
        }
    }
    for (const Order& order : orders)
        carryOut(order);
}

void MqttConnection::Worker::carryOut(const Order& order)
{
    mosquitto* const handle = m_handle.get();
    const Publication& what = order.publication;
    int id = 0;
    int code = MOSQ_ERR_SUCCESS;
    m_endedEarly = 0;
    if (order.command == Command::Publish) {
        Properties properties;
        if (what.expiryMs > 0)
            properties.AddUInt32(MQTT_PROP_MESSAGE_EXPIRY_INTERVAL, (what.expiryMs + 999) / 1000);
        code = mosquitto_publish_v5(handle, &id, what.topic.c_str(), static_cast<int>(what.payload.size()),
                                    what.payload.data(), what.delivery == Delivery::AtLeastOnce ? 1 : 0,
                                    what.retained, properties.Get());
    } else if (order.command == Command::Subscribe) {
        code = mosquitto_subscribe_v5(handle, &id, what.topic.c_str(), 1, 0, nullptr);
    } else {
        code = mosquitto_unsubscribe_v5(handle, &id, what.topic.c_str(), nullptr);
    }
    account(id, order);
    if (code == MOSQ_ERR_SUCCESS && order.command != Command::Unsubscribe && m_endedEarly != id)
        return;
    settle(id);
    if (code == MOSQ_ERR_OVERSIZE_PACKET || code == MOSQ_ERR_INVAL || code == MOSQ_ERR_MALFORMED_UTF8)
        m_shared->push(
            {Event::Kind::Refused, what.topic, {}, 0, {}, QString::fromUtf8(mosquitto_strerror(code))});
}

void MqttConnection::Worker::account(int id, const Order& order)
{
    m_waiting[id] = {order.publication.topic, SizeOf(order.publication.topic, order.publication.payload)};
}

void MqttConnection::Worker::settle(int id)
{
    const auto found = m_waiting.find(id);
    if (found == m_waiting.end()) {
        // What needs no acknowledgement is told as sent within the very call that sends it.
        m_endedEarly = id;
        return;
    }
    const std::lock_guard<std::mutex> lock(m_shared->mutex);
    m_shared->outstanding -= found->second.bytes;
    m_waiting.erase(found);
}

/// Whether a connection that is to be left has sent everything, or had its time.
bool MqttConnection::Worker::isDone(Clock::time_point now)
{
    if (!m_isLeaving)
        return false;
    {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        const bool hasSent =
            m_shared->outbox.empty() && m_waiting.empty() && !mosquitto_want_write(m_handle.get());
        if (now < m_leaveBy && m_isUp && !hasSent)
            return false;
    }
    if (m_isUp) {
        mosquitto_disconnect_v5(m_handle.get(), MQTT_RC_NORMAL_DISCONNECTION, nullptr);
        while (mosquitto_want_write(m_handle.get()) && Clock::now() < m_leaveBy &&
               mosquitto_loop_write(m_handle.get(), 1) == MOSQ_ERR_SUCCESS) {
        }
    }
    return true;
}

void MqttConnection::Worker::onConnect(int code, const mosquitto_property* properties)
{
    if (code != MQTT_RC_SUCCESS) {
        m_isDown = true;
        fail(verdictOf(code, m_user));
        return;
    }
    quint32 largestPacket = 0;
    mosquitto_property_read_int32(properties, MQTT_PROP_MAXIMUM_PACKET_SIZE, &largestPacket, false);
    m_isUp = true;
    {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        m_shared->isUp = true;
    }
    const std::size_t largest =
        largestPacket > 2 * kPacketOverhead ? largestPacket - kPacketOverhead : kLargestPayload;
    m_shared->push({Event::Kind::Up, {}, {}, std::min(largest, kLargestPayload), {}, {}});
}

void MqttConnection::Worker::onDisconnect(int code)
{
    if (std::exchange(m_isDown, true))
        return;
    // Codes of the protocol are large, those of the library small.
    if (code >= MQTT_RC_UNSPECIFIED)
        fail(verdictOf(code, m_user));
    else
        fail(m_tls && !m_tls->Refusal().isEmpty() ? DownReason::Refused : DownReason::Lost, textOf(code));
}

void MqttConnection::Worker::onPublished(int id, int code)
{
    const auto found = m_waiting.find(id);
    if (found != m_waiting.end() && code >= MQTT_RC_UNSPECIFIED)
        m_shared->push({Event::Kind::Refused,
                        found->second.topic,
                        {},
                        0,
                        {},
                        QString::fromUtf8(mosquitto_reason_string(code))});
    settle(id);
}

void MqttConnection::Worker::onSubscribed(int id, int count, const int* granted)
{
    const auto found = m_waiting.find(id);
    if (found != m_waiting.end() && count > 0 && granted[0] >= MQTT_RC_UNSPECIFIED)
        m_shared->push({Event::Kind::Refused,
                        found->second.topic,
                        {},
                        0,
                        {},
                        QString::fromUtf8(mosquitto_reason_string(granted[0]))});
    settle(id);
}

void MqttConnection::Worker::onMessage(const mosquitto_message& message)
{
    m_shared->push(
        {Event::Kind::Message,
         message.topic,
         Bytes(static_cast<const char*>(message.payload), static_cast<std::size_t>(message.payloadlen)),
         0,
         {},
         {}});
}

} // namespace distribution
