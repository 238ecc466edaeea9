#include "session.h"

#include "embeddedinstallation.h"

#include <kolta/cli/commandline.h>
#include <kolta/cli/interruption.h>
#include <kolta/cli/output.h>

#include <koltacommon/faultmessagehandler.h>
#include <koltacommon/requestoperation.h>

#include <QCoreApplication>

namespace KoltaCli {

using Kolta::KoltaConnection;
using Kolta::LinkKeeper;

namespace {

/// Enough to find the reason of a failed link again.
constexpr int kKeptTraceLines = 200;
/// Within which a link whose time is over says why it did not come up.
constexpr int kLinkSpeaksMs = 1000;

QString problemOfAddress(const QString& text)
{
    QString host;
    QString problem;
    quint16 port = 0;
    if (!EmbeddedInstallation::endpointOf(text))
        KoltaApps::splitHostAndPort(text, host, port, problem);
    return problem;
}

} // namespace

Session::Session(const Endpoint& endpoint)
    : m_endpoint(endpoint)
    , m_trace(kKeptTraceLines)
    , m_keeper(std::make_unique<LinkKeeper>(QStringLiteral("kolta"), QLatin1String(kInterfaceVersion),
                                            endpoint.toString(), nullptr))
{
    // The first link must come about, and one that has failed may fail once more before it is up again.
    LinkKeeper::Settings settings = LinkKeeper::Settings::configured();
    settings.giveUpAfterMs = 0;
    settings.loadFaultTexts = false;
    m_keeper->setSettings(settings);
    connect(m_keeper.get(), &LinkKeeper::stateChanged, this, &Session::takeState);
}

Argument Session::argument()
{
    return {"HOST:PORT",
            "The server's address; in a shell also the name of one that \"serve\" made listen.",
            Argument::eOnce,
            {},
            problemOfAddress};
}

Option Session::faultsOption()
{
    return flag("faults",
                "Load the texts of faults from the server first instead of from the configured file.");
}

std::optional<Endpoint> Session::find(const QString& text)
{
    if (const auto served = EmbeddedInstallation::endpointOf(text))
        return served;
    QString problem;
    Endpoint endpoint;
    if (KoltaApps::findEndpoint(text, endpoint, problem))
        return endpoint;
    printError(problem);
    return std::nullopt;
}

std::unique_ptr<Session> Session::start(const CommandLine& line)
{
    const std::optional<Endpoint> endpoint = find(line.argument(0));
    if (!endpoint)
        return nullptr;
    auto session = std::make_unique<Session>(*endpoint);
    if (line.isSet("faults"))
        session->m_configuration.emplace();
    return session;
}

std::unique_ptr<Session> Session::startOpen(const CommandLine& line)
{
    auto session = start(line);
    return session && session->open(line) ? std::move(session) : nullptr;
}

Session::~Session()
{
    m_keeper->disconnect(this);
    if (KoltaConnection* const link = m_keeper->connection())
        link->closeAndWaitForFinished(1000, false);
    m_keeper.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void Session::takeState(LinkKeeper::State state)
{
    if (state == LinkKeeper::State::Connecting) {
        // What the link itself waits for is over no sooner than what is waited for here.
        m_keeper->connection()->setTimeLimits(m_limitMs, m_limitMs);
        connect(m_keeper->connection(), &KoltaConnection::ConnectionOpened, this,
                [this] { m_wasOpened = true; });
    } else if (state == LinkKeeper::State::Up && ++m_timesUp == 1) {
        LinkKeeper::Settings settings = LinkKeeper::Settings::configured();
        settings.giveUpAfterMs = 1;
        settings.loadFaultTexts = false;
        m_keeper->setSettings(settings);
    }
}

bool Session::open(int timeoutMs)
{
    // Reads what is configured and leaves everything as it is.
    KoltaConnection::getStaticFaultMessageHandler()->Init(QStringLiteral("kolta"));
    m_limitMs = timeoutMs;
    m_keeper->open();
    // The link knows best why it does not come up, so it is given the time to say so.
    if (waitFor([this] { return m_wasOpened; }, timeoutMs + kLinkSpeaksMs) &&
        waitFor([this] { return m_keeper->state() == LinkKeeper::State::Up; }, timeoutMs))
        return true;
    const QString peer = m_endpoint.toString();
    const QString time = secondsText(timeoutMs);
    if (m_wasOpened)
        return fail(QStringLiteral("%1 takes connections, but has not answered within %2").arg(peer, time));
    if (isInterrupted())
        return fail(QString());
    m_failure = QStringLiteral("cannot connect to %1: ").arg(peer);
    m_failure += m_keeper->state() == LinkKeeper::State::GivenUp
                     ? linkError()
                     : QStringLiteral("no connection within %1").arg(time);
    return false;
}

bool Session::open(const CommandLine& line)
{
    if (open(line.timeoutMs()) && (!line.isSet("faults") || loadFaultTexts(line.timeoutMs())))
        return true;
    printError(errorText());
    return false;
}

bool Session::loadFaultTexts(int timeoutMs)
{
    m_faultTextsAnswered = false;
    connection().initMessageHandler(this, SLOT(takeFaultTexts()));
    waitFor([this] { return m_faultTextsAnswered; }, timeoutMs);
    if (KoltaConnection::getStaticFaultMessageHandler()->Init(QStringLiteral("kolta")))
        return true;
    return fail(QStringLiteral("%1 does not give the texts of its faults").arg(m_endpoint.toString()));
}

XmlCommon::ptrCXmlMessage Session::request(const XmlCommon::ptrCXmlMessage& message, int timeoutMs)
{
    message->setAvailableTime(KoltaConnection::availableTime(timeoutMs));
    Kolta::RequestOperation request(*m_keeper, message, nullptr);
    request.setRepeatable(true); // a command has a token, by which the server knows it again
    int failures = 0;
    connect(m_keeper.get(), &LinkKeeper::stateChanged, &request, [&](LinkKeeper::State state) {
        if (state == LinkKeeper::State::Waiting && ++failures == 2)
            request.cancel(); // it is this request that ends the link
    });
    await(request, timeoutMs);
    if (request.reply())
        return request.reply();
    if (failures > 0 && !isInterrupted())
        m_failure = QStringLiteral("the link to %1 failed: %2").arg(m_endpoint.toString(), linkError());
    else
        fail(QStringLiteral("no reply from %1 within %2").arg(m_endpoint.toString(), secondsText(timeoutMs)));
    return {};
}

void Session::keepForEver()
{
    LinkKeeper::Settings settings = LinkKeeper::Settings::configured();
    settings.loadFaultTexts = m_configuration.has_value();
    m_keeper->setSettings(settings);
}

bool Session::waitFor(const std::function<bool()>& done, int timeoutMs)
{
    waitUntil([&] { return m_keeper->state() == LinkKeeper::State::GivenUp || done(); }, timeoutMs);
    return done();
}

QString Session::linkError() const
{
    // The transport says more in its trace than the word of the socket error does: what of a message it could
    // not read, for instance. "<link>: <reason>".
    const QVector<Startup::TraceRecord> records = m_trace.records();
    for (auto record = records.rbegin(); record != records.rend(); ++record) {
        const int reason = record->text.indexOf(QLatin1String(": "));
        if (record->source == QLatin1String("platform/xmlmessaging/linkworker") && reason >= 0)
            return record->text.mid(reason + 2);
    }
    return m_keeper->lastError();
}

bool Session::fail(const QString& whenTimeIsOver)
{
    if (isInterrupted())
        m_failure = QStringLiteral("interrupted");
    else if (m_keeper->state() == LinkKeeper::State::GivenUp)
        m_failure = QStringLiteral("the link to %1 failed: %2").arg(m_endpoint.toString(), linkError());
    else
        m_failure = whenTimeIsOver;
    return false;
}

XmlCommon::ptrCXmlMessage makeMessage(XmlCommon::CXmlMessage::eSERVICE_TYPES type,
                                      const XmlCommon::CMsgFragment& fragment)
{
    XmlCommon::ptrCXmlMessage message(new XmlCommon::CXmlMessage(type));
    message->addFragment(fragment);
    return message;
}

} // namespace KoltaCli
