#pragma once

#include <xmlmessaging/export.h>
#include <xmlmessaging/messagecodec.h>
#include <xmlmessaging/tlssettings.h>
#include <xmlmessaging/xmlmessage.h>

#include <QAbstractSocket>
#include <QString>
#include <QThread>

#include <chrono>
#include <memory>

namespace XmlCommunication {

/// The client end of one TCP link: a thread that owns the socket, and this object, which lives on the owner's
/// thread and speaks for it.
///
/// The thread connects by itself when started. Messages are encoded, framed, sent, received, deframed and
/// decoded on it; no message object is ever touched by two threads at once:
/// - sendMessage() hands over a copy that shares the trees' content; the caller's object stays the caller's.
/// - A reply is decoded into a fresh object and handed to the owner's thread, where this object fills it
///   into the request's own message (CXmlMessage::fillWithReply) and emits the request's message. A reply
///   whose ID belongs to no request in flight is emitted as the fresh object.
///
/// A request whose available time runs out ends the link with SocketTimeoutError. A malformed frame or
/// message ends it with UnknownSocketError and a trace line. After an error the thread idles until exit() is
/// called. On exit() what was given to sendMessage() is written first, for at most half a second, in which a
/// link that is not up yet may still come up; then the socket closes.
///
/// All signals are emitted on the thread that this object lives on, in the order in which things happened on
/// the link. When the owner does not keep up, reading pauses, so that memory stays bounded. An exception that
/// a receiver throws is traced and goes no further.
class KOLTA_XMLMESSAGING_EXPORT CConnectionThread : public QThread
{
    Q_OBJECT

public:
    /// `host` is an address or name, `linkId` 0 takes the next free number. Does not start the thread.
    CConnectionThread(const QString& host, quint16 port, quint32 linkId = 0, QObject* parent = nullptr);
    /// Waits for the thread; owners make sure that it has been told to exit.
    ~CConnectionThread() override;

    quint32 getLinkId() const noexcept;
    QString getHost() const;
    quint16 getPort() const noexcept;
    // With the frames around messages, before a protected link encrypts them. Any thread.
    quint64 getBytesSent() const noexcept;
    quint64 getBytesReceived() const noexcept;

    /// Queues the message for sending; from the owner's thread. `priority` is kept for the interface and must
    /// be 0.
    void sendMessage(const XmlCommon::ptrCXmlMessage& message, int priority);
    /// Waits at most `timeoutMs` for the thread's end; true when it has ended (or never ran).
    bool waitForFinished(unsigned int timeoutMs);

    /// To be set before start().
    void setLimits(const XmlCommon::MessageLimits& limits);
    /// How long to wait for a connection, 10 s unless it is set. To be set before start().
    void setConnectTime(std::chrono::milliseconds time);
    /// Instead of what the configuration says of this peer. To be set before start(). What is wrong with the
    /// peer's certificate, or with the settings, ends the link with SslHandshakeFailedError and a trace line.
    void setTls(const TlsSettings& settings);

    /// Ends every thread that still runs, each within a second. Called by itself when the application object
    /// dies.
    static void endAll();

Q_SIGNALS:
    void SignalNewJob(XmlCommon::ptrCXmlMessage message, GLOBAL_XML_TYPES::eMESSAGE_TYPES type);
    void SignalSocketError(quint32 linkId, QAbstractSocket::SocketError error);
    void SignalSocketStateChanged(quint32 linkId, QAbstractSocket::SocketState state);
    /// The thread ended because of an exception.
    void terminated();

protected:
    void run() override;
    bool event(QEvent* event) override;

private:
    void runLink();

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace XmlCommunication
