#pragma once

#include <koltacommon/export.h>

#include <QString>

namespace RESOURCEMANAGEMENT {
class Tuner;
}

namespace Kolta {

/// What an order asks of the tuner that serves it. What is 0 is not said and fits every tuner.
struct TunerNeeds
{
    double frequency = 0.0; ///< centre, Hz
    double bandwidth = 0.0; ///< Hz
    bool hardwareProcessing = false;

    bool isEmpty() const { return frequency == 0.0 && bandwidth == 0.0 && !hardwareProcessing; }
};

enum class TunerMisfit {
    None,
    OutOfRange, ///< the centre frequency
    TooNarrow   ///< or without hardware processing where that is needed
};

/// Whether the tuner can do what is needed; the one place of that rule. The centre must lie within its range,
/// ends included; an edge of the band may hang over, as receivers are tuned so at their ends. What a tuner
/// does not say, says as 0, or as a range that is reversed refuses nobody.
KOLTA_COMMON_EXPORT TunerMisfit misfitOf(const RESOURCEMANAGEMENT::Tuner& tuner, const TunerNeeds& needs);
/// The same as a translated text, "needs 98.5 MHz, reaches 0.009 to 30 MHz"; empty when it fits.
KOLTA_COMMON_EXPORT QString problemWith(const RESOURCEMANAGEMENT::Tuner& tuner, const TunerNeeds& needs);
/// The same for what is fed by an MCP that works in a band of that centre and width, in Hz: the needed centre
/// must lie in it. A width of 0 refuses nobody.
KOLTA_COMMON_EXPORT QString problemWithBand(double centre, double width, const TunerNeeds& needs);

} // namespace Kolta
