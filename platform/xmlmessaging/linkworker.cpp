#include "linkworker.h"

#include "linklog.h"
#include "socketoptions.h"
#include "tlssocket.h"

#include <startup/hostandport.h>
#include <startup/tracesource.h>

#include <QNetworkProxy>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QThread>
#include <QTimerEvent>

using XmlCommon::CXmlMessage;
using XmlCommon::MessageCodec;
using XmlCommon::ptrCXmlMessage;

namespace XmlCommunication {

namespace {

enum eTracePoint : int { eLinkEnded = 10 };
constexpr Startup::TraceSource kTrace("platform/xmlmessaging/linkworker");

using namespace std::chrono_literals;

constexpr int kReadBytes = 64 * 1024;
constexpr int kSocketBufferBytes = 256 * 1024;
/// Costs of what the owner has not read yet, at which reading pauses.
constexpr qint64 kInboxHighWater = 16 * 1024 * 1024;
/// A decoded message costs a multiple of its text, and a page of the parser at least.
constexpr qint64 kMessageBaseCost = 32 * 1024;
constexpr qint64 kMessageCostPerByte = 4;

constexpr int kTickMs = 100;
constexpr auto kFinishTime = 500ms;
constexpr auto kUnacknowledgedTime = 60s;
/// Unit of a message's available time.
using AvailableTime = std::chrono::duration<qint64, std::ratio<1, 100000>>;

int leftMs(std::chrono::steady_clock::time_point limit)
{
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(limit - std::chrono::steady_clock::now());
    return static_cast<int>(qMax<qint64>(0, left.count()));
}

} // namespace

LinkWorker::LinkWorker(const QString& host, quint16 port, Inbox& inbox)
    : m_host(host), m_port(port), m_inbox(inbox), m_outbox(this)
{
}

LinkWorker::~LinkWorker() = default;

void LinkWorker::begin(std::shared_ptr<logger::LinkLog> log)
{
    m_log = std::move(log);
    m_nothingCame = true;
    m_ready = m_failed = m_ending = m_paused = m_lastBytes = false;
    m_inFlight.clear();
    m_reader = std::make_unique<FrameReader>(m_limits.maxMessageBytes);
    m_readBuffer = std::make_unique<char[]>(kReadBytes);
    makeSocket();
    connectSocket();
    startConnecting();
}

void LinkWorker::makeSocket()
{
    m_protected = m_tls.required ? new QSslSocket : nullptr;
    m_socket.reset(m_protected ? m_protected : new QTcpSocket);
    m_socket->setProxy(QNetworkProxy::NoProxy);
    m_socket->setReadBufferSize(kSocketBufferBytes);
}

void LinkWorker::startConnecting()
{
    QString error;
    if (m_host.isEmpty()) {
        fail(QAbstractSocket::HostNotFoundError, QStringLiteral("no host given"));
    } else if (m_port == 0) {
        fail(QAbstractSocket::ConnectionRefusedError, QStringLiteral("no port given"));
    } else if (!protect(error)) {
        fail(QAbstractSocket::SslHandshakeFailedError, error);
    } else {
        m_connectLimit = Clock::now() + m_connectTime;
        startTicking();
        if (m_protected)
            m_protected->connectToHostEncrypted(m_host, m_port,
                                                m_tls.peerName.isEmpty() ? m_host : m_tls.peerName);
        else
            m_socket->connectToHost(m_host, m_port);
    }
}

/// Whether the link is as it is wanted. A plain one must not even make a configuration, which loads all of
/// TLS: on a busy machine that takes longer than the link may live, and a process must not end meanwhile.
bool LinkWorker::protect(QString& error)
{
    if (!m_protected) {
        error = m_tls.problem;
        return error.isEmpty();
    }
    QSslConfiguration configuration;
    if (!m_tls.load(TlsSettings::eClient, configuration, error))
        return false;
    m_protected->setSslConfiguration(configuration);
    return true;
}

/// Runs one reaction to an event. An exception ends the event loop, which must not be unwound, and is kept
/// for run().
template<class Function>
void LinkWorker::guarded(Function function)
{
    try {
        function();
    } catch (...) {
        m_exception = std::current_exception();
        m_failed = true;
        QThread::currentThread()->exit(1);
    }
}

void LinkWorker::connectSocket()
{
    connect(m_socket.get(), &QTcpSocket::stateChanged, this,
            [this](QAbstractSocket::SocketState state) { guarded([&] { onState(state); }); });
    connect(m_socket.get(), &QTcpSocket::errorOccurred, this,
            [this](QAbstractSocket::SocketError error) { guarded([&] { onError(error); }); });
    connect(m_socket.get(), &QTcpSocket::readyRead, this, [this] { guarded([&] { onReadyRead(); }); });
    if (m_protected)
        connect(m_protected, &QSslSocket::encrypted, this, [this] { guarded([&] { onReady(); }); });
}

void LinkWorker::rethrow()
{
    if (const std::exception_ptr exception = std::exchange(m_exception, nullptr))
        std::rethrow_exception(exception);
}

bool LinkWorker::event(QEvent* event)
{
    m_outbox.looking();
    if (event->type() == kWakeEvent)
        guarded([this] { writeOutbox(); });
    else if (event->type() == kResumeEvent)
        guarded([this] { onResume(); });
    else if (event->type() == QEvent::Timer && static_cast<QTimerEvent*>(event)->timerId() == m_tickTimer)
        guarded([this] { onTick(); });
    else
        return QObject::event(event);
    return true;
}

void LinkWorker::onState(QAbstractSocket::SocketState state)
{
    if (state != QAbstractSocket::ConnectedState) {
        push(LinkNews::eState, state);
        return;
    }
    tuneSocket(*m_socket);
    limitUnacknowledgedTime(*m_socket, kUnacknowledgedTime);
    if (!m_protected)
        onReady();
}

/// The link is up, for the owner too.
void LinkWorker::onReady()
{
    m_ready = true;
    note(QStringLiteral("opened to %1%2")
             .arg(Startup::joinHostAndPort(m_host, m_port),
                  m_protected ? QStringLiteral(", TLS") : QString()));
    push(LinkNews::eState, QAbstractSocket::ConnectedState);
    if (!m_ending)
        writeOutbox();
}

void LinkWorker::onError(QAbstractSocket::SocketError error)
{
    if (error == QAbstractSocket::RemoteHostClosedError) {
        m_lastBytes = true;
        m_paused = false;
        // What a pause left undelivered comes first; the socket itself may be empty already.
        if (!m_failed && !m_ending && deliver())
            onReadyRead();
        m_reader->end();
    }
    // The socket ends by itself. Connecting itself fails as it does without protection.
    const bool handshake = m_protected && !m_ready && m_protected->mode() != QSslSocket::UnencryptedMode;
    const bool tlsError = error == QAbstractSocket::SslHandshakeFailedError ||
                          error == QAbstractSocket::SslInternalError ||
                          error == QAbstractSocket::SslInvalidUserDataError;
    if (handshake || tlsError)
        report(QAbstractSocket::SslHandshakeFailedError, tlsFailure(*m_protected));
    else if (m_ready && m_nothingCame && error == QAbstractSocket::RemoteHostClosedError &&
             !m_reader->hasError())
        // A server judges certificates when this end's handshake is over already.
        report(error, m_protected ? QStringLiteral("TLS: the peer closed the link before its first message; "
                                                   "it may refuse this end's certificate")
                                  : QStringLiteral("The peer closed the connection before its first "
                                                   "message; it may expect TLS"));
    else
        report(error, m_reader->hasError() ? m_reader->error() : m_socket->errorString());
}

void LinkWorker::onReadyRead()
{
    while (!m_failed && !m_ending && !m_paused) {
        const qint64 count = m_socket->read(m_readBuffer.get(), kReadBytes);
        if (count <= 0)
            return;
        m_bytesReceived.fetch_add(static_cast<quint64>(count), std::memory_order_relaxed);
        m_reader->feed(m_readBuffer.get(), static_cast<int>(count));
        if (!deliver())
            return;
        // A short read has emptied the socket; more bytes come with another signal.
        if (count < kReadBytes && m_socket->bytesAvailable() == 0)
            return;
    }
}

/// Takes the whole messages that have arrived; false when reading has to stop.
bool LinkWorker::deliver()
{
    QByteArray frame;
    while (!m_failed && !m_paused && m_reader->next(frame))
        receive(std::move(frame));
    if (m_reader->hasError())
        fail(QAbstractSocket::UnknownSocketError, m_reader->error());
    return !m_failed && !m_paused;
}

void LinkWorker::receive(QByteArray frame)
{
    const int size = frame.size();
    QString error;
    ptrCXmlMessage message = MessageCodec::decode(std::move(frame), error, m_limits);
    if (!message) {
        fail(QAbstractSocket::UnknownSocketError, error);
        return;
    }
    m_nothingCame = false;
    if (m_log)
        m_log->write(logger::eReceived, *message, size);
    const CXmlMessage::eSERVICE_TYPES type = message->getServiceType();
    if (type == CXmlMessage::eSERVICE_QUERY_REPLY || type == CXmlMessage::eSERVICE_COMMAND_REPLY)
        m_inFlight.erase(message->getMessageID());
    const qint64 cost = kMessageBaseCost + kMessageCostPerByte * size;
    const bool room =
        m_inbox.push(LinkNews{LinkNews::eMessage, 0, std::move(message)}, cost, kInboxHighWater);
    if (!room && !m_paused && !m_lastBytes) {
        m_paused = true;
        m_pausedAt = Clock::now();
    }
}

void LinkWorker::onResume()
{
    if (!m_paused)
        return;
    m_paused = false;
    // The time in which a reply could not have been read is not the peer's fault.
    const auto pause = Clock::now() - m_pausedAt;
    for (auto& entry : m_inFlight)
        entry.second += pause;
    if (!m_failed && !m_ending && deliver())
        onReadyRead();
}

int LinkWorker::writeOutbox()
{
    if (!m_socket || m_failed || !m_ready || m_socket->state() != QAbstractSocket::ConnectedState)
        return 0;
    recycle(m_frames);
    int count = 0;
    ptrCXmlMessage message;
    while (m_outbox.take(message).any) {
        recycle(m_payload);
        MessageCodec::encode(*message, m_payload);
        appendFrame(m_frames, m_payload);
        noteInFlight(*message);
        if (m_log)
            m_log->write(logger::eSent, *message, m_payload.size());
        message.reset();
        ++count;
    }
    if (count > 0) {
        m_bytesSent.fetch_add(static_cast<quint64>(m_frames.size()), std::memory_order_relaxed);
        m_socket->write(m_frames);
        m_socket->flush();
    }
    return count;
}

void LinkWorker::noteInFlight(const CXmlMessage& message)
{
    const CXmlMessage::eSERVICE_TYPES type = message.getServiceType();
    const bool request = type == CXmlMessage::eSERVICE_QUERY || type == CXmlMessage::eSERVICE_COMMAND;
    if (!request || message.getAvailableTime() == 0)
        return;
    m_inFlight[message.getMessageID()] =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(AvailableTime(message.getAvailableTime()));
    startTicking();
}

/// One coarse timer for all requests. It runs on between one request and the next, so that none starts a
/// timer.
void LinkWorker::startTicking()
{
    if (m_tickTimer == 0)
        m_tickTimer = startTimer(kTickMs, Qt::CoarseTimer);
}

void LinkWorker::onTick()
{
    const Clock::time_point now = Clock::now();
    const bool connecting =
        !m_failed && m_socket && (!m_ready || m_socket->state() != QAbstractSocket::ConnectedState);
    if (connecting && now >= m_connectLimit)
        fail(QAbstractSocket::SocketTimeoutError,
             (m_socket->state() == QAbstractSocket::ConnectedState
                  ? QStringLiteral("TLS: no handshake within %1 s; does the peer speak TLS?")
                  : QStringLiteral("no connection within %1 s"))
                 .arg(std::chrono::duration<double>(m_connectTime).count()));
    for (auto entry = m_inFlight.begin(); entry != m_inFlight.end() && !m_paused && !m_failed; ++entry) {
        if (now < entry->second)
            continue;
        fail(QAbstractSocket::SocketTimeoutError,
             QStringLiteral("no reply to request %1 within its available time").arg(entry->first));
        break;
    }
    if (m_failed || (!connecting && m_inFlight.empty())) {
        killTimer(m_tickTimer);
        m_tickTimer = 0;
    }
}

/// Ends the link with an error that the socket does not know of.
void LinkWorker::fail(QAbstractSocket::SocketError error, const QString& what)
{
    report(error, what);
    m_socket->abort();
}

/// Tells the owner the link's first error.
void LinkWorker::report(QAbstractSocket::SocketError error, const QString& what)
{
    if (m_failed || m_ending)
        return;
    m_failed = true;
    m_inFlight.clear();
    const bool orderly = error == QAbstractSocket::RemoteHostClosedError && !m_reader->hasError();
    kTrace(eLinkEnded, QStringLiteral("%1: %2").arg(linkName(), what),
           orderly ? Startup::eTraceInfo : Startup::eTrace);
    note(orderly ? QStringLiteral("ended by the peer") : QStringLiteral("ended: ") + what);
    push(LinkNews::eError, error);
}

void LinkWorker::note(const QString& text)
{
    if (m_log)
        m_log->note(text);
}

void LinkWorker::push(LinkNews::Kind kind, int value)
{
    m_inbox.push(LinkNews{kind, value, ptrCXmlMessage()});
}

QString LinkWorker::linkName() const
{
    const QString peer = Startup::joinHostAndPort(m_host, m_port);
    return m_log ? QStringLiteral("%1/%2").arg(m_log->name(), peer) : peer;
}

void LinkWorker::finish()
{
    m_ending = true;
    const Clock::time_point limit = Clock::now() + kFinishTime;
    if (!m_failed && !m_ready && !m_outbox.isEmpty()) {
        if (m_protected)
            m_protected->waitForEncrypted(leftMs(limit));
        else
            m_socket->waitForConnected(leftMs(limit));
    }
    if (!m_failed && m_socket->state() == QAbstractSocket::ConnectedState) {
        note(QStringLiteral("ended by this end"));
        const int count = writeOutbox();
        flushBefore(limit);
        if (count > 0 && unsentBytes(*m_socket) == 0)
            lingerUntil(limit);
    }
    drop();
}

void LinkWorker::flushBefore(Clock::time_point limit)
{
    while (unsentBytes(*m_socket) > 0 && leftMs(limit) > 0 && m_socket->waitForBytesWritten(leftMs(limit))) {
    }
}

/// A socket that is closed with unread bytes resets the link, and the reset may overtake what was just sent.
/// So the peer is first shown the end, and what it still has to say is read and dropped.
void LinkWorker::lingerUntil(Clock::time_point limit)
{
    shutdownSending(*m_socket);
    do {
        m_socket->readAll();
    } while (leftMs(limit) > 0 && m_socket->waitForReadyRead(leftMs(limit)));
}

void LinkWorker::drop() noexcept
{
    m_ending = true;
    if (m_tickTimer != 0)
        killTimer(m_tickTimer);
    m_tickTimer = 0;
    if (m_socket)
        m_socket->abort();
    m_socket.reset();
    m_reader.reset();
    m_readBuffer.reset();
    m_log.reset();
    if (m_protected)
        leaveTls();
    m_protected = nullptr;
}

} // namespace XmlCommunication
