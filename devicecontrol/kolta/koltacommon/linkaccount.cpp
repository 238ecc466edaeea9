#include "linkaccount.h"

#include <koltacommon/koltaconnectionsviewer.h>

#include <startup/clock.h>

#include <atomic>
#include <utility>

namespace Kolta {

LinkAccount::LinkAccount(const QString& name, const QString& host, quint16 port)
{
    static std::atomic<quint32> last{0};
    m_figures.id = ++last;
    m_figures.name = name;
    m_figures.host = host;
    m_figures.port = port;
    KoltaConnectionsViewer::Instance().addLink(*this);
}

LinkAccount::~LinkAccount()
{
    KoltaConnectionsViewer::Instance().removeLink(*this);
}

LinkFigures LinkAccount::figures() const
{
    LinkFigures figures = m_figures;
    if (m_connection)
        m_connection(figures);
    if (m_keeper)
        m_keeper(figures);
    return figures;
}

void LinkAccount::setState(State state)
{
    if (state == m_figures.state)
        return;
    m_figures.state = state;
    m_figures.upSince = state == State::Up ? QDateTime::currentDateTime() : QDateTime();
    if (state == State::Up && std::exchange(m_wasUp, true))
        ++m_figures.reconnections;
    KoltaConnectionsViewer::Instance().tellLink(m_figures.id);
}

void LinkAccount::fail(const QString& fault)
{
    m_figures.lastFault = fault;
    m_figures.lastFaultAt = QDateTime::currentDateTime();
}

void LinkAccount::noteSent(const XmlCommon::ptrCXmlMessage& message)
{
    ++m_figures.messagesOut;
    m_sentAt = Startup::Clock::instance().now();
    Q_EMIT passed(true, message);
}

void LinkAccount::noteReceived(const XmlCommon::ptrCXmlMessage& message)
{
    ++m_figures.messagesIn;
    Q_EMIT passed(false, message);
}

void LinkAccount::noteAnswer()
{
    if (m_sentAt >= 0)
        m_figures.roundTripMs = Startup::Clock::instance().now() - std::exchange(m_sentAt, -1);
}

void LinkAccount::addBytes(quint64 out, quint64 in)
{
    m_figures.bytesOut += out;
    m_figures.bytesIn += in;
}

} // namespace Kolta
