#include <koltacommon/tunerneeds.h>

#include <resourcemodel/resources.h>

#include <QCoreApplication>
#include <QtMath>

namespace Kolta {

using RESOURCEMANAGEMENT::Tuner;

namespace {

constexpr double kHzPerMHz = 1e6;

QString translated(const char* text)
{
    return QCoreApplication::translate("Kolta::TunerNeeds", text);
}

QString megahertz(double hertz)
{
    return QString::number(hertz / kHzPerMHz, 'g', 12);
}

/// 0 for what says nothing.
double said(double hertz)
{
    return qIsFinite(hertz) && hertz > 0 ? hertz : 0.0;
}

struct Range
{
    double from = 0.0;
    double to = 0.0; ///< 0: open

    bool holds(double hertz) const { return hertz >= from && (to == 0.0 || hertz <= to); }
};

Range rangeOf(const Tuner& tuner)
{
    const Range range{said(tuner.GetMinFrequency()), said(tuner.GetMaxFrequency())};
    return range.to > 0 && range.from > range.to ? Range() : range;
}

double widestBand(const Tuner& tuner, const TunerNeeds& needs)
{
    return said(needs.hardwareProcessing ? tuner.GetMaxHWBandwidth() : tuner.GetMaxSWBandwidth());
}

bool lacksHardware(const Tuner& tuner, const TunerNeeds& needs)
{
    return needs.hardwareProcessing && tuner.IsSupportsHardwareProcessingSet() &&
           !tuner.GetSupportsHardwareProcessing();
}

bool isTooNarrow(const Tuner& tuner, const TunerNeeds& needs)
{
    const double widest = widestBand(tuner, needs);
    return widest > 0 && said(needs.bandwidth) > widest;
}

} // namespace

TunerMisfit misfitOf(const Tuner& tuner, const TunerNeeds& needs)
{
    if (said(needs.frequency) > 0 && !rangeOf(tuner).holds(needs.frequency))
        return TunerMisfit::OutOfRange;
    return lacksHardware(tuner, needs) || isTooNarrow(tuner, needs) ? TunerMisfit::TooNarrow
                                                                    : TunerMisfit::None;
}

QString problemWith(const Tuner& tuner, const TunerNeeds& needs)
{
    const TunerMisfit misfit = misfitOf(tuner, needs);
    if (misfit == TunerMisfit::None)
        return QString();
    if (misfit == TunerMisfit::OutOfRange) {
        const Range range = rangeOf(tuner);
        return range.to > 0
                   ? translated(QT_TRANSLATE_NOOP("Kolta::TunerNeeds", "needs %1 MHz, reaches %2 to %3 MHz"))
                         .arg(megahertz(needs.frequency), megahertz(range.from), megahertz(range.to))
                   : translated(QT_TRANSLATE_NOOP("Kolta::TunerNeeds", "needs %1 MHz, begins at %2 MHz"))
                         .arg(megahertz(needs.frequency), megahertz(range.from));
    }
    if (lacksHardware(tuner, needs))
        return translated(QT_TRANSLATE_NOOP("Kolta::TunerNeeds", "needs hardware processing"));
    return translated(QT_TRANSLATE_NOOP("Kolta::TunerNeeds", "needs a bandwidth of %1 MHz, has %2 MHz"))
        .arg(megahertz(needs.bandwidth), megahertz(widestBand(tuner, needs)));
}

QString problemWithBand(double centre, double width, const TunerNeeds& needs)
{
    const double half = said(width) / 2;
    if (said(centre) == 0.0 || half == 0.0 || said(needs.frequency) == 0.0 ||
        qAbs(needs.frequency - centre) <= half)
        return QString();
    return translated(QT_TRANSLATE_NOOP("Kolta::TunerNeeds", "needs %1 MHz, the MCP covers %2 to %3 MHz"))
        .arg(megahertz(needs.frequency), megahertz(centre - half), megahertz(centre + half));
}

} // namespace Kolta
