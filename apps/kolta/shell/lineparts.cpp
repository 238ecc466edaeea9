#include "lineparts.h"

#include <algorithm>

namespace KoltaCli {

namespace {

class Splitter
{
public:
    /// `quotes`: the letters that hold words together; of these the double quote alone lets a backslash
    /// count.
    Splitter(const QString& quotes, bool hasEscapes, const QString& breaks)
        : m_quotes(quotes), m_hasEscapes(hasEscapes), m_breaks(breaks)
    {
    }

    LineParts split(const QString& line)
    {
        m_parts.words.append(QString());
        for (int i = 0; i < line.size(); ++i) {
            const QChar letter = line.at(i);
            const bool isEscape = m_hasEscapes && letter == QLatin1Char('\\') && m_quote != QLatin1Char('\'');
            if (isEscape && i + 1 < line.size())
                m_parts.words.last() += line.at(++i);
            else if (m_quote.isNull() ? m_quotes.contains(letter) : letter == m_quote)
                m_quote = m_quote.isNull() ? letter : QChar();
            else
                take(letter, i);
        }
        m_parts.isQuoted = !m_quote.isNull();
        return m_parts;
    }

private:
    void take(QChar letter, int place)
    {
        if (!m_quote.isNull() || !letter.isSpace()) {
            m_parts.words.last() += letter;
            if (m_quote.isNull() && m_breaks.contains(letter))
                m_parts.lastBreak = m_parts.words.last().size();
            return;
        }
        if (m_parts.lastStart < place)
            m_parts.words.append(QString());
        m_parts.lastStart = place + 1;
        m_parts.lastBreak = 0;
    }

    const QString m_quotes;
    const bool m_hasEscapes;
    const QString m_breaks;
    QChar m_quote; ///< that is open; null for none
    LineParts m_parts;
};

} // namespace

LineParts partsOfPrompt(const QString& line)
{
    return Splitter(QStringLiteral("\""), false, QString()).split(line);
}

LineParts partsOfBash(const QString& line, const QString& breaks)
{
    return Splitter(QStringLiteral("\"'"), true, breaks).split(line);
}

QString promptText(const QString& word, bool isWhole)
{
    const bool wantsQuotes = std::any_of(word.begin(), word.end(), [](QChar letter) {
        return letter.isSpace() || letter == QLatin1Char('"');
    });
    if (!wantsQuotes)
        return word;
    QString text = word;
    text.replace(QLatin1Char('"'), QLatin1String("\"\"\""));
    return QLatin1Char('"') + text + (isWhole ? QStringLiteral("\"") : QString());
}

} // namespace KoltaCli
