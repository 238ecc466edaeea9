#pragma once

#include <koltacommon/export.h>
#include <koltacommon/textcolumns.h>

#include <values/valueitemmap.h>
#include <xmlmessaging/hopperconverters.h>

#include <QString>
#include <QStringList>

#include <cstddef>
#include <string>

namespace JobXml {
class FFP_Assignment;
}

namespace Kolta {

/// Tells one FFP which short-time profiles it is to look for, and how. An item of
/// ShortTimeFFPAssignmentItemMap.
class KOLTA_COMMON_EXPORT ShortTimeFFPAssignment : public values::valueitemmap::IKeyItemTemplate<QString>
{
public:
    static constexpr int kDefaultCoverage = 50; ///< per cent, where nobody says another

    QString ffpGuid;             ///< of the FFP; the key
    quint16 tavikResourceId = 0; ///< number of the FFP in the resource model
    quint32 radioId = 0;         ///< identifier of the radio, carried unchanged
    bool enabled = false;
    bool autoRecording = false; ///< detected emissions are recorded
    quint32 minCoverage = 0;    ///< 0 to 100 per cent; a server refuses more
    QStringList profiles;       ///< names of the assigned profiles
    qint32 setupValue = 0;      ///< of the production setup, carried unchanged
    bool setupFlag = false;     ///< of the production setup, carried unchanged

    /// An assignment with the members that the argument has; a minimum coverage that it does not set is the
    /// default.
    static ShortTimeFFPAssignment fromRGObject(const JobXml::FFP_Assignment& object);
    JobXml::FFP_Assignment toRGObject() const;
    /// Takes over everything but setupValue and setupFlag, which such a command does not have.
    void assignData(const SigVConverter::CSetHopperProduction& command);
    /// Takes over everything.
    void assignData(const SigVConverter::CQueryHopperProduction::struProductionSetup& setup);
    /// Sets everything that the command has.
    void fillData(SigVConverter::CSetHopperProduction& command) const;

    QString GetKey() const override { return ffpGuid; }
    bool isNull() const { return ffpGuid.isEmpty(); }
    bool operator==(const ShortTimeFFPAssignment& other) const;
    bool operator!=(const ShortTimeFFPAssignment& other) const { return !(*this == other); }
    /// About as many bytes as it takes when it travels.
    std::size_t serializedSizeInBytes() const;
};

/// Assignments as text and as bytes.
class KOLTA_COMMON_EXPORT ShortTimeFFPAssignment_ItemFormat
{
public:
    /// "FFP_" and the GUID.
    static QString GetString(const ShortTimeFFPAssignment& assignment);
    /// The item field.
    static std::string toStandardString(const ShortTimeFFPAssignment& assignment);
    /// Reads an item field, which must be there as a whole, and moves `*stream` behind it. What the field
    /// lacks reads as zero or empty. Always true.
    static bool fromCharStream(const char** stream, ShortTimeFFPAssignment& assignment);
};

/// Assignments in views.
class KOLTA_COMMON_EXPORT ShortTimeFFPAssignment_TextAdapter
    : public ColumnTextAdapter<ShortTimeFFPAssignment_TextAdapter, ShortTimeFFPAssignment>
{
public:
    static const TextColumns<ShortTimeFFPAssignment>& columns();
};

} // namespace Kolta
