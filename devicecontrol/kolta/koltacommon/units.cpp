#include "units.h"

#include <QCoreApplication>
#include <QLocale>
#include <QRegularExpression>
#include <QStringList>
#include <QtNumeric>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace Kolta {

namespace {

QString translated(const char* text)
{
    return QCoreApplication::translate("Kolta::Units", text);
}

/// A unit as it is written, and the power of ten that it stands for, times `factor`.
struct Unit
{
    QString name;
    int exponent = 0;
    double factor = 1.0;
    QStringList otherNames = {};
};

struct Units
{
    const char* noun; ///< "frequency"
    const char* sample;
    std::vector<Unit> all; ///< from small to large; those that are written with a factor of 1
    std::size_t own = 0;   ///< the unit that values are in
};

constexpr int kThousand = 3;
constexpr int kMillion = 6;

QString named(const char* name)
{
    return QString::fromUtf8(name);
}

const Units& unitsOfFrequency()
{
    static const Units units{QT_TRANSLATE_NOOP("Kolta::Units", "frequency"),
                             "98.5 MHz",
                             {{named("Hz"), 0, 1, {}},
                              {named("kHz"), kThousand, 1, {named("k")}},
                              {named("MHz"), kMillion, 1, {named("M")}},
                              {named("GHz"), 9, 1, {named("G")}}},
                             0};
    return units;
}

const Units& unitsOfDuration()
{
    static const Units units{QT_TRANSLATE_NOOP("Kolta::Units", "time"),
                             "20 ms",
                             {{named("ns"), -9, 1, {}},
                              {named("us"), -6, 1, {named("\u00b5s"), named("\u03bcs")}},
                              {named("ms"), -3, 1, {}},
                              {named("s"), 0, 1, {named("sec")}},
                              {named("min"), 0, 60, {}},
                              {named("h"), 0, 3600, {}}},
                             3};
    return units;
}

const Units& unitsOfSymbolRate()
{
    static const Units units{QT_TRANSLATE_NOOP("Kolta::Units", "symbol rate"),
                             "2.4 kBd",
                             {{named("Bd"), 0, 1, {named("baud")}},
                              {named("kBd"), kThousand, 1, {named("k"), named("kbaud")}},
                              {named("MBd"), kMillion, 1, {named("M"), named("Mbaud")}}},
                             0};
    return units;
}

const Units& unitsOfRate()
{
    static const Units units{QT_TRANSLATE_NOOP("Kolta::Units", "rate"),
                             "50 /s",
                             {{named("/s"), 0, 1, {named("per s"), named("hops/s")}},
                              {named("k/s"), kThousand, 1, {named("k")}},
                              {named("M/s"), kMillion, 1, {named("M")}}},
                             0};
    return units;
}

const Units& unitsOf(Quantity quantity)
{
    switch (quantity) {
    case Quantity::Duration:
        return unitsOfDuration();
    case Quantity::SymbolRate:
        return unitsOfSymbolRate();
    case Quantity::Rate:
        return unitsOfRate();
    case Quantity::Frequency:
        break;
    }
    return unitsOfFrequency();
}

const Unit* findUnit(const Units& units, const QString& name)
{
    if (name.isEmpty())
        return &units.all.at(units.own);
    for (const Unit& unit : units.all) {
        if (unit.name.compare(name, Qt::CaseInsensitive) == 0 ||
            unit.otherNames.contains(name, Qt::CaseInsensitive))
            return &unit;
    }
    return nullptr;
}

/// Whether one letter more, less or other makes one of the other.
bool areAlike(const QString& a, const QString& b)
{
    const QString& longer = a.size() < b.size() ? b : a;
    const QString& shorter = a.size() < b.size() ? a : b;
    int same = 0;
    while (same < shorter.size() && longer.at(same).toLower() == shorter.at(same).toLower())
        ++same;
    const int left = longer.size() == shorter.size() ? same + 1 : same;
    return longer.size() - shorter.size() <= 1 &&
           longer.mid(same + 1).compare(shorter.mid(left), Qt::CaseInsensitive) == 0;
}

QString normalised(const QString& text)
{
    QString result = text;
    for (const QChar blank : QStringLiteral("\u00a0\u2007\u2009\u202f"))
        result.replace(blank, QLatin1Char(' '));
    return result.replace(QChar(0x2212), QLatin1Char('-')).trimmed();
}

const QString& numberPattern()
{
    static const QString pattern =
        QStringLiteral("((?:\\d+[.,]?\\d*|[.,]\\d+)(?:[eE][+-]?\\d{1,3}(?![\\d.,]))?)");
    return pattern;
}

QString proposal(const QString& text)
{
    return translated(QT_TRANSLATE_NOOP("Kolta::Units", "did you mean %1?")).arg(text);
}

QString notA(const QString& text, const char* noun, const QString& why)
{
    return translated(QT_TRANSLATE_NOOP("Kolta::Units", "\"%1\" is no %2: %3"))
        .arg(text.simplified(), translated(noun), why);
}

/// Reads one text at a time.
class Reader
{
public:
    Reader(Quantity quantity, const QString& plainUnit)
        : m_quantity(quantity), m_units(unitsOf(quantity)), m_plain(plainUnit)
    {
    }

