#pragma once

#include <koltacommon/export.h>

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

/// \file
/// Files of short-time profiles. docs/profiles.md describes their form.
///
/// The types carry what a file says without judging it: what a range text or a modulation means is decided
/// where profiles are made of them. A reader tells what will then not be understood.

namespace VESK_Q9R {

/// An element with a text, and whether it counts.
struct TextElement
{
    QString value;     ///< as it stands in the file
    qint32 status = 0; ///< 1: in use; other numbers are carried unchanged
};

/// An element with a number, and whether it counts.
struct NumberElement
{
    double value = 0;  ///< finite when it was read
    qint32 status = 0; ///< 1: in use; other numbers are carried unchanged
};

/// One profile. An element that the file lacks is empty and not in use.
struct Profile
{
    QString name;                    ///< empty when the file gives none
    TextElement frequencyRange;      ///< "minimum,maximum", Hz
    TextElement signalDurationRange; ///< "minimum,maximum"
    TextElement bandwidthRange;      ///< "minimum,maximum", Hz
    TextElement symbolrateRange;     ///< "minimum,maximum", Bd
    TextElement shiftRange;          ///< "minimum,maximum", Hz
    NumberElement hopRate;           ///< hops per second
    TextElement modulationType;      ///< such as "FSK2"
};

/// The content of one file.
struct ShortTimeProfiles
{
    QVector<Profile> profiles; ///< in file order
};

KOLTA_COMMON_EXPORT bool operator==(const TextElement& a, const TextElement& b);
KOLTA_COMMON_EXPORT bool operator==(const NumberElement& a, const NumberElement& b);
KOLTA_COMMON_EXPORT bool operator==(const Profile& a, const Profile& b);
inline bool operator==(const ShortTimeProfiles& a, const ShortTimeProfiles& b)
{
    return a.profiles == b.profiles;
}

/// What a reader says of a file beside its content.
struct KOLTA_COMMON_EXPORT ReadReport
{
    /// Empty on success; otherwise one line that names file, line and element and says what was expected.
    QString error;
    /// What was passed over, one line each: elements that are not known. The last one may be a count.
    QStringList notes;
    /// Values that cannot be read as what they should be (a unit in a range, a range that is turned round, an
    /// unknown modulation), one line each with line and column, and what they count as. They are carried all
    /// the same. The last line may be a count.
    QStringList doubts;
    int doubtful = 0; ///< how many values that is
    /// The places of the profiles with such values, from 0, each once and in the order of the file.
    QVector<int> doubtfulProfiles;

    bool isGood() const noexcept { return error.isEmpty(); }
};

/// Replaces `profiles` by the content of a file; after an error `profiles` is as it was. Reads regular files
/// of at most 64 MiB and 250,000 profiles.
KOLTA_COMMON_EXPORT ReadReport readProfileFile(const QString& fileName, ShortTimeProfiles& profiles);
/// The same from the bytes of a file; `sourceName` stands for its name in messages.
KOLTA_COMMON_EXPORT ReadReport readProfiles(const QByteArray& xml, const QString& sourceName,
                                            ShortTimeProfiles& profiles);

/// Writes a file that reads back equal, replacing an old one only when the new one is whole. Returns an empty
/// text, or what went wrong; refused are profiles with texts or numbers that XML cannot carry.
KOLTA_COMMON_EXPORT QString writeProfileFile(const QString& fileName, const ShortTimeProfiles& profiles);
/// The bytes of such a file; empty when `error` says what cannot be written.
KOLTA_COMMON_EXPORT QByteArray writeProfiles(const ShortTimeProfiles& profiles, QString& error);

} // namespace VESK_Q9R
