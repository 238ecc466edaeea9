#pragma once

#include <simulation/callablethread.h>
#include <support/text.h>
#include <xmlmessaging/server.h>

#include <functional>
#include <memory>

/// A server on loopback with a thread of its own. It keeps nothing of what it receives, so that the process's
/// memory is the client's.
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

    /// Both functions are called on the server's thread.
    explicit PeerThread(
        OnMessage onMessage = answer, OnLink onLink = [](Link*) {})
    {
        thread.call([&] {
            server = std::make_unique<XmlCommunication::CServer>();
            QObject::connect(server.get(), &XmlCommunication::CServer::LinkOpened, server.get(),
                             [onMessage, onLink](Link* link) {
                                 QObject::connect(
                                     link, &Link::MessageReceived, link,
                                     [link, onMessage](const XmlCommon::ptrCXmlMessage& message) {
                                         onMessage(link, *message);
                                     });
                                 onLink(link);
                             });
            port = server->listen() ? server->port() : quint16(0);
        });
    }
    ~PeerThread()
    {
        thread.call([this] { server.reset(); });
    }
    PeerThread(const PeerThread&) = delete;
    PeerThread& operator=(const PeerThread&) = delete;

    QString host() const { return "127.0.0.1:%1"_s.arg(port); }

private:
    KoltaSimulation::CallableThread thread{"Peer"_s};
    quint16 port = 0;
    std::unique_ptr<XmlCommunication::CServer> server;
};
