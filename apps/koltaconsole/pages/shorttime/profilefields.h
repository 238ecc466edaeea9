#pragma once

#include <koltacommon/shorttimeprofile.h>
#include <koltaconsole/widgets/filterwords.h>

#include <QString>
#include <QVector>

namespace KoltaConsole {

/// What of a short-time profile can be written as a text, in the order of an editor.
enum class ProfileField { Name, Frequency, Duration, Bandwidth, SymbolRate, HopRate, Shift, Modulation };
constexpr int kProfileFieldCount = 8;
/// All but the modulation, which is chosen from a list.
constexpr int kTypedFieldCount = 7;

/// What of a profile is another than of another one.
struct FieldDifference
{
    QString field;
    QString mine;
    QString theirs;
};

/// "Symbol rate".
QString fieldTitle(ProfileField field);
/// All that an editor of profiles shows; empty for equal ones.
QVector<FieldDifference> differingFields(const Kolta::ShortTimeProfile& mine,
                                         const Kolta::ShortTimeProfile& theirs);
/// As ProfileMember::shown().
QString fieldText(const Kolta::ShortTimeProfile& profile, ProfileField field);
/// As ProfileMember::take(), blanks around the text aside; a name cannot be empty.
QString takeField(Kolta::ShortTimeProfile& profile, ProfileField field, const QString& text);

/// What words of a filter compare with frequencies; nothing for what is not in use.
FilterWords::Band bandOf(const Kolta::ShortTimeProfile& profile);

} // namespace KoltaConsole
