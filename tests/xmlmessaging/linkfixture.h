#pragma once

#include <support/test.h>
#include <xmlmessaging/connectionthread.h>
#include <xmlmessaging/server.h>

#include <startup/errorhandler.h>

#include <functional>

/// A server on a port that the system picks, one client link to it, and all that the link told.
struct LinkFixture
{
    using Message = XmlCommon::ptrCXmlMessage;
    using Received = std::function<void(XmlCommunication::CServerLink*, const XmlCommon::CXmlMessage&)>;

    explicit LinkFixture(Received received = answer)
    {
        Startup::ErrorHandler::Instance().setLoggingEnabled(false);
        QObject::connect(&server, &XmlCommunication::CServer::LinkOpened,
                         [this, received](XmlCommunication::CServerLink* opened) {
                             link = opened;
                             QObject::connect(opened, &XmlCommunication::CServerLink::MessageReceived,
                                              [this, received, opened](const Message& message) {
                                                  ++requests;
                                                  received(opened, *message);
                                              });
                         });
        if (!server.listen())
            qFatal("cannot listen on loopback");
        connectTo(server.port());
    }
    ~LinkFixture()
    {
        if (!thread)
            return;
        thread->exit(0);
        delete thread;
    }

    /// From now on the link is one to that port, not started yet.
    void connectTo(quint16 port)
    {
        delete thread;
        thread = new XmlCommunication::CConnectionThread("127.0.0.1"_s, port);
        watch();
    }
    void watch()
    {
        using XmlCommunication::CConnectionThread;
        QObject::connect(thread, &CConnectionThread::SignalNewJob,
                         [this](const Message& message, GLOBAL_XML_TYPES::eMESSAGE_TYPES type) {
                             messages.append(message);
                             types.append(type);
                         });
        QObject::connect(thread, &CConnectionThread::SignalSocketError,
                         [this](quint32, QAbstractSocket::SocketError error) { errors.append(error); });
        QObject::connect(thread, &CConnectionThread::SignalSocketStateChanged,
                         [this](quint32, QAbstractSocket::SocketState state) { states.append(state); });
    }
    bool connected()
    {
        if (!thread->isRunning())
            thread->start();
        return waitFor([this] { return states.contains(QAbstractSocket::ConnectedState) && link; });
    }
    /// A request with one fragment; its text makes it as large as wanted.
    static Message request(const QString& text = QString())
    {
        Message message(new XmlCommon::CXmlMessage(XmlCommon::CXmlMessage::eSERVICE_QUERY));
        XmlCommon::CDataTree tree(QLatin1String("Get"));
        tree.editRoot().setText(text);
        XmlCommon::CMsgFragment fragment("Test"_s);
        fragment.setRequestTree(XmlCommon::CRequestTree(tree));
        message->addFragment(fragment);
        message->setMessageID_byGenerator();
        return message;
    }
    static XmlCommon::CXmlMessage broadcast(quint32 number, int size = 0)
    {
        XmlCommon::CXmlMessage message(XmlCommon::CXmlMessage::eSERVICE_BROADCAST);
        XmlCommon::CDataTree tree(QLatin1String("Event"));
        tree.editRoot().setAttribute("number", quint64(number));
        tree.editRoot().setText(QString(size, QLatin1Char('x')));
        XmlCommon::CMsgFragment fragment("Test"_s);
        fragment.setDataTree(tree);
        message.addFragment(fragment);
        return message;
    }
    /// Answers with what was asked.
    static void answer(XmlCommunication::CServerLink* link, const XmlCommon::CXmlMessage& request)
    {
        XmlCommon::CXmlMessage reply = XmlCommunication::makeReply(request, true);
        for (int i = 0; i < reply.getNumberOfFragments(); ++i)
            reply.getFragment(i).setDataTree(request.getFragment(i).getRequestTree().getDataTree());
        link->send(reply);
    }
    static void ignore(XmlCommunication::CServerLink*, const XmlCommon::CXmlMessage&) {}

    Startup::TraceRecorder traces;
    XmlCommunication::CServer server;
    QPointer<XmlCommunication::CServerLink> link;
    QPointer<XmlCommunication::CConnectionThread> thread;
    QList<Message> messages;
    QList<GLOBAL_XML_TYPES::eMESSAGE_TYPES> types;
    QList<QAbstractSocket::SocketError> errors;
    QList<QAbstractSocket::SocketState> states;
    int requests = 0;
};