    QuantityReading number(const QString& digits, const QString& unit) const
    {
        const Unit* const known = findUnit(m_units, unit.isEmpty() ? m_plain : unit);
        if (!known)
            return wrong(digits + QLatin1Char(' ') + unit, problemOfUnit(digits, unit));
        const int comma = digits.indexOf(QLatin1Char(','));
        const bool isDoubtful =
            comma > 0 && known->exponent < kMillion && digits.at(0) != QLatin1Char('0') &&
            QRegularExpression(QStringLiteral("^,\\d{3}$")).match(digits.mid(comma)).hasMatch();
        const QString plain = QString(digits).replace(QLatin1Char(','), QLatin1Char('.'));
        if (isDoubtful)
            return wrong(digits + QLatin1Char(' ') + known->name,
                         translated(QT_TRANSLATE_NOOP("Kolta::Units", "it could be %1 or %2"))
                             .arg(plain + QLatin1Char(' ') + known->name,
                                  QString(plain).remove(QLatin1Char('.')) + QLatin1Char(' ') + known->name));
        return value(plain, *known);
    }

    QuantityReading text(const QString& text) const
    {
        static const QRegularExpression form(QStringLiteral("^%1\\s*([^\\d\\s.,].*)?$").arg(numberPattern()));
        const QString given = normalised(text);
        const QRegularExpressionMatch match = form.match(given);
        return match.hasMatch() ? number(match.captured(1), match.captured(2)) : wrong(text, guess(given));
    }

    RangeReading range(const QString& text) const;

    QString wrongText(const QString& text, const QString& why) const { return notA(text, m_units.noun, why); }

private:
    QuantityReading wrong(const QString& text, const QString& why) const
    {
        return {0.0, wrongText(text, why)};
    }

    /// Read in one go, so that "98.1M" and "98.1e6" are the same number.
    QuantityReading value(const QString& digits, const Unit& unit) const
    {
        const int e = digits.indexOf(QLatin1Char('e'), 0, Qt::CaseInsensitive);
        const int exponent = (e < 0 ? 0 : digits.mid(e + 1).toInt()) + unit.exponent;
        const double number =
            QString(digits.left(e) + QLatin1Char('e') + QString::number(exponent)).toDouble() * unit.factor;
        return qIsFinite(number) ? QuantityReading{number, QString()}
                                 : wrong(digits, translated(QT_TRANSLATE_NOOP("Kolta::Units", "too large")));
    }

