#include "filterwords.h"

#include <koltacommon/units.h>
#include <koltacommon/wordsearch.h>

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KoltaConsole {

namespace {

/// "98.5 MHz", "118 - 137 MHz", "118..137 MHz" and "118 to 137 MHz" as single words.
QString closed(QString text)
{
    static const QRegularExpression unit(QStringLiteral("(\\d)\\s+([kMG]?Hz)\\b"),
                                         QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression dash(
        QStringLiteral("(\\d|Hz)(?:\\s*(?:[-–]|\\.\\.)\\s*|\\s(?:to|bis)\\s)(\\d)"),
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression sign(QStringLiteral("([<>]=?)\\s+(\\d)"));
    text.replace(unit, QStringLiteral("\\1\\2"));
    text.replace(sign, QStringLiteral("\\1\\2"));
    // Only where a unit says that it is a frequency; "MCP 1-2" is none.
    QString joined = text;
    joined.replace(dash, QStringLiteral("\\1-\\2"));
    static const QRegularExpression range(QStringLiteral("[\\d.,]+[kMG]?(Hz)?-[\\d.,]+[kMG]?Hz"),
                                          QRegularExpression::CaseInsensitiveOption);
    return joined.contains(range) ? joined : text;
}

const QLatin1String kQuote("\""), kQuoteInQuotes("\"\"");

} // namespace

FilterWords::FilterWords(const QString& text)
{
    static const QRegularExpression quoted(QStringLiteral("(?<!\\S)(!?)(=?)\"((?:[^\"]|\"\")*)\"?"));
    int end = 0;
    for (auto found = quoted.globalMatch(text); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        addPlain(text.mid(end, match.capturedStart() - end));
        end = match.capturedEnd();
        Word word;
        word.isNegated = !match.captured(1).isEmpty();
        word.kind = match.captured(2).isEmpty() ? Kind::Text : Kind::Whole;
        word.text = match.captured(3).replace(kQuoteInQuotes, kQuote).toLower();
        if (!word.text.isEmpty())
            m_words.append(word);
    }
    addPlain(text.mid(end));
}

QString FilterWords::exactly(const QString& text)
{
    return text.isEmpty() ? QString()
                          : QStringLiteral("=\"%1\"").arg(QString(text).replace(kQuote, kQuoteInQuotes));
}

/// What stands outside of quotes. A sign alone waits for what is to be behind it.
void FilterWords::addPlain(const QString& text)
{
    static const QRegularExpression sign(QStringLiteral("^(!?=?|[<>]=?)$"));
    const QStringList words = closed(text.simplified()).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString& word : words) {
        if (!word.contains(sign))
            m_words.append(wordOf(word));
    }
}

FilterWords::Word FilterWords::wordOf(QString text)
{
    Word word;
    if (text.startsWith(QLatin1Char('!'))) {
        word.isNegated = true;
        text.remove(0, 1);
    }
    if (text.startsWith(QLatin1Char('='))) {
        word.kind = Kind::Whole;
        text.remove(0, 1);
    }
    word.text = text.toLower();
    // A bare number is a text.
    if (word.kind == Kind::Whole || !word.text.endsWith(QLatin1String("hz")))
        return word;
    const QChar sign = text.at(0);
    const bool isBandwidth = sign == QLatin1Char('>') || sign == QLatin1Char('<');
    const bool isIncluded = isBandwidth && text.at(1) == QLatin1Char('=');
    const Kolta::RangeReading range = Kolta::readRange(text.mid(isIncluded    ? 2
                                                                : isBandwidth ? 1
                                                                              : 0),
                                                       Kolta::Quantity::Frequency);
    if (!range.isGood())
        return word;
    word.kind = !isBandwidth ? Kind::Reaches : sign == QLatin1Char('>') ? Kind::Wider : Kind::Narrower;
    word.from = range.from;
    word.to = range.to;
    if (isIncluded)
        word.from =
            std::nextafter(word.from, sign == QLatin1Char('>') ? 0.0 : std::numeric_limits<double>::max());
    return word;
}

bool FilterWords::wantsBand() const
{
    return std::any_of(m_words.begin(), m_words.end(),
                       [](const Word& word) { return word.kind > Kind::Whole; });
}

bool FilterWords::Word::fits(const QString& search, const Band& band) const
{
    switch (kind) {
    case Kind::Reaches:
        return band.from <= to && band.to >= from;
    case Kind::Wider:
        return band.bandwidth > from;
    case Kind::Narrower:
        return band.bandwidth > 0.0 && band.bandwidth < from;
    case Kind::Whole:
        return Kolta::hasLine(search, text);
    case Kind::Text:
        break;
    }
    return Kolta::hasWord(search, text, Qt::CaseSensitive);
}

bool FilterWords::matches(const QString& search, const Band& band) const
{
    return std::all_of(m_words.begin(), m_words.end(),
                       [&](const Word& word) { return word.fits(search, band) != word.isNegated; });
}

} // namespace KoltaConsole
