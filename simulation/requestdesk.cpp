#include <simulation/requestdesk.h>

#include <simulation/audit.h>
#include <simulation/faultids.h>

#include <xmlmessaging/server.h>

#include <utility>

namespace KoltaSimulation {

using XmlCommon::CMsgFragment;
using XmlCommon::CXmlMessage;

namespace {

/// Entries of 64 request IDs each that are kept to recognise IDs that come again.
constexpr std::size_t kMaxSeenIds = 65536;

/// "Recording/StartRecording", "fault 105" or "done".
std::pair<QString, QString> outcome(const CMsgFragment& asked, const CMsgFragment& answered)
{
    quint32 fault = 0;
    const bool failed = answered.getFaultTree().getFaultID(fault);
    return {QStringLiteral("%1/%2").arg(asked.getComponentName(),
                                        asked.getRequestTree().getDataTree().getRootTagname().toString()),
            failed ? QStringLiteral("fault %1").arg(fault) : QStringLiteral("done")};
}

/// A command that came as a query.
bool isOrderInDisguise(const CMsgFragment& answered)
{
    quint32 fault = 0;
    return answered.getFaultTree().getFaultID(fault) && fault == eFaultWrongKind;
}

} // namespace

RequestDesk::RequestDesk(const Installation& installation, const ResourceState& resources,
                         ServerStatistics& statistics)
    : m_statistics(statistics), m_handler(installation, resources, statistics, m_rights)
{
}

void RequestDesk::count(const CXmlMessage& request)
{
    ++m_statistics.requests;
    const quint32 id = request.getMessageID();
    // A client that makes its numbers up must not fill the memory.
    if (m_seenIds.size() > kMaxSeenIds)
        m_seenIds.clear();
    quint64& ids = m_seenIds[id / 64];
    const quint64 bit = quint64(1) << (id % 64);
    m_statistics.duplicates += (ids & bit) != 0 ? 1 : 0;
    ids |= bit;
}

CXmlMessage RequestDesk::answer(const CXmlMessage& request, const QString& peer, LinkSettings& settings,
                                const Tell& tell)
{
    const bool command = request.getServiceType() == CXmlMessage::eSERVICE_COMMAND &&
                         !RequestHandler::concernsLinkOnly(request);
    const QString kind =
        QStringLiteral("%1 %2: ").arg(request.servicetypeToString()).arg(request.getMessageID());
    const QByteArray key = command ? CommandMemory::keyOf(request, settings.user) : QByteArray();
    if (command) {
        CXmlMessage known = XmlCommunication::makeReply(request, settings.suppressRequestTrees);
        if (m_commands.recall(key, known)) {
            ++m_statistics.repeats;
            tell(kind + QStringLiteral("came before, answered from memory"));
            return known;
        }
    }
    const CXmlMessage reply = m_handler.answer(request, settings);
    for (int i = 0; i < request.getNumberOfFragments(); ++i) {
        const auto [what, result] = outcome(request.getFragment(i), reply.getFragment(i));
        m_statistics.faults += reply.getFragment(i).hasFaultTree() ? 1 : 0;
        tell(kind + what + QStringLiteral(": ") + result);
        if (command || isOrderInDisguise(reply.getFragment(i)))
            audit(settings.user, peer, what, result);
    }
    if (command) {
        ++m_statistics.commands;
        m_commands.remember(key, reply);
    }
    return reply;
}

} // namespace KoltaSimulation
