#pragma once

#include <QString>
#include <QVector>

namespace KoltaConsole {

class Session;

/// A processor that runs, or ran when its server was seen last.
struct RunningProcessor
{
    QString key; ///< that of its row in the model of processors
    QString server;
    QString guid;
    QString production; ///< GUID; of SCPs and MCPs
    QString name;
    QString owner;
    QString ownerInFull;
    bool isStale = false;
    bool isMine = false; ///< this program owns it
    int depth = 0;       ///< how many processors it is within
};

/// All that run on that server, or on any where it is empty, whatever pages show of them. What a processor
/// holds is behind it.
QVector<RunningProcessor> runningProcessors(const Session& session, const QString& server = QString());

} // namespace KoltaConsole
