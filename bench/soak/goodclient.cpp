#include "goodclient.h"

#include <koltacommon/koltaconnection.h>
#include <xmlmessaging/converters.h>

#include <QTimer>

#include <algorithm>

using XmlCommon::CXmlMessage;

namespace Soak {

namespace {

constexpr int kPauseMs = 250;
constexpr int kComeAgainMs = 500;

/// One request that knows its number.
class NumberedRequest : public Kolta::GeneralRequest
{
public:
    NumberedRequest(GoodClient& client, quint64 number) : m_client(&client), m_number(number)
    {
        getMessage()->setServiceType(CXmlMessage::eSERVICE_QUERY);
        getMessage()->addFragment(XmlCommunication::CAppDescription::makeFragment());
    }
    bool handleFault() override { return true; }
    Kolta::ptrKoltaRequest processReply(XmlCommon::ptrCXmlMessage reply) override
    {
        if (m_client)
            m_client->answered(m_number,
                               XmlCommunication::CAppDescription(reply->getFragment(0)).isCompatible());
        return Kolta::ptrKoltaRequest();
    }

private:
    const QPointer<GoodClient> m_client;
    const quint64 m_number;
};

} // namespace

GoodClient::GoodClient(const QString& hostAndPort, int number, QObject* parent)
    : QObject(parent), m_hostAndPort(hostAndPort), m_number(number)
{
}

GoodClient::~GoodClient() = default;

void GoodClient::start()
{
    // Not all in the same moment, as clients are.
    QTimer::singleShot(m_number * 7 % 1000, this, [this] { open(); });
}

void GoodClient::stop()
{
    m_stopped = true;
    if (m_connection)
        m_connection->close(true);
}

void GoodClient::open()
{
    if (m_stopped)
        return;
    m_connection = new Kolta::KoltaConnection(QStringLiteral("good%1").arg(m_number), QStringLiteral("1"),
                                              m_hostAndPort, false);
    m_connection->setParent(this);
    connect(m_connection, &Kolta::KoltaConnection::ConnectionClosed, this, [this, ended = m_connection] {
        ++m_lost;
        if (ended)
            ended->deleteLater();
        QTimer::singleShot(kComeAgainMs, this, [this] { open(); });
    });
    m_connection->open();
    ask();
}

void GoodClient::ask()
{
    if (m_stopped || !m_connection)
        return;
    if (!m_waiting.isValid())
        m_waiting.start();
    m_connection->executeRequest(new NumberedRequest(*this, m_next));
}

void GoodClient::answered(quint64 number, bool right)
{
    m_longestWait = std::max(m_longestWait, m_waiting.elapsed());
    m_waiting.invalidate();
    m_wrong += right && number == m_next ? 0 : 1;
    m_next = number + 1;
    QTimer::singleShot(kPauseMs, m_connection, [this] { ask(); });
}

qint64 GoodClient::takeLongestWait()
{
    return std::exchange(m_longestWait, 0);
}

} // namespace Soak
