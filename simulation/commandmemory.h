#pragma once

#include <xmlmessaging/xmlmessage.h>

#include <QByteArray>
#include <QHash>
#include <QString>

#include <deque>

namespace KoltaSimulation {

/// What was answered to the commands that were executed last: a client that lost its link before the reply
/// came sends its command again, and it must not be executed again. Bounded in number and bytes; the oldest
/// are forgotten.
class CommandMemory
{
public:
    explicit CommandMemory(std::size_t maxCommands = 1000, int maxBytes = 4 * 1024 * 1024)
        : m_maxCommands(maxCommands), m_maxBytes(maxBytes)
    {
    }

    /// By which a command is known when it comes again: its token, who gave it and what it says, so that
    /// nobody gets the answer to another command, or has one answered before it was given. Empty for a
    /// command without a token, which is never remembered.
    static QByteArray keyOf(const XmlCommon::CXmlMessage& command, const QString& user);

    void remember(const QByteArray& key, const XmlCommon::CXmlMessage& reply);
    /// Puts what was answered to the command of that key into `reply`, which is one to the same command.
    /// False when it is not known.
    bool recall(const QByteArray& key, XmlCommon::CXmlMessage& reply) const;

private:
    const std::size_t m_maxCommands;
    const int m_maxBytes;
    QHash<QByteArray, QByteArray>
        m_answers; ///< as messages without request trees, which come again with the command
    std::deque<QByteArray> m_order;
    int m_bytes = 0;
};

} // namespace KoltaSimulation
