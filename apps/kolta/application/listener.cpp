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
using Kolta::LinkKeeper;

Listener::Listener(Session& session, bool json, int count) : m_session(session), m_json(json), m_count(count)
{
    connect(&session.keeper(), &LinkKeeper::Broadcast, this, &Listener::printBroadcast);
    connect(&session.keeper(), &LinkKeeper::Fault, this, &Listener::printFault);
}

int Listener::run()
{
    TerminationSignals termination;
    const auto outputWatch = watchOutput();
    connect(&termination, &TerminationSignals::terminationRequested, this, [this] { m_interrupted = true; });
    const QString peer = m_session.endpoint().toString();
    m_session.keepForEver();
    connect(&m_session.keeper(), &LinkKeeper::stateChanged, this, &Listener::tellState);
    printError(QStringLiteral("listening to %1, Ctrl-C ends").arg(peer));
    if (m_session.waitFor([this] { return hasEnough(); }, Session::kForever))
        return eExitOk;
    printError(QStringLiteral("the link to %1 has ended").arg(peer));
    return eExitFailed;
}

void Listener::tellState(LinkKeeper::State state) const
{
    if (hasEnough())
        return;
    const QString peer = m_session.endpoint().toString();
    if (state == LinkKeeper::State::Connecting)
        printError(QStringLiteral("connecting to %1").arg(peer));
    else if (state == LinkKeeper::State::Up)
        printError(QStringLiteral("the link to %1 is up again").arg(peer));
    else if (state == LinkKeeper::State::Waiting)
        printError(QStringLiteral("the link to %1 failed: %2; waiting %3 s")
                       .arg(peer, m_session.linkError())
                       .arg(m_session.keeper().waitingMs() / 1000.0, 0, 'f', 1));
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