    QString problemOfUnit(const QString& digits, const QString& unit) const
    {
        QString name = unit.section(QRegularExpression(QStringLiteral("[\\s.;]")), 0, 0);
        const Unit* meant = name == unit ? nullptr : findUnit(m_units, name);
        QStringList known;
        for (const Unit& each : m_units.all) {
            known.append(each.name);
            if (!meant && areAlike(each.name, unit))
                meant = &each;
        }
        return translated(QT_TRANSLATE_NOOP("Kolta::Units", "there is no unit \"%1\" of it; %2"))
            .arg(unit, meant ? proposal(digits + QLatin1Char(' ') + meant->name)
                             : translated(QT_TRANSLATE_NOOP("Kolta::Units", "known are %1"))
                                   .arg(known.join(QStringLiteral(", "))));
    }

    /// Why what does not even look like a number with a unit does not.
    QString guess(const QString& given) const
    {
        static const QRegularExpression grouped(QStringLiteral("^\\d{1,3}(?:([ '.,])\\d{3})+(\\D.*)?$"));
        const QRegularExpressionMatch match = grouped.match(given);
        const QString rest = match.captured(2).trimmed();
        if (match.hasMatch()) {
            QString joined = given.left(given.size() - match.captured(2).size());
            joined.remove(match.captured(1));
            return proposal(joined + QLatin1Char(' ') +
                            (rest.isEmpty() ? m_units.all.at(m_units.own).name : rest));
        }
        const QuantityReading positive =
            given.startsWith(QLatin1Char('-')) ? text(given.mid(1)) : QuantityReading{0.0, given};
        if (positive.isGood())
            return translated(QT_TRANSLATE_NOOP("Kolta::Units", "it must be at least 0; %1"))
                .arg(proposal(quantityToText(positive.value, m_quantity)));
        return translated(QT_TRANSLATE_NOOP("Kolta::Units", "expected one such as %1"))
            .arg(QLatin1String(m_units.sample));
    }

    const Quantity m_quantity;
    const Units& m_units;
    const QString m_plain;
};

RangeReading Reader::range(const QString& text) const
{
    const QString given = normalised(text);
    RangeReading range;
    const auto take = [&range](const QuantityReading& reading, double& end) {
        end = reading.value;
        if (range.problem.isEmpty())
            range.problem = reading.problem;
    };
    const QString unit = QStringLiteral("([^\\d\\s.,<>=\u2013\u2014-]*?)");
    const QString dash = QStringLiteral("(?:-|\u2013|\u2014|\\.\\.+|\u2026|\\bto\\b|\\bbis\\b)");
    static const QRegularExpression both(
        QStringLiteral("^%1\\s*%2\\s*%3\\s*%1\\s*%2$").arg(numberPattern(), unit, dash));
    static const QRegularExpression from(
        QStringLiteral("^(?:(?:>=?|\u2265)\\s*(.+)|(.+?)\\s*(?:-|\u2013|\u2014))$"));
    static const QRegularExpression to(QStringLiteral("^(?:<=?|\u2264|\u2013|\u2014)\\s*(.+)$"));
    QRegularExpressionMatch match = both.match(given);
    if (match.hasMatch()) {
        const QString first = match.captured(2);
        const QString last = match.captured(4);
        take(number(match.captured(1), first.isEmpty() ? last : first), range.from);
        take(number(match.captured(3), last.isEmpty() ? first : last), range.to);
    } else if ((match = from.match(given)).hasMatch()) {
        take(this->text(match.captured(1) + match.captured(2)), range.from);
    } else if ((match = to.match(given)).hasMatch()) {
        take(this->text(match.captured(1)), range.to);
    } else {
        take(this->text(given), range.from);
        range.to = range.from;
    }
    return range;
}

/// `value` divided by a power of ten. The point moves in the text: a division would round.
QString scaledText(double value, int exponent)
{
    QString text = QString::number(std::fabs(value), 'e', QLocale::FloatingPointShortest);
    const int e = text.indexOf(QLatin1Char('e'));
    if (e < 0)
        return text;
    QString digits = text.left(e).remove(QLatin1Char('.'));
    int point = text.mid(e + 1).toInt() - exponent + 1; // so many digits stand before it
    digits.prepend(QString(qMax(0, 1 - point), QLatin1Char('0')));
    point = qMax(1, point);
    digits.append(QString(qMax(0, point - digits.size()), QLatin1Char('0')));
    if (point < digits.size())
        digits.insert(point, QLatin1Char('.'));
    return value < 0 ? QString(QLatin1Char('-') + digits) : digits;
}

} // namespace

