#include <koltacommon/linkkeeper.h>

#include "linkaccount.h"

#include <koltacommon/eventfilterall.h>
#include <koltacommon/koltaconnection.h>

#include <startup/cfgcenter.h>
#include <startup/hostandport.h>
#include <startup/tracesource.h>

#include <QRandomGenerator>

#include <algorithm>
#include <exception>
#include <utility>

using XmlCommon::ptrCXmlMessage;

namespace Kolta {

namespace {

/// Numbers of the trace points.
enum eTracePoint : int { eReplyException = 100, eAbandonedException = 110 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/linkkeeper");

qint64 now()
{
    return Startup::Clock::instance().now();
}

/// Runs what belongs to a request; what it throws is traced. The chain of requests must not break.
template<class Function>
void guarded(eTracePoint point, Function function)
{
    try {
        return function();
    } catch (...) {
        kTrace(point, QStringLiteral("caught exception from a request: ") + Startup::CurrentExceptionText());
    }
}

void abandon(const ptrKoltaRequest& request, Abandonment why, bool wasSent)
{
    guarded(eAbandonedException, [&] { request->abandoned(why, wasSent); });
}

/// The number under `key`, or `value` when there is none of at least `least`.
template<class Number>
Number configuredNumber(const char* key, Number value, Number least)
{
    bool ok = false;
    const double number =
        Startup::CfgCenter::Instance().Value(QStringLiteral("Link"), QLatin1String(key)).toDouble(&ok);
    return ok && number >= least && number <= 1e9 ? static_cast<Number>(number) : value;
}

} // namespace

LinkKeeper::Settings LinkKeeper::Settings::configured()
{
    Settings settings;
    settings.firstPauseMs = configuredNumber("firstPauseMs", settings.firstPauseMs, 1);
    settings.longestPauseMs =
        configuredNumber("longestPauseMs", settings.longestPauseMs, settings.firstPauseMs);
    settings.stableMs = configuredNumber("stableMs", settings.stableMs, 0);
    settings.replyLimitMs = configuredNumber("replyLimitMs", settings.replyLimitMs, 1);
    settings.giveUpAfterMs = configuredNumber("giveUpAfterMs", settings.giveUpAfterMs, -1);
    settings.keptRequests = configuredNumber("keptRequests", settings.keptRequests, 0);
    const double jitter = configuredNumber("jitter", settings.jitter, 0.0);
    settings.jitter = jitter <= 1 ? jitter : settings.jitter;
    settings.loadFaultTexts = Startup::CfgCenter::Instance()
                                  .Value(QStringLiteral("Link"), QStringLiteral("loadFaultTexts"), true)
                                  .toBool();
    return settings;
}

/// Takes a request through a connection on the keeper's account.
class LinkKeeper::Proxy : public KoltaRequest
{
public:
    Proxy(LinkKeeper* keeper, Kept kept) : m_keeper(keeper), m_kept(std::move(kept)) {}

