#include <simulation/serverthread.h>

namespace KoltaSimulation {

ServerThread::ServerThread(const Installation& installation, const QHostAddress& address)
    : m_thread(QStringLiteral("SimulatedServer"))
{
    m_thread.call([&] {
        m_server = std::make_unique<SimulatedServer>(installation);
        if (m_server->listen(address)) {
            m_port = m_server->port();
            m_hostAndPort = m_server->hostAndPort();
        }
    });
}

ServerThread::~ServerThread()
{
    m_thread.call([this] { m_server.reset(); });
}

} // namespace KoltaSimulation
