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

bool isQuote(QChar c)
{
    return c == QLatin1Char('"') || c == QLatin1Char('\'');
}

/// Stands for itself within double quotes only behind a backslash.
bool isEscaped(QChar c)
{
    return QStringLiteral("\"$`\\").contains(c);
}

/// Means something to a shell within double quotes, if only at its prompt.
bool isActive(QChar c)
{
    return isEscaped(c) || c == QLatin1Char('!');
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

ShellParts shellParts(const QString& line, const QString& breaks)
{
    ShellParts parts{{QString()}};
    QChar quote;
    for (int i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        const bool isBackslash = c == QLatin1Char('\\') && quote != QLatin1Char('\'');
        const bool isEscape =
            isBackslash && i + 1 < line.size() && (quote.isNull() || isEscaped(line.at(i + 1)));
        parts.isEscaping = isBackslash && i + 1 == line.size();
        if (quote.isNull() && c.isSpace()) {
            if (parts.isBegun)
                parts.words.append(QString());
            parts.isBegun = false;
            parts.lastStart = i + 1;
            parts.lastBreak = 0;
            continue;
        }
        parts.isBegun = true;
        if (isEscape) {
            parts.words.last() += line.at(++i);
        } else if (quote.isNull() ? isQuote(c) : c == quote) {
            quote = quote.isNull() ? c : QChar();
        } else {
            parts.words.last() += c;
            if (quote.isNull() && breaks.contains(c))
                parts.lastBreak = parts.words.last().size();
        }
    }
    parts.isQuoted = !quote.isNull();
    return parts;
}

QString problemOfLine(const QString& line)
{
    const ShellParts parts = shellParts(line);
    return parts.isQuoted     ? QStringLiteral("a quote is not closed")
           : parts.isEscaping ? QStringLiteral("nothing stands behind the last backslash")
                              : QString();
}

QStringList shellWords(const QString& line)
{
    ShellParts parts = shellParts(line);
    if (!parts.isBegun)
        parts.words.removeLast();
    return parts.words;
}

QString typedWord(const QString& word, bool isWhole)
{
    const bool wantsQuotes = std::any_of(word.begin(), word.end(), [](QChar c) {
        return c.isSpace() || isQuote(c) || c == QLatin1Char('\\');
    });
    if (!wantsQuotes)
        return word;
    QString text(QLatin1Char('"'));
    for (const QChar c : word) {
        if (isEscaped(c))
            text += QLatin1Char('\\');
        text += c;
    }
    return isWhole ? text + QLatin1Char('"') : text;
}

} // namespace KoltaApps
