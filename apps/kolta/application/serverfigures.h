#pragma once

#include "servers.h"

#include <QString>
#include <QVector>

namespace KoltaCli {

/// How one server is and how much of everything it has, in one moment.
struct ServerFigures
{
    QString name;
    QString host;
    int state = 0;
    QString stateText;
    QString message;
    bool isReady = false;
    bool isUp = false; ///< come up whole and operational
    /// Of a server that has gone nobody knows what it has; the counts are of the past then.
    bool isConnected = false;

    int free = 0;
    int inUse = 0;
    int inaccessible = 0;
    int planned = 0;
    int processors = 0;
    int productions = 0;
    int hardware = 0;

    int tuners() const noexcept { return free + inUse + inaccessible + planned; }
    /// The counts in the order above, with names as programs read them.
    QVector<QPair<QString, int>> counts() const;

    static ServerFigures of(Server& server);
};

} // namespace KoltaCli
