#pragma once

#include <koltacommon/export.h>

#include <QSet>
#include <QString>
#include <QStringList>

namespace REPORTGENERATOR {
class IRGObject;
class TextReader;
} // namespace REPORTGENERATOR
namespace RESOURCEMANAGEMENT {
class HWProcessing;
class HWProcessingOverview;
class KoltaProcessor;
class MCP;
class ProcessorOverview;
class ResourceOverview;
class SCP;
class StorageUnit;
class Tuner;
} // namespace RESOURCEMANAGEMENT

namespace Kolta {

/// Result of a search in the processor tree: pointers into the searched overview, all null when nothing was
/// found. They are good until the overview is changed, copied or destroyed.
struct Object2Parent
{
    REPORTGENERATOR::IRGObject* object = nullptr; ///< the match: SCP, MCP, FFP, DSC, FHP or FHA
    RESOURCEMANAGEMENT::KoltaProcessor* objectProcessor = nullptr; ///< processor record of the match
    REPORTGENERATOR::IRGObject* parent =
        nullptr; ///< node that holds the match; the overview for an SCP or MCP
    RESOURCEMANAGEMENT::KoltaProcessor* parentProcessor = nullptr; ///< null when the parent is the overview
};

/// Helpers over the resource model. They hold no state and never throw; searches that find nothing return
/// null, empty results. GUIDs are compared as texts, exactly; a text that is not a UUID, or is the null UUID,
/// finds nothing. Thread-safe as far as the objects that they are given are.
namespace TavikXmlHelpers {

/// Reads `xml` into `target` and checks it. Empty on success, else one line that begins "Error in parsing "
/// and the object's name. After an error `target` holds as much as was read: parse into a fresh object.
/// With a `reader` that has read the text before this one, only what is different is read.
KOLTA_COMMON_EXPORT QString parseResourceManagementObject(REPORTGENERATOR::IRGObject& target,
                                                          const QString& xml,
                                                          REPORTGENERATOR::TextReader* reader = nullptr);

/// Searches the processor tree by node GUID: every SCP with its FFP, its DSC and the DSC's FFPs, then every
/// MCP with its FFPs, its FHPs (each with FHAs, then FFPs) and its DSCs (each with FFPs). First match wins.
/// An overview that shares its lists with copies is detached only along the way to a match.
KOLTA_COMMON_EXPORT Object2Parent FindGUID(const QString& guid,
                                           RESOURCEMANAGEMENT::ProcessorOverview& overview);
/// The first SCP, else the first MCP, whose production ID is set and equals `id`, which must be a UUID.
KOLTA_COMMON_EXPORT Object2Parent FindProductionID(const QString& id,
                                                   RESOURCEMANAGEMENT::ProcessorOverview& overview);
/// What the tuner feeds: the first SCP by its data source; else the first MCP by its data source, or FFP in a
/// DSC of that MCP by its own tuner GUID, MCP after MCP.
KOLTA_COMMON_EXPORT Object2Parent FindTunerGUID(const QString& tunerGuid,
                                                RESOURCEMANAGEMENT::ProcessorOverview& overview);
/// The first entry whose GUID is set and equals `guid`; any text is searched for.
KOLTA_COMMON_EXPORT const RESOURCEMANAGEMENT::HWProcessing*
FindGUID(const QString& guid, const RESOURCEMANAGEMENT::HWProcessingOverview& overview);
/// The first match among tuners, then processing units, then storage units.
KOLTA_COMMON_EXPORT const REPORTGENERATOR::IRGObject*
FindGUID(const QString& guid, const RESOURCEMANAGEMENT::ResourceOverview& overview);

/// Display name of the node with that GUID, else of the SCP or MCP with that production ID.
KOLTA_COMMON_EXPORT QString DisplayNameForGUID(const QString& guid,
                                               const RESOURCEMANAGEMENT::ProcessorOverview& overview);
/// Display name of the first match among tuners, then processing units, then storage units. Any text but the
/// empty one is searched for, unlike everywhere else; this is meant.
KOLTA_COMMON_EXPORT QString DisplayNameForGUID(const QString& guid,
                                               const RESOURCEMANAGEMENT::ResourceOverview& overview);

/// The GUIDs of a processor and of everything below it that a search visits. Nodes without a GUID add
/// nothing.
KOLTA_COMMON_EXPORT QSet<QString> ALL_GUIDS_OF(const RESOURCEMANAGEMENT::ProcessorOverview& overview);
KOLTA_COMMON_EXPORT QSet<QString> ALL_GUIDS_OF(const RESOURCEMANAGEMENT::SCP& scp);
KOLTA_COMMON_EXPORT QSet<QString> ALL_GUIDS_OF(const RESOURCEMANAGEMENT::MCP& mcp);
/// The GUIDs of all entries that have one.
KOLTA_COMMON_EXPORT QSet<QString> ALL_GUIDS_OF(const RESOURCEMANAGEMENT::HWProcessingOverview& overview);

/// Types, in upper case, of the interfaces between the tuner and the storage unit; empty when there are none.
KOLTA_COMMON_EXPORT QStringList HasTunerInterfaceTo(const RESOURCEMANAGEMENT::Tuner& tuner,
                                                    const RESOURCEMANAGEMENT::StorageUnit& storageUnit);

/// Unsets the GUID of every processor in `object`, which is any object of the processor tree, so that it can
/// be sent as a new request; the production IDs of SCPs and MCPs too, unless they are kept. Any other object
/// is left as it is, with a trace line.
KOLTA_COMMON_EXPORT void clearGUIDs(REPORTGENERATOR::IRGObject& object, bool keepProductionIDs);

/// The number in decimal with leading zeros, five digits.
KOLTA_COMMON_EXPORT QString formatTavikResourceID(unsigned short id);

} // namespace TavikXmlHelpers
} // namespace Kolta
