#pragma once

#include <koltacommon/koltaconnection.h>
#include <support/scriptedpeer.h>
#include <support/test.h>

#include <QPointer>

#include <functional>
#include <stdexcept>

/// What tests of connections share.
namespace ConnectionClient {

using Kolta::GeneralRequest;
using Kolta::KoltaConnection;
using Kolta::ptrKoltaRequest;
using XmlCommon::ptrCXmlMessage;
using OnReply = std::function<ptrKoltaRequest()>;

/// Writes its component's name into a list when it is answered; when it is abandoned, followed by the
/// reason's number and "+" if it was sent.
class Recorded : public GeneralRequest
{
public:
    Recorded(const QString& component, QStringList& list, const OnReply& onReply = OnReply())
        : GeneralRequest(makeRequest(component)), name(component), answered(list), action(onReply)
    {
    }
    XmlCommon::ptrCXmlMessage& getMessage() override
    {
        if (throwOnGet-- == 1)
            throw std::runtime_error("no message");
        return GeneralRequest::getMessage();
    }
    ptrKoltaRequest processReply(ptrCXmlMessage reply) override
    {
        answered.append(reply->getFragment(0).getComponentName());
        return action ? action() : ptrKoltaRequest();
    }
    bool handleFault() override { return takesFaults; }
    void abandoned(Kolta::Abandonment why, bool wasSent) override
    {
        answered.append(name + QString::number(int(why)) + QString::fromLatin1(wasSent ? "+" : ""));
        if (action)
            action();
    }

    bool takesFaults = false;
    int throwOnGet = 0; ///< the n-th call throws

private:
    const QString name;
    QStringList& answered;
    OnReply action;
};

/// A connection to a peer, with everything that it says.
struct Client
{
    explicit Client(const QString& host) : connection(new KoltaConnection("K"_s, "1.0"_s, host, false))
    {
        KoltaConnection* const c = connection;
        QObject::connect(c, &KoltaConnection::Broadcast, c, [this] { say("broadcast"_s); });
        QObject::connect(c, &KoltaConnection::ConnectionClosed, c, [this] { say("closed"_s); });
        QObject::connect(c, &KoltaConnection::ConnectionError, c, [this](const QString& word) { say(word); });
        QObject::connect(c, &KoltaConnection::ConnectionOpened, c, [this] { say("opened"_s); });
        QObject::connect(c, &KoltaConnection::Fault, c, [this] { say("fault"_s); });
    }
    ~Client() { delete connection.data(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    Recorded* execute(const char* component, const OnReply& onReply = OnReply())
    {
        auto* const request = new Recorded(QString::fromLatin1(component), answered, onReply);
        connection->executeRequest(request);
        return request;
    }
    bool openAndSettle()
    {
        connection->open();
        return waitFor([this] { return said.contains("opened"_s) && connection->isIdle(); });
    }

    void say(const QString& what)
    {
        said.append(what);
        if (what == deleteAt)
            delete connection.data();
    }

    QPointer<KoltaConnection> connection;
    QString deleteAt; ///< what the connection says when it is deleted
    QStringList said;
    QStringList answered;
};

} // namespace ConnectionClient
