#pragma once

#include <simulation/brokenreply.h>

#include <xmlmessaging/converters.h>
#include <xmlmessaging/framing.h>
#include <xmlmessaging/messagecodec.h>

#include <QTcpSocket>
#include <QVector>

/// A client that sees every byte: sends requests and keeps what comes back, raw and as messages.
struct RawClient
{
    RawClient(const QHostAddress& address, quint16 port)
    {
        QObject::connect(&socket, &QTcpSocket::readyRead, &socket, [this] { read(); });
        socket.connectToHost(address, port);
    }

    /// Sends a request with one fragment; returns its ID.
    quint32 send(const XmlCommon::CMsgFragment& fragment, quint32 id = 0, const QString& token = QString())
    {
        using XmlCommon::CXmlMessage;
        const bool command = XmlCommunication::CRequestTreeConverter::isCommand(fragment) ||
                             XmlCommunication::CEventFilterConverter::isCommand(fragment) ||
                             fragment.getComponentName() == QLatin1String("Recording");
        CXmlMessage message(command != swapped ? CXmlMessage::eSERVICE_COMMAND : CXmlMessage::eSERVICE_QUERY);
        message.setToken(token);
        message.setMessageID(id != 0 ? id : ++lastId);
        message.addFragment(fragment);
        socket.write(KoltaSimulation::framedBytes(message));
        return message.getMessageID();
    }

    void read()
    {
        ++reads;
        const QByteArray bytes = socket.readAll();
        received.append(bytes);
        reader.feed(bytes.constData(), bytes.size());
        QByteArray text;
        while (reader.next(text)) {
            if (const XmlCommon::ptrCXmlMessage message =
                    XmlCommon::MessageCodec::decode(text, decodeError, limits))
                messages.append(message);
        }
    }

    const XmlCommon::CMsgFragment& fragment(int message) const
    {
        return messages.at(message)->getFragment(0);
    }
    bool isClosed() const { return socket.state() == QAbstractSocket::UnconnectedState; }

    XmlCommon::MessageLimits limits;
    XmlCommunication::FrameReader reader{limits.maxMessageBytes};
    QByteArray received;
    QVector<XmlCommon::ptrCXmlMessage> messages;
    QString decodeError; ///< of the last message that was none
    int reads = 0;       ///< how many times bytes arrived
    quint32 lastId = 0;
    bool swapped = false; ///< sends queries as commands and the other way round
    QTcpSocket socket;    ///< last, so that it dies first: its signals use the others
};
