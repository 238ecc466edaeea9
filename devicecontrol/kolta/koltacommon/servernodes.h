#pragma once

#include <QLatin1String>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <type_traits>

namespace Kolta {
class ConvertProductionResultMap;
class ShapeCollectionItemMap;
class ShortTimeFFPAssignmentItemMap;
class ShortTimeProfileItemMap;
class ShortTimeResultItemMap;
} // namespace Kolta

/// Where the servers of an installation stand in the value tree, and which nodes each has below
/// "/ADMINISTRATION".
namespace Kolta::ServerNodes {

/// The literal with its length: not every compiler counts it when it compiles.
template<std::size_t size>
constexpr QLatin1String literal(const char (&text)[size])
{
    return QLatin1String(text, static_cast<int>(size) - 1);
}

inline constexpr QLatin1String kConnectManager = literal("/ConnectManager"); ///< what other processes tell
inline constexpr QLatin1String kAdminTree = literal("/ConnectManager/AdminTree"); ///< a node for each server
inline constexpr QLatin1String kAdministration = literal("/ADMINISTRATION");      ///< below the server's node

/// The nodes below "/ADMINISTRATION". The values that make a server complete come first.
enum eNode : int {
    eQuit,
    eReset,
    eStopAll,
    eUnitPowerControl,
    eStartupErrors,
    eStartupProgress,
    eWorkingState,
    eStatus,
    eInternalState,
    eHostName,
    eReplyResource,
    eStoppedResource,
    eResources,
    eActualConfiguration,
    eHardwareProcessing,
    eDemandClasses,
    eTunerClasses,
    eTunerTypeOverview,
    eOwners,
    eStopResource,
    eChangedTuners,
    eChangedPUs,
    eChangedSUs,
    eOwnerRequest,
    eRequestsNode,
    eConnectionInfo,
    eClients,
    eNodeCount
};

/// What a node is for.
enum eUse : unsigned {
    eBound = 1,     ///< a client binds it, in the table's order; a server that lacks one is not complete
    eRequest = 2,   ///< clients write into it, or add below it
    eFolder = 4,    ///< has no value of its own; clients keep items of theirs below it
    eOptimised = 8, ///< its transfer is optimised, in the table's order
    eWhole = 16     ///< clients read the text, change it and write it back as a whole
};

/// One node of the table.
struct Row
{
    eNode node;
    const char* name; ///< below "/ADMINISTRATION"
    unsigned use;     ///< of eUse
};

/// The one table of these nodes: row i is node i.
inline constexpr Row kTable[] = {{eQuit, "Quit", eBound | eRequest},
                                 {eReset, "reset", eBound | eRequest},
                                 {eStopAll, "stopAll", eBound | eRequest},
                                 {eUnitPowerControl, "UnitPowerControl", eBound | eRequest},
                                 {eStartupErrors, "StartupErrors", eBound},
                                 {eStartupProgress, "StartupProgress", eBound},
                                 {eWorkingState, "WorkingState", eBound},
                                 {eStatus, "Status", eBound},
                                 {eInternalState, "InternalState", eBound},
                                 {eHostName, "HostName", 0},
                                 {eReplyResource, "ReplyResource", eOptimised},
                                 {eStoppedResource, "StoppedResource", 0},
                                 {eResources, "Resources", eOptimised | eWhole},
                                 {eActualConfiguration, "ActualConfiguration", eOptimised},
                                 {eHardwareProcessing, "HardwareProcessing", eWhole},
                                 {eDemandClasses, "DemandClasses", 0},
                                 {eTunerClasses, "TunerClasses", eWhole},
                                 {eTunerTypeOverview, "TunerTypeOverview", 0},
                                 {eOwners, "Owners", 0},
                                 {eStopResource, "StopResource", eRequest},
                                 {eChangedTuners, "ChangedTuners", eRequest},
                                 {eChangedPUs, "ChangedPUs", eRequest},
                                 {eChangedSUs, "ChangedSUs", eRequest},
                                 {eOwnerRequest, "OwnerRequest", eRequest},
                                 {eRequestsNode, "RequestsNode", eRequest | eFolder},
                                 {eConnectionInfo, "ConnectionInfo", eFolder},
                                 {eClients, "Clients", eFolder}};

/// How many nodes are used so.
constexpr std::size_t countOf(unsigned use)
{
    std::size_t count = 0;
    for (const Row& row : kTable)
        count += (row.use & use) == use ? 1 : 0;
    return count;
}
/// What the table's users rely on, see below.
constexpr bool isInOrder()
{
    std::size_t node = 0;
    for (const Row& row : kTable) {
        // What is bound comes first, so that a client's bindings have the nodes' numbers.
        if (static_cast<std::size_t>(row.node) != node ||
            ((row.use & eBound) != 0) != (node < countOf(eBound)))
            return false;
        ++node;
    }
    return node == eNodeCount;
}
static_assert(isInOrder(), "row i is node i, bound ones first");

/// The node's name.
inline QString name(eNode node)
{
    return QLatin1String(kTable[node].name);
}

/// The node of that name; null when there is none.
inline const Row* find(const QString& name)
{
    for (const Row& row : kTable) {
        if (name == QLatin1String(row.name))
            return &row;
    }
    return nullptr;
}

/// Names of the nodes that are used so, and not in that other way.
inline QStringList names(unsigned use, unsigned otherwise = 0)
{
    QStringList list;
    for (const Row& row : kTable) {
        if ((row.use & use) == use && (row.use & otherwise) == 0)
            list.append(name(row.node));
    }
    return list;
}

/// Ends of the paths of the nodes that are used so: "/ADMINISTRATION/Resources".
inline QStringList pathEnds(unsigned use)
{
    QStringList list;
    for (const QString& node : names(use))
        list.append(kAdministration + QLatin1Char('/') + node);
    return list;
}

/// "/" and the node's name, to be put behind the path of the administrative node.
inline QString suffix(eNode node)
{
    return QLatin1Char('/') + QLatin1String(kTable[node].name);
}

/// The node's path for the server at `basePath`.
inline QString path(const QString& basePath, eNode node)
{
    return basePath + kAdministration + suffix(node);
}

/// Where the data of the server at `basePath` stand.
inline QString dataPath(QString basePath)
{
    return basePath.replace(QLatin1String("/AdminTree/"), QLatin1String("/DataTree/"));
}

/// Where the descriptions of the records of the server at `basePath` stand.
inline QString recordMapPath(QString basePath)
{
    return basePath.replace(QLatin1String("/AdminTree"), QLatin1String("/RecordMapTree"));
}

/// Where the collections of short-time data of the server at `basePath` stand.
inline QString shortTimePath(const QString& basePath)
{
    return dataPath(basePath) + QLatin1String("/ShortTime/");
}

/// The name there of each kind of collection.
template<class Map>
constexpr QLatin1String shortTimeName()
{
    if constexpr (std::is_same_v<Map, ShortTimeProfileItemMap>)
        return literal("Profiles");
    else if constexpr (std::is_same_v<Map, ShortTimeFFPAssignmentItemMap>)
        return literal("Assignments");
    else if constexpr (std::is_same_v<Map, ShortTimeResultItemMap>)
        return literal("Results");
    else if constexpr (std::is_same_v<Map, ConvertProductionResultMap>)
        return literal("Conversions");
    else if constexpr (std::is_same_v<Map, ShapeCollectionItemMap>)
        return literal("Shapes");
    else
        static_assert(!std::is_same_v<Map, Map>, "no server has a collection of that kind");
}

/// The path of one of the collections of the server at `basePath`.
template<class Map>
QString shortTimePath(const QString& basePath)
{
    return shortTimePath(basePath) + shortTimeName<Map>();
}

} // namespace Kolta::ServerNodes