    const Kept& kept() const noexcept { return m_kept; }
    ptrCXmlMessage& getMessage() override { return m_kept.request->getMessage(); }
    /// Otherwise a fault would end the chain.
    bool handleFault() override { return true; }
    QString getReceiver() override { return m_kept.request->getReceiver(); }
    ptrKoltaRequest processReply(ptrCXmlMessage reply) override
    {
        return m_keeper ? m_keeper->takeReply(m_kept, reply) : ptrKoltaRequest();
    }
    void abandoned(Abandonment why, bool wasSent) override
    {
        if (m_keeper)
            m_keeper->takeAbandonment(m_kept, why, wasSent);
    }

private:
    QPointer<LinkKeeper> m_keeper;
    Kept m_kept;
};

LinkKeeper::LinkKeeper(const QString& name, const QString& version, const QString& hostAndPort,
                       QObject* parent)
    : QObject(parent)
    , m_name(name)
    , m_version(version)
    , m_hostAndPort(hostAndPort)
    , m_filters{ptrKoltaRequest(new EventFilterAll)}
{
    qRegisterMetaType<State>("Kolta::LinkKeeper::State");
    QString host = hostAndPort;
    QString port;
    Startup::splitHostAndPort(hostAndPort, host, port);
    m_account =
        std::make_shared<LinkAccount>(name, host, static_cast<quint16>(qMax(0, Startup::portFromText(port))));
    m_account->setKeeper([this](LinkFigures& figures) {
        figures.queued += static_cast<int>(m_waiting.size() + m_startUp.size());
        figures.nextTryMs = waitingMs();
    });
}

LinkKeeper::~LinkKeeper()
{
    m_account->setKeeper(nullptr);
    m_state = State::Off;
    letGoOfConnection();
    abandonKept(Abandonment::Closed);
}

void LinkKeeper::setState(State state)
{
    if (state == m_state)
        return;
    m_state = state;
    const QPointer<LinkKeeper> guard(this);
    noteState();
    if (guard && m_state == state)
        Q_EMIT stateChanged(state);
}

LinkFigures LinkKeeper::figures() const
{
    return m_account->figures();
}

/// Whoever hears of it may delete this.
void LinkKeeper::noteState()
{
    constexpr LinkFigures::State kStates[] = {LinkFigures::State::Closed, LinkFigures::State::Connecting,
                                              LinkFigures::State::Up, LinkFigures::State::Waiting,
                                              LinkFigures::State::GivenUp};
    const auto account = m_account;
    account->setState(kStates[static_cast<int>(m_state)]);
}

int LinkKeeper::waitingMs() const
{
    return m_state == State::Waiting ? static_cast<int>(std::max(qint64(0), m_pauseEnd - now())) : 0;
}

void LinkKeeper::open()
{
    if (m_state == State::Connecting || m_state == State::Up)
        return;
    if (m_state != State::Waiting) {
        m_downSince = now();
        m_pauseMs = 0;
    }
    connectNow();
}

void LinkKeeper::connectNow()
{
    m_pause.reset();
    letGoOfConnection();
    m_connection = new KoltaConnection(m_name, m_version, m_hostAndPort, false);
    m_connection->setParent(this);
    m_connection->keepAccountIn(m_account);
    m_isFailing = false;
    m_connection->DisableFilter();
    connect(m_connection, &KoltaConnection::ConnectionOpened, this, &LinkKeeper::linkOpened);
    connect(m_connection, &KoltaConnection::ConnectionError, this, &LinkKeeper::linkFailed);
    connect(m_connection, &KoltaConnection::ConnectionClosed, this, &LinkKeeper::linkClosed);
    connect(m_connection, &KoltaConnection::Broadcast, this, &LinkKeeper::Broadcast);
    connect(m_connection, &KoltaConnection::Fault, this, &LinkKeeper::Fault);
    const QPointer<LinkKeeper> guard(this);
    const QPointer<KoltaConnection> link = m_connection;
    setState(State::Connecting);
    if (guard && link && link == m_connection)
        link->open();
}

/// What it still held is told by takeAbandonment(), unless the state is Off already and it is kept no more.
void LinkKeeper::letGoOfConnection()
{
    m_replyLimit.reset();
    KoltaConnection* const link = m_connection;
    m_connection.clear();
    if (!link)
        return;
    link->disconnect(this);
    link->setParent(nullptr);
    link->deleteLater();
    link->close(true); // the last use: what is abandoned may delete this
}

void LinkKeeper::linkOpened()
{
    m_startUp.clear();
    for (const ptrKoltaRequest& filter : qAsConst(m_filters))
        m_startUp.push_back({filter, true, true, false});
    if (m_startUp.empty())
        m_startUp.push_back({ptrKoltaRequest(new AppDescription), true, true, false});
    handOver();
}

void LinkKeeper::linkFailed(const QString& error)
{
    m_lastError = error;
    m_account->fail(error);
    m_isFailing = true;
    // Before it opens itself again.
    if (m_connection)
        m_connection->close(true);
}

void LinkKeeper::linkClosed()
{
    const QPointer<LinkKeeper> guard(this);
    letGoOfConnection();
    if (guard && (m_state == State::Connecting || m_state == State::Up))
        wait();
}

void LinkKeeper::wait()
{
    if (m_state == State::Up) {
        m_downSince = now();
        if (m_downSince - m_upSince >= m_settings.stableMs)
            m_pauseMs = 0;
    }
    if (m_settings.giveUpAfterMs >= 0 && now() - m_downSince >= m_settings.giveUpAfterMs)
        return giveUp();
    m_pauseMs = m_pauseMs == 0 ? m_settings.firstPauseMs : 2 * m_pauseMs;
    m_pauseMs = std::min(m_pauseMs, m_settings.longestPauseMs);
    const double chance = 1 + m_settings.jitter * (2 * QRandomGenerator::global()->generateDouble() - 1);
    m_pauseEnd = now() + std::min(m_settings.longestPauseMs, static_cast<int>(m_pauseMs * chance));
    m_pause = Startup::Clock::instance().ringAt(m_pauseEnd, [this] { connectNow(); });
    setState(State::Waiting);
}

void LinkKeeper::giveUp()
{
    m_state = State::GivenUp;
    const QPointer<LinkKeeper> guard(this);
    noteState();
    if (!guard || m_state != State::GivenUp)
        return;
    abandonKept(Abandonment::LinkEnded);
    if (guard && m_state == State::GivenUp)
        Q_EMIT stateChanged(m_state);
}

void LinkKeeper::close()
{
    if (std::exchange(m_state, State::Off) == State::Off)
        return abandonKept(Abandonment::Closed);
    m_pause.reset();
    const QPointer<LinkKeeper> guard(this);
    letGoOfConnection();
    if (guard)
        abandonKept(Abandonment::Closed);
    if (guard && m_state == State::Off)
        noteState();
    if (guard && m_state == State::Off)
        Q_EMIT stateChanged(m_state);
}

/// The first of them may delete this.
void LinkKeeper::abandonKept(Abandonment why)
{
    m_inHand.reset();
    const std::deque<Kept> kept = std::exchange(m_waiting, {});
    for (const Kept& entry : kept)
        abandon(entry.request, why, entry.wasSent);
}

void LinkKeeper::execute(const ptrKoltaRequest& request, WhileDown whileDown, bool repeatable)
{
    if (!request)
        return;
    const bool isFull = static_cast<int>(m_waiting.size()) >= m_settings.keptRequests;
    if (m_state == State::GivenUp || (m_state != State::Up && (whileDown == WhileDown::Refuse || isFull)))
        return abandon(request, Abandonment::Refused, false);
    m_waiting.push_back({request, repeatable, false, false});
    handOver();
}

bool LinkKeeper::withdraw(const ptrKoltaRequest& request)
{
    const auto kept = std::find_if(m_waiting.begin(), m_waiting.end(),
                                   [&](const Kept& entry) { return entry.request == request; });
    if (kept != m_waiting.end()) {
        const Kept released = *kept;
        m_waiting.erase(kept);
        return !released.wasSent;
    }
    const auto* const proxy = static_cast<const Proxy*>(m_inHand.constData());
    if (!proxy || proxy->kept().request != request || !m_connection ||
        !m_connection->withdrawRequest(m_inHand))
        return false;
    const bool wasSent = proxy->kept().wasSent;
    m_inHand.reset();
    handOver();
    return !wasSent;
}

/// The next request in its proxy, on whose reply the limit begins to run; null for none.
ptrKoltaRequest LinkKeeper::takeNext()
{
    std::deque<Kept>& source = m_startUp.empty() ? m_waiting : m_startUp;
    const bool isTurn = m_state == State::Up || !m_startUp.empty();
    m_replyLimit.reset();
    m_inHand.reset();
    if (!m_connection || m_isFailing || !isTurn || source.empty())
        return ptrKoltaRequest();
    m_inHand = ptrKoltaRequest(new Proxy(this, source.front()));
    source.pop_front();
    m_replyLimit = ringIn(m_settings.replyLimitMs, [this] {
        m_isOverTime = true;
        linkFailed(KoltaConnection::getSocketError(QAbstractSocket::SocketTimeoutError));
    });
    return m_inHand;
}

void LinkKeeper::handOver()
{
    if (m_inHand)
        return;
    if (const ptrKoltaRequest next = takeNext())
        m_connection->executeRequest(next);
}

/// After a request of which nothing will come.
void LinkKeeper::goOn()
{
    const QPointer<LinkKeeper> guard(this);
    if (m_state == State::Connecting && m_connection && !m_isFailing && !m_inHand && m_startUp.empty())
        becomeUp();
    if (guard)
        handOver();
}

void LinkKeeper::becomeUp()
{
    m_upSince = now();
    const QPointer<LinkKeeper> guard(this);
    const QPointer<KoltaConnection> link = m_connection;
    setState(State::Up);
    if (guard && link && link == m_connection && m_settings.loadFaultTexts)
        link->initMessageHandler(this, SLOT(sl_faultTextsLoaded()));
}

/// Returns what the connection executes next.
ptrKoltaRequest LinkKeeper::takeReply(const Kept& kept, const ptrCXmlMessage& reply)
{
    const QPointer<LinkKeeper> guard(this);
    const QPointer<KoltaConnection> link = m_connection;
    m_replyLimit.reset();
    ptrKoltaRequest followUp;
    guarded(eReplyException, [&] {
        const QString problem =
            kept.request->handleFault() ? QString() : KoltaConnection::getReplyProblem(reply);
        if (!problem.isNull())
            Q_EMIT Fault(problem);
        if (guard && (problem.isNull() || !KoltaConnection::hasFault(reply)))
            followUp = kept.request->processReply(reply);
    });
    if (!guard) {
        if (followUp)
            abandon(followUp, Abandonment::Closed, false);
        return ptrKoltaRequest();
    }
    if (followUp)
        m_waiting.push_back({followUp, false, false, false});
    if (link != m_connection)
        return ptrKoltaRequest();
    if (kept.isStartUp && m_startUp.empty() && m_state == State::Connecting)
        becomeUp();
    return guard && link == m_connection ? takeNext() : ptrKoltaRequest();
}

/// The connection has let go of the request in hand.
void LinkKeeper::takeAbandonment(const Kept& kept, Abandonment why, bool wasSent)
{
    m_inHand.reset();
    m_replyLimit.reset();
    const bool isOverTime = std::exchange(m_isOverTime, false);
    Kept released = kept;
    released.wasSent = kept.wasSent || wasSent;
    if (why == Abandonment::Refused) {
        // There is nothing to send in it. Goes on later, because many of them would nest.
        QMetaObject::invokeMethod(this, &LinkKeeper::goOn, Qt::QueuedConnection);
        if (!kept.isStartUp)
            abandon(kept.request, why, released.wasSent);
    } else if (kept.isStartUp) {
        return;
    } else if (m_state == State::Off) {
        abandon(kept.request, Abandonment::Closed, released.wasSent);
    } else if (!wasSent || (kept.isRepeatable && !isOverTime)) {
        m_waiting.push_front(released);
    } else {
        abandon(kept.request, isOverTime ? Abandonment::TimeOver : Abandonment::LinkEnded, true);
    }
}

} // namespace Kolta
