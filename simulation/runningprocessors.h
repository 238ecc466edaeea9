#pragma once

#include <koltacommon/processorwalk.h>
#include <resourcemodel/processors.h>

#include <QHash>
#include <QString>
#include <QUuid>
#include <QVector>

#include <list>

namespace KoltaSimulation {

/// Walks meet every processor that a server runs.
constexpr Kolta::ProcessorWalk::Plan kEveryProcessor{false, false, true, true};

/// What the bookkeeping of a server needs to know of one processor.
struct ProcessorFacts
{
    QUuid guid;
    QString type; ///< class name, "MCP" for instance
    QString unit; ///< GUID of the processing unit that it runs on
    int credits = 0;
    QString tuner;          ///< GUID of the tuner that feeds it; empty for none
    QString demandClass;    ///< empty for none
    double frequency = 0.0; ///< centre, Hz; 0: not said
    double bandwidth = 0.0; ///< Hz; 0: not said
};

/// The facts of an SCP, MCP or FFP and of all below it, inner ones first.
template<class Node>
QVector<ProcessorFacts> factsOfAll(const Node& node);

/// The processors that run on a server. Every one has a GUID of its own. An FFP directly in an MCP comes and
/// goes in constant time, an SCP or MCP in that of its own size, whatever else runs.
class RunningProcessors
{
public:
    RunningProcessors() = default;

    void add(const RESOURCEMANAGEMENT::SCP& scp);
    void add(const RESOURCEMANAGEMENT::MCP& mcp);
    /// False when no such MCP runs.
    bool addFfp(const QUuid& mcp, const RESOURCEMANAGEMENT::FFP& ffp);
    /// The FFP goes to the end of the MCP's list, as `changed`, which has the same GUID. False when one of
    /// the two does not run.
    bool moveFfp(const RESOURCEMANAGEMENT::FFP& changed, const QUuid& mcp);
    /// Removes a processor and all below it; their facts, inner ones first. Empty when it does not run.
    QVector<ProcessorFacts> remove(const QUuid& guid);
    void clear();

    bool contains(const QUuid& guid) const { return m_places.contains(guid); }
    /// The MCP without its own FFPs; null when no MCP has that GUID. Good until the next change.
    const RESOURCEMANAGEMENT::MCP* mcp(const QUuid& guid) const;
    const RESOURCEMANAGEMENT::SCP* scp(const QUuid& guid) const;
    /// An FFP directly in an MCP; null for any other processor.
    const RESOURCEMANAGEMENT::FFP* ffp(const QUuid& guid) const;
    /// The MCP that such an FFP is in; null for any other processor.
    QUuid mcpOfFfp(const QUuid& ffp) const;
    /// The facts of the SCPs, then of the MCPs, without what is below them.
    QVector<ProcessorFacts> tops() const;
    /// SCPs and MCPs in the order in which they came, with the right number of FFPs.
    RESOURCEMANAGEMENT::ProcessorOverview overview() const;

    RunningProcessors(const RunningProcessors&) = delete;
    RunningProcessors& operator=(const RunningProcessors&) = delete;

private:
    struct Mcp
    {
        RESOURCEMANAGEMENT::MCP record; ///< without its own FFPs
        std::list<RESOURCEMANAGEMENT::FFP> ffps;
    };
    enum class Kind { Scp, Mcp, Ffp, InScp, InMcp };
    /// Where a processor is. `mcp` or `scp` is the one that it is, or is in.
    struct Place
    {
        Kind kind = Kind::Scp;
        std::list<RESOURCEMANAGEMENT::SCP>::iterator scp;
        std::list<Mcp>::iterator mcp;
        std::list<RESOURCEMANAGEMENT::FFP>::iterator ffp;
    };
    const Place* placeOf(const QUuid& guid, Kind kind) const;
    template<class Node>
    void index(const Node& node, const Place& top, const Place& below);

    std::list<RESOURCEMANAGEMENT::SCP> m_scps;
    std::list<Mcp> m_mcps;
    QHash<QUuid, Place> m_places;
};

} // namespace KoltaSimulation
