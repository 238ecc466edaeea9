#include "connectionthread.h"

#include "linklog.h"
#include "linkworker.h"
#include "logger.h"

#include <startup/tracesource.h>

#include <QCoreApplication>
#include <QPointer>
#include <QTimerEvent>

#include <algorithm>
#include <atomic>
#include <unordered_map>
#include <vector>

using XmlCommon::CXmlMessage;
using XmlCommon::ptrCXmlMessage;

namespace XmlCommunication {

namespace {

enum eTracePoint : int { eThreadException = 10, eReceiverException = 20, eMissingReply = 30 };
constexpr Startup::TraceSource kTrace("platform/xmlmessaging/connectionthread");

/// News handed on before the owner's event loop gets its turn again.
constexpr int kNewsPerTurn = 100;
constexpr unsigned long kEndWaitMs = 1000;

/// All connection threads of the process.
struct Registry
{
    std::mutex mutex;
    std::vector<CConnectionThread*> threads;
    bool postRoutineAdded = false;
};

Registry& registry()
{
    static Registry instance;
    return instance;
}

/// An application object runs and forgets its post routines when it dies; a later one is told anew.
void endAllWithApplication()
{
    {
        const std::lock_guard<std::mutex> lock(registry().mutex);
        registry().postRoutineAdded = false;
    }
    CConnectionThread::endAll();
}

quint32 nextLinkId()
{
    static std::atomic<quint32> last{0};
    quint32 id = 0;
    while (id == 0)
        id = last.fetch_add(1, std::memory_order_relaxed) + 1;
    return id;
}

/// Traces the exception that is being handled.
void traceException(eTracePoint point, const QString& what)
{
    kTrace(point, what + Startup::CurrentExceptionText(QStringLiteral("unknown")));
}

} // namespace

struct CConnectionThread::Private
{
    Private(CConnectionThread* owner, const QString& peerHost, quint16 peerPort, quint32 id)
        : q(owner)
        , host(peerHost)
        , port(peerPort)
        , linkId(id != 0 ? id : nextLinkId())
        , inbox(owner)
        , worker(host, port, inbox)
    {
    }

    void handOn();
    void emitNews(const LinkNews& news);
    void emitMessage(const ptrCXmlMessage& message);
    void lookAgain(bool wanted);

