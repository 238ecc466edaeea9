#pragma once

#include <koltacommon/export.h>

#include <QString>

#include <optional>

/// \file
/// Frequencies and bandwidths as people write and read them. Any thread.

namespace Kolta {

/// The number of Hz that `text` means: a decimal number with a point, an exponent if it likes, and behind it,
/// with or without blanks, k, M or G and Hz in any letter case: "98.5M", "98.5 MHz", "98.5e6", "300 khz".
/// Nothing for any other text, a negative number, and one that is not finite.
KOLTA_COMMON_EXPORT std::optional<double> hertzFromText(const QString& text);

/// With the unit that leaves one to three digits before the point, where there is one: "98.5 MHz". As many
/// digits as it takes for hertzFromText() to give `hertz` again.
KOLTA_COMMON_EXPORT QString hertzToText(double hertz);

/// From one to the other, the unit once where it is the same: "3 – 30 MHz", "9 kHz – 30 MHz".
KOLTA_COMMON_EXPORT QString hertzRangeToText(double from, double to);

/// The number of MHz without a unit, for a column whose title names it: "98.5"; with all its digits.
KOLTA_COMMON_EXPORT QString megahertzToText(double hertz);

} // namespace Kolta
