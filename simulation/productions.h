#pragma once

#include <simulation/demandtable.h>
#include <simulation/processingcapacity.h>
#include <simulation/runningprocessors.h>

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QVector>

#include <optional>

namespace KoltaSimulation {

class Installation;
class ResourceState;
struct ProductionRequest;

/// A processor with a front end: every SCP, every MCP, every FFP directly in an MCP.
struct Driver
{
    QUuid guid;
    QString type;           ///< "SCP", "MCP" or "FFP"
    int task = 0;           ///< number of the production that it came with
    QDateTime reserved;     ///< until when the task is reserved, UTC
    double frequency = 0.0; ///< Hz
    double bandwidth = 0.0; ///< Hz
    QString tuner;          ///< GUID of the tuner that feeds it; empty for none
};

/// What runs on a server and the rules by which it starts, moves and stops: tuners are held, processing units
/// lend their credits, processors get GUIDs. Tells nobody; see ProductionHost.
class Productions
{
public:
    /// Both must outlive this.
    Productions(const Installation& installation, ResourceState& resources);

    /// What runs from the beginning, whatever stands against it. Productions without ID and processors
    /// without GUID get one, SCPs and MCPs without processing unit get one that has room, if there is one.
    void load(const RESOURCEMANAGEMENT::ProcessorOverview& overview);
    /// Ends everything. Nothing of it is among the changes; the tuners are released.
    void clear();

    /// Does what was asked for. Empty when it is done; otherwise the reason of the refusal, and nothing has
    /// changed.
    QString fulfil(const ProductionRequest& request);

    // Stopping answers with the productions that have ended, those of inner processors first. A processor
    // that came as a part of a production ends none.

    /// By the GUID of a production or of a processor. Nothing when neither has it.
    std::optional<QVector<QUuid>> stop(const QUuid& guid);
    QVector<QUuid> stopAll();
    /// Stops what runs on processing units that are not registered any more.
    QVector<QUuid> stopLost();

    /// What happened since somebody last asked, in its order. A processor that came and went meanwhile is
    /// among both the started and the stopped.
    struct Changes
    {
        QVector<QUuid> started;  ///< drivers; moved ones, too
        QVector<QUuid> stopped;  ///< processors of any kind
        QVector<QUuid> hardware; ///< MCPs that came and are processed in hardware
        bool isEmpty() const { return started.isEmpty() && stopped.isEmpty(); }
    };
    Changes takeChanges();
    RESOURCEMANAGEMENT::ProcessorOverview overview() const { return m_running.overview(); }
    bool runs(const QUuid& processor) const { return m_running.contains(processor); }
    /// The type of the driver with that GUID, or of that which the production is; empty for none.
    QString kindOf(const QUuid& guid) const;
    /// In no order.
    QVector<QUuid> drivers() const { return m_productions.keys().toVector(); }
    /// Nothing when no driver with that GUID runs.
    std::optional<Driver> driver(const QUuid& guid) const;

private:
    struct Production
    {
        QUuid id; ///< null for a driver that came as a part of a production
        int task = 0;
        QDateTime reserved;
    };
    template<class Node>
    QString startTop(const Node& asked, const QUuid& id);
    QString startFfp(const ProductionRequest& request);
    QString moveFfp(const ProductionRequest& request);
    QString problemOfId(const QUuid& id) const;
    QString problemOfTuner(const ProcessorFacts& facts, bool shared) const;
    template<class Node>
    QString problemOfDemand(const Node& asked, int& credits) const;
    template<class Node>
    QString problemOf(const Node& asked, const RESOURCEMANAGEMENT::MCP* mcp, int& credits) const;
    template<class Node>
    void equip(Node& node, const QString& unit, bool keepGuids) const;
    template<class Node>
    void enter(const Node& top, const QUuid& id);
    void holdTuner(const QString& tuner);
    void releaseTuner(const QString& tuner);
    QVector<QUuid> stopProcessor(const QUuid& guid);

    ResourceState& m_resources;
    DemandTable m_demand;
    ProcessingCapacity m_capacity;
    RunningProcessors m_running;
    QHash<QUuid, QUuid> m_processors;       ///< by production
    QHash<QUuid, Production> m_productions; ///< by driver
    QHash<QString, int> m_tunerUsers;       ///< processors by the tuner that feeds them
    Changes m_changes;
    int m_lastTask = 0;
};

} // namespace KoltaSimulation