QuantityReading readQuantity(const QString& text, Quantity quantity, const QString& plainUnit)
{
    return Reader(quantity, plainUnit).text(text);
}

RangeReading readRange(const QString& text, Quantity quantity, const QString& plainUnit)
{
    const Reader reader(quantity, plainUnit);
    RangeReading range = reader.range(text);
    if (range.isGood() && range.from > range.to)
        range.problem =
            reader.wrongText(text, translated(QT_TRANSLATE_NOOP("Kolta::Units", "it is turned round; %1"))
                                       .arg(proposal(rangeToText(range.to, range.from, quantity))));
    return range;
}

RangeReading readProfileDuration(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("^\\s*(\\d+)\\s*(?:[-,\u2013]\\s*(\\d+))?\\s*$"));
    const QRegularExpressionMatch match = form.match(text);
    const QString first = match.captured(1);
    const QString last = match.captured(2).isEmpty() ? first : match.captured(2);
    RangeReading range;
    range.from = first.toDouble();
    range.to = last.toDouble();
    QString why;
    if (!match.hasMatch() || range.to > std::numeric_limits<quint32>::max())
        why = translated(QT_TRANSLATE_NOOP("Kolta::Units", "expected whole numbers such as 7000-9500, in the "
                                                           "unit in which the processors count"));
    else if (range.from > range.to)
        why = translated(QT_TRANSLATE_NOOP("Kolta::Units", "it is turned round; %1"))
                  .arg(proposal(last + QLatin1Char('-') + first));
    if (!why.isEmpty())
        range.problem = notA(text, QT_TRANSLATE_NOOP("Kolta::Units", "duration"), why);
    return range;
}

QString quantityToText(double value, Quantity quantity)
{
    const Units& units = unitsOf(quantity);
    const Unit* best = &units.all.at(units.own);
    if (value != 0) {
        best = &units.all.front();
        for (const Unit& unit : units.all) {
            if (unit.factor == 1.0 && std::fabs(value) >= std::pow(10.0, unit.exponent))
                best = &unit;
        }
    }
    return scaledText(value, best->exponent) + QLatin1Char(' ') + best->name;
}

QString rangeToText(double from, double to, Quantity quantity)
{
    const QString dash = QStringLiteral(" \u2013 ");
    if (!qIsFinite(to))
        return quantityToText(from, quantity) + dash.left(2);
    const QString last = quantityToText(to, quantity);
    QString first = quantityToText(from, quantity);
    if (first == last)
        return first;
    const int unit = last.indexOf(QLatin1Char(' '));
    if (first.endsWith(last.midRef(unit)))
        first.chop(last.size() - unit);
    return first + dash + last;
}

std::optional<double> hertzFromText(const QString& text)
{
    const QuantityReading reading = readQuantity(text, Quantity::Frequency);
    return reading.isGood() ? std::optional<double>(reading.value) : std::nullopt;
}

QString hertzToText(double hertz)
{
    return quantityToText(hertz, Quantity::Frequency);
}

QString hertzRangeToText(double from, double to)
{
    return rangeToText(from, to, Quantity::Frequency);
}

QString megahertzToText(double hertz)
{
    return scaledText(hertz, kMillion);
}

} // namespace Kolta
