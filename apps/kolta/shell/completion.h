#pragma once

#include <QString>
#include <QStringList>

namespace KoltaCli {

/// How the last word of a line may go on.
struct Completion
{
    QStringList candidates; ///< the whole words, sorted
    QString missing;        ///< what all of them have behind what is there, and a blank when there is but one
};

/// Completes `line`, which ends where the next letter would stand: its first word to a command, a later one
/// that begins with "-" to an option of that command.
Completion completeLine(const QString& line);

} // namespace KoltaCli
