#pragma once

#include "option.h"

#include <QJsonValue>
#include <QString>

#include <array>

namespace Kolta {
class ShortTimeProfile;
}

namespace KoltaApps {

/// A member of a short-time profile that can be in use or not. Options, editors, tables, JSON and the lines
/// of ActionLines name, read and write it as it says here.
struct ProfileMember
{
    using Profile = Kolta::ShortTimeProfile;

    /// What the members below call, for a member that is in use.
    struct Writers
    {
        QString (*shown)(const Profile& profile);
        QString (*exact)(const Profile& profile);
        QString (*typed)(const Profile& profile);
        QJsonValue (*value)(const Profile& profile);
    };

    const char* name;      ///< "Symbol rate", the same in every language
    const char* key;       ///< in JSON, "symbolRate"
    const char* option;    ///< that sets it, "symbol-rate"
    const char* valueName; ///< of the option
    const char* help;      ///< of the option
    bool Profile::*use;
    /// Takes over what the text says; an empty one takes it out of use. The sentence of what is wrong with
    /// the text, translated, with a proposal where there is one; nothing is changed then.
    QString (*take)(Profile& profile, const QString& text);
    Check check; ///< what take() would say
    Writers writers;

    /// The name, translated.
    QString title() const;
    /// As somebody would write it, "30 – 88 MHz"; empty, here and below, while it is not in use.
    QString shown(const Profile& profile) const;
    /// With all its digits, in one unit: "30000000 to 88000000 Hz".
    QString exact(const Profile& profile) const;
    /// As the option takes it, without blanks: "30MHz-88MHz".
    QString typed(const Profile& profile) const;
    /// A number, an array of two, or a text; undefined while it is not in use.
    QJsonValue value(const Profile& profile) const;
};

enum class ProfileMemberId { Frequency, Duration, Bandwidth, SymbolRate, Shift, HopRate, Modulation };
constexpr std::size_t kProfileMemberCount = 7;

/// All that a profile file can hold but the name, in the order of ProfileMemberId.
const std::array<ProfileMember, kProfileMemberCount>& profileMembers();
const ProfileMember& profileMember(ProfileMemberId id);

/// What a profile can have as its modulation.
QStringList modulationNames();

} // namespace KoltaApps
