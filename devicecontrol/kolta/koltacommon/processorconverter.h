#pragma once

#include <koltacommon/export.h>

namespace RESOURCEMANAGEMENT {
class DSC;
class FFP;
class FHP;
class KoltaProcessor;
class MCP;
class ProcessorOverview;
class ResourceOverview;
class SCP;
class UsedProcessingUnit;
} // namespace RESOURCEMANAGEMENT

namespace Kolta {

/// Fills objects of the processor tree with the contents that an installation starts from, and keeps the
/// overview's number of FFPs right.
///
/// Every operation is there twice: the static one does the work, the member of the same name with an
/// upper-case initial forwards to it, for callers that were handed a converter. What an operation does not
/// name it leaves as it was, so fresh objects are the usual argument. Copyable, without state; thread-safe as
/// far as the objects that it is given are.
class KOLTA_COMMON_EXPORT ProcessorConverter
{
public:
    virtual ~ProcessorConverter() = default;

    /// Resource named "Default" in every respect, demand class "standard", local storage 1.
    static void setupDefaultKoltaProcessor(RESOURCEMANAGEMENT::KoltaProcessor& processor);
    /// Default processor record with demand class "sw"; fed by no tuner ("none").
    static void setupDefaultMCP(RESOURCEMANAGEMENT::MCP& mcp);
    /// Default processor record with demand class "scp", and one default FFP; fed by no tuner ("none").
    static void setupDefaultSCP(RESOURCEMANAGEMENT::SCP& scp);
    /// Default processor record with demand class "300k".
    static void setupDefaultFFP(RESOURCEMANAGEMENT::FFP& ffp);
    /// Default processor record with demand class "extended", neither producing nor scanning;
    /// `numberOfFFPs` default FFPs are appended, none for a number below 1.
    static void setupDefaultDSC(RESOURCEMANAGEMENT::DSC& dsc, int numberOfFFPs);
    /// Default processor record; `numberOfFHAs` FHAs with default records are appended, none for a number
    /// below 1.
    static void setupDefaultFHP(RESOURCEMANAGEMENT::FHP& fhp, int numberOfFHAs);
    /// Empty, with the number of FFPs set to 0.
    static void setupDefaultProcessorOverview(RESOURCEMANAGEMENT::ProcessorOverview& overview);
    /// Empty, with the number of tuners set to 0.
    static void setupDefaultResourceOverview(RESOURCEMANAGEMENT::ResourceOverview& overview);
    /// Empty, with the null UUID as GUID: the place of a unit that is assigned later.
    static void setupDefaultUsedProcessingUnit(RESOURCEMANAGEMENT::UsedProcessingUnit& unit);

    void SetupDefaultKoltaProcessor(RESOURCEMANAGEMENT::KoltaProcessor& processor) const;
    void SetupDefaultMCP(RESOURCEMANAGEMENT::MCP& mcp) const;
    void SetupDefaultSCP(RESOURCEMANAGEMENT::SCP& scp) const;
    void SetupDefaultFFP(RESOURCEMANAGEMENT::FFP& ffp) const;
    void SetupDefaultDSC(RESOURCEMANAGEMENT::DSC& dsc, int numberOfFFPs) const;
    void SetupDefaultFHP(RESOURCEMANAGEMENT::FHP& fhp, int numberOfFHAs) const;
    void SetupDefaultProcessorOverview(RESOURCEMANAGEMENT::ProcessorOverview& overview) const;
    void SetupDefaultResourceOverview(RESOURCEMANAGEMENT::ResourceOverview& overview) const;
    void SetupDefaultUsedProcessingUnit(RESOURCEMANAGEMENT::UsedProcessingUnit& unit) const;

    /// Counts the FFPs of the whole tree, those inside DSCs and FHPs included, and stores the number in the
    /// overview.
    static void setCorrectNumberOfFFPs(RESOURCEMANAGEMENT::ProcessorOverview& overview);
};

} // namespace Kolta
