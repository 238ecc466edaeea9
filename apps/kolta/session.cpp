#include "session.h"

#include <koltacommon/generalrequests.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace KoltaCli {

Session::Session(const Endpoint& endpoint, QObject* parent)
    : QObject(parent)
    , m_endpoint(endpoint)
    , m_connection(std::make_unique<Kolta::KoltaConnection>(QStringLiteral("kolta"), QStringLiteral("1.0"),
                                                            endpoint.address, endpoint.port, false))
{
    connect(m_connection.get(), &Kolta::KoltaConnection::ConnectionOpened, this, [this] { m_opened = true; });
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
    m_connection->open();
    if (waitFor([this] { return m_opened; }, timeoutMs))
        return true;
    m_failure = QStringLiteral("cannot connect to %1").arg(m_endpoint.toString());
    return false;
}

XmlCommon::ptrCXmlMessage Session::request(const XmlCommon::ptrCXmlMessage& message, int timeoutMs)
{
    m_reply.reset();
    m_connection->executeRequest(
        new Kolta::ParameterRequest(message, this, SLOT(takeReply(XmlCommon::ptrCXmlMessage))));
    if (!waitFor([this] { return bool(m_reply); }, timeoutMs))
        m_failure = m_closed ? QStringLiteral("%1 closed the link").arg(m_endpoint.toString())
                             : QStringLiteral("no reply from %1 within %2 ms").arg(m_endpoint.toString()).arg(timeoutMs);
    return m_reply;
}

bool Session::waitFor(const std::function<bool()>& done, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    QTimer wakeUp;
    wakeUp.setSingleShot(true);
    while (!done() && !m_closed && !deadline.hasExpired()) {
        wakeUp.start(static_cast<int>(deadline.remainingTime()) + 1);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return done();
}

QString Session::errorText() const
{
    return m_socketError.isEmpty() ? m_failure : QString(m_failure + QStringLiteral(": ") + m_socketError);
}

void Session::takeReply(XmlCommon::ptrCXmlMessage reply)
{
    m_reply = reply;
}

XmlCommon::ptrCXmlMessage makeMessage(XmlCommon::CXmlMessage::eSERVICE_TYPES type,
                                      const XmlCommon::CMsgFragment& fragment)
{
    XmlCommon::ptrCXmlMessage message(new XmlCommon::CXmlMessage(type));
    message->addFragment(fragment);
    return message;
}

} // namespace KoltaCli
