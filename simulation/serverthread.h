#pragma once

#include <simulation/callablethread.h>
#include <simulation/simulatedserver.h>

#include <memory>
#include <type_traits>

namespace KoltaSimulation {

/// A server that runs on a thread of its own, so that its work does not stand in the way of its client's. It
/// publishes nothing: the value tree belongs to another thread.
class ServerThread
{
public:
    /// Constructs the server on its thread and lets it listen on `address`; returns when it does.
    explicit ServerThread(const Installation& installation,
                          const QHostAddress& address = QHostAddress(QHostAddress::LocalHost));
    /// Ends links and thread.
    ~ServerThread();

    bool isListening() const noexcept { return m_port != 0; }
    quint16 port() const noexcept { return m_port; }
    QString hostAndPort() const { return m_hostAndPort; }

    /// Runs `function(server)` on the server's thread and returns its result; not to be called from that
    /// thread.
    template<class Function>
    auto call(Function&& function) -> std::invoke_result_t<Function, SimulatedServer&>
    {
        using Result = std::invoke_result_t<Function, SimulatedServer&>;
        if constexpr (std::is_void_v<Result>) {
            m_thread.call([&] { function(*m_server); });
        } else {
            Result result{};
            m_thread.call([&] { result = function(*m_server); });
            return result;
        }
    }
    ServerStatistics statistics()
    {
        return call([](SimulatedServer& server) { return server.statistics(); });
    }

    ServerThread(const ServerThread&) = delete;
    ServerThread& operator=(const ServerThread&) = delete;

private:
    CallableThread m_thread;
    std::unique_ptr<SimulatedServer> m_server; ///< lives and dies on m_thread
    quint16 m_port = 0;
    QString m_hostAndPort;
};

} // namespace KoltaSimulation
