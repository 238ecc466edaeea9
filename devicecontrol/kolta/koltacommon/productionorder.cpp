#include <koltacommon/productionorder.h>

#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/processorconverter.h>
#include <koltacommon/processorwalk.h>
#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/serverdesk.h>

#include <QCoreApplication>
#include <QSet>
#include <QtMath>

namespace Kolta {

using RESOURCEMANAGEMENT::FFP;
using RESOURCEMANAGEMENT::MCP;
using RESOURCEMANAGEMENT::SCP;

namespace {

QString translated(const char* text)
{
    return QCoreApplication::translate("Kolta::ProductionOrder", text);
}

/// A copy of the order's record, or the kind's default.
template<class Node>
Node recordOf(const ProductionOrder& order)
{
    if (const auto* const given = dynamic_cast<const Node*>(order.processor.get()))
        return *given;
    Node node;
    if constexpr (ProcessorWalk::isA<Node, FFP>)
        ProcessorConverter::setupDefaultFFP(node);
    else if constexpr (ProcessorWalk::isA<Node, SCP>)
        ProcessorConverter::setupDefaultSCP(node);
    else
        ProcessorConverter::setupDefaultMCP(node);
    return node;
}

/// Calls `function` with the record of the order's kind.
template<class Function>
auto withRecord(const ProductionOrder& order, const Function& function)
{
    switch (order.kind) {
    case ProductionOrder::Kind::Scp:
        return function(recordOf<SCP>(order));
    case ProductionOrder::Kind::Ffp:
        return function(recordOf<FFP>(order));
    case ProductionOrder::Kind::Mcp:
        break;
    }
    return function(recordOf<MCP>(order));
}

/// "MCP 1", with the lowest number that no running processor has.
QString unusedName(const KoltaProcessorObserver& processors, ProductionOrder::Kind kind)
{
    QSet<QString> used;
    ProcessorWalk::walk(processors.GetCurrentProcessors(), {}, [&used](const auto& node, const auto&) {
        used.insert(node.GetKoltaProcessor().GetTavikResource().GetDisplayName());
        return ProcessorWalk::eInto;
    });
    int number = 1;
    const auto name = [&] { return QStringLiteral("%1 %2").arg(kindName(kind)).arg(number); };
    while (used.contains(name()))
        ++number;
    return name();
}

/// Null when it does not run there.
const MCP* mcpOf(const ProductionOrder& order, KoltaServerInterface& server)
{
    const RunningProcessor found = server.getProcessorObserver().FindProcessor(order.mcp.toString());
    return found.kind == eAppMCP ? static_cast<const MCP*>(found.object) : nullptr;
}

bool isPositive(double number)
{
    return qIsFinite(number) && number >= 0;
}

} // namespace

QString kindName(ProductionOrder::Kind kind)
{
    switch (kind) {
    case ProductionOrder::Kind::Scp:
        return QStringLiteral("SCP");
    case ProductionOrder::Kind::Ffp:
        return QStringLiteral("FFP");
    case ProductionOrder::Kind::Mcp:
        break;
    }
    return QStringLiteral("MCP");
}

QString problemOfOrder(const ProductionOrder& order)
{
    if (!isPositive(order.frequency) || !isPositive(order.bandwidth))
        return translated(QT_TRANSLATE_NOOP("Kolta::ProductionOrder",
                                            "frequency and bandwidth must be numbers of at least 0"));
    if (order.processor && order.processor->GetObjectName() != kindName(order.kind))
        return translated(QT_TRANSLATE_NOOP("Kolta::ProductionOrder", "the record is no %1"))
            .arg(kindName(order.kind));
    if (order.kind == ProductionOrder::Kind::Ffp && order.mcp.isNull())
        return translated(QT_TRANSLATE_NOOP("Kolta::ProductionOrder", "an FFP needs an MCP"));
    const bool hasTuner = !order.tunerClass.isEmpty() || !order.tunerGuid.isEmpty() || order.processor;
    return hasTuner || order.kind == ProductionOrder::Kind::Ffp
               ? QString()
               : translated(QT_TRANSLATE_NOOP("Kolta::ProductionOrder",
                                              "neither a tuner nor a tuner class is named"));
}

ProductionOrder completed(const ProductionOrder& wanted, KoltaServerInterface& server)
{
    ProductionOrder order = wanted;
    withRecord(order, [&](const auto& node) {
        const auto& record = node.GetKoltaProcessor();
        if (order.displayName.isEmpty() && order.processor)
            order.displayName = record.GetTavikResource().GetDisplayName();
        if (order.demandClass.isEmpty() && order.processor)
            order.demandClass = record.GetDemandClassName();
        if (order.frequency == 0.0 && order.processor)
            order.frequency = node.GetFrequency();
        if (order.bandwidth == 0.0 && order.processor)
            order.bandwidth = node.GetBandwidth();
        if (order.tunerGuid.isEmpty() && order.tunerClass.isEmpty())
            order.tunerGuid = ProcessorWalk::tunerOf(node);
        if (order.demandClass.isEmpty() && order.kind == ProductionOrder::Kind::Mcp &&
            !order.tunerClass.isEmpty())
            order.demandClass =
                ServerDesk::of(server).tuners()->selector().getMCPResourceDemandClassForTunerClass(
                    order.tunerClass);
        if (order.demandClass.isEmpty())
            order.demandClass = record.GetDemandClassName();
        return 0;
    });
    if (order.displayName.isEmpty())
        order.displayName = unusedName(server.getProcessorObserver(), order.kind);
    return order;
}

TunerNeeds needsOf(const ProductionOrder& order, KoltaServerInterface& server)
{
    const bool isMcp = order.kind == ProductionOrder::Kind::Mcp;
    const bool inHardware = isMcp && server.getRdcObserver().supportsHWProcessing(eAppMCP, order.demandClass);
    return {order.frequency, order.bandwidth, inHardware};
}

QString problemOfMcp(const ProductionOrder& order, KoltaServerInterface& server)
{
    return order.kind != ProductionOrder::Kind::Ffp || mcpOf(order, server)
               ? QString()
               : translated(QT_TRANSLATE_NOOP("Kolta::ProductionOrder", "no MCP %1 runs"))
                     .arg(order.mcp.toString());
}

QString problemWithinMcp(const ProductionOrder& order, KoltaServerInterface& server)
{
    const bool isFedByMcp =
        order.kind == ProductionOrder::Kind::Ffp && order.tunerGuid.isEmpty() && order.tunerClass.isEmpty();
    const MCP* const mcp = isFedByMcp ? mcpOf(order, server) : nullptr;
    return mcp ? problemWithBand(mcp->GetFrequency(), mcp->GetBandwidth(), needsOf(order, server))
               : QString();
}

std::shared_ptr<const REPORTGENERATOR::IRGObject>
processorFor(const ProductionOrder& order, const QString& tunerGuid, const QUuid& production)
{
    using Record = std::shared_ptr<const REPORTGENERATOR::IRGObject>;
    return withRecord(order, [&](auto node) -> Record {
        using Node = decltype(node);
        auto& record = node.EditKoltaProcessor();
        record.EditTavikResource().SetDisplayName(order.displayName);
        if (!order.demandClass.isEmpty())
            record.SetDemandClassName(order.demandClass);
        if (order.frequency > 0)
            node.SetFrequency(order.frequency);
        if (order.bandwidth > 0)
            node.SetBandwidth(order.bandwidth);
        if constexpr (ProcessorWalk::isA<Node, FFP>) {
            if (!tunerGuid.isEmpty())
                node.SetTunerGUID(tunerGuid);
        } else {
            if (!tunerGuid.isEmpty())
                node.EditDataSource().SetTunerGUID(tunerGuid);
            node.SetProductionID(production.toString());
        }
        return std::make_shared<Node>(std::move(node));
    });
}

} // namespace Kolta
