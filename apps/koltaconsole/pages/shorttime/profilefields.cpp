#include "profilefields.h"

#include <common/profilemembers.h>

#include <QCoreApplication>

namespace KoltaConsole {

using Kolta::ShortTimeProfile;
using KoltaApps::ProfileMember;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(KoltaConsole::ProfileFields)
};

/// Of all but the name.
const ProfileMember& memberOf(ProfileField field)
{
    using Id = KoltaApps::ProfileMemberId;
    constexpr Id kMembers[] = {Id::Frequency, Id::Duration, Id::Bandwidth, Id::SymbolRate,
                               Id::HopRate,   Id::Shift,    Id::Modulation};
    return profileMember(kMembers[static_cast<int>(field) - 1]);
}

} // namespace

QString fieldTitle(ProfileField field)
{
    switch (field) {
    case ProfileField::Name:
        return Texts::tr("Name");
    case ProfileField::Duration:
        return Texts::tr("Duration (processors' unit)");
    default:
        return memberOf(field).title();
    }
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
    compare(Texts::tr("Type"), ShortTimeProfile::typeTitle(mine.type),
            ShortTimeProfile::typeTitle(theirs.type));
    return differences;
}

QString fieldText(const ShortTimeProfile& profile, ProfileField field)
{
    return field == ProfileField::Name ? profile.name : memberOf(field).shown(profile);
}

QString takeField(ShortTimeProfile& profile, ProfileField field, const QString& typed)
{
    const QString text = typed.trimmed();
    if (field != ProfileField::Name)
        return memberOf(field).take(profile, text);
    if (text.isEmpty())
        return Texts::tr("a profile needs a name");
    profile.name = text;
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
