#include "productionorder.h"

#include "processordirectory.h"
#include "tunerallocation.h"
#include "tunertables.h"

#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/processorconverter.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclassresourceselector.h>

#include <QHash>
#include <QSet>

namespace KoltaCli {

using Kolta::KoltaProcessorObserver;
using Kolta::KoltaProductionControl;
using Kolta::ProcessorConverter;
using RESOURCEMANAGEMENT::Tuner;

namespace {

/// "MCP 1", with the lowest number that no running processor has.
QString unusedName(Server& server, ProductionOrder::eKind kind)
{
    QSet<QString> used;
    for (const ProcessorEntry& entry : ProcessorDirectory({&server}).all())
        used.insert(entry.name);
    int number = 1;
    const auto name = [&] { return QStringLiteral("%1 %2").arg(kindName(kind)).arg(number); };
    while (used.contains(name()))
        ++number;
    return name();
}

/// What every kind of processor takes from an order.
template<class Node>
void fill(Node& node, const ProductionOrder& order)
{
    auto& record = node.EditKoltaProcessor();
    record.EditTavikResource().SetDisplayName(order.name);
    if (!order.demandClass.isEmpty())
        record.SetDemandClassName(order.demandClass);
    if (order.frequency > 0)
        node.SetFrequency(order.frequency);
    if (order.bandwidth > 0)
        node.SetBandwidth(order.bandwidth);
}

/// Hands the processor that the order describes to `use`.
template<class Function>
auto withProcessor(const ProductionOrder& order, const QString& tunerGuid, const Function& use)
{
    if (order.kind == ProductionOrder::eFfp) {
        RESOURCEMANAGEMENT::FFP ffp;
        ProcessorConverter::setupDefaultFFP(ffp);
        fill(ffp, order);
        if (!tunerGuid.isEmpty())
            ffp.SetTunerGUID(tunerGuid);
        return use(ffp);
    }
    if (order.kind == ProductionOrder::eScp) {
        RESOURCEMANAGEMENT::SCP scp;
        ProcessorConverter::setupDefaultSCP(scp);
        fill(scp, order);
        scp.EditDataSource().SetTunerGUID(tunerGuid);
        return use(scp);
    }
    RESOURCEMANAGEMENT::MCP mcp;
    ProcessorConverter::setupDefaultMCP(mcp);
    fill(mcp, order);
    mcp.EditDataSource().SetTunerGUID(tunerGuid);
    return use(mcp);
}

/// Chooses a tuner of the order's class and plans it; the reason when that fails.
QString planTuner(Server& server, const ProductionOrder& order, Tuner& tuner)
{
    const TunerAllocation allocation(server);
    if (const QString problem = allocation.problemOfClass(order.className); !problem.isEmpty())
        return problem;
    const auto selection = allocation.explain(order.className);
    if (!selection.chosen())
        return QStringLiteral("no tuner of class %1 can be had: %2")
            .arg(order.className, refusalSummary(selection));
    tuner = selection.chosen()->tuner;
    QString problem;
    allocation.booking().planTuner(guidOf(tuner), problem);
    return problem;
}

/// The demand class that the tuner class means for an MCP, unless the order names one.
QString demandClassFor(Server& server, const ProductionOrder& order)
{
    if (!order.demandClass.isEmpty() || order.kind != ProductionOrder::eMcp || order.className.isEmpty())
        return order.demandClass;
    return TunerAllocation(server).selector().getMCPResourceDemandClassForTunerClass(order.className);
}

/// The tuner that `text` names; the reason when it names none or several.
QString findTuner(Server& server, const QString& text, Tuner& tuner)
{
    const QUuid guid = Kolta::guidFromText(text);
    int found = 0;
    for (const Tuner& candidate : server.getResourceObserver().GetCurrentResources().GetTuner()) {
        if (guid.isNull() ? nameOf(candidate) != text : Kolta::guidFromText(guidOf(candidate)) != guid)
            continue;
        tuner = candidate;
        ++found;
    }
    if (found == 1)
        return {};
    return found == 0 ? QStringLiteral("%1 has no tuner \"%2\"").arg(server.getAddress(), text)
                      : QStringLiteral("%1 tuners are called \"%2\", give its GUID").arg(found).arg(text);
}

} // namespace

QString kindName(ProductionOrder::eKind kind)
{
    return QStringList{QStringLiteral("SCP"), QStringLiteral("MCP"), QStringLiteral("FFP")}.at(kind);
}

ServerAnswer awaitAnswer(Server& server, const std::function<QUuid()>& ask, int timeoutMs)
{
    // All answers are kept: the wanted one may come before its GUID is known.
    QHash<QUuid, ServerAnswer> answers;
    QObject scope;
    QObject::connect(&server.getProductionControl(), &KoltaProductionControl::si_ProductionRequestReplied,
                     &scope, [&answers](const QUuid& request, bool accepted, const QString& text) {
                         answers.insert(request, {request, accepted, text});
                     });
    const QUuid request = ask();
    if (request.isNull())
        return {request, false, QStringLiteral("%1 takes no requests").arg(server.getAddress())};
    if (waitUntil([&] { return answers.contains(request); }, timeoutMs)) {
        ServerAnswer answer = answers.value(request);
        answer.problem = answer.accepted
                             ? QString()
                             : QStringLiteral("%1 refuses: %2").arg(server.getAddress(), answer.problem);
        return answer;
    }
    return {
        request, false,
        orInterrupted(
            QStringLiteral("no answer from %1 within %2").arg(server.getAddress(), secondsText(timeoutMs)))};
}

namespace {

ServerAnswer requestOn(Server& server, const ProductionOrder& order, const QString& tunerGuid, int timeoutMs)
{
    return withProcessor(order, tunerGuid, [&](const auto& processor) {
        return awaitAnswer(
            server,
            [&] {
                return server.getProductionControl().requestProduction(processor, false, QUuid(order.mcp));
            },
            timeoutMs);
    });
}

} // namespace

ProductionOutcome produce(Server& server, const ProductionOrder& wanted, int timeoutMs)
{
    ProductionOrder order = wanted;
    ProductionOutcome outcome;
    if (order.name.isEmpty())
        order.name = unusedName(server, order.kind);
    if (!order.tuner.isEmpty())
        outcome.answer.problem = findTuner(server, order.tuner, outcome.tuner);
    else if (!order.className.isEmpty())
        outcome.answer.problem = planTuner(server, order, outcome.tuner);
    if (!outcome.answer.problem.isEmpty())
        return outcome;
    order.demandClass = demandClassFor(server, order);
    outcome.name = order.name;
    outcome.demandClass = order.demandClass;

    KoltaProcessorObserver& processors = server.getProcessorObserver();
    QObject scope;
    QObject::connect(&processors, &KoltaProcessorObserver::si_ProcessorStarted, &scope,
                     [&](const QString& guid) {
                         // Of an FFP only its MCP tells that it is the wanted one.
                         if (processors.GetMcpGUIDFor(guid) == order.mcp &&
                             processors.GetDisplayNameByGUID(guid) == order.name)
                             outcome.processor = guid;
                     });
    outcome.answer = requestOn(server, order, guidOf(outcome.tuner), timeoutMs);
    if (!outcome.answer.accepted && order.tuner.isEmpty())
        server.getBookingManager().undoTunerPlanning(guidOf(outcome.tuner));
    return outcome;
}

} // namespace KoltaCli
