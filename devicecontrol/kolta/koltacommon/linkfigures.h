#pragma once

#include <QDateTime>
#include <QMetaType>
#include <QString>

namespace Kolta {

/// What can be told of one link to a server at a moment: of a KoltaConnection, or of all the connections that
/// a LinkKeeper has had. Counts are since it was made.
struct LinkFigures
{
    enum class State : int {
        Closed,
        Connecting, ///< of a keeper until the start-up exchange is answered
        Up,
        Waiting, ///< for the next try
        GivenUp
    };

    quint32 id = 0; ///< unlike those of all other links of this process
    QString name;   ///< may be empty
    QString host;
    quint16 port = 0;
    State state = State::Closed;
    QDateTime upSince;       ///< invalid unless Up
    qint64 roundTripMs = -1; ///< of the latest request that was answered; -1 before the first
    int queued = 0;          ///< requests, with the one that was sent
    qint64 headAgeMs = -1;   ///< how long the first of them has been in the connection's queue; -1 for none
    int reconnections = 0;
    QString lastFault; ///< the word for the last error, see KoltaConnection::socketErrorText(); empty before
                       ///< the first
    QDateTime lastFaultAt;
    int nextTryMs = 0; ///< until the next try; 0 unless Waiting
    quint64 messagesOut = 0;
    quint64 messagesIn = 0;
    quint64 bytesOut = 0; ///< as they go over the network, of a protected link what it protects
    quint64 bytesIn = 0;
};

} // namespace Kolta

Q_DECLARE_METATYPE(Kolta::LinkFigures)
