#include "xmlmessage.h"

#include <QUuid>

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

void CXmlMessage::setToken_byGenerator()
{
    static const QString process = QUuid::createUuid().toString(QUuid::Id128);
    static std::atomic<quint64> counter{0};
    const quint64 number = counter.fetch_add(1, std::memory_order_relaxed) + 1;
    m_token = process + QLatin1Char('-') + QString::number(number);
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
    std::vector<bool> taken(reply.m_fragments.size());
    // Nearly always the fragments stand at the same places; only then is the search linear over all.
    const auto answerTo = [&](const QString& component, std::size_t place) -> const CMsgFragment* {
        const auto fits = [&](std::size_t i) {
            return !taken[i] && reply.m_fragments[i].getComponentName() == component;
        };
        if (place >= taken.size() || !fits(place)) {
            for (place = 0; place < taken.size() && !fits(place);)
                ++place;
        }
        if (place == taken.size())
            return nullptr;
        taken[place] = true;
        return &reply.m_fragments[place];
    };
    for (std::size_t i = 0; i < m_fragments.size(); ++i) {
        const CMsgFragment* const answer = answerTo(m_fragments[i].getComponentName(), i);
        m_fragments[i].setDataTree(answer ? answer->getDataTree() : CDataTree());
        m_fragments[i].setFaultTree(answer ? answer->getFaultTree() : CFaultTree());
        if (!answer && m_missingReply.isNull())
            m_missingReply = QLatin1String("") + m_fragments[i].getComponentName(); // which may be empty
    }
    for (std::size_t i = 0; i < taken.size(); ++i) {
        if (taken[i])
            continue;
        m_fragments.push_back(reply.m_fragments[i]);
        ++m_replyFragments;
    }
}

QString CXmlMessage::missingReply() const
{
    return m_missingReply;
}

void CXmlMessage::removeReplyFragments()
{
    m_fragments.resize(m_fragments.size() - std::min(m_replyFragments, m_fragments.size()));
    m_replyFragments = 0;
    m_missingReply.clear();
}

} // namespace XmlCommon
