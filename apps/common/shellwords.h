#pragma once

#include <QString>
#include <QStringList>

namespace KoltaApps {

/// The word so that a POSIX shell and the prompt of `kolta shell` both read it as one.
QString shellQuoted(const QString& word);
/// All words of a command, with blanks between them.
QString shellLine(const QStringList& words);
/// A line that somebody types, up to the cursor, as the words that it means to a POSIX shell, with its quotes
/// and backslashes, but without variables and patterns.
struct ShellParts
{
    QStringList words;       ///< the last one is the one that is being typed; it may be empty
    int lastStart = 0;       ///< where that begins in the line
    bool isBegun = false;    ///< something of it is there, if only a quote
    bool isQuoted = false;   ///< it is within quotes
    bool isEscaping = false; ///< it ends with a backslash that has nothing behind it
    int lastBreak = 0; ///< where in its meaning that goes on behind the last of the letters that part words
};
/// `breaks`: letters that part words for an editor of lines, though not for the shell.
ShellParts shellParts(const QString& line, const QString& breaks = QString());
/// All words of a line. A quote that is not closed holds to the end.
QStringList shellWords(const QString& line);
/// What a line lacks that a POSIX shell would wait for; empty: nothing.
QString problemOfLine(const QString& line);
/// A word as it goes on in a line that is being typed, in double quotes where it needs any; they are closed
/// when nothing more is to come of the word.
QString typedWord(const QString& word, bool isWhole);

} // namespace KoltaApps
