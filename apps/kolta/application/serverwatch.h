#pragma once

#include "resourcewatch.h"
#include "servers.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>

namespace KoltaCli {

/// Turns everything that a server's interface tells of into lines of text, in the order in which it comes.
class ServerWatch : public QObject
{
    Q_OBJECT

public:
    explicit ServerWatch(Server& server);

Q_SIGNALS:
    /// `kind` is one word: "state", "message", "resource", "processor", "production" or "hardware". `guid` is
    /// that of the resource, processor, production or MCP; empty for what is about the server or several.
    void happened(const QString& kind, const QString& guid, const QString& text);

private:
    void watchServer();
    void watchProcessors();
    void watchProductions();
    void watchHardware();
    QString nameOf(const QString& guid);
    void noteHardware();

    Server& m_server;
    ResourceWatch m_resources;
    QHash<QString, QString> m_names; ///< by GUID; a processor that has gone is only known here
    QSet<QString> m_hardware;        ///< GUIDs of the MCPs that are processed in hardware
};

} // namespace KoltaCli
