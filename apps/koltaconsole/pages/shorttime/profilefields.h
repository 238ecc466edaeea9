#pragma once

#include <koltacommon/shorttimeprofile.h>
#include <koltaconsole/widgets/filterwords.h>

#include <QString>
#include <QVector>

namespace KoltaConsole {

/// What of a short-time profile is written as a text.
enum class ProfileField { Name, Frequency, Duration, Bandwidth, SymbolRate, HopRate, Shift };
constexpr int kProfileFieldCount = 7;

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
/// As somebody would write it, "30 – 88 MHz"; empty when it is not in use.
QString fieldText(const Kolta::ShortTimeProfile& profile, ProfileField field);
/// Takes over what the text says; empty takes it out of use. The sentence of what is wrong with it, with a
/// proposal where there is one; nothing is changed then.
QString takeField(Kolta::ShortTimeProfile& profile, ProfileField field, const QString& text);

/// What words of a filter compare with frequencies; nothing for what is not in use.
FilterWords::Band bandOf(const Kolta::ShortTimeProfile& profile);

} // namespace KoltaConsole
