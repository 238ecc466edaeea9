#pragma once

#include "mailbox.h"

#include <xmlmessaging/framing.h>
#include <xmlmessaging/messagecodec.h>
#include <xmlmessaging/tlssettings.h>

#include <QAbstractSocket>

#include <atomic>
#include <chrono>
#include <exception>
#include <memory>
#include <unordered_map>

class QSslSocket;
class QTcpSocket;

namespace XmlCommunication {

namespace logger {
class LinkLog;
}

/// How long a link waits for a connection unless it is told otherwise.
constexpr std::chrono::milliseconds kConnectTime = std::chrono::seconds(10);

/// What a link tells its owner, in the order in which it happened.
struct LinkNews
{
    enum Kind { eMessage, eState, eError };
    Kind kind = eMessage;
    int value = 0; ///< the socket's state or error
    XmlCommon::ptrCXmlMessage message;
};

using Outbox = Mailbox<XmlCommon::ptrCXmlMessage>;
using Inbox = Mailbox<LinkNews>;

/// The part of a link that lives on the link's own thread: the socket and all that is done to bytes.
class LinkWorker : public QObject
{
public:
    LinkWorker(const QString& host, quint16 port, Inbox& inbox);
    ~LinkWorker() override;

    Outbox& outbox() noexcept { return m_outbox; }
    // Any thread.
    quint64 bytesSent() const noexcept { return m_bytesSent.load(std::memory_order_relaxed); }
    quint64 bytesReceived() const noexcept { return m_bytesReceived.load(std::memory_order_relaxed); }
    void setLimits(const XmlCommon::MessageLimits& limits) { m_limits = limits; }
    void setConnectTime(std::chrono::milliseconds time) { m_connectTime = time; }
    void setTls(const TlsSettings& settings) { m_tls = settings; }

    /// On the link's thread, before its event loop runs: starts to connect.
    void begin(std::shared_ptr<logger::LinkLog> log);
    /// On the link's thread, after its event loop: sends what waits in the outbox, within half a second, and
    /// closes.
    void finish();
    /// Closes at once and throws away what is left.
    void drop() noexcept;
    /// Throws the exception, if any, that ended the event loop.
    void rethrow();

protected:
    bool event(QEvent* event) override;

private:
    using Clock = std::chrono::steady_clock;

    template<class Function>
    void guarded(Function function);
    void makeSocket();
    void connectSocket();
    void startConnecting();
    bool protect(QString& error);
    void onReady();
    void onState(QAbstractSocket::SocketState state);
    void onError(QAbstractSocket::SocketError error);
    void onReadyRead();
    void onTick();
    void onResume();
    bool deliver();
    void receive(QByteArray frame);
    int writeOutbox();
    void noteInFlight(const XmlCommon::CXmlMessage& message);
    void flushBefore(Clock::time_point limit);
    void lingerUntil(Clock::time_point limit);
    void fail(QAbstractSocket::SocketError error, const QString& what);
    void report(QAbstractSocket::SocketError error, const QString& what);
    void push(LinkNews::Kind kind, int value);
    void note(const QString& text);
    void startTicking();
    QString linkName() const;

    const QString m_host;
    const quint16 m_port;
    Inbox& m_inbox;
    Outbox m_outbox;
    XmlCommon::MessageLimits m_limits;
    std::chrono::milliseconds m_connectTime = kConnectTime;
    TlsSettings m_tls;
    std::shared_ptr<logger::LinkLog> m_log;
    std::unique_ptr<QTcpSocket> m_socket;
    QSslSocket* m_protected = nullptr; ///< the same socket when the link is protected
    std::unique_ptr<FrameReader> m_reader;
    std::unique_ptr<char[]> m_readBuffer;
    QByteArray m_payload;
    QByteArray m_frames;
    std::unordered_map<quint32, Clock::time_point> m_inFlight; ///< message ID and when its time is up
    Clock::time_point m_connectLimit;
    Clock::time_point m_pausedAt;
    std::exception_ptr m_exception;
    std::atomic<quint64> m_bytesSent{0};
    std::atomic<quint64> m_bytesReceived{0};
    int m_tickTimer = 0;
    bool m_ready = false; ///< connected, and the handshake of a protected link is over
    bool m_nothingCame = true;
    bool m_failed = false; ///< nothing but state changes is told any more
    bool m_ending = false; ///< the owner wants no more news
    bool m_paused = false; ///< the owner has too much to read already
    bool m_lastBytes =
        false; ///< the peer has closed; what it sent is bounded and is read in spite of a pause
};

} // namespace XmlCommunication
