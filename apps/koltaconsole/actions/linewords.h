#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace KoltaConsole {

class Session;

/// What a line of `kolta` asks for, and of whom.
struct LineWords
{
    QString command;       ///< with its action and its options but --server and --tree: "own --force"
    QStringList arguments; ///< behind them
    QString server;        ///< the one that it is for; empty: nobody can tell
};

/// Nothing for what `kolta` would not take, and for a line that looks at another tree, or at several servers.
std::optional<LineWords> readLine(const QString& line, const Session& session);

} // namespace KoltaConsole
