#pragma once

#include <support/text.h>
#include <xmlmessaging/framing.h>
#include <xmlmessaging/messagecodec.h>
#include <xmlmessaging/server.h>

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QVector>

#include <functional>

/// A message of the given kind with one fragment; its request asks `component` for nothing in particular,
/// with `padding` characters around it.
inline XmlCommon::ptrCXmlMessage makeRequest(const QString& component, int kind = 1, int padding = 0)
{
    const auto type = static_cast<XmlCommon::CXmlMessage::eSERVICE_TYPES>(kind);
    const XmlCommon::ptrCXmlMessage message(new XmlCommon::CXmlMessage(type));
    XmlCommon::CMsgFragment fragment(component);
    XmlCommon::CDataTree tree(QLatin1String("Ask"));
    if (padding > 0)
        tree.editRoot().setText(QString(padding, QLatin1Char('x')));
    fragment.setRequestTree(XmlCommon::CRequestTree(tree));
    message->addFragment(fragment);
    return message;
}

/// A server on loopback that does what a test tells it. Answers every request at once unless `rule` is set.
class ScriptedPeer : public QObject
{
public:
    using Rule = std::function<void(const XmlCommon::CXmlMessage& request)>;

    ScriptedPeer()
    {
        server.listen();
        connect(&server, &XmlCommunication::CServer::LinkOpened, this,
                [this](XmlCommunication::CServerLink* opened) {
                    link = opened;
                    ++linksOpened;
                    connect(opened, &XmlCommunication::CServerLink::Closed, this, [this] { ++linksClosed; });
                    connect(opened, &XmlCommunication::CServerLink::MessageReceived, this,
                            [this](const XmlCommon::ptrCXmlMessage& message) { received(message); });
                });
    }

    QString host() const { return "127.0.0.1:%1"_s.arg(server.port()); }

    XmlCommon::CXmlMessage replyTo(const XmlCommon::CXmlMessage& request) const
    {
        return XmlCommunication::makeReply(request, false);
    }
    void answer(const XmlCommon::CXmlMessage& request) { send(replyTo(request)); }
    void answerWithFault(const XmlCommon::CXmlMessage& request, quint32 faultID)
    {
        XmlCommon::CXmlMessage reply = replyTo(request);
        reply.getFragment(0).setFaultTree(XmlCommon::CFaultTree(faultID, 1));
        send(reply);
    }
    void send(const XmlCommon::CXmlMessage& message)
    {
        if (link)
            link->send(message);
    }
    /// Sends the first `count` bytes of the reply, then ends the link.
    void answerCutAt(const XmlCommon::CXmlMessage& request, int count)
    {
        QByteArray text;
        XmlCommon::MessageCodec::encode(replyTo(request), text);
        QByteArray frame;
        XmlCommunication::appendFrame(frame, text);
        link->sendRaw(frame.left(count));
        link->close();
    }

    XmlCommunication::CServer server;
    QPointer<XmlCommunication::CServerLink> link; ///< the newest
    Rule rule;
    int linksOpened = 0;
    int linksClosed = 0;
    QStringList log; ///< "<link>:<component>:<service type>" of each message
    QVector<XmlCommon::ptrCXmlMessage> messages;

private:
    void received(const XmlCommon::ptrCXmlMessage& message)
    {
        messages.append(message);
        log.append("%1:%2:%3"_s.arg(QString::number(linksOpened), message->getFragment(0).getComponentName(),
                                    QString::number(message->getServiceType())));
        if (rule)
            rule(*message);
        else
            answer(*message);
    }
};
