#include <simulation/commandmemory.h>

#include <xmlmessaging/messagecodec.h>

#include <QCryptographicHash>

namespace KoltaSimulation {

using XmlCommon::CXmlMessage;
using XmlCommon::MessageCodec;

QByteArray CommandMemory::keyOf(const CXmlMessage& command, const QString& user)
{
    if (command.getToken().isEmpty())
        return QByteArray();
    CXmlMessage same(command);
    same.setMessageID(0); // another one each time
    same.setAvailableTime(0);
    QByteArray text = user.toUtf8() + '\n';
    MessageCodec::encode(same, text);
    return QCryptographicHash::hash(text, QCryptographicHash::Sha256);
}

void CommandMemory::remember(const QByteArray& key, const CXmlMessage& reply)
{
    if (key.isEmpty() || m_answers.contains(key))
        return;
    CXmlMessage answer(reply);
    for (int i = 0; i < answer.getNumberOfFragments(); ++i)
        answer.getFragment(i).setRequestTree(XmlCommon::CRequestTree());
    QByteArray text;
    MessageCodec::encode(answer, text);
    m_bytes += text.size();
    m_answers.insert(key, text);
    m_order.push_back(key);
    while (m_order.size() > m_maxCommands || m_bytes > m_maxBytes) {
        m_bytes -= m_answers.take(m_order.front()).size();
        m_order.pop_front();
    }
}

bool CommandMemory::recall(const QByteArray& key, CXmlMessage& reply) const
{
    const auto found = m_answers.constFind(key);
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
