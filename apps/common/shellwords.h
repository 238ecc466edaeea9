#pragma once

#include <QString>
#include <QStringList>

namespace KoltaApps {

/// The word so that a POSIX shell and the prompt of `kolta shell` both read it as one.
QString shellQuoted(const QString& word);
/// All words of a command, with blanks between them.
QString shellLine(const QStringList& words);
/// The words of a line, as a POSIX shell reads quotes and backslashes; it knows no variables or patterns. A
/// quote that is not closed holds to the end.
QStringList shellWords(const QString& line);

} // namespace KoltaApps
