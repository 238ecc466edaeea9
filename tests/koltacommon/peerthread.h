#pragma once

#include <simulation/callablethread.h>
#include <xmlmessaging/server.h>

#include <QVector>

#include <functional>
#include <memory>
#include <vector>

/// Servers on loopback that share one thread of their own. They keep nothing of what they receive, so that
/// the process's memory is the clients'.
class PeerThread
{
public:
    using Link = XmlCommunication::CServerLink;
    using OnLink = std::function<void(Link*)>;
    using OnMessage = std::function<void(Link*, const XmlCommon::CXmlMessage&)>;

    static void answer(Link* link, const XmlCommon::CXmlMessage& request)
    {
        link->send(XmlCommunication::makeReply(request, true));
    }

    /// Both functions are called on the servers' thread.
    explicit PeerThread(
        int count, OnMessage onMessage = answer, OnLink onLink = [](Link*) {})
    {
        thread.call([&] {
            for (int i = 0; i < count; ++i) {
                servers.push_back(std::make_unique<XmlCommunication::CServer>());
                XmlCommunication::CServer* const server = servers.back().get();
                QObject::connect(
                    server, &XmlCommunication::CServer::LinkOpened, server, [onMessage, onLink](Link* link) {
                        QObject::connect(link, &Link::MessageReceived, link,
                                         [link, onMessage](const XmlCommon::ptrCXmlMessage& message) {
                                             onMessage(link, *message);
                                         });
                        onLink(link);
                    });
                ports.append(server->listen() ? server->port() : quint16(0));
            }
        });
    }
    ~PeerThread()
    {
        thread.call([this] { servers.clear(); });
    }
    PeerThread(const PeerThread&) = delete;
    PeerThread& operator=(const PeerThread&) = delete;

    QString host(int server = 0) const { return QStringLiteral("127.0.0.1:%1").arg(ports.at(server)); }

    /// Runs `function` on the servers' thread and waits for it.
    void call(const std::function<void()>& function) { thread.call(function); }

private:
    KoltaSimulation::CallableThread thread{QStringLiteral("Peers")};
    QVector<quint16> ports;
    std::vector<std::unique_ptr<XmlCommunication::CServer>> servers;
};
