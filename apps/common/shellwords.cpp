#include "shellwords.h"

#include <algorithm>

namespace KoltaApps {

namespace {

/// Means nothing to a shell, wherever it stands in a word.
bool isPlain(QChar c)
{
    static const QString others = QStringLiteral("_@%+=:,./-");
    return c.isLetterOrNumber() || others.contains(c);
}

/// Means something to a shell within double quotes.
bool isActive(QChar c)
{
    return QStringLiteral("\"$`\\!").contains(c);
}

} // namespace

QString shellQuoted(const QString& word)
{
    if (!word.isEmpty() && std::all_of(word.begin(), word.end(), isPlain))
        return word;
    if (std::none_of(word.begin(), word.end(), isActive))
        return QLatin1Char('"') + word + QLatin1Char('"');
    QString quoted = word;
    quoted.replace(QLatin1Char('\''), QStringLiteral("'\\''"));
    return QLatin1Char('\'') + quoted + QLatin1Char('\'');
}

QString shellLine(const QStringList& words)
{
    QStringList quoted;
    for (const QString& word : words)
        quoted.append(shellQuoted(word));
    return quoted.join(QLatin1Char(' '));
}

QStringList shellWords(const QString& line)
{
    QStringList words;
    QString word;
    bool isWord = false; // also an empty one, in quotes
    QChar quote;
    for (int i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        const bool isEscape = c == QLatin1Char('\\') && quote != QLatin1Char('\'') && i + 1 < line.size() &&
                              (quote.isNull() || isActive(line.at(i + 1)));
        if (isEscape) {
            word += line.at(++i);
            isWord = true;
        } else if (quote.isNull() && c.isSpace()) {
            if (isWord)
                words.append(word);
            word.clear();
            isWord = false;
        } else if (quote.isNull() && (c == QLatin1Char('"') || c == QLatin1Char('\''))) {
            quote = c;
            isWord = true;
        } else if (!quote.isNull() && c == quote) {
            quote = QChar();
        } else {
            word += c;
            isWord = true;
        }
    }
    if (isWord)
        words.append(word);
    return words;
}

} // namespace KoltaApps
