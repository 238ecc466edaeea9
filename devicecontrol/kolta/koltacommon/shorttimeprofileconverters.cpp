#include <koltacommon/shorttimeprofile.h>

#include <koltacommon/q9rprofiles.h>

#include <jobdescription/frequencystore.h>
#include <jobdescription/shorttime.h>

#include <QStringList>

#include <limits>

namespace Kolta {

namespace {

using JobXml::FrequencyStoreEntry;
using JobXml::ShiftElement;
using JobXml::ShortTimeSettings;
using JobXml::TransmissionSystem;

constexpr int kInUse = 1; ///< status of what is in use in a profile file

quint64 numberOf(const QString& text, quint64)
{
    return text.toULongLong();
}

quint32 numberOf(const QString& text, quint32)
{
    return text.toUInt();
}

/// Reads a range of a profile file; any other text than two parts leaves everything as it is.
template<class Number>
void readRange(const VESK_Q9R::TextElement& range, bool& use, Number& minimum, Number& maximum)
{
    const QStringList parts = range.value.split(QLatin1Char(','));
    if (parts.size() != 2)
        return;
    use = range.status == kInUse;
    minimum = numberOf(parts.at(0), Number());
    maximum = numberOf(parts.at(1), Number());
}

VESK_Q9R::TextElement rangeElement(bool use, quint64 minimum, quint64 maximum)
{
    return {QStringLiteral("%1,%2").arg(minimum).arg(maximum), use ? kInUse : 0};
}

/// Whole Hz of a frequency; what does not fit is taken to the nearer end of the range.
quint64 wholeHz(double frequency)
{
    constexpr double limit = 18446744073709551616.0; // 2 to the power of 64
    if (frequency >= limit)
        return std::numeric_limits<quint64>::max();
    return frequency > 0 ? static_cast<quint64>(frequency) : 0;
}

void readSettings(ShortTimeProfile& profile, const ShortTimeSettings& settings)
{
    const bool hasStart = settings.IsRangeStartFrequencySet();
    const bool hasStop = settings.IsRangeStopFrequencySet();
    if (hasStart || hasStop) {
        profile.frequencyMin = wholeHz(settings.GetRangeStartFrequency());
        profile.frequencyMax = wholeHz(settings.GetRangeStopFrequency());
    }
    profile.useFrequency = settings.IsUseRangeSet() ? settings.GetUseRange() : hasStart && hasStop;
    const bool hasShortest = settings.IsSignalLengthMinSet();
    const bool hasLongest = settings.IsSignalLengthMaxSet();
    if (hasShortest || hasLongest) {
        profile.durationMin = settings.GetSignalLengthMin();
        profile.durationMax = settings.GetSignalLengthMax();
    }
    profile.useDuration =
        settings.IsUseSignalLengthSet() ? settings.GetUseSignalLength() : hasShortest && hasLongest;
    if (settings.IsBandwidthMinSet() && settings.IsBandwidthMaxSet()) {
        profile.bandwidthMin = settings.GetBandwidthMin();
        profile.bandwidthMax = settings.GetBandwidthMax();
        profile.useBandwidth = !settings.IsUseBandwidthSet() || settings.GetUseBandwidth();
    }
    if (settings.IsHopsPerSecondSet())
        profile.hopRate = settings.GetHopsPerSecond();
    profile.useHopRate =
        settings.IsUseHopsPerSecondSet() ? settings.GetUseHopsPerSecond() : settings.IsHopsPerSecondSet();
}

void readSystem(ShortTimeProfile& profile, const TransmissionSystem& system)
{
    if (system.IsModeSet())
        profile.modulation = stringToModulationType(system.GetMode());
    profile.useModulation = system.IsUseModeSet() ? system.GetUseMode() : system.IsModeSet();
    if (system.IsBaudRateMinSet() && system.IsBaudRateMaxSet()) {
        profile.symbolRateMin = system.GetBaudRateMin();
        profile.symbolRateMax = system.GetBaudRateMax();
        profile.useSymbolRate = !system.IsUseBaudRateSet() || system.GetUseBaudRate();
    }
    if (system.GetShiftElement().isEmpty())
        return;
    const ShiftElement& shift = system.GetShiftElement().first();
    if (shift.IsShiftMinSet() && shift.IsShiftMaxSet()) {
        profile.shiftMin = shift.GetShiftMin();
        profile.shiftMax = shift.GetShiftMax();
        profile.useShift = !shift.IsUseShiftSet() || shift.GetUseShift();
    }
}

void writeSettings(const ShortTimeProfile& profile, ShortTimeSettings& settings)
{
    settings.SetRangeStartFrequency(static_cast<double>(profile.frequencyMin));
    settings.SetRangeStopFrequency(static_cast<double>(profile.frequencyMax));
    settings.SetUseRange(profile.useFrequency);
    settings.SetSignalLengthMin(profile.durationMin);
    settings.SetSignalLengthMax(profile.durationMax);
    settings.SetUseSignalLength(profile.useDuration);
    settings.SetBandwidthMin(profile.bandwidthMin);
    settings.SetBandwidthMax(profile.bandwidthMax);
    settings.SetUseBandwidth(profile.useBandwidth);
    settings.SetHopsPerSecond(profile.hopRate);
    settings.SetUseHopsPerSecond(profile.useHopRate);
}

void writeSystem(const ShortTimeProfile& profile, TransmissionSystem& system)
{
    system.SetMode(modulationTypeToString(profile.modulation));
    system.SetUseMode(profile.useModulation);
    system.SetBaudRateMin(profile.symbolRateMin);
    system.SetBaudRateMax(profile.symbolRateMax);
    system.SetUseBaudRate(profile.useSymbolRate);
    if (system.GetShiftElement().isEmpty())
        system.EditShiftElement().append(ShiftElement());
    ShiftElement& shift = system.EditShiftElement().first();
    shift.SetShiftMin(profile.shiftMin);
    shift.SetShiftMax(profile.shiftMax);
    shift.SetUseShift(profile.useShift);
}

/// Copies what a hopper profile and a profile have in common, in either direction.
template<class From, class To>
void copyHopper(const From& from, To& to)
{
    to.name = from.name;
    to.useFrequency = from.useFrequency;
    to.frequencyMin = from.frequencyMin;
    to.frequencyMax = from.frequencyMax;
    to.useDuration = from.useDuration;
    to.durationMin = from.durationMin;
    to.durationMax = from.durationMax;
    to.useBandwidth = from.useBandwidth;
    to.bandwidthMin = from.bandwidthMin;
    to.bandwidthMax = from.bandwidthMax;
    to.useHopRate = from.useHopRate;
    to.hopRate = from.hopRate;
    to.useSymbolRate = from.useSymbolRate;
    to.symbolRateMin = from.symbolRateMin;
    to.symbolRateMax = from.symbolRateMax;
    to.useShift = from.useShift;
    to.shiftMin = from.shiftMin;
    to.shiftMax = from.shiftMax;
    to.useModulation = from.useModulation;
    to.modulation = from.modulation;
    to.hopperFlag = from.hopperFlag;
}

} // namespace

QList<ShortTimeProfile> ShortTimeProfile::fromQ9RProfile(const VESK_Q9R::ShortTimeProfiles& file,
                                                         eShortTimeProfileType type)
{
    QList<ShortTimeProfile> profiles;
    profiles.reserve(file.profiles.size());
    for (const VESK_Q9R::Profile& source : file.profiles) {
        ShortTimeProfile p;
        p.type = type;
        p.name = source.name.isEmpty() ? QStringLiteral("Q9R_Profile") : source.name;
        readRange(source.frequencyRange, p.useFrequency, p.frequencyMin, p.frequencyMax);
        readRange(source.signalDurationRange, p.useDuration, p.durationMin, p.durationMax);
        readRange(source.bandwidthRange, p.useBandwidth, p.bandwidthMin, p.bandwidthMax);
        readRange(source.symbolrateRange, p.useSymbolRate, p.symbolRateMin, p.symbolRateMax);
        readRange(source.shiftRange, p.useShift, p.shiftMin, p.shiftMax);
        p.hopRate = source.hopRate.value;
        p.useHopRate = source.hopRate.status == kInUse;
        p.modulation = stringToModulationType(source.modulationType.value);
        p.useModulation = source.modulationType.status == kInUse;
        profiles.append(p);
    }
    return profiles;
}

VESK_Q9R::ShortTimeProfiles ShortTimeProfile::toQ9RProfile(const QList<ShortTimeProfile>& profiles)
{
    VESK_Q9R::ShortTimeProfiles file;
    file.profiles.reserve(profiles.size());
    for (const ShortTimeProfile& p : profiles) {
        VESK_Q9R::Profile target;
        target.name = p.name;
        target.frequencyRange = rangeElement(p.useFrequency, p.frequencyMin, p.frequencyMax);
        target.signalDurationRange = rangeElement(p.useDuration, p.durationMin, p.durationMax);
        target.bandwidthRange = rangeElement(p.useBandwidth, p.bandwidthMin, p.bandwidthMax);
        target.symbolrateRange = rangeElement(p.useSymbolRate, p.symbolRateMin, p.symbolRateMax);
        target.shiftRange = rangeElement(p.useShift, p.shiftMin, p.shiftMax);
        target.hopRate = {p.hopRate, p.useHopRate ? kInUse : 0};
        target.modulationType = {modulationTypeToString(p.modulation), p.useModulation ? kInUse : 0};
        file.profiles.append(target);
    }
    return file;
}

ShortTimeProfile ShortTimeProfile::fromFSE(const FrequencyStoreEntry& entry, eShortTimeProfileType type)
{
    ShortTimeProfile profile;
    profile.type = type;
    profile.name = entry.GetID().isEmpty() ? QStringLiteral("FSE") : entry.GetID();
    readSettings(profile, entry.GetShortTimeSettings());
    readSystem(profile, entry.GetDemodulatorSettings().GetTransmissionSystem());
    return profile;
}

void ShortTimeProfile::toFSE(FrequencyStoreEntry& entry) const
{
    if (!name.isEmpty())
        entry.SetID(name);
    else
        entry.ResetID();
    writeSettings(*this, entry.EditShortTimeSettings());
    writeSystem(*this, entry.EditDemodulatorSettings().EditTransmissionSystem());
}

ShortTimeProfile ShortTimeProfile::fromRGObject(const JobXml::ShortTime_Profile& object)
{
    ShortTimeProfile profile;
    profile.name = object.GetName();
    profile.useFrequency = object.GetUseFrequency();
    profile.frequencyMin = object.GetFrequencyMin();
    profile.frequencyMax = object.GetFrequencyMax();
    profile.useDuration = object.GetUseDuration();
    profile.durationMin = object.GetDurationMin();
    profile.durationMax = object.GetDurationMax();
    profile.useBandwidth = object.GetUseBandwidth();
    profile.bandwidthMin = object.GetBandwidthMin();
    profile.bandwidthMax = object.GetBandwidthMax();
    profile.useHopRate = object.GetUseHopRate();
    profile.hopRate = object.GetHopRate();
    profile.useSymbolRate = object.GetUseSymbolRate();
    profile.symbolRateMin = object.GetSymbolRateMin();
    profile.symbolRateMax = object.GetSymbolRateMax();
    profile.useShift = object.GetUseShift();
    profile.shiftMin = object.GetShiftMin();
    profile.shiftMax = object.GetShiftMax();
    profile.useModulation = object.GetUseModulation();
    profile.modulation = object.GetModulation();
    profile.hopperFlag = object.GetHopperFlag();
    profile.type = static_cast<eShortTimeProfileType>(object.GetProfileType());
    return profile;
}

JobXml::ShortTime_Profile ShortTimeProfile::toRGObject() const
{
    JobXml::ShortTime_Profile object;
    object.SetName(name);
    object.SetUseFrequency(useFrequency);
    object.SetFrequencyMin(frequencyMin);
    object.SetFrequencyMax(frequencyMax);
    object.SetUseDuration(useDuration);
    object.SetDurationMin(durationMin);
    object.SetDurationMax(durationMax);
    object.SetUseBandwidth(useBandwidth);
    object.SetBandwidthMin(bandwidthMin);
    object.SetBandwidthMax(bandwidthMax);
    object.SetUseHopRate(useHopRate);
    object.SetHopRate(hopRate);
    object.SetUseSymbolRate(useSymbolRate);
    object.SetSymbolRateMin(symbolRateMin);
    object.SetSymbolRateMax(symbolRateMax);
    object.SetUseShift(useShift);
    object.SetShiftMin(shiftMin);
    object.SetShiftMax(shiftMax);
    object.SetUseModulation(useModulation);
    object.SetModulation(modulation);
    object.SetHopperFlag(hopperFlag);
    object.SetProfileType(static_cast<quint8>(type));
    return object;
}

void ShortTimeProfile::assignData(const SigVConverter::CFHSeparationParameters::struHopperProfile& hopper,
                                  eShortTimeProfileType profileType)
{
    copyHopper(hopper, *this);
    type = profileType;
}

void ShortTimeProfile::fillData(SigVConverter::CFHSeparationParameters::struHopperProfile& hopper) const
{
    copyHopper(*this, hopper);
}

} // namespace Kolta
