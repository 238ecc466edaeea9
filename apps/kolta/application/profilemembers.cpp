#include "profilemembers.h"

#include <QJsonArray>

namespace KoltaCli {

using Kolta::ShortTimeProfile;

namespace {

QString rangeText(bool use, quint64 minimum, quint64 maximum, const char* unit)
{
    return use ? QStringLiteral("%1 to %2%3")
                     .arg(QString::number(minimum), QString::number(maximum), QLatin1String(unit))
               : QString();
}

void addRange(QJsonObject& object, const char* name, bool use, quint64 minimum, quint64 maximum)
{
    if (use)
        object[QLatin1String(name)] = QJsonArray{static_cast<double>(minimum), static_cast<double>(maximum)};
}

} // namespace

QVector<ProfileMember> membersOf(const ShortTimeProfile& profile)
{
    const ShortTimeProfile& p = profile;
    return {
        {"Frequency", rangeText(p.useFrequency, p.frequencyMin, p.frequencyMax, " Hz")},
        {"Duration", rangeText(p.useDuration, p.durationMin, p.durationMax, "")},
        {"Bandwidth", rangeText(p.useBandwidth, p.bandwidthMin, p.bandwidthMax, " Hz")},
        {"Symbol rate", rangeText(p.useSymbolRate, p.symbolRateMin, p.symbolRateMax, " Bd")},
        {"Shift", rangeText(p.useShift, p.shiftMin, p.shiftMax, " Hz")},
        {"Hop rate", p.useHopRate ? QString::number(p.hopRate, 'g', 12) + QStringLiteral(" /s") : QString()},
        {"Modulation", p.useModulation ? Kolta::modulationTypeToString(p.modulation) : QString()}};
}

QJsonObject toJson(const ShortTimeProfile& profile)
{
    const ShortTimeProfile& p = profile;
    QJsonObject object{{QStringLiteral("name"), p.name}, {QStringLiteral("type"), typeText(p.type)}};
    addRange(object, "frequency", p.useFrequency, p.frequencyMin, p.frequencyMax);
    addRange(object, "duration", p.useDuration, p.durationMin, p.durationMax);
    addRange(object, "bandwidth", p.useBandwidth, p.bandwidthMin, p.bandwidthMax);
    addRange(object, "symbolRate", p.useSymbolRate, p.symbolRateMin, p.symbolRateMax);
    addRange(object, "shift", p.useShift, p.shiftMin, p.shiftMax);
    if (p.useHopRate)
        object[QStringLiteral("hopRate")] = p.hopRate;
    if (p.useModulation)
        object[QStringLiteral("modulation")] = Kolta::modulationTypeToString(p.modulation);
    return object;
}

QString typeText(Kolta::eShortTimeProfileType type)
{
    const QString word = ShortTimeProfile::typeWord(type);
    return word.isNull() ? QString::number(int(type)) : word;
}

} // namespace KoltaCli
