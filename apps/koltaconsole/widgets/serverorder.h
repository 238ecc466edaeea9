#pragma once

#include <koltacommon/viewroles.h>

#include <QHash>
#include <QString>

namespace KoltaConsole {

/// Texts by which servers are sorted as people number them, each made once.
class ServerOrder
{
public:
    /// By value: the next call may move what is kept.
    QString keyOf(const QString& server)
    {
        QString& key = m_keys[server];
        if (key.isNull() && !server.isEmpty())
            key = Kolta::ViewRoles::sortText(server);
        return key;
    }

private:
    QHash<QString, QString> m_keys; ///< by server
};

} // namespace KoltaConsole
