#pragma once

#include <QString>
#include <QStringList>

namespace KoltaCli {

class CommandTable;

/// How the last word of a line may go on.
struct Completion
{
    QStringList candidates; ///< the whole words, sorted
    QString missing;        ///< what all of them have behind what is there, and a blank when there is but one
};

/// Completes `line`, which ends where the next letter would stand: its first word to a command of the table,
/// a later one that begins with "-" to an option of that command, any other to what may stand there.
Completion completeLine(const QString& line, const CommandTable& table);

} // namespace KoltaCli
