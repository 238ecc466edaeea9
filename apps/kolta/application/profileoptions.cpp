#include "profileoptions.h"

#include <kolta/cli/commandline.h>

#include <koltacommon/shorttimeprofile.h>
#include <koltacommon/units.h>

#include <cmath>
#include <limits>

namespace KoltaCli {

using Kolta::Quantity;
using Kolta::RangeReading;
using Kolta::ShortTimeProfile;

namespace {

constexpr double kLargest32 = std::numeric_limits<quint32>::max();
/// Up to which doubles have all whole numbers.
constexpr double kLargestWhole = 9007199254740992.0;

/// A profile holds two whole numbers.
QString problemOfEnds(const RangeReading& range, double largest, Quantity quantity)
{
    if (!range.isGood())
        return range.problem;
    if (!std::isfinite(range.to))
        return QStringLiteral("a profile needs both ends of a range");
    return std::round(range.to) <= largest
               ? QString()
               : QStringLiteral("a profile can hold no more than %1").arg(quantityToText(largest, quantity));
}

QString problemOfFrequency(const QString& text)
{
    return text.isEmpty()
               ? QString()
               : problemOfEnds(readRange(text, Quantity::Frequency), kLargestWhole, Quantity::Frequency);
}

QString problemOfBand(const QString& text)
{
    return text.isEmpty()
               ? QString()
               : problemOfEnds(readRange(text, Quantity::Frequency), kLargest32, Quantity::Frequency);
}

QString problemOfSymbolRate(const QString& text)
{
    return text.isEmpty()
               ? QString()
               : problemOfEnds(readRange(text, Quantity::SymbolRate), kLargest32, Quantity::SymbolRate);
}

QString problemOfHopRate(const QString& text)
{
    return text.isEmpty() ? QString() : readQuantity(text, Quantity::Rate).problem;
}

QString problemOfDuration(const QString& text)
{
    return text.isEmpty() ? QString() : Kolta::readProfileDuration(text).problem;
}

QString problemOfModulation(const QString& text)
{
    if (text.isEmpty() || Kolta::stringToModulationType(text) != 0)
        return QString();
    QStringList known;
    for (int code = 1; code <= std::numeric_limits<qint8>::max(); ++code) {
        const QString name = Kolta::modulationTypeToString(static_cast<qint8>(code));
        if (Kolta::stringToModulationType(name) == code)
            known.append(name);
    }
    return QStringLiteral("\"%1\" is no modulation: expected one of %2").arg(text, listed(known));
}

template<class Number>
void take(const CommandLine& line, const char* option, const RangeReading& range, bool& use, Number& from,
          Number& to)
{
    if (!line.isSet(option))
        return;
    use = !line.value(option).isEmpty();
    from = use ? static_cast<Number>(std::round(range.from)) : 0;
    to = use ? static_cast<Number>(std::round(range.to)) : 0;
}

} // namespace

QVector<Option> memberOptions()
{
    return {checked(text("frequency", "range", "set: such as 30-88MHz; \"\" for any, here and below."),
                    problemOfFrequency),
            checked(text("bandwidth", "range", "set: such as 16-25kHz."), problemOfBand),
            checked(text("duration", "range", "set: such as 7000-9500, in the processors' own unit."),
                    problemOfDuration),
            checked(text("symbol-rate", "range", "set: such as 15.8-16.2kBd."), problemOfSymbolRate),
            checked(text("shift", "range", "set: such as 7.5-8.5kHz."), problemOfBand),
            checked(text("hop-rate", "rate", "set: such as 100/s."), problemOfHopRate),
            checked(text("modulation", "name", "set: such as FSK2."), problemOfModulation)};
}

void takeMembers(const CommandLine& line, ShortTimeProfile& p)
{
    const auto hertz = [&line](const char* option) {
        return readRange(line.value(option), Quantity::Frequency);
    };
    take(line, "frequency", hertz("frequency"), p.useFrequency, p.frequencyMin, p.frequencyMax);
    take(line, "bandwidth", hertz("bandwidth"), p.useBandwidth, p.bandwidthMin, p.bandwidthMax);
    take(line, "duration", Kolta::readProfileDuration(line.value("duration")), p.useDuration, p.durationMin,
         p.durationMax);
    take(line, "symbol-rate", readRange(line.value("symbol-rate"), Quantity::SymbolRate), p.useSymbolRate,
         p.symbolRateMin, p.symbolRateMax);
    take(line, "shift", hertz("shift"), p.useShift, p.shiftMin, p.shiftMax);
    if (line.isSet("hop-rate")) {
        p.useHopRate = !line.value("hop-rate").isEmpty();
        p.hopRate = p.useHopRate ? readQuantity(line.value("hop-rate"), Quantity::Rate).value : 0;
    }
    if (line.isSet("modulation")) {
        p.useModulation = !line.value("modulation").isEmpty();
        p.modulation = Kolta::stringToModulationType(line.value("modulation"));
    }
}

} // namespace KoltaCli
