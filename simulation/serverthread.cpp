#include <simulation/serverthread.h>

namespace KoltaSimulation {

ServerThread::ServerThread(const Installation& installation, const QHostAddress& address)
{
    m_thread.setObjectName(QStringLiteral("SimulatedServer"));
    auto* starter = new QObject;
    starter->moveToThread(&m_thread);
    m_thread.start();
    const auto construct = [&] {
        m_server = new SimulatedServer(installation);
        QObject::connect(&m_thread, &QThread::finished, m_server, &QObject::deleteLater);
        if (m_server->listen(address)) {
            m_port = m_server->port();
            m_hostAndPort = m_server->hostAndPort();
        }
    };
    QMetaObject::invokeMethod(starter, construct, Qt::BlockingQueuedConnection);
    starter->deleteLater();
}

ServerThread::~ServerThread()
{
    m_thread.quit();
    m_thread.wait();
}

} // namespace KoltaSimulation
