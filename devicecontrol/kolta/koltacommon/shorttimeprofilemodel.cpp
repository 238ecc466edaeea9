#include <koltacommon/shorttimeprofilemodel.h>

#include <koltacommon/units.h>
#include <koltacommon/viewroles.h>

namespace Kolta {

namespace {

QString rangeText(bool isUsed, double from, double to)
{
    return isUsed ? hertzRangeToText(from, to) : QString();
}

QString numbersText(bool isUsed, quint32 from, quint32 to, const QString& unit)
{
    return isUsed ? QStringLiteral("%1 – %2%3").arg(from).arg(to).arg(unit) : QString();
}

enum eColumn : int {
    eName,
    eType,
    eFrequency,
    eBandwidth,
    eModulation,
    eDuration,
    eHopRate,
    eShift,
    eSymbolRate
};

/// In the order of eColumn.
constexpr TextColumn<ShortTimeProfile> kColumns[] = {
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_ColumnAdapter", "Name"),
     [](const ShortTimeProfile& p) { return p.name; }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_ColumnAdapter", "Type"),
     [](const ShortTimeProfile& p) { return ShortTimeProfile::typeTitle(p.type); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_ColumnAdapter", "Frequency"),
     [](const ShortTimeProfile& p) {
         return rangeText(p.useFrequency, static_cast<double>(p.frequencyMin),
                          static_cast<double>(p.frequencyMax));
     }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_ColumnAdapter", "Bandwidth"),
     [](const ShortTimeProfile& p) { return rangeText(p.useBandwidth, p.bandwidthMin, p.bandwidthMax); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_ColumnAdapter", "Modulation"),
     [](const ShortTimeProfile& p) {
         return p.useModulation ? modulationTypeToString(p.modulation) : QString();
     }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_ColumnAdapter", "Duration"),
     [](const ShortTimeProfile& p) {
         return numbersText(p.useDuration, p.durationMin, p.durationMax, QString());
     }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_ColumnAdapter", "Hop rate"),
     [](const ShortTimeProfile& p) {
         return p.useHopRate ? QString::number(p.hopRate) + QStringLiteral(" /s") : QString();
     }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_ColumnAdapter", "Shift"),
     [](const ShortTimeProfile& p) { return rangeText(p.useShift, p.shiftMin, p.shiftMax); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_ColumnAdapter", "Symbol rate"),
     [](const ShortTimeProfile& p) {
         return numbersText(p.useSymbolRate, p.symbolRateMin, p.symbolRateMax, QStringLiteral(" Bd"));
     }}};

/// What is not in use sorts first.
QVariant number(bool isUsed, double value)
{
    return isUsed ? value : -1.0;
}

} // namespace

const TextColumns<ShortTimeProfile>& ShortTimeProfile_ColumnAdapter::columns()
{
    static constexpr TextColumns<ShortTimeProfile> table("Kolta::ShortTimeProfile_ColumnAdapter", kColumns);
    return table;
}

QVariant ShortTimeProfile_ColumnAdapter::GetSortValue4Column(int column, const ShortTimeProfile& profile)
{
    switch (column) {
    case eFrequency:
        return number(profile.useFrequency, static_cast<double>(profile.frequencyMin));
    case eBandwidth:
        return number(profile.useBandwidth, profile.bandwidthMin);
    case eDuration:
        return number(profile.useDuration, profile.durationMin);
    case eHopRate:
        return number(profile.useHopRate, profile.hopRate);
    case eShift:
        return number(profile.useShift, profile.shiftMin);
    case eSymbolRate:
        return number(profile.useSymbolRate, profile.symbolRateMin);
    default:
        return ViewRoles::sortText(GetText4Column(column, profile));
    }
}

} // namespace Kolta
