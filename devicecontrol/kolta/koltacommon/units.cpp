#include "units.h"

#include <QLocale>
#include <QRegularExpression>
#include <QtNumeric>

#include <cmath>

namespace Kolta {

namespace {

/// The powers of ten behind nothing, k, M and G.
constexpr int kStepOfPrefix = 3;
const QString kPrefixes = QStringLiteral(" kMG");

/// `hertz` divided by a power of ten. The point moves in the text: a division would round.
QString scaledText(double hertz, int exponent)
{
    const QString text = QString::number(std::fabs(hertz), 'e', QLocale::FloatingPointShortest);
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
    return hertz < 0 ? QString(QLatin1Char('-') + digits) : digits;
}

} // namespace

std::optional<double> hertzFromText(const QString& text)
{
    static const QRegularExpression form(QStringLiteral(
        "^\\s*(\\d+\\.?\\d*|\\.\\d+)(?:[eE]([+-]?\\d{1,3}))?\\s*([kKmMgG]?)(?:[hH][zZ])?\\s*$"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const QString letter = match.captured(3);
    const int prefix = letter.isEmpty() ? 0 : kPrefixes.indexOf(letter, 0, Qt::CaseInsensitive);
    // Read in one go, so that "98.1M" and "98.1e6" are the same number.
    const int exponent = match.captured(2).toInt() + kStepOfPrefix * prefix;
    const double hertz = QString(match.captured(1) + QLatin1Char('e') + QString::number(exponent)).toDouble();
    return qIsFinite(hertz) ? std::optional<double>(hertz) : std::nullopt;
}

QString hertzToText(double hertz)
{
    int prefix = 0;
    while (prefix + 1 < kPrefixes.size() && std::fabs(hertz) >= std::pow(10.0, kStepOfPrefix * (prefix + 1)))
        ++prefix;
    const QString unit = prefix == 0 ? QString() : QString(kPrefixes.at(prefix));
    return scaledText(hertz, kStepOfPrefix * prefix) + QLatin1Char(' ') + unit + QStringLiteral("Hz");
}

QString hertzRangeToText(double from, double to)
{
    QString first = hertzToText(from);
    const QString last = hertzToText(to);
    const int unit = last.indexOf(QLatin1Char(' '));
    if (first.endsWith(last.midRef(unit)))
        first.chop(last.size() - unit);
    return first + QStringLiteral(" – ") + last;
}

QString megahertzToText(double hertz)
{
    return scaledText(hertz, 2 * kStepOfPrefix);
}

} // namespace Kolta