    CConnectionThread* const q;
    const QString host;
    const quint16 port;
    const quint32 linkId;
    Inbox inbox;
    LinkWorker worker;
    std::unordered_map<quint32, ptrCXmlMessage> inFlight; ///< requests by message ID; the owner's thread only
    bool failed = false;
    int lookAgainTimer = 0;
    std::atomic<bool> ran{
        false}; ///< release and acquire make the end of run() visible where it is waited for
};

CConnectionThread::CConnectionThread(const QString& host, quint16 port, quint32 linkId, QObject* parent)
    : QThread(parent), d(std::make_unique<Private>(this, host, port, linkId))
{
    qRegisterMetaType<XmlCommon::ptrCXmlMessage>("XmlCommon::ptrCXmlMessage");
    qRegisterMetaType<GLOBAL_XML_TYPES::eMESSAGE_TYPES>("GLOBAL_XML_TYPES::eMESSAGE_TYPES");
    qRegisterMetaType<QAbstractSocket::SocketError>();
    qRegisterMetaType<QAbstractSocket::SocketState>();
    d->worker.setTls(TlsSettings::ofClient(host, port));
    d->worker.moveToThread(this);
    const std::lock_guard<std::mutex> lock(registry().mutex);
    registry().threads.push_back(this);
    if (!registry().postRoutineAdded)
        qAddPostRoutine(endAllWithApplication);
    registry().postRoutineAdded = true;
}

CConnectionThread::~CConnectionThread()
{
    {
        const std::lock_guard<std::mutex> lock(registry().mutex);
        auto& threads = registry().threads;
        threads.erase(std::remove(threads.begin(), threads.end(), this), threads.end());
    }
    exit(0);
    wait();
    d->ran.load(std::memory_order_acquire);
    logger::Logger::instance().unregisterConnection(this);
}

quint32 CConnectionThread::getLinkId() const noexcept
{
    return d->linkId;
}

quint64 CConnectionThread::getBytesSent() const noexcept
{
    return d->worker.bytesSent();
}

quint64 CConnectionThread::getBytesReceived() const noexcept
{
    return d->worker.bytesReceived();
}

QString CConnectionThread::getHost() const
{
    return d->host;
}

quint16 CConnectionThread::getPort() const noexcept
{
    return d->port;
}

void CConnectionThread::sendMessage(const ptrCXmlMessage& message, int priority)
{
    Q_UNUSED(priority)
    if (!message || d->failed)
        return;
    const CXmlMessage::eSERVICE_TYPES type = message->getServiceType();
    if (type == CXmlMessage::eSERVICE_QUERY || type == CXmlMessage::eSERVICE_COMMAND)
        d->inFlight[message->getMessageID()] = message;
    d->worker.outbox().push(ptrCXmlMessage(new CXmlMessage(*message)));
}

bool CConnectionThread::waitForFinished(unsigned int timeoutMs)
{
    return wait(timeoutMs);
}

void CConnectionThread::setLimits(const XmlCommon::MessageLimits& limits)
{
    d->worker.setLimits(limits);
}

void CConnectionThread::setConnectTime(std::chrono::milliseconds time)
{
    d->worker.setConnectTime(time);
}

void CConnectionThread::setTls(const TlsSettings& settings)
{
    d->worker.setTls(settings);
}

void CConnectionThread::endAll()
{
    const std::lock_guard<std::mutex> lock(registry().mutex);
    for (CConnectionThread* thread : registry().threads)
        thread->exit(0);
    for (CConnectionThread* thread : registry().threads)
        thread->wait(kEndWaitMs);
}

void CConnectionThread::run()
{
    runLink();
    d->ran.store(true, std::memory_order_release);
}

/// The thread's work from connecting to closing; nothing thrown leaves it.
void CConnectionThread::runLink()
{
    try {
        d->worker.begin(logger::Logger::instance().logOf(this));
        exec();
        d->worker.rethrow();
        d->worker.finish();
        return;
    } catch (...) {
        traceException(eThreadException, QStringLiteral("link thread ended by an exception: "));
    }
    d->worker.drop();
    Q_EMIT terminated();
}

bool CConnectionThread::event(QEvent* event)
{
    d->inbox.looking();
    const bool timer = event->type() == QEvent::Timer;
    if (event->type() != kWakeEvent &&
        !(timer && static_cast<QTimerEvent*>(event)->timerId() == d->lookAgainTimer))
        return QThread::event(event);
    // A timer does not fire again before its event has been handled: in an event loop that a slot runs, the
    // rest of the news would wait for that slot to end. So each turn has a timer of its own.
    d->lookAgain(false);
    d->handOn();
    return true;
}

/// Hands on what waits in the inbox. Any slot may run an event loop, in which this is entered again, or
/// delete the object; so every round starts from the inbox, and nothing of this object is touched once it is
/// gone.
void CConnectionThread::Private::handOn()
{
    const QPointer<CConnectionThread> alive(q);
    for (int i = 0; i < kNewsPerTurn && alive; ++i) {
        LinkNews news;
        const Inbox::Taken taken = inbox.take(news);
        if (taken.resume) {
            auto* const resume = new QEvent(kResumeEvent);
            worker.outbox().posting();
            QCoreApplication::postEvent(&worker, resume);
        }
        if (!taken.any) {
            lookAgain(false);
            return;
        }
        if (taken.more)
            lookAgain(true);
        // An event loop must not be unwound by what a receiver throws.
        try {
            emitNews(news);
        } catch (...) {
            traceException(eReceiverException, QStringLiteral("caught exception from a receiver: "));
        }
    }
}

/// A timer, not a posted event: under a steady flood of news the owner's own timers and sockets keep their
/// turn.
void CConnectionThread::Private::lookAgain(bool wanted)
{
    if (wanted && lookAgainTimer == 0) {
        lookAgainTimer = q->startTimer(0);
    } else if (!wanted && lookAgainTimer != 0) {
        q->killTimer(lookAgainTimer);
        lookAgainTimer = 0;
    }
}

void CConnectionThread::Private::emitNews(const LinkNews& news)
{
    switch (news.kind) {
    case LinkNews::eMessage:
        emitMessage(news.message);
        break;
    case LinkNews::eState:
        Q_EMIT q->SignalSocketStateChanged(linkId, static_cast<QAbstractSocket::SocketState>(news.value));
        break;
    case LinkNews::eError:
        failed = true;
        inFlight.clear();
        Q_EMIT q->SignalSocketError(linkId, static_cast<QAbstractSocket::SocketError>(news.value));
        break;
    }
}

void CConnectionThread::Private::emitMessage(const ptrCXmlMessage& message)
{
    using namespace GLOBAL_XML_TYPES;
    switch (message->getServiceType()) {
    case CXmlMessage::eSERVICE_BROADCAST:
        Q_EMIT q->SignalNewJob(message, eMESSAGE_BROADCAST);
        return;
    case CXmlMessage::eSERVICE_QUERY:
    case CXmlMessage::eSERVICE_COMMAND:
        Q_EMIT q->SignalNewJob(message, eMESSAGE_REQUEST);
        return;
    case CXmlMessage::eSERVICE_QUERY_REPLY:
    case CXmlMessage::eSERVICE_COMMAND_REPLY:
        break;
    default:
        Q_EMIT q->SignalNewJob(message, eMESSAGE_UNKNOWN);
        return;
    }
    // A reply of the wrong kind must not be poured in: the request would be sent again as what it never was.
    const auto found = inFlight.find(message->getMessageID());
    if (found == inFlight.end() || found->second->getServiceType() + 2 != message->getServiceType()) {
        Q_EMIT q->SignalNewJob(message, eMESSAGE_UNKNOWN);
        return;
    }
    const ptrCXmlMessage request = found->second;
    inFlight.erase(found);
    request->fillWithReply(*message);
    if (!request->missingReply().isNull())
        kTrace(eMissingReply,
               QStringLiteral("%1:%2: the reply to request %3 has no fragment of component \"%4\"")
                   .arg(host)
                   .arg(port)
                   .arg(request->getMessageID())
                   .arg(request->missingReply()),
               Startup::eTraceWarning);
    Q_EMIT q->SignalNewJob(request, eMESSAGE_REPLY);
}

} // namespace XmlCommunication
