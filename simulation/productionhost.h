#pragma once

#include <simulation/adminnodes.h>
#include <simulation/audit.h>
#include <simulation/hardwarelist.h>
#include <simulation/productionrequest.h>
#include <simulation/productions.h>

#include <QObject>
#include <QString>
#include <QUuid>

#include <deque>

namespace KoltaSimulation {

class MisbehaviourPlan;

/// A server's side of productions: works off what clients wish and shows what came of it.
///
/// Wishes are kept in the order in which they came and worked off in the next turn of the event loop, all
/// that have gathered together: nobody is answered before his own call has returned, and the overviews are
/// written once however many productions start or end. Who sees a processor in an overview finds its
/// connection information, and who hears an answer or a notice finds all overviews up to date.
class ProductionHost : public QObject
{
    Q_OBJECT

public:
    /// All must outlive this.
    ProductionHost(const Installation& installation, ResourceState& resources, MisbehaviourPlan& plan,
                   AdminNodes& nodes);

    /// A new life: runs what the installation runs from the beginning.
    void begin();
    /// Everything ends without a word, wishes that wait included.
    void end();
    /// What shows that which runs: texts by the names of their nodes.
    QVector<NodeText> texts() const;
    /// While it is not empty, requests are refused for this reason.
    void setRefusal(const QString& reason) { m_refusal = reason; }

    bool runs(const QUuid& processor) const { return m_productions.runs(processor); }
    QString kindOf(const QUuid& guid) const { return m_productions.kindOf(guid); }
    void request(const QString& name, const QString& text);
    /// `text` is the GUID of a production or a processor, with or without braces, in any letter case.
    void stop(const QString& text);
    void stopAll();
    /// The processing units have changed: what runs on one that is gone ends.
    void stopLost();
    /// Works off what waits now instead of in the next turn.
    void settle();

Q_SIGNALS:
    /// In the middle of showing what has changed; processors of any kind.
    void processorsStopped(const QVector<QUuid>& guids);
    /// Tuners have been taken or released, in the server's resource state.
    void resourcesChanged();
    /// What the server has to say to all.
    void noticed(const QString& status);

private:
    enum class Job { Request, Stop, StopAll, StopLost };
    struct Waiting
    {
        Job job;
        QString text;
        ProductionRequest request;
        bool decided = false; ///< misbehaves no more
        Orderer orderer = currentOrderer();
    };
    void enqueue(Waiting waiting);
    void workOff(const Waiting& waiting);
    void workOffRequest(const Waiting& waiting);
    QString fulfil(const ProductionRequest& request);
    void delay(const Waiting& waiting, int milliseconds);
    void stopGuid(const Waiting& waiting);
    void answer(const Waiting& waiting, const QString& problem);
    void sayEnded(const QVector<QUuid>& ended);
    void flush();
    bool showChanges(const Productions::Changes& changes);
    void showHardware(const Productions::Changes& changes);
    QVector<NodeText> textsOf(const Driver& driver) const;
    void showDrivers(const QVector<QUuid>& drivers);
    void hideDrivers(const QVector<QUuid>& processors);

    const Installation& m_installation;
    ResourceState& m_resources;
    MisbehaviourPlan& m_plan;
    AdminNodes& m_nodes;
    Productions m_productions;
    HardwareList m_hardware;
    QString m_refusal;
    std::deque<Waiting> m_waiting;
    QVector<NodeText> m_sayings; ///< answers and notices in their order; without a node it is a status
    int m_life = 0;
    bool m_scheduled = false;
};

} // namespace KoltaSimulation
