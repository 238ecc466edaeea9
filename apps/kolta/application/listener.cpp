#include "listener.h"

#include "messagejson.h"
#include "session.h"

#include <common/terminationsignals.h>
#include <kolta/cli/liveoutput.h>
#include <kolta/cli/output.h>

#include <koltacommon/koltaconnection.h>
#include <xmlmessaging/messagecodec.h>

namespace KoltaCli {

using Kolta::KoltaConnection;

Listener::Listener(Session& session, bool json, int count) : m_session(session), m_json(json), m_count(count)
{
    KoltaConnection& connection = session.connection();
    connect(&connection, &KoltaConnection::Broadcast, this, &Listener::printBroadcast);
    connect(&connection, &KoltaConnection::Fault, this, &Listener::printFault);
}

int Listener::run()
{
    TerminationSignals termination;
    const auto outputWatch = watchOutput();
    connect(&termination, &TerminationSignals::terminationRequested, this, [this] { m_interrupted = true; });
    const QString peer = m_session.endpoint().toString();
    KoltaConnection& connection = m_session.connection();
    const auto failed = connect(&connection, &KoltaConnection::ConnectionError, this, [this, peer] {
        printError(QStringLiteral("the link to %1 failed: %2").arg(peer, m_session.linkError()));
    });
    const auto opened = connect(&connection, &KoltaConnection::ConnectionOpened, this, [peer] {
        printError(QStringLiteral("the link to %1 is up again").arg(peer));
    });
    printError(QStringLiteral("listening to %1, Ctrl-C ends").arg(peer));
    m_session.waitFor([this] { return hasEnough(); }, Session::kForever);
    disconnect(failed);
    disconnect(opened);
    if (hasEnough())
        return eExitOk;
    printError(QStringLiteral("the link to %1 has ended").arg(peer));
    return eExitFailed;
}

bool Listener::hasEnough() const
{
    return m_interrupted || outputIsLost() || (m_count > 0 && m_broadcasts >= m_count);
}

void Listener::printBroadcast(const XmlCommon::ptrCXmlMessage& message)
{
    if (hasEnough())
        return;
    ++m_broadcasts;
    if (m_json) {
        QJsonObject object = toJson(message);
        object[QStringLiteral("time")] = now();
        printJson(object);
    } else {
        printLine(now() + QLatin1Char(' ') + KoltaConnection::getShortInfo(message));
        printLine(XmlCommon::MessageCodec::toReadable(*message).trimmed());
    }
}

void Listener::printFault(const QString& text) const
{
    if (m_json)
        printJson({{QStringLiteral("time"), now()}, {QStringLiteral("fault"), text}});
    else
        printLine(QStringLiteral("%1 Fault: %2").arg(now(), text));
}

} // namespace KoltaCli
