#pragma once

#include <QString>
#include <QStringList>

namespace KoltaCli {

class CommandTable;

/// How the last of some words may go on: as a command, an option or its value, an action, or another
/// argument. Whole words, sorted; a folder ends with "/".
QStringList completionsOf(const QStringList& words, const CommandTable& table);

/// How the last word of a line at the prompt goes on.
struct Completion
{
    QStringList candidates; ///< the whole words, sorted
    int typed = 0;          ///< how much of the end of the line `text` replaces
    QString text; ///< what all candidates begin with, and a blank when there is but one; or as it is
};
Completion completeLine(const QString& line, const CommandTable& table);

} // namespace KoltaCli
