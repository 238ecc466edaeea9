#pragma once

#include <kolta/application/knownnames.h>

#include <QString>
#include <QStringList>

#include <functional>

namespace KoltaCli {

class CommandTable;

/// Finds names as knownNames() does.
using NameSource = std::function<QStringList(NameKind kind, const QString& begin, const QStringList& words)>;

/// How the last of some words may go on: as a command, an option or its value, an action, or another
/// argument. Whole words, sorted; a folder ends with "/".
QStringList completionsOf(const QStringList& words, const CommandTable& table,
                          const NameSource& names = knownNames);

/// How the last word of a line at the prompt goes on.
struct Completion
{
    QStringList candidates; ///< the whole words, sorted
    int typed = 0;          ///< how much of the end of the line `text` replaces
    QString text; ///< what all candidates begin with, and a blank when there is but one; or as it is
};
Completion completeLine(const QString& line, const CommandTable& table, const NameSource& names = knownNames);

} // namespace KoltaCli
