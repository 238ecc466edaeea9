#pragma once

#include <simulation/installation.h>
#include <simulation/misbehaviour.h>
#include <simulation/requestdesk.h>
#include <simulation/resourcestate.h>

#include <xmlmessaging/tlssettings.h>

#include <QHostAddress>
#include <QObject>
#include <QString>

#include <memory>

namespace values {
class Tree;
}
namespace XmlCommunication {
class CServer;
class CServerLink;
} // namespace XmlCommunication

namespace KoltaSimulation {

class Administration;
class SimulatedLink;

/// A server of an installation, as its clients see it: answers requests on TCP, lives in the value tree with
/// its overviews and productions (see Administration), tells subscribed links of changes, and misbehaves on
/// demand. A client that asks it to end makes it vanish; one that asks for a reset sees it vanish and come
/// back.
///
/// Lives on any thread with an event loop; once published, on the tree's thread. See ServerThread for a
/// server that has a thread of its own.
class SimulatedServer : public QObject
{
    Q_OBJECT

public:
    explicit SimulatedServer(const Installation& installation, QObject* parent = nullptr);
    /// Withdraws what was published and ends all links.
    ~SimulatedServer() override;

    /// Port 0 lets the system pick one. False on failure, see errorString().
    bool listen(const QHostAddress& address = QHostAddress(QHostAddress::LocalHost), quint16 port = 0);
    /// See XmlCommunication::CServer; for the next listen().
    void setTls(const XmlCommunication::TlsSettings& settings);
    void setPlainNetworkAllowed(bool allowed);
    /// Asks the users of that file, see Nax::UserDirectory, whether the user whom a client's certificate
    /// names may give a command. False when the file is none; nobody may give any then.
    bool setUsers(const QString& file, QString& error) { return m_desk.setUsers(file, error); }
    /// What these users may do, for other doors by which orders come in.
    const CommandRights& rights() const noexcept { return m_desk.rights(); }
    /// Stops listening and ends all links.
    void close();
    QHostAddress address() const { return m_address; }
    /// The port that clients connect to; also while the server refuses them or has vanished. 0 before
    /// listen().
    quint16 port() const noexcept { return m_port; }
    /// "address:port", as the client library takes it: no brackets around an IPv6 address.
    QString hostAndPort() const;
    QString errorString() const;

    const Installation& installation() const noexcept { return m_installation; }
    const RESOURCEMANAGEMENT::ResourceOverview& resources() const noexcept { return m_resources.overview(); }
    const ServerStatistics& statistics() const noexcept { return m_statistics; }

    // Publication in a value tree.

    /// Publishes the administrative nodes below the installation's base path. The tree must outlive the
    /// server. The server comes up through its working states.
    void publish(values::Tree& tree);
    /// The same in the process-wide tree.
    void publish();
    /// Deletes the nodes again; productions end without a word.
    void withdraw();
    /// Where it was published, also while it has vanished; null when it was not, or was withdrawn.
    values::Tree* tree() const;
    /// Time in each working state whenever it comes up, in milliseconds, instead of what the installation
    /// says; 0: it is up at once.
    void setStartupStep(int milliseconds);
    /// Path of an administrative node: "<base path>/ADMINISTRATION/<name>".
    QString nodePath(const QString& name) const;
    /// "SCP", "MCP" or "FFP": what of these the GUID of a production or of a processor stands for; otherwise
    /// empty.
    QString kindOf(const QUuid& guid) const;

    // What happens to the server. Each change is told at once, or at the end of the batch that runs.

    bool setTunerIdle(const QString& guid, bool idle);
    bool setTunerAccessible(const QString& guid, bool accessible);
    bool addTuner(const RESOURCEMANAGEMENT::Tuner& tuner);
    bool removeTuner(const QString& guid);
    /// Ends a start-up that runs. Holds, like the status, until the server comes up the next time; while it
    /// is not published both do nothing.
    void setWorkingState(int state);
    void setStatus(const QString& text);

    /// While one lives, changes of resources are collected; with the last one they are published and
    /// broadcast once.
    class Batch
    {
    public:
        explicit Batch(SimulatedServer& server) : m_server(server) { ++m_server.m_batches; }
        ~Batch() { m_server.endBatch(); }
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

    private:
        SimulatedServer& m_server;
    };

    /// Dies as seen from outside: its nodes are deleted, its links are reset, connections are refused.
    /// Productions end without a word.
    void vanish();
    /// Listens on the same port again and comes up again where it had been published, without any production
    /// of before. False when it cannot listen.
    bool comeBack();
    /// Resets all links; new ones are accepted.
    void cutLinks();
    /// While false nothing is read from the links that are open.
    void setReading(bool enabled);

    // What the server says of its own accord.

    /// Sends a broadcast of `component` to every link that wants it. Returns to how many.
    int broadcast(const QString& component, const XmlCommon::CDataTree& data);
    int broadcastFault(const QString& component, const XmlCommon::CFaultTree& fault);

    // Misbehaviour.

    void addMisbehaviour(const MisbehaviourRule& rule);
    /// Behaves again. Replies that are already delayed stay delayed.
    void clearMisbehaviour();
    /// Starts the random decisions again from `seed`; a new server has seed 1.
    void setSeed(quint32 seed) { m_plan.reseed(seed); }

Q_SIGNALS:
    /// A client has asked the server to end, and it has vanished.
    void quitRequested();
    /// Something happened on a link, told in one line for people.
    void happened(const QString& line);

private:
    void openLink(XmlCommunication::CServerLink* link);
    void receive(SimulatedLink& link, const XmlCommon::ptrCXmlMessage& message);
    void tell(const SimulatedLink& link, const QString& what);
    void misbehave(SimulatedLink& link, const XmlCommon::CXmlMessage& reply,
                   const MisbehaviourPlan::Decision& decision);
    void sendSpoilt(SimulatedLink& link, const XmlCommon::CXmlMessage& reply,
                    const MisbehaviourPlan::Decision& decision);
    void sendReply(SimulatedLink& link, const XmlCommon::CXmlMessage& reply);
    int broadcastMessage(const XmlCommon::CMsgFragment& fragment);
    bool openPort();
    void applyRefusal();
    void endBatch();
    bool told(bool changed);
    void tellChanges();
    void followEnd(bool returns);

    Installation m_installation;
    ResourceState m_resources;
    ServerStatistics m_statistics;
    RequestDesk m_desk;
    MisbehaviourPlan m_plan;
    std::unique_ptr<XmlCommunication::CServer> m_server;
    std::unique_ptr<Administration> m_administration;
    QHostAddress m_address;
    quint16 m_port = 0;
    int m_batches = 0;
    bool m_vanished = false;
};

} // namespace KoltaSimulation
