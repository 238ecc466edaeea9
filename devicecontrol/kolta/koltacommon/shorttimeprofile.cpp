#include <koltacommon/shorttimeprofile.h>

#include <koltacommon/itemfield.h>

#include <QCoreApplication>

#include <iterator>
#include <tuple>

namespace Kolta {

namespace {

constexpr const char* kModulations[] = {"Unknown", "FSK2", "AM", "PSK2A", "PSK2B", "PSK4A", "PSK4B", "PSK8A"};
constexpr int kModulationCount = static_cast<int>(std::size(kModulations));

constexpr const char* kTypeContext = "Kolta::ShortTimeProfile_ColumnAdapter";
/// In the order of eShortTimeProfileType.
constexpr const char* kTypes[] = {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_ColumnAdapter", "unspecified"),
                                  QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_ColumnAdapter", "burst"),
                                  QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_ColumnAdapter", "hopper"),
                                  QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_ColumnAdapter", "ignore")};

/// The members in the order in which they travel.
constexpr auto kMembers = [](auto& io, auto& profile) {
    io(profile.name);
    io(profile.useFrequency);
    io(profile.frequencyMin);
    io(profile.frequencyMax);
    io(profile.useDuration);
    io(profile.durationMin);
    io(profile.durationMax);
    io(profile.useBandwidth);
    io(profile.bandwidthMin);
    io(profile.bandwidthMax);
    io(profile.useHopRate);
    io(profile.hopRate);
    io(profile.useSymbolRate);
    io(profile.symbolRateMin);
    io(profile.symbolRateMax);
    io(profile.useShift);
    io(profile.shiftMin);
    io(profile.shiftMax);
    io(profile.useModulation);
    io(profile.modulation);
    io(profile.hopperFlag);
    io(profile.type);
};

/// The members that are compared plainly.
auto plainMembers(const ShortTimeProfile& p)
{
    return std::tie(p.name, p.useFrequency, p.frequencyMin, p.frequencyMax, p.useDuration, p.durationMin,
                    p.durationMax, p.useBandwidth, p.bandwidthMin, p.bandwidthMax, p.useHopRate,
                    p.symbolRateMin, p.symbolRateMax, p.useShift, p.shiftMin, p.shiftMax, p.useModulation,
                    p.modulation, p.hopperFlag, p.type);
}

} // namespace

qint8 stringToModulationType(const QString& text)
{
    for (int code = 1; code < kModulationCount; ++code) {
        if (text == QLatin1String(kModulations[code]))
            return static_cast<qint8>(code);
    }
    return 0;
}

QString modulationTypeToString(qint8 code)
{
    return QString::fromLatin1(kModulations[code >= 0 && code < kModulationCount ? code : 0]);
}

QString ShortTimeProfile::typeWord(eShortTimeProfileType type)
{
    return type >= 0 && type < static_cast<int>(std::size(kTypes)) ? QString(QLatin1String(kTypes[type]))
                                                                   : QString();
}

QString ShortTimeProfile::typeTitle(eShortTimeProfileType type)
{
    return typeWord(type).isNull() ? QString::number(type)
                                   : QCoreApplication::translate(kTypeContext, kTypes[type]);
}

bool ShortTimeProfile::operator==(const ShortTimeProfile& other) const
{
    return useHopRate && useSymbolRate && qFuzzyCompare(hopRate, other.hopRate) &&
           plainMembers(*this) == plainMembers(other);
}

std::size_t ShortTimeProfile::serializedSizeInBytes() const
{
    return 2 * static_cast<std::size_t>(name.size()) + 108;
}

QString ShortTimeProfile_ItemFormat::GetString(const ShortTimeProfile& profile)
{
    return QLatin1String("Profile_") + profile.name;
}

std::string ShortTimeProfile_ItemFormat::toStandardString(const ShortTimeProfile& profile)
{
    return itemfield::toField(profile, kMembers, profile.serializedSizeInBytes() + 1);
}

bool ShortTimeProfile_ItemFormat::fromCharStream(const char** stream, ShortTimeProfile& profile)
{
    return itemfield::fromField(stream, profile, kMembers);
}

} // namespace Kolta
