#include <koltacommon/processorconverter.h>

#include <koltacommon/processorwalk.h>
#include <koltacommon/resourcedemandclassobserver.h>

#include <resourcemodel/processors.h>
#include <resourcemodel/resources.h>

#include <QUuid>

#include <utility>

namespace Kolta {

using namespace RESOURCEMANAGEMENT;

namespace {

/// Gives any node of the processor tree a default record with the demand class that its kind starts with.
template<class Node>
void setupRecord(Node& node, eAppType appType)
{
    KoltaProcessor& record = node.EditKoltaProcessor();
    ProcessorConverter::setupDefaultKoltaProcessor(record);
    record.SetDemandClassName(ResourceDemandClassObserver::GetDefaultDemandClassName(appType));
}

DataSource noTuner()
{
    DataSource source;
    source.SetTunerGUID(QLatin1String(ProcessorWalk::kNoTuner));
    return source;
}

} // namespace

void ProcessorConverter::setupDefaultKoltaProcessor(KoltaProcessor& processor)
{
    const QString text = QStringLiteral("Default");
    TavikResource resource;
    resource.SetName(text);
    resource.SetDisplayName(text);
    resource.SetGUID(text);
    resource.SetAddress(text);
    processor.SetDemandClassName(QStringLiteral("standard"));
    processor.SetLocalStorage(KoltaProcessor::eDefaultLocalStorage);
    processor.SetTavikResource(std::move(resource));
}

void ProcessorConverter::setupDefaultMCP(MCP& mcp)
{
    setupRecord(mcp, eAppMCP);
    mcp.SetDataSource(noTuner());
}

void ProcessorConverter::setupDefaultSCP(SCP& scp)
{
    setupRecord(scp, eAppSCP);
    setupDefaultFFP(scp.EditFFP());
    scp.SetDataSource(noTuner());
}

void ProcessorConverter::setupDefaultFFP(FFP& ffp)
{
    setupRecord(ffp, eAppFFP);
}

void ProcessorConverter::setupDefaultDSC(DSC& dsc, int numberOfFFPs)
{
    setupRecord(dsc, eAppDSC);
    dsc.SetProduction(false);
    dsc.SetScanning(false);
    for (int i = 0; i < numberOfFFPs; ++i) {
        FFP ffp;
        setupDefaultFFP(ffp);
        dsc.EditFFP().append(std::move(ffp));
    }
}

void ProcessorConverter::setupDefaultFHP(FHP& fhp, int numberOfFHAs)
{
    setupDefaultKoltaProcessor(fhp.EditKoltaProcessor());
    for (int i = 0; i < numberOfFHAs; ++i) {
        FHA fha;
        setupDefaultKoltaProcessor(fha.EditKoltaProcessor());
        fhp.EditFHA().append(std::move(fha));
    }
}

void ProcessorConverter::setupDefaultProcessorOverview(ProcessorOverview& overview)
{
    overview.Reset();
    overview.SetNumberOfFFPs(0);
}

void ProcessorConverter::setupDefaultResourceOverview(ResourceOverview& overview)
{
    overview.Reset();
    overview.SetNumberOfTuners(0);
}

void ProcessorConverter::setupDefaultUsedProcessingUnit(UsedProcessingUnit& unit)
{
    unit.Reset();
    unit.SetGUID(QUuid().toString());
}

void ProcessorConverter::SetupDefaultKoltaProcessor(KoltaProcessor& processor) const
{
    setupDefaultKoltaProcessor(processor);
}

void ProcessorConverter::SetupDefaultMCP(MCP& mcp) const
{
    setupDefaultMCP(mcp);
}

void ProcessorConverter::SetupDefaultSCP(SCP& scp) const
{
    setupDefaultSCP(scp);
}

void ProcessorConverter::SetupDefaultFFP(FFP& ffp) const
{
    setupDefaultFFP(ffp);
}

void ProcessorConverter::SetupDefaultDSC(DSC& dsc, int numberOfFFPs) const
{
    setupDefaultDSC(dsc, numberOfFFPs);
}

void ProcessorConverter::SetupDefaultFHP(FHP& fhp, int numberOfFHAs) const
{
    setupDefaultFHP(fhp, numberOfFHAs);
}

void ProcessorConverter::SetupDefaultProcessorOverview(ProcessorOverview& overview) const
{
    setupDefaultProcessorOverview(overview);
}

void ProcessorConverter::SetupDefaultResourceOverview(ResourceOverview& overview) const
{
    setupDefaultResourceOverview(overview);
}

void ProcessorConverter::SetupDefaultUsedProcessingUnit(UsedProcessingUnit& unit) const
{
    setupDefaultUsedProcessingUnit(unit);
}

void ProcessorConverter::setCorrectNumberOfFFPs(ProcessorOverview& overview)
{
    int count = 0;
    ProcessorWalk::walk(std::as_const(overview), {}, [&count](const auto& node, const auto&) {
        count += ProcessorWalk::isA<std::decay_t<decltype(node)>, FFP> ? 1 : 0;
        return ProcessorWalk::eInto;
    });
    overview.SetNumberOfFFPs(count);
}

} // namespace Kolta
