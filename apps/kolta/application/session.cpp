#include "session.h"

#include <kolta/cli/eventwait.h>
#include <kolta/cli/interruption.h>

#include <koltacommon/faultmessagehandler.h>

namespace KoltaCli {

namespace {

/// The version of the servers' interface that this program was written for.
const char interfaceVersion[] = "3.1";
/// Enough to find the reason of a failed link again.
constexpr int keptTraceLines = 200;

} // namespace

Session::Session(const Endpoint& endpoint)
    : m_endpoint(endpoint)
    , m_trace(keptTraceLines)
    , m_connection(std::make_unique<Kolta::KoltaConnection>(
          QStringLiteral("kolta"), QLatin1String(interfaceVersion), endpoint.address, endpoint.port, false))
{
    connect(m_connection.get(), &Kolta::KoltaConnection::ConnectionOpened, this, [this] { ++m_openings; });
    connect(m_connection.get(), &Kolta::KoltaConnection::ConnectionClosed, this, [this] { m_closed = true; });
    connect(m_connection.get(), &Kolta::KoltaConnection::ConnectionError, this,
            [this](const QString& error) { m_socketError = error; });
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
    m_connection->open();
    const auto isUp = [this] { return m_openings > 0 && m_connection->isIdle(); };
    if (waitFor(isUp, timeoutMs))
        return true;
    const QString peer = m_endpoint.toString();
    const QString seconds = QString::number(timeoutMs / 1000);
    if (m_openings > 0)
        return fail(
            QStringLiteral("%1 takes connections, but has not answered within %2 s").arg(peer, seconds));
    if (isInterrupted())
        return fail(QString());
    m_failure = QStringLiteral("cannot connect to %1: ").arg(peer);
    m_failure += m_closed ? linkError() : QStringLiteral("no connection within %1 s").arg(seconds);
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
    m_request = new Kolta::ParameterRequest(message, this, SLOT(takeReply(Kolta::ptrKoltaRequest)));
    m_connection->executeRequest(m_request);
    if (!waitFor([this] { return bool(m_reply); }, timeoutMs))
        fail(QStringLiteral("no reply from %1 within %2 s").arg(m_endpoint.toString()).arg(timeoutMs / 1000));
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
