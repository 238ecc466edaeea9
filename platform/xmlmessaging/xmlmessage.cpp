#include "xmlmessage.h"

#include <algorithm>
#include <atomic>

namespace XmlCommon {

QString CXmlMessage::servicetypeToString(eSERVICE_TYPES type)
{
    switch (type) {
    case eSERVICE_QUERY:
        return QStringLiteral("Query");
    case eSERVICE_COMMAND:
        return QStringLiteral("Command");
    case eSERVICE_QUERY_REPLY:
        return QStringLiteral("QueryReply");
    case eSERVICE_COMMAND_REPLY:
        return QStringLiteral("CommandReply");
    case eSERVICE_BROADCAST:
        return QStringLiteral("Broadcast");
    case eSERVICE_UNKNOWN:
        break;
    }
    return QStringLiteral("Unknown");
}

void CXmlMessage::setMessageID_byGenerator()
{
    static std::atomic<quint32> generator{0};
    do {
        m_messageID = generator.fetch_add(1, std::memory_order_relaxed) + 1;
    } while (m_messageID == 0);
}

void CXmlMessage::addFragment(const CMsgFragment& fragment, int index)
{
    const bool inside = index >= 0 && index < getNumberOfFragments();
    m_fragments.insert(inside ? m_fragments.begin() + index : m_fragments.end(), fragment);
}

void CXmlMessage::fillWithReply(const CXmlMessage& reply)
{
    removeReplyFragments();
    m_serviceType = reply.m_serviceType;
    const CMsgFragment nothing;
    for (std::size_t i = 0; i < m_fragments.size(); ++i) {
        const CMsgFragment& answer = i < reply.m_fragments.size() ? reply.m_fragments[i] : nothing;
        m_fragments[i].setDataTree(answer.getDataTree());
        m_fragments[i].setFaultTree(answer.getFaultTree());
    }
    for (std::size_t i = m_fragments.size(); i < reply.m_fragments.size(); ++i, ++m_replyFragments)
        m_fragments.push_back(reply.m_fragments[i]);
}

void CXmlMessage::removeReplyFragments()
{
    m_fragments.resize(m_fragments.size() - std::min(m_replyFragments, m_fragments.size()));
    m_replyFragments = 0;
}

} // namespace XmlCommon
