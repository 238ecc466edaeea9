#pragma once

#include <koltacommon/export.h>

#include <QString>

#include <limits>
#include <optional>

/// \file
/// Frequencies, times and rates as people write and read them: the one parser and the one formatter of them.
/// Any thread.

namespace Kolta {

/// What a number with a unit measures.
enum class Quantity {
    Frequency,  ///< Hz; with k, M and G, with or without Hz behind it
    Duration,   ///< s; ns, us, ms, min, h
    SymbolRate, ///< Bd; with k and M, with or without Bd behind it
    Rate        ///< how often in a second; with k and M, with or without "/s" behind it
};

/// What a text says, in Hz, seconds, Bd or per second.
struct QuantityReading
{
    double value = 0.0;
    QString
        problem; ///< translated, and proposes what may have been meant; empty when the text was understood

    bool isGood() const noexcept { return problem.isEmpty(); }
};

/// The same of a range. What is not said is 0, or infinite.
struct RangeReading
{
    double from = 0.0;
    double to = std::numeric_limits<double>::infinity();
    QString problem;

    bool isGood() const noexcept { return problem.isEmpty(); }
    bool contains(double value) const noexcept { return value >= from && value <= to; }
};

/// Reads a number of at least 0 with a decimal point or comma, an exponent if it likes, and its unit in any
/// letter case, with or without blanks between: "98.5 MHz", "98,5M", "98.5e6", "300 khz". `plainUnit` is what
/// a number without a unit means, "MHz" for instance; empty: the quantity's own. Three digits behind a comma
/// could be thousands, so that is refused but for MHz, GHz and MBd, where nobody writes such.
KOLTA_COMMON_EXPORT QuantityReading readQuantity(const QString& text, Quantity quantity,
                                                 const QString& plainUnit = QString());
/// Reads "30-88 MHz", "118 – 137 MHz", "9 kHz to 30 MHz", ">20 MHz", "<= 1 G", "20 MHz –", "– 30 MHz", and a
/// single number as a range from and to that. Ends belong to it, whatever the sign. A number without a unit
/// has that of the other one, if there is one. What is turned round is refused.
KOLTA_COMMON_EXPORT RangeReading readRange(const QString& text, Quantity quantity,
                                           const QString& plainUnit = QString());

/// Reads durations of short-time profiles, which are whole numbers of 32 bits in the unit in which the
/// processors count: "7000-9500", "7000 – 9500", or one number for both ends.
KOLTA_COMMON_EXPORT RangeReading readProfileDuration(const QString& text);

/// With the unit that leaves one to three digits before the point, where there is one: "98.5 MHz", "20 ms",
/// "1.2 kBd", "50 /s". As many digits as it takes for readQuantity() to give `value` again.
KOLTA_COMMON_EXPORT QString quantityToText(double value, Quantity quantity);
/// From one to the other, the unit once where it is the same: "3 – 30 MHz", "9 kHz – 30 MHz"; "3 MHz –" when
/// there is no end, "– 30 MHz" when it begins at 0, and one number where both are equal.
KOLTA_COMMON_EXPORT QString rangeToText(double from, double to, Quantity quantity);

/// readQuantity() of a frequency, Hz where there is no unit; nothing for what is not understood.
KOLTA_COMMON_EXPORT std::optional<double> hertzFromText(const QString& text);
/// quantityToText() of a frequency.
KOLTA_COMMON_EXPORT QString hertzToText(double hertz);
/// From one to the other, the unit once where it is the same: "3 – 30 MHz", "9 kHz – 30 MHz".
KOLTA_COMMON_EXPORT QString hertzRangeToText(double from, double to);
/// The number of MHz without a unit, for a column whose title names it: "98.5"; with all its digits.
KOLTA_COMMON_EXPORT QString megahertzToText(double hertz);

} // namespace Kolta
