#pragma once

#include <koltacommon/export.h>
#include <values/valueitemmap.h>
#include <xmlmessaging/hopperconverters.h>

#include <QList>
#include <QString>
#include <QVariant>

#include <cstddef>
#include <string>

namespace JobXml {
class FrequencyStoreEntry;
class ShortTime_Profile;
} // namespace JobXml

namespace VESK_Q9R {
struct ShortTimeProfiles;
}

namespace Kolta {

/// What a short-time profile is for. It travels as one byte, and numbers that are not named here pass through
/// unchanged.
enum eShortTimeProfileType : qint8 {
    eShortTimeProfileUnspecified = 0, ///< nobody has decided yet
    eShortTimeProfileBurst = 1,       ///< single short emissions on one frequency
    eShortTimeProfileHopper = 2,      ///< emissions that belong to one frequency-hopping transmitter
    eShortTimeProfileIgnore = 3       ///< known emissions that are not to be reported
};

/// The modulation code of a text such as "FSK2", compared exactly; 0 for any other text.
KOLTA_COMMON_EXPORT qint8 stringToModulationType(const QString& text);
/// The text of a modulation code; "Unknown" for 0 and for codes without a text.
KOLTA_COMMON_EXPORT QString modulationTypeToString(qint8 code);

/// A class of short, bursty or frequency-hopping emissions, described by ranges. A range that is not in use
/// matches everything. An item of ShortTimeProfileItemMap.
class KOLTA_COMMON_EXPORT ShortTimeProfile : public values::valueitemmap::IKeyItemTemplate<QString>
{
public:
    QString name; ///< the key
    bool useFrequency = false;
    quint64 frequencyMin = 0; ///< Hz
    quint64 frequencyMax = 0;
    bool useDuration = false;
    quint32 durationMin = 0; ///< of the signal, in the unit of its source
    quint32 durationMax = 0;
    bool useBandwidth = false;
    quint32 bandwidthMin = 0; ///< Hz
    quint32 bandwidthMax = 0;
    bool useHopRate = false;
    double hopRate = 0; ///< hops per second
    bool useSymbolRate = false;
    quint32 symbolRateMin = 0; ///< Bd
    quint32 symbolRateMax = 0;
    bool useShift = false;
    quint32 shiftMin = 0; ///< Hz
    quint32 shiftMax = 0;
    bool useModulation = false;
    qint8 modulation = 0;    ///< see modulationTypeToString()
    bool hopperFlag = false; ///< carried from and to the profile of a hopper separation only
    eShortTimeProfileType type = eShortTimeProfileUnspecified;

    /// One profile for each of the file, in its order. A profile without a name is called "Q9R_Profile". A
    /// range whose text is not two numbers separated by "," is not in use; what is no number reads as 0.
    static QList<ShortTimeProfile> fromQ9RProfile(const VESK_Q9R::ShortTimeProfiles& file,
                                                  eShortTimeProfileType type);
    /// The inverse. A file can hold neither hopperFlag nor type.
    static VESK_Q9R::ShortTimeProfiles toQ9RProfile(const QList<ShortTimeProfile>& profiles);
    /// An entry without ID gives a profile called "FSE". Values that are there are in use unless the entry
    /// says otherwise.
    static ShortTimeProfile fromFSE(const JobXml::FrequencyStoreEntry& entry, eShortTimeProfileType type);
    /// Writes everything that fromFSE() reads and leaves the rest of the entry alone. The entry can hold
    /// neither hopperFlag nor type, and frequencies as doubles only.
    void toFSE(JobXml::FrequencyStoreEntry& entry) const;
    /// Every member; those that the object does not set are zero or false.
    static ShortTimeProfile fromRGObject(const JobXml::ShortTime_Profile& object);
    JobXml::ShortTime_Profile toRGObject() const;
    /// Takes over every member but the type, which is `profileType`.
    void assignData(const SigVConverter::CFHSeparationParameters::struHopperProfile& hopper,
                    eShortTimeProfileType profileType);
    /// Sets every member of the hopper profile.
    void fillData(SigVConverter::CFHSeparationParameters::struHopperProfile& hopper) const;

    /// The word of a type, "burst" for instance, the same in every language; null for a number without one.
    static QString typeWord(eShortTimeProfileType type);
    /// The same for people, translated; the number where there is no word.
    static QString typeTitle(eShortTimeProfileType type);

    QString GetKey() const override { return name; }
    bool isNull() const { return name.isEmpty(); }
    /// Profiles whose hop rate or symbol rate is not in use are meant to be equal to none, themselves
    /// included: storing one again always counts as a change. Hop rates are compared to twelve digits.
    bool operator==(const ShortTimeProfile& other) const;
    bool operator!=(const ShortTimeProfile& other) const { return !(*this == other); }
    /// About as many bytes as it takes when it travels.
    std::size_t serializedSizeInBytes() const;
};

/// Short-time profiles as text and as bytes.
class KOLTA_COMMON_EXPORT ShortTimeProfile_ItemFormat
{
public:
    /// "Profile_" and the name.
    static QString GetString(const ShortTimeProfile& profile);
    /// The item field.
    static std::string toStandardString(const ShortTimeProfile& profile);
    /// Reads an item field, which must be there as a whole, and moves `*stream` behind it. What the field
    /// lacks reads as zero or empty. Always true.
    static bool fromCharStream(const char** stream, ShortTimeProfile& profile);
};

/// Short-time profiles in views, which show them by name and tooltip only. Texts of members that are not in
/// use are empty.
class KOLTA_COMMON_EXPORT ShortTimeProfile_TextAdapter
{
public:
    static constexpr int ColumnCount() { return 0; }
    static QString GetColumnTitle(int) { return QString(); }
    static QString GetText4Column(int, const ShortTimeProfile&) { return QString(); }
    static QVariant GetIcon4Column(int, const ShortTimeProfile&, int, int) { return QVariant(); }
    /// One line for each of the members below, whether in use or not.
    static QString GetText4Tooltip(const ShortTimeProfile& profile);

    static QString toFrequency(const ShortTimeProfile& profile);
    static QString toBandwidth(const ShortTimeProfile& profile);
    /// The modulation also when it is not in use, which is meant.
    static QString toModulation(const ShortTimeProfile& profile);
    static QString toDuration(const ShortTimeProfile& profile);
    /// In millions of hops per second.
    static QString toHopRate(const ShortTimeProfile& profile);
    static QString toShift(const ShortTimeProfile& profile);
    static QString toSymbolRate(const ShortTimeProfile& profile);

    /// In Hz up to 1000, in MHz above 1000000, in kHz between. Two values with ", " between them.
    static QString formatHz(quint64 value);
    static QString formatHz(quint64 a, quint64 b);
    /// As formatHz(), in Bd, kBd and MBd.
    static QString formatBd(unsigned int value);
    static QString formatBd(unsigned int a, unsigned int b);
    /// The value with `precision` decimals less the zeros at their end, and the unit as it stands.
    static QString formatString(double value, int precision, const QString& unit);
};

} // namespace Kolta
