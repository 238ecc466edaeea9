#include "profilefields.h"

#include <koltacommon/units.h>

#include <QCoreApplication>

#include <cmath>
#include <limits>

namespace KoltaConsole {

using Kolta::Quantity;
using Kolta::RangeReading;
using Kolta::ShortTimeProfile;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(KoltaConsole::ProfileFields)
};

const char* const kTitles[] = {
    QT_TRANSLATE_NOOP("KoltaConsole::ProfileEditor", "Name"),
    QT_TRANSLATE_NOOP("KoltaConsole::ProfileEditor", "Frequency"),
    QT_TRANSLATE_NOOP("KoltaConsole::ProfileEditor", "Duration (processors' unit)"),
    QT_TRANSLATE_NOOP("KoltaConsole::ProfileEditor", "Bandwidth"),
    QT_TRANSLATE_NOOP("KoltaConsole::ProfileEditor", "Symbol rate"),
    QT_TRANSLATE_NOOP("KoltaConsole::ProfileEditor", "Hop rate"),
    QT_TRANSLATE_NOOP("KoltaConsole::ProfileEditor", "Shift")};

QString translated(const char* text)
{
    return QCoreApplication::translate("KoltaConsole::ProfileEditor", text);
}

constexpr double kLargest32 = std::numeric_limits<quint32>::max();
/// Up to which doubles have all whole numbers.
constexpr double kLargestWhole = 9007199254740992.0;

QString rangeText(bool isUsed, double from, double to, Quantity quantity)
{
    return isUsed ? Kolta::rangeToText(from, to, quantity) : QString();
}

template<class Number>
QString takeRange(const QString& text, const RangeReading& range, double largest, bool& isUsed, Number& from,
                  Number& to)
{
    if (text.isEmpty()) {
        isUsed = false;
        from = to = 0;
        return QString();
    }
    if (!range.isGood())
        return range.problem;
    if (!std::isfinite(range.to))
        return Texts::tr("a profile needs both ends of a range");
    if (std::round(range.to) > largest)
        return Texts::tr("more than a profile can hold, which is %1").arg(largest, 0, 'f', 0);
    isUsed = true;
    from = static_cast<Number>(std::round(range.from));
    to = static_cast<Number>(std::round(range.to));
    return QString();
}

QString takeHopRate(ShortTimeProfile& profile, const QString& text)
{
    const auto rate = text.isEmpty() ? Kolta::QuantityReading() : readQuantity(text, Quantity::Rate);
    if (!rate.isGood())
        return rate.problem;
    profile.useHopRate = !text.isEmpty();
    profile.hopRate = rate.value;
    return QString();
}

} // namespace

QString fieldTitle(ProfileField field)
{
    return translated(kTitles[static_cast<int>(field)]);
}

/// By texts, as profiles without a hop or symbol rate are equal to none.
QVector<FieldDifference> differingFields(const ShortTimeProfile& mine, const ShortTimeProfile& theirs)
{
    QVector<FieldDifference> differences;
    const auto compare = [&](const QString& title, const QString& first, const QString& second) {
        if (first != second)
            differences.append({title, first, second});
    };
    for (int i = 0; i < kProfileFieldCount; ++i) {
        const auto field = static_cast<ProfileField>(i);
        compare(fieldTitle(field), fieldText(mine, field), fieldText(theirs, field));
    }
    const auto modulation = [](const ShortTimeProfile& profile) {
        return profile.useModulation ? Kolta::modulationTypeToString(profile.modulation) : QString();
    };
    compare(translated("Modulation"), modulation(mine), modulation(theirs));
    compare(translated("Type"), ShortTimeProfile::typeTitle(mine.type),
            ShortTimeProfile::typeTitle(theirs.type));
    return differences;
}

QString fieldText(const ShortTimeProfile& p, ProfileField field)
{
    const auto number = [](quint64 value) { return static_cast<double>(value); };
    switch (field) {
    case ProfileField::Name:
        return p.name;
    case ProfileField::Frequency:
        return rangeText(p.useFrequency, number(p.frequencyMin), number(p.frequencyMax), Quantity::Frequency);
    case ProfileField::Duration:
        return p.useDuration ? QStringLiteral("%1 – %2").arg(p.durationMin).arg(p.durationMax) : QString();
    case ProfileField::Bandwidth:
        return rangeText(p.useBandwidth, p.bandwidthMin, p.bandwidthMax, Quantity::Frequency);
    case ProfileField::SymbolRate:
        return rangeText(p.useSymbolRate, p.symbolRateMin, p.symbolRateMax, Quantity::SymbolRate);
    case ProfileField::HopRate:
        return p.useHopRate ? quantityToText(p.hopRate, Quantity::Rate) : QString();
    case ProfileField::Shift:
        return rangeText(p.useShift, p.shiftMin, p.shiftMax, Quantity::Frequency);
    }
    return QString();
}

QString takeField(ShortTimeProfile& p, ProfileField field, const QString& typed)
{
    const QString text = typed.trimmed();
    const RangeReading hertz = readRange(text, Quantity::Frequency);
    switch (field) {
    case ProfileField::Name:
        if (text.isEmpty())
            return Texts::tr("a profile needs a name");
        p.name = text;
        return QString();
    case ProfileField::Frequency:
        return takeRange(text, hertz, kLargestWhole, p.useFrequency, p.frequencyMin, p.frequencyMax);
    case ProfileField::Duration:
        return takeRange(text, Kolta::readProfileDuration(text), kLargest32, p.useDuration, p.durationMin,
                         p.durationMax);
    case ProfileField::Bandwidth:
        return takeRange(text, hertz, kLargest32, p.useBandwidth, p.bandwidthMin, p.bandwidthMax);
    case ProfileField::SymbolRate:
        return takeRange(text, readRange(text, Quantity::SymbolRate), kLargest32, p.useSymbolRate,
                         p.symbolRateMin, p.symbolRateMax);
    case ProfileField::HopRate:
        return takeHopRate(p, text);
    case ProfileField::Shift:
        return takeRange(text, hertz, kLargest32, p.useShift, p.shiftMin, p.shiftMax);
    }
    return QString();
}

FilterWords::Band bandOf(const ShortTimeProfile& profile)
{
    FilterWords::Band band;
    if (profile.useFrequency) {
        band.from = static_cast<double>(profile.frequencyMin);
        band.to = static_cast<double>(profile.frequencyMax);
    }
    if (profile.useBandwidth)
        band.bandwidth = profile.bandwidthMax;
    return band;
}

} // namespace KoltaConsole
