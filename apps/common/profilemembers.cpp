#include "profilemembers.h"

#include <koltacommon/shorttimeprofile.h>
#include <koltacommon/units.h>

#include <QCoreApplication>
#include <QJsonArray>

#include <cmath>
#include <limits>

namespace KoltaApps {

using Kolta::Quantity;
using Kolta::RangeReading;
using Kolta::ShortTimeProfile;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(KoltaApps::ProfileMembers)
};

QString withoutBlanks(QString text)
{
    return text.remove(QLatin1Char(' '));
}

/// What is above 32 bits is a frequency, whose largest is that up to which doubles have all whole numbers.
template<class Number>
constexpr double kLargest = sizeof(Number) > sizeof(quint32) ? 9007199254740992.0
                                                             : double(std::numeric_limits<Number>::max());

/// But for what reading "98.1 MHz" leaves behind.
bool isWhole(double value)
{
    return std::abs(value - std::round(value)) < 1e-3;
}

/// How the ends of a range are read and written.
template<Quantity kQuantity>
struct Measured
{
    static RangeReading read(const QString& text) { return readRange(text, kQuantity); }
    static QString one(double value) { return quantityToText(value, kQuantity); }
    static QString both(double from, double to) { return Kolta::rangeToText(from, to, kQuantity); }
    static QLatin1String unit() { return QLatin1String(kQuantity == Quantity::SymbolRate ? " Bd" : " Hz"); }
};

/// The same in the processors' own unit.
struct Counted
{
    static RangeReading read(const QString& text) { return Kolta::readProfileDuration(text); }
    static QString one(double value) { return QString::number(value, 'f', 0); }
    static QString both(double from, double to) { return QStringLiteral("%1 – %2").arg(one(from), one(to)); }
    static QLatin1String unit() { return {}; }
};

/// Two whole numbers.
template<class Form, class Number, bool ShortTimeProfile::*kInUse, Number ShortTimeProfile::*kFrom,
         Number ShortTimeProfile::*kTo>
struct Range
{
    static constexpr auto kUse = kInUse;

    static QString problemOf(const RangeReading& range)
    {
        if (!range.isGood())
            return range.problem;
        if (!std::isfinite(range.to))
            return Texts::tr("a profile needs both ends of a range");
        if (std::round(range.to) > kLargest<Number>)
            return Texts::tr("a profile can hold no more than %1").arg(Form::one(kLargest<Number>));
        return isWhole(range.from) && isWhole(range.to)
                   ? QString()
                   : Texts::tr("a profile can hold no parts of 1%1").arg(Form::unit());
    }
    static QString take(ShortTimeProfile& profile, const QString& text)
    {
        const RangeReading range = text.isEmpty() ? RangeReading{0, 0, {}} : Form::read(text);
        const QString problem = problemOf(range);
        if (!problem.isEmpty())
            return problem;
        profile.*kUse = !text.isEmpty();
        profile.*kFrom = static_cast<Number>(std::round(range.from));
        profile.*kTo = static_cast<Number>(std::round(range.to));
        return QString();
    }

    static double from(const ShortTimeProfile& profile) { return static_cast<double>(profile.*kFrom); }
    static double to(const ShortTimeProfile& profile) { return static_cast<double>(profile.*kTo); }
    static QString shown(const ShortTimeProfile& profile) { return Form::both(from(profile), to(profile)); }
    static QString exact(const ShortTimeProfile& profile)
    {
        return Texts::tr("%1 to %2%3")
            .arg(QString::number(profile.*kFrom), QString::number(profile.*kTo), Form::unit());
    }
    /// The ends in full: the shorter forms leave out an end of 0.
    static QString typed(const ShortTimeProfile& profile)
    {
        return withoutBlanks(Form::one(from(profile)) + QLatin1Char('-') + Form::one(to(profile)));
    }
    static QJsonValue value(const ShortTimeProfile& profile)
    {
        return QJsonArray{from(profile), to(profile)};
    }
};

using P = ShortTimeProfile;
using Frequency =
    Range<Measured<Quantity::Frequency>, quint64, &P::useFrequency, &P::frequencyMin, &P::frequencyMax>;
using Duration = Range<Counted, quint32, &P::useDuration, &P::durationMin, &P::durationMax>;
using Bandwidth =
    Range<Measured<Quantity::Frequency>, quint32, &P::useBandwidth, &P::bandwidthMin, &P::bandwidthMax>;
using SymbolRate =
    Range<Measured<Quantity::SymbolRate>, quint32, &P::useSymbolRate, &P::symbolRateMin, &P::symbolRateMax>;
using Shift = Range<Measured<Quantity::Frequency>, quint32, &P::useShift, &P::shiftMin, &P::shiftMax>;

struct HopRate
{
    static constexpr auto kUse = &P::useHopRate;

