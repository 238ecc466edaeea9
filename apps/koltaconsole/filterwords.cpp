#include "filterwords.h"

#include <koltacommon/units.h>

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <optional>

namespace KoltaConsole {

namespace {

/// "98.5 MHz" and "118 - 137 MHz" without their blanks.
QString closed(QString text)
{
    static const QRegularExpression unit(QStringLiteral("(\\d)\\s+([kMG]?Hz)\\b"),
                                         QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression dash(QStringLiteral("(\\d|Hz)\\s*[-–]\\s*(\\d)"),
                                         QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression sign(QStringLiteral("([<>])\\s+(\\d)"));
    text.replace(unit, QStringLiteral("\\1\\2"));
    text.replace(sign, QStringLiteral("\\1\\2"));
    // Only where a unit says that it is a frequency; "MCP 1-2" is none.
    QString joined = text;
    joined.replace(dash, QStringLiteral("\\1-\\2"));
    static const QRegularExpression range(QStringLiteral("[\\d.]+[kMG]?(Hz)?-[\\d.]+[kMG]?Hz"),
                                          QRegularExpression::CaseInsensitiveOption);
    return joined.contains(range) ? joined : text;
}

/// Of something that names its unit; a bare number is a text.
std::optional<double> frequency(const QString& text)
{
    return text.endsWith(QLatin1String("hz"), Qt::CaseInsensitive) ? Kolta::hertzFromText(text)
                                                                   : std::nullopt;
}

} // namespace

FilterWords::FilterWords(const QString& text)
{
    for (const QString& word : closed(text.simplified()).split(QLatin1Char(' '), Qt::SkipEmptyParts))
        m_words.append(wordOf(word));
}

FilterWords::Word FilterWords::wordOf(QString text)
{
    Word word;
    if (text.size() > 1 && text.startsWith(QLatin1Char('!'))) {
        word.isNegated = true;
        text.remove(0, 1);
    }
    word.text = text.toLower();
    const QChar sign = text.at(0);
    if (sign == QLatin1Char('>') || sign == QLatin1Char('<')) {
        if (const auto hertz = frequency(text.mid(1))) {
            word.kind = sign == QLatin1Char('>') ? Kind::Wider : Kind::Narrower;
            word.from = *hertz;
        }
        return word;
    }
    const QStringList ends = text.split(QLatin1Char('-'));
    const auto to = frequency(ends.last());
    if (!to || ends.size() > 2)
        return word;
    // The first number of a range has the unit of the second unless it has one of its own.
    QString first = ends.first();
    if (!first.endsWith(QLatin1String("hz"), Qt::CaseInsensitive)) {
        static const QRegularExpression unit(QStringLiteral("[kmgKMG]?[hH][zZ]$"));
        first += unit.match(ends.last()).captured();
    }
    const auto from = frequency(first);
    if (!from)
        return word;
    word.kind = Kind::Reaches;
    word.from = std::min(*from, *to);
    word.to = std::max(*from, *to);
    return word;
}

bool FilterWords::wantsBand() const
{
    return std::any_of(m_words.begin(), m_words.end(),
                       [](const Word& word) { return word.kind != Kind::Text; });
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
    case Kind::Text:
        break;
    }
    return search.contains(text);
}

bool FilterWords::matches(const QString& search, const Band& band) const
{
    return std::all_of(m_words.begin(), m_words.end(),
                       [&](const Word& word) { return word.fits(search, band) != word.isNegated; });
}

} // namespace KoltaConsole
