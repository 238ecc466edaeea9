#include <koltacommon/tavikxmlhelpers.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/processorwalk.h>

#include <resourcemodel/hwprocessing.h>
#include <resourcemodel/processors.h>
#include <resourcemodel/resources.h>
#include <resourcemodel/textreader.h>
#include <startup/tracesource.h>

#include <optional>

namespace Kolta::TavikXmlHelpers {

using namespace RESOURCEMANAGEMENT;
using ProcessorWalk::eInto;
using ProcessorWalk::eOver;
using ProcessorWalk::eStep;
using ProcessorWalk::eStop;
using ProcessorWalk::isA;
using REPORTGENERATOR::IRGObject;

namespace {

enum eTracePoint : int { eInvalidType = 100 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/tavikxmlhelpers");

eStep stopIf(bool found, eStep otherwise)
{
    return found ? eStop : otherwise;
}

/// The visitors of the three searches: they stop at the match.
auto matchGuid(const QString& guid)
{
    return
        [&guid](const auto& node, const auto&) { return stopIf(ProcessorWalk::guidOf(node) == guid, eInto); };
}

auto matchProductionId(const QString& id)
{
    return [&id](const auto& node, const auto&) {
        using Node = std::decay_t<decltype(node)>;
        if constexpr (isA<Node, SCP> || isA<Node, MCP>)
            return stopIf(node.IsProductionIDSet() && node.GetProductionID() == id, eOver);
        else
            return eOver;
    };
}

auto matchTunerGuid(const QString& guid)
{
    return [&guid](const auto& node, const auto& parent) {
        using Node = std::decay_t<decltype(node)>;
        using Parent = std::decay_t<decltype(parent)>;
        if constexpr (isA<Node, SCP>)
            return stopIf(node.GetDataSource().GetTunerGUID() == guid, eOver);
        else if constexpr (isA<Node, MCP>)
            return stopIf(node.GetDataSource().GetTunerGUID() == guid, eInto);
        else if constexpr (isA<Node, DSC>)
            return eInto;
        else if constexpr (isA<Node, FFP> && isA<Parent, DSC>)
            return stopIf(node.GetTunerGUID() == guid, eOver);
        else
            return eOver;
    };
}

/// Where a search ended: the branch of the overview, and the node's resource.
struct Place
{
    int scp = -1;
    int mcp = -1;
    const TavikResource* resource = nullptr;
};

template<class Match>
std::optional<Place> findPlace(const ProcessorOverview& overview, const Match& match)
{
    Place place;
    const bool passed = ProcessorWalk::walk(overview, {}, [&](const auto& node, const auto& parent) {
        using Node = std::decay_t<decltype(node)>;
        if constexpr (isA<Node, SCP>)
            ++place.scp;
        else if constexpr (isA<Node, MCP>)
            ++place.mcp;
        const eStep step = match(node, parent);
        if (step == eStop)
            place.resource = &node.GetKoltaProcessor().GetTavikResource();
        return step;
    });
    return passed ? std::nullopt : std::optional<Place>(place);
}

/// Looks through the const tree first, so that a search without a result never detaches shared lists, and
/// then makes the pointers in the one branch that holds the match.
template<class Match>
Object2Parent find(ProcessorOverview& overview, const Match& match)
{
    Object2Parent found;
    const std::optional<Place> place = findPlace(overview, match);
    if (!place)
        return found;
    const auto enter = [&](auto& node, auto& parent) {
        const eStep step = match(node, parent);
        if (step == eStop) {
            found.object = &node;
            found.objectProcessor = &node.EditKoltaProcessor();
            found.parent = &parent;
            if constexpr (!isA<std::remove_reference_t<decltype(parent)>, ProcessorOverview>)
                found.parentProcessor = &parent.EditKoltaProcessor();
        }
        return step;
    };
    if (place->mcp >= 0)
        ProcessorWalk::walkBranch(overview.EditMCP()[place->mcp], overview, {}, enter);
    else
        ProcessorWalk::walkBranch(overview.EditSCP()[place->scp], overview, {}, enter);
    return found;
}

template<class Node>
QSet<QString> guidsBelow(const Node& root)
{
    QSet<QString> guids;
    ProcessorWalk::walk(root, {}, [&guids](const auto& node, const auto&) {
        if (node.GetKoltaProcessor().GetTavikResource().IsGUIDSet())
            guids.insert(ProcessorWalk::guidOf(node));
        return eInto;
    });
    return guids;
}

template<class Element>
const Element* findResource(const QVector<Element>& list, const QString& guid)
{
    for (const Element& element : list) {
        if (element.GetTavikResource().GetGUID() == guid)
            return &element;
    }
    return nullptr;
}

} // namespace

QString parseResourceManagementObject(IRGObject& target, const QString& xml,
                                      REPORTGENERATOR::TextReader* reader)
{
    QString error;
    try {
        if (reader)
            reader->read(xml, target);
        else if (!target.SetXmlString(xml, true))
            error = QStringLiteral("SetXmlString returned false");
    } catch (...) {
        const QString unknown = QStringLiteral("Unknown error.");
        error = Startup::CurrentExceptionText(unknown);
        if (error.isEmpty())
            error = unknown;
    }
    if (!error.isEmpty())
        error = QStringLiteral("Error in parsing ") + target.GetObjectName() + QStringLiteral(": ") + error;
    return error;
}

Object2Parent FindGUID(const QString& guid, ProcessorOverview& overview)
{
    return isGuid(guid) ? find(overview, matchGuid(guid)) : Object2Parent();
}

Object2Parent FindProductionID(const QString& id, ProcessorOverview& overview)
{
    return isGuid(id) ? find(overview, matchProductionId(id)) : Object2Parent();
}

Object2Parent FindTunerGUID(const QString& tunerGuid, ProcessorOverview& overview)
{
    return isGuid(tunerGuid) ? find(overview, matchTunerGuid(tunerGuid)) : Object2Parent();
}

const HWProcessing* FindGUID(const QString& guid, const HWProcessingOverview& overview)
{
    for (const HWProcessing& entry : overview.GetHWProcessing()) {
        if (entry.IsGUIDSet() && entry.GetGUID() == guid)
            return &entry;
    }
    return nullptr;
}

const IRGObject* FindGUID(const QString& guid, const ResourceOverview& overview)
{
    if (!isGuid(guid))
        return nullptr;
    if (const Tuner* const tuner = findResource(overview.GetTuner(), guid))
        return tuner;
    if (const ProcessingUnit* const unit = findResource(overview.GetProcessingUnit(), guid))
        return unit;
    return findResource(overview.GetStorageUnit(), guid);
}

QString DisplayNameForGUID(const QString& guid, const ProcessorOverview& overview)
{
    if (!isGuid(guid))
        return QString();
    std::optional<Place> place = findPlace(overview, matchGuid(guid));
    if (!place)
        place = findPlace(overview, matchProductionId(guid));
    return place ? place->resource->GetDisplayName() : QString();
}

QString DisplayNameForGUID(const QString& guid, const ResourceOverview& overview)
{
    if (guid.isEmpty())
        return QString();
    if (const Tuner* const tuner = findResource(overview.GetTuner(), guid))
        return tuner->GetTavikResource().GetDisplayName();
    if (const ProcessingUnit* const unit = findResource(overview.GetProcessingUnit(), guid))
        return unit->GetTavikResource().GetDisplayName();
    if (const StorageUnit* const unit = findResource(overview.GetStorageUnit(), guid))
        return unit->GetTavikResource().GetDisplayName();
    return QString();
}

QSet<QString> ALL_GUIDS_OF(const ProcessorOverview& overview)
{
    return guidsBelow(overview);
}

QSet<QString> ALL_GUIDS_OF(const SCP& scp)
{
    return guidsBelow(scp);
}

QSet<QString> ALL_GUIDS_OF(const MCP& mcp)
{
    return guidsBelow(mcp);
}

QSet<QString> ALL_GUIDS_OF(const HWProcessingOverview& overview)
{
    QSet<QString> guids;
    for (const HWProcessing& entry : overview.GetHWProcessing()) {
        if (entry.IsGUIDSet())
            guids.insert(entry.GetGUID());
    }
    return guids;
}

QStringList HasTunerInterfaceTo(const Tuner& tuner, const StorageUnit& storageUnit)
{
    QStringList types;
    for (const XGStorage& storage : tuner.GetXGStorage()) {
        if (storage.GetGUID() != storageUnit.GetTavikResource().GetGUID())
            continue;
        for (const Connection& connection : storage.GetConnection())
            types.append(connection.GetType().toUpper());
        break;
    }
    return types;
}

void clearGUIDs(IRGObject& object, bool keepProductionIDs)
{
    const auto clearNode = [keepProductionIDs](auto& node, const auto&) {
        using Node = std::decay_t<decltype(node)>;
        // Asked first: editing a record that is not there would set it.
        if (node.IsKoltaProcessorSet() && node.GetKoltaProcessor().IsTavikResourceSet())
            node.EditKoltaProcessor().EditTavikResource().ResetGUID();
        if constexpr (isA<Node, SCP> || isA<Node, MCP>) {
            if (!keepProductionIDs)
                node.ResetProductionID();
        }
        return eInto;
    };
    const bool known = ProcessorWalk::withProcessorType(
        object, [&clearNode](auto& root) { ProcessorWalk::walk(root, {}, clearNode); });
    if (!known)
        kTrace(eInvalidType, QStringLiteral("Invalid type passed."));
}

QString formatTavikResourceID(unsigned short id)
{
    return QStringLiteral("%1").arg(id, 5, 10, QLatin1Char('0'));
}

} // namespace Kolta::TavikXmlHelpers
