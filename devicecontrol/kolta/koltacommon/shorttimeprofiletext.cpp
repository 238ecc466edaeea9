#include <koltacommon/shorttimeprofile.h>

#include <QCoreApplication>
#include <QStringList>

namespace Kolta {

namespace {

constexpr double kMillion = 1e6;

/// Units of one quantity: up to a thousand, up to a million, above.
struct Units
{
    QLatin1String one;
    QLatin1String thousand;
    QLatin1String million;
};

QString inUnit(quint64 value, const Units& units)
{
    const auto number = static_cast<double>(value);
    if (value > 1000000)
        return ShortTimeProfile_TextAdapter::formatString(number / kMillion, 9, units.million);
    if (value <= 1000)
        return ShortTimeProfile_TextAdapter::formatString(number, 3, units.one);
    return ShortTimeProfile_TextAdapter::formatString(number / 1000.0, 6, units.thousand);
}

QString both(const QString& a, const QString& b)
{
    return QStringLiteral("%1, %2").arg(a, b);
}

struct Line
{
    const char* label;
    QString (*text)(const ShortTimeProfile& profile);
};

using Adapter = ShortTimeProfile_TextAdapter;

constexpr Line kTooltip[] = {
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_TextAdapter", "Frequency : "), Adapter::toFrequency},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_TextAdapter", "Bandwidth : "), Adapter::toBandwidth},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_TextAdapter", "Modulation : "), Adapter::toModulation},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_TextAdapter", "Duration : "), Adapter::toDuration},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_TextAdapter", "Hop Rate : "), Adapter::toHopRate},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_TextAdapter", "Shift : "), Adapter::toShift},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeProfile_TextAdapter", "Symbol Rate : "), Adapter::toSymbolRate}};

} // namespace

QString ShortTimeProfile_TextAdapter::GetText4Tooltip(const ShortTimeProfile& profile)
{
    QStringList lines;
    for (const Line& line : kTooltip)
        lines.append(QCoreApplication::translate("Kolta::ShortTimeProfile_TextAdapter", line.label) +
                     line.text(profile));
    return lines.join(QLatin1Char('\n'));
}

QString ShortTimeProfile_TextAdapter::toFrequency(const ShortTimeProfile& profile)
{
    return profile.useFrequency ? formatHz(profile.frequencyMin, profile.frequencyMax) : QString();
}

QString ShortTimeProfile_TextAdapter::toBandwidth(const ShortTimeProfile& profile)
{
    return profile.useBandwidth ? formatHz(profile.bandwidthMin, profile.bandwidthMax) : QString();
}

QString ShortTimeProfile_TextAdapter::toModulation(const ShortTimeProfile& profile)
{
    return modulationTypeToString(profile.modulation);
}

QString ShortTimeProfile_TextAdapter::toDuration(const ShortTimeProfile& profile)
{
    return profile.useDuration
               ? both(QString::number(profile.durationMin), QString::number(profile.durationMax))
               : QString();
}

QString ShortTimeProfile_TextAdapter::toHopRate(const ShortTimeProfile& profile)
{
    return profile.useHopRate ? formatString(profile.hopRate / kMillion, 10, QString()) : QString();
}

QString ShortTimeProfile_TextAdapter::toShift(const ShortTimeProfile& profile)
{
    return profile.useShift ? formatHz(profile.shiftMin, profile.shiftMax) : QString();
}

QString ShortTimeProfile_TextAdapter::toSymbolRate(const ShortTimeProfile& profile)
{
    return profile.useSymbolRate ? formatBd(profile.symbolRateMin, profile.symbolRateMax) : QString();
}

QString ShortTimeProfile_TextAdapter::formatHz(quint64 value)
{
    return inUnit(value, {QLatin1String(" Hz"), QLatin1String(" kHz"), QLatin1String(" MHz")});
}

QString ShortTimeProfile_TextAdapter::formatHz(quint64 a, quint64 b)
{
    return both(formatHz(a), formatHz(b));
}

QString ShortTimeProfile_TextAdapter::formatBd(unsigned int value)
{
    return inUnit(value, {QLatin1String(" Bd"), QLatin1String(" kBd"), QLatin1String(" MBd")});
}

QString ShortTimeProfile_TextAdapter::formatBd(unsigned int a, unsigned int b)
{
    return both(formatBd(a), formatBd(b));
}

QString ShortTimeProfile_TextAdapter::formatString(double value, int precision, const QString& unit)
{
    QString text = QString::number(value, 'f', precision);
    if (precision >= 1) {
        while (text.endsWith(QLatin1Char('0')))
            text.chop(1);
        if (text.endsWith(QLatin1Char('.')))
            text.chop(1);
    }
    return text + unit;
}

} // namespace Kolta
