#pragma once

#include <QtGlobal>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct pollfd;

namespace Bench {

/// A client of a broker by plain libmosquitto, MQTT 5, all with quality of service 1, driven by poll() on the
/// caller's thread: what a distributed tree is measured against.
class RawMqtt
{
public:
    /// Connects and subscribes `filters`; returns when the broker has granted that. Throws when it does not.
    explicit RawMqtt(quint16 port, const std::vector<std::string>& filters = {});
    ~RawMqtt();

    /// Asked for, not granted yet.
    void subscribe(const std::string& filter);
    void publish(const std::string& topic, const std::string& payload, bool retained = false);
    /// Whether something is still to be written to the line.
    bool isSending() const;
    std::function<void(const char* topic, std::string_view payload)> onMessage;
    /// Sends and receives until `isDone` says so; throws after a minute without
    /// anything to do.
    template<class Condition>
    void runUntil(const Condition& isDone)
    {
        runAll({this}, isDone);
    }
    static void runAll(const std::vector<RawMqtt*>& clients, const std::function<bool()>& isDone);

    RawMqtt(const RawMqtt&) = delete;
    RawMqtt& operator=(const RawMqtt&) = delete;

private:
    struct Private;
    void watch(pollfd& line) const;
    void work(const pollfd& line);
    std::unique_ptr<Private> d;
};

} // namespace Bench