    static QString take(ShortTimeProfile& profile, const QString& text)
    {
        const auto rate = text.isEmpty() ? Kolta::QuantityReading() : readQuantity(text, Quantity::Rate);
        if (!rate.isGood())
            return rate.problem;
        profile.useHopRate = !text.isEmpty();
        profile.hopRate = rate.value;
        return QString();
    }
    static QString shown(const ShortTimeProfile& profile)
    {
        return quantityToText(profile.hopRate, Quantity::Rate);
    }
    static QString exact(const ShortTimeProfile& profile)
    {
        return QString::number(profile.hopRate, 'g', 12) + QStringLiteral(" /s");
    }
    static QString typed(const ShortTimeProfile& profile) { return withoutBlanks(shown(profile)); }
    static QJsonValue value(const ShortTimeProfile& profile) { return profile.hopRate; }
};

struct Modulation
{
    static constexpr auto kUse = &P::useModulation;

    static QString take(ShortTimeProfile& profile, const QString& text)
    {
        const qint8 code = Kolta::stringToModulationType(text);
        if (!text.isEmpty() && code == 0)
            return Texts::tr("\"%1\" is no modulation: expected one of %2")
                .arg(text, listed(modulationNames()));
        profile.useModulation = code != 0;
        profile.modulation = code;
        return QString();
    }
    static QString shown(const ShortTimeProfile& profile)
    {
        return Kolta::modulationTypeToString(profile.modulation);
    }
    static constexpr auto exact = shown;
    static constexpr auto typed = shown;
    static QJsonValue value(const ShortTimeProfile& profile) { return shown(profile); }
};

template<class Member>
QString problemOf(const QString& text)
{
    ShortTimeProfile scratch;
    return Member::take(scratch, text);
}

template<class Member>
constexpr ProfileMember member(const char* name, const char* key, const char* option, const char* valueName,
                               const char* help)
{
    return {name,
            key,
            option,
            valueName,
            help,
            Member::kUse,
            Member::take,
            problemOf<Member>,
            {Member::shown, Member::exact, Member::typed, Member::value}};
}

/// In the order of ProfileMemberId.
constexpr std::array<ProfileMember, kProfileMemberCount> kMembers{
    member<Frequency>(QT_TRANSLATE_NOOP("KoltaApps::ProfileMembers", "Frequency"), "frequency", "frequency",
                      "range", "set: such as 30-88MHz; \"\" for any, here and below."),
    member<Duration>(QT_TRANSLATE_NOOP("KoltaApps::ProfileMembers", "Duration"), "duration", "duration",
                     "range", "set: such as 7000-9500, in the processors' own unit."),
    member<Bandwidth>(QT_TRANSLATE_NOOP("KoltaApps::ProfileMembers", "Bandwidth"), "bandwidth", "bandwidth",
                      "range", "set: such as 16-25kHz."),
    member<SymbolRate>(QT_TRANSLATE_NOOP("KoltaApps::ProfileMembers", "Symbol rate"), "symbolRate",
                       "symbol-rate", "range", "set: such as 15.8-16.2kBd."),
    member<Shift>(QT_TRANSLATE_NOOP("KoltaApps::ProfileMembers", "Shift"), "shift", "shift", "range",
                  "set: such as 7.5-8.5kHz."),
    member<HopRate>(QT_TRANSLATE_NOOP("KoltaApps::ProfileMembers", "Hop rate"), "hopRate", "hop-rate", "rate",
                    "set: such as 100/s."),
    member<Modulation>(QT_TRANSLATE_NOOP("KoltaApps::ProfileMembers", "Modulation"), "modulation",
                       "modulation", "name", "set: such as FSK2.")};

} // namespace

QString ProfileMember::title() const
{
    return QCoreApplication::translate("KoltaApps::ProfileMembers", name);
}

QString ProfileMember::shown(const Profile& profile) const
{
    return profile.*use ? writers.shown(profile) : QString();
}

QString ProfileMember::exact(const Profile& profile) const
{
    return profile.*use ? writers.exact(profile) : QString();
}

QString ProfileMember::typed(const Profile& profile) const
{
    return profile.*use ? writers.typed(profile) : QString();
}

QJsonValue ProfileMember::value(const Profile& profile) const
{
    return profile.*use ? writers.value(profile) : QJsonValue(QJsonValue::Undefined);
}

const std::array<ProfileMember, kProfileMemberCount>& profileMembers()
{
    return kMembers;
}

const ProfileMember& profileMember(ProfileMemberId id)
{
    return kMembers.at(static_cast<std::size_t>(id));
}

QStringList modulationNames()
{
    QStringList names;
    for (int code = 1; code <= std::numeric_limits<qint8>::max(); ++code) {
        const QString name = Kolta::modulationTypeToString(static_cast<qint8>(code));
        if (Kolta::stringToModulationType(name) == code)
            names.append(name);
    }
    return names;
}

} // namespace KoltaApps
