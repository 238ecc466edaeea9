#pragma once

#include <xmlmessaging/xmlmessage.h>

#include <QByteArray>
#include <QHash>
#include <QString>

#include <deque>

namespace KoltaSimulation {

/// What was answered to the commands that were executed last, by token: a client that lost its link before
/// the reply came sends its command again, and it must not be executed again. Bounded in number and bytes;
/// the oldest are forgotten.
class CommandMemory
{
public:
    explicit CommandMemory(std::size_t maxCommands = 1000, int maxBytes = 4 * 1024 * 1024)
        : m_maxCommands(maxCommands), m_maxBytes(maxBytes)
    {
    }

    void remember(const QString& token, const XmlCommon::CXmlMessage& reply);
    /// Puts what was answered to the command of that token into `reply`, which is one to the same command.
    /// False when it is not known.
    bool recall(const QString& token, XmlCommon::CXmlMessage& reply) const;

private:
    const std::size_t m_maxCommands;
    const int m_maxBytes;
    QHash<QString, QByteArray>
        m_answers; ///< as messages without request trees, which come again with the command
    std::deque<QString> m_order;
    int m_bytes = 0;
};

} // namespace KoltaSimulation
