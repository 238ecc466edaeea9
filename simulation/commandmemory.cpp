#include <simulation/commandmemory.h>

#include <xmlmessaging/messagecodec.h>

namespace KoltaSimulation {

using XmlCommon::CXmlMessage;
using XmlCommon::MessageCodec;

void CommandMemory::remember(const QString& token, const CXmlMessage& reply)
{
    if (token.isEmpty() || m_answers.contains(token))
        return;
    CXmlMessage answer(reply);
    for (int i = 0; i < answer.getNumberOfFragments(); ++i)
        answer.getFragment(i).setRequestTree(XmlCommon::CRequestTree());
    QByteArray text;
    MessageCodec::encode(answer, text);
    m_bytes += text.size();
    m_answers.insert(token, text);
    m_order.push_back(token);
    while (m_order.size() > m_maxCommands || m_bytes > m_maxBytes) {
        m_bytes -= m_answers.take(m_order.front()).size();
        m_order.pop_front();
    }
}

bool CommandMemory::recall(const QString& token, CXmlMessage& reply) const
{
    const auto found = m_answers.constFind(token);
    QString error;
    const XmlCommon::ptrCXmlMessage answer =
        found == m_answers.constEnd() ? XmlCommon::ptrCXmlMessage() : MessageCodec::decode(*found, error);
    if (!answer || answer->getNumberOfFragments() != reply.getNumberOfFragments())
        return false;
    for (int i = 0; i < reply.getNumberOfFragments(); ++i) {
        reply.getFragment(i).setDataTree(answer->getFragment(i).getDataTree());
        reply.getFragment(i).setFaultTree(answer->getFragment(i).getFaultTree());
    }
    return true;
}

} // namespace KoltaSimulation
