#pragma once

#include <koltacommon/export.h>
#include <koltacommon/shorttimeprofile.h>
#include <koltacommon/textcolumns.h>

#include <QString>

#include <limits>
#include <string>

namespace Kolta {

/// One emission that was detected and classified by short-time profiles. An item of ShortTimeResultItemMap.
class KOLTA_COMMON_EXPORT ShortTimeResult : public values::valueitemmap::IKeyItemTemplate<unsigned int>
{
public:
    /// The key of a result that has none yet.
    static constexpr unsigned int kNoId = std::numeric_limits<unsigned int>::max();

    unsigned int id = kNoId; ///< the key
    qint64 startTime = 0;    ///< beginning of the emission, microseconds since 1970 in UTC
    quint32 duration = 0;    ///< microseconds
    quint64 frequency = 0;   ///< centre, Hz
    quint32 bandwidth = 0;   ///< Hz
    double level = 0;        ///< at the receiver's input, dBuV
    quint32 symbolRate = 0;  ///< Bd; 0 when it was not measured
    qint8 modulation = 0;    ///< see modulationTypeToString()
    double confidence = 0;   ///< how well the profile matches, 0 to 1
    QString profileName;     ///< of the profile that matches best; empty when none does
    eShortTimeProfileType profileType = eShortTimeProfileUnspecified; ///< of that profile
    QString ffpGuid;  ///< of the FFP that detected the emission
    QString recordId; ///< text of the record identifier of its recording; empty when it was not recorded

    unsigned int GetKey() const override { return id; }
    bool operator==(const ShortTimeResult& other) const;
    bool operator!=(const ShortTimeResult& other) const { return !(*this == other); }
};

/// Results as text and as bytes.
class KOLTA_COMMON_EXPORT ShortTimeResult_ItemFormat
{
public:
    /// "Result_" and the number.
    static QString GetString(const ShortTimeResult& result);
    /// The item field: format version 1, then the members in the order of their declaration.
    static std::string toStandardString(const ShortTimeResult& result);
    /// Reads an item field, which must be there as a whole, and moves `*stream` behind it. What the field
    /// lacks reads as zero or empty. Always true.
    static bool fromCharStream(const char** stream, ShortTimeResult& result);
};

/// Results in views.
class KOLTA_COMMON_EXPORT ShortTimeResult_TextAdapter
    : public ColumnTextAdapter<ShortTimeResult_TextAdapter, ShortTimeResult>
{
public:
    static const TextColumns<ShortTimeResult>& columns();
};

} // namespace Kolta
