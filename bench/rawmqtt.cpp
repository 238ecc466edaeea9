#include "rawmqtt.h"

#include "figure.h"

#include <mosquitto.h>
#include <mqtt_protocol.h>

#include <poll.h>

#include <chrono>

namespace Bench {

namespace {
constexpr int kMostUnderWay = 1000;
constexpr auto kLimit = std::chrono::seconds(60);
} // namespace

struct RawMqtt::Private
{
    mosquitto* handle = nullptr;
    bool isUp = false;
    std::size_t granted = 0;
};

RawMqtt::RawMqtt(quint16 port, const std::vector<std::string>& filters) : d(std::make_unique<Private>())
{
    static const int initialised = mosquitto_lib_init();
    d->handle = mosquitto_new(nullptr, true, this);
    require(initialised == MOSQ_ERR_SUCCESS && d->handle, "libmosquitto does not start");
    mosquitto_int_option(d->handle, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
    mosquitto_int_option(d->handle, MOSQ_OPT_TCP_NODELAY, 1);
    mosquitto_int_option(d->handle, MOSQ_OPT_RECEIVE_MAXIMUM, kMostUnderWay);
    mosquitto_max_inflight_messages_set(d->handle, kMostUnderWay);
    mosquitto_connect_v5_callback_set(d->handle,
                                      [](mosquitto*, void* self, int code, int, const mosquitto_property*) {
                                          static_cast<RawMqtt*>(self)->d->isUp = code == 0;
                                      });
    mosquitto_subscribe_v5_callback_set(
        d->handle, [](mosquitto*, void* self, int, int, const int*, const mosquitto_property*) {
            ++static_cast<RawMqtt*>(self)->d->granted;
        });
    mosquitto_message_v5_callback_set(
        d->handle, [](mosquitto*, void* self, const mosquitto_message* message, const mosquitto_property*) {
            const auto& listener = static_cast<RawMqtt*>(self)->onMessage;
            if (listener)
                listener(message->topic, {static_cast<const char*>(message->payload),
                                          static_cast<std::size_t>(message->payloadlen)});
        });
    require(mosquitto_connect_bind_v5(d->handle, "127.0.0.1", port, 60, nullptr, nullptr) == MOSQ_ERR_SUCCESS,
            "a plain client cannot connect");
    runUntil([this] { return d->isUp; });
    for (const std::string& filter : filters)
        subscribe(filter);
    runUntil([this, &filters] { return d->granted == filters.size(); });
}

RawMqtt::~RawMqtt()
{
    mosquitto_destroy(d->handle);
}

void RawMqtt::subscribe(const std::string& filter)
{
    mosquitto_subscribe_v5(d->handle, nullptr, filter.c_str(), 1, 0, nullptr);
}

void RawMqtt::publish(const std::string& topic, const std::string& payload, bool retained)
{
    mosquitto_publish_v5(d->handle, nullptr, topic.c_str(), static_cast<int>(payload.size()), payload.data(),
                         1, retained, nullptr);
}

bool RawMqtt::isSending() const
{
    return mosquitto_want_write(d->handle);
}

void RawMqtt::watch(pollfd& line) const
{
    const int wanted = POLLIN | (mosquitto_want_write(d->handle) ? POLLOUT : 0);
    line = {mosquitto_socket(d->handle), static_cast<short>(wanted), 0};
}

void RawMqtt::work(const pollfd& line)
{
    int code = MOSQ_ERR_SUCCESS;
    if (line.revents & (POLLIN | POLLERR | POLLHUP))
        code = mosquitto_loop_read(d->handle, 1);
    if (code == MOSQ_ERR_SUCCESS && mosquitto_want_write(d->handle))
        code = mosquitto_loop_write(d->handle, 1);
    require(code == MOSQ_ERR_SUCCESS, "a plain client has lost its line");
}

void RawMqtt::runAll(const std::vector<RawMqtt*>& clients, const std::function<bool()>& isDone)
{
    auto end = std::chrono::steady_clock::now() + kLimit;
    std::vector<pollfd> lines(clients.size());
    while (!isDone()) {
        for (std::size_t i = 0; i < clients.size(); ++i)
            clients[i]->watch(lines[i]);
        if (::poll(lines.data(), lines.size(), 100) > 0)
            end = std::chrono::steady_clock::now() + kLimit;
        for (std::size_t i = 0; i < clients.size(); ++i)
            clients[i]->work(lines[i]);
        require(std::chrono::steady_clock::now() < end, "the broker does not deliver");
    }
}

} // namespace Bench
