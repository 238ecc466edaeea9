#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

class QUuid;

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
/// Which of them a line of `kolta` means by that word, a GUID, its own or that of its production, or a name;
/// on that server, or on any where it is empty. Several where `kolta` would ask for another word. Keys.
QStringList meantBy(const QString& word, const QString& server, const QVector<RunningProcessor>& running);

/// Where that SCP or MCP runs; empty for one that is not known.
QString serverOfProcessor(const Session& session, const QUuid& guid);

} // namespace KoltaConsole
