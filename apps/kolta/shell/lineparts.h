#pragma once

#include <QString>
#include <QStringList>

namespace KoltaCli {

/// A line that somebody types, up to the cursor, as the words that it means.
struct LineParts
{
    QStringList words;     ///< the last one is the one that is being typed; it may be empty
    int lastStart = 0;     ///< where that begins in the line
    bool isQuoted = false; ///< that is within quotes
    int lastBreak = 0; ///< where in its meaning that goes on behind the last of the letters that part words
};

/// Of the prompt of a shell of this program: double quotes hold words together.
LineParts partsOfPrompt(const QString& line);
/// Of bash, with its quotes and backslashes, and with the letters that part words for its editor.
LineParts partsOfBash(const QString& line, const QString& breaks);
/// A word as the prompt takes it; `isWhole`: nothing more is to come of it.
QString promptText(const QString& word, bool isWhole);

} // namespace KoltaCli
