#pragma once

#include <xmlmessaging/xmlmessage.h>

#include <QHash>
#include <QString>

#include <deque>

namespace KoltaSimulation {

/// The replies to the commands that were executed last, by token: a client that lost its link before the
/// reply came sends its command again, and it must not be executed again.
class CommandMemory
{
public:
    explicit CommandMemory(std::size_t capacity = 1000) : m_capacity(capacity) {}

    /// The reply to the command of that token, null for one that is not known.
    const XmlCommon::CXmlMessage* find(const QString& token) const { return m_replies.value(token).data(); }
    /// The oldest is forgotten when there are too many.
    void remember(const QString& token, const XmlCommon::CXmlMessage& reply)
    {
        m_replies.insert(token, XmlCommon::ptrCXmlMessage(new XmlCommon::CXmlMessage(reply)));
        m_order.push_back(token);
        if (m_order.size() > m_capacity) {
            m_replies.remove(m_order.front());
            m_order.pop_front();
        }
    }

private:
    const std::size_t m_capacity;
    QHash<QString, XmlCommon::ptrCXmlMessage> m_replies;
    std::deque<QString> m_order;
};

} // namespace KoltaSimulation
