#include "session.h"

#include "embeddedinstallation.h"

#include <kolta/cli/commandline.h>
#include <kolta/cli/interruption.h>
#include <kolta/cli/output.h>

#include <koltacommon/faultmessagehandler.h>

namespace KoltaCli {

namespace {

/// The version of the servers' interface that this program was written for.
const char kInterfaceVersion[] = "3.1";
/// Enough to find the reason of a failed link again.
constexpr int kKeptTraceLines = 200;

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
    , m_connection(std::make_unique<Kolta::KoltaConnection>(
          QStringLiteral("kolta"), QLatin1String(kInterfaceVersion), endpoint.address, endpoint.port, false))
{
    connect(m_connection.get(), &Kolta::KoltaConnection::ConnectionOpened, this, [this] { ++m_openings; });
    connect(m_connection.get(), &Kolta::KoltaConnection::ConnectionClosed, this, [this] { m_closed = true; });
    connect(m_connection.get(), &Kolta::KoltaConnection::ConnectionError, this,
            [this](const QString& error) { m_socketError = error; });
}

Argument Session::argument()
{
    return {"HOST:PORT",
            "The server's address; in a shell also the name of one that \"serve\" made listen.",
            Argument::Once,
            {},
            problemOfAddress};
}

Option Session::faultsOption()
{
    return flag("faults",
                "Load the texts of faults from the server first instead of from the configured file.");
}

std::unique_ptr<Session> Session::start(const CommandLine& line)
{
    const QString text = line.argument(0);
    std::optional<Endpoint> endpoint = EmbeddedInstallation::endpointOf(text);
    if (!endpoint) {
        QString host;
        QString problem;
        endpoint.emplace();
        if (!KoltaApps::splitHostAndPort(text, host, endpoint->port, problem) ||
            !KoltaApps::findAddress(host, endpoint->address, problem)) {
            printError(problem);
            return nullptr;
        }
    }
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
    m_connection->disconnect(this);
    m_connection->closeAndWaitForFinished(1000, false);
}

bool Session::open(int timeoutMs)
{
    // Reads what is configured and leaves everything as it is.
    Kolta::KoltaConnection::getStaticFaultMessageHandler()->Init(m_connection->getName());
    // What the link itself waits for is over no sooner: a request would be sent once more then.
    m_connection->setTimeLimits(timeoutMs, timeoutMs);
    m_connection->open();
    const auto isUp = [this] { return m_openings > 0 && m_connection->isIdle(); };
    if (waitFor(isUp, timeoutMs))
        return true;
    const QString peer = m_endpoint.toString();
    const QString time = secondsText(timeoutMs);
    if (m_openings > 0)
        return fail(QStringLiteral("%1 takes connections, but has not answered within %2").arg(peer, time));
    if (isInterrupted())
        return fail(QString());
    m_failure = QStringLiteral("cannot connect to %1: ").arg(peer);
    m_failure += m_closed ? linkError() : QStringLiteral("no connection within %1").arg(time);
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
    m_connection->initMessageHandler(this, SLOT(takeFaultTexts()));
    waitFor([this] { return m_faultTextsAnswered; }, timeoutMs);
    if (Kolta::KoltaConnection::getStaticFaultMessageHandler()->Init(m_connection->getName()))
        return true;
    return fail(QStringLiteral("%1 does not give the texts of its faults").arg(m_endpoint.toString()));
}

XmlCommon::ptrCXmlMessage Session::request(const XmlCommon::ptrCXmlMessage& message, int timeoutMs)
{
    m_reply.reset();
    message->setAvailableTime(Kolta::KoltaConnection::availableTime(timeoutMs));
    m_request = new Kolta::ParameterRequest(message, this, SLOT(takeReply(Kolta::ptrKoltaRequest)));
    m_connection->executeRequest(m_request);
    if (!waitFor([this] { return bool(m_reply); }, timeoutMs))
        fail(QStringLiteral("no reply from %1 within %2").arg(m_endpoint.toString(), secondsText(timeoutMs)));
    m_request.reset();
    return m_reply;
}

bool Session::waitFor(const std::function<bool()>& done, int timeoutMs)
{
    waitUntil([&] { return m_closed || done(); }, timeoutMs);
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
    return m_socketError;
}

bool Session::fail(const QString& whenTimeIsOver)
{
    if (isInterrupted())
        m_failure = QStringLiteral("interrupted");
    else if (m_closed)
        m_failure = QStringLiteral("the link to %1 failed: %2").arg(m_endpoint.toString(), linkError());
    else
        m_failure = whenTimeIsOver;
    return false;
}

void Session::takeReply(Kolta::ptrKoltaRequest request)
{
    // A reply that comes after its time was over belongs to nobody.
    if (request == m_request)
        m_reply = static_cast<Kolta::ParameterRequest*>(request.data())->getReply();
}

XmlCommon::ptrCXmlMessage makeMessage(XmlCommon::CXmlMessage::eSERVICE_TYPES type,
                                      const XmlCommon::CMsgFragment& fragment)
{
    XmlCommon::ptrCXmlMessage message(new XmlCommon::CXmlMessage(type));
    message->addFragment(fragment);
    return message;
}

} // namespace KoltaCli
