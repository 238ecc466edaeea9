#pragma once

#include <simulation/adminnodes.h>
#include <simulation/ownerlist.h>
#include <simulation/productionhost.h>
#include <simulation/shorttimeowner.h>
#include <simulation/startupsequence.h>

#include <QObject>
#include <QString>

namespace KoltaSimulation {

/// A server's life in the value tree: comes up through its working states, publishes its overviews, obeys the
/// request nodes, runs productions, owns short-time data, goes down. Nothing of one life is left in the next
/// but the resources themselves.
class Administration : public QObject
{
    Q_OBJECT

public:
    /// All must outlive this.
    Administration(const Installation& installation, ResourceState& resources, MisbehaviourPlan& plan);

    /// Begins a life in that tree, which must outlive this; the one before ends.
    void publish(values::Tree& tree);
    /// Ends the life and forgets the tree.
    void withdraw();
    /// Ends the life, as seen from outside by dying.
    void disappear();
    /// Begins the next life in the same tree, if there is one.
    void appear();

    /// Where it lives, or lived until it disappeared; null when it is to live nowhere.
    values::Tree* tree() const noexcept { return m_tree; }
    /// See SimulatedServer::kindOf().
    QString kindOf(const QUuid& guid) const { return m_productions.kindOf(guid); }

    /// Time in each working state of the next start-ups, in milliseconds; 0 comes up at once.
    void setStartupStep(int milliseconds) { m_startupStep = milliseconds; }
    /// Ends a start-up that runs.
    void setWorkingState(int state);
    void setStatus(const QString& text) { m_nodes.setText(ServerNodes::name(ServerNodes::eStatus), text); }
    /// Publishes the resources as they are now.
    void showResources();

Q_SIGNALS:
    /// Resources have been changed by clients or productions.
    void resourcesChanged();
    /// Somebody asked the server to end; its productions have been stopped. It is to die now, and to come
    /// back if it `returns`.
    void ended(bool returns);

private:
    QVector<NodeText> texts() const;
    QString startupErrors() const;
    QVector<int> startupStates() const;
    QString stateName(int state) const;
    void followStartup();
    void obey(const Wish& wish);
    void changeTuners(const QString& text);
    void changeProcessingUnits(const QString& text);
    void changeStorageUnits(const QString& text);
    void switchPower(const QString& text);
    void changeOwner(const QString& text);
    void showOwners();
    void shutDownLater(bool returns);
    void shutDown(bool returns);

    const Installation& m_installation;
    ResourceState& m_resources;
    AdminNodes m_nodes;
    ProductionHost m_productions;
    OwnerList m_owners;
    ShortTimeOwner m_shortTime;
    StartupSequence m_startup;
    values::Tree* m_tree = nullptr;
    int m_startupStep;
    int m_life = 0; ///< counts the lives that have ended
};

} // namespace KoltaSimulation
