#pragma once

#include <koltacommon/export.h>
#include <koltacommon/instancecount.h>
#include <koltacommon/servernodes.h>
#include <koltacommon/serverstates.h>
#include <koltacommon/valuebinding.h>

#include <values/value.h>

#include <QObject>
#include <QString>
#include <QUuid>

#include <array>
#include <memory>

class QProcess;

namespace Kolta {

class HardwareProcessingObserver;
class KoltaOwnerObserver;
class KoltaProcessorObserver;
class KoltaProductionControl;
class KoltaResourceObserver;
class KoltaTunerTypeObserver;
class ResourceDemandClassObserver;
class TunerBookingManager;
class TunerClassesObserver;

/// An application's handle on one server of the installation.
///
/// Follows the server's working state and status message in the value tree, and makes on first use, and then
/// owns, the observers, the booking manager and the production control of this server. KoltaServerRegistry
/// makes the interfaces and binds them.
///
/// The state follows the working-state value: while that value does not exist the server counts as
/// disconnected (state 0), and when it comes back the interface goes on without being bound again: it reads
/// the host name, has the transfer optimised and says si_ConnectionReady as at first. The owned
/// parts do the same, also those that were asked for before the server had their nodes; their mirrors keep
/// the last overview meanwhile, so a view asks getState() before it shows them.
///
/// Slots may delete the interface, best with DeleteLater(). Lives on the value tree's thread. Nothing throws.
class KOLTA_COMMON_EXPORT KoltaServerInterface : public QObject, public IObserver
{
    Q_OBJECT

public:
    ~KoltaServerInterface() override;

    // What the server is.

    const QString& getAddress() const noexcept { return address; }
    /// "<unknown>" until the server has told it.
    const QString& getHostname() const noexcept { return hostname; }
    SERVER_STATES::eServerState getState() const noexcept { return state; }
    /// The server's own name of a state; "Disconnected", translated, for a state that it does not name.
    QString getStateString(SERVER_STATES::eServerState serverState) const;
    /// The last status message; empty before the first.
    const QString& getStatusMessage() const noexcept { return statusMessage; }
    /// Set by the binding when it found every administrative value, cleared with the state 0 and set with any
    /// other after that, whatever was found: the newest of these counts.
    bool isReady() const noexcept { return ready; }
    /// The identity under which this interface announced itself to the server.
    const QUuid& getClientId() const noexcept { return clientId; }

    // Where it stands in the value tree.

    const QString& getServerBasePath() const noexcept { return serverBasePath; }
    const QString& getDataBasePath() const noexcept { return dataBasePath; }
    /// `stripPrefix` leaves out a leading "/ConnectManager"; another path comes back whole.
    QString getRecordMapBasePath(bool stripPrefix) const;
    /// With a trailing "/".
    QString getAdministrationBasePath() const;

    // The server's parts, made on first call; this interface owns them until it dies.

    KoltaResourceObserver& getResourceObserver();
    KoltaProcessorObserver& getProcessorObserver();
    HardwareProcessingObserver& getHWProcessingObserver();
    ResourceDemandClassObserver& getRdcObserver();
    TunerClassesObserver& getTunerClassObserver();
    KoltaTunerTypeObserver& getTunerTypeObserver();
    /// Asks for ownership as getClientId(), under the application's name and from this machine.
    KoltaOwnerObserver& getGuiOwnerObserver();
    /// Follows getResourceObserver().
    TunerBookingManager& getBookingManager();
    /// Its requests fail, each with a trace line, as long as the server has not published its nodes.
    KoltaProductionControl& getProductionControl();

    /// Asks the server to restart. False when it is not connected.
    bool restartServer();
    /// Asks the server to end, for good. False when it is not connected.
    bool quitServer();
    /// Starts the front end of the driver with that GUID, see KoltaProductionControl::startGUI().
    QProcess* startGUI(const QString& guid, QObject* parent);
    /// Deletes the interface once control is back in the event loop.
    void DeleteLater() { deleteLater(); }

    /// Called by the value tree.
    void Update(Observable* source, TChangeCode code) override;

Q_SIGNALS:
    /// The server has appeared or vanished.
    void si_ConnectionChanged(bool connected, QString address);
    /// The interface was bound, or a server that had been bound whole has come back; `ready` tells whether
    /// all administrative values were found.
    void si_ConnectionReady(bool ready, QString address);
    void si_StateChanged(Kolta::SERVER_STATES::eServerState state, QString address);
    void si_StatusMessageChanged(QString message);

protected:
    friend class KoltaServerRegistry;

    /// Binds nothing: see init(). `basePath` is the path of the server's node until then.
    KoltaServerInterface(const QString& address, QString basePath);

    /// Binds to the server at getBasePath() followed by `path`, instead of what was bound before, announces
    /// this client and processes what is there at once. False when something is missing; what was found
    /// stays bound.
    bool init(QString path);
    /// What init() puts in front of every path.
    virtual QString getBasePath() { return ServerNodes::kConnectManager; }
    void setState(SERVER_STATES::eServerState newState);

private:
    using Binding = ValueBinding<values::ValueBase>;
    static constexpr std::size_t kBoundValues = ServerNodes::countOf(ServerNodes::eBound);
    struct Parts;

    QString administrationPath() const;
    QString nodePath(ServerNodes::eNode node) const;
    values::ValueBase* bound(ServerNodes::eNode node) const;
    values::SelectionValue* workingState() const;
    bool bindRoot();
    bool readHostname(bool rootFound);
    bool bindValues();
    bool areValuesThere() const;
    bool finishBinding(bool complete);
    void followReturn();
    void createRequestNode();
    void announceClient();
    void withdrawClient();
    bool processContents();
    bool bindParts();
    bool updateParts();
    void optimiseTransfer() const;
    void followWorkingState();
    void followDeletion();
    template<class Part>
    Part& part();

    bool ready = false;
    bool boundWhole = false; ///< init() has found everything
    QUuid clientId = QUuid::createUuid();
    QString address;
    QString serverBasePath;
    QString dataBasePath;
    QString recordMapBasePath;
    QString hostname = QStringLiteral("<unknown>");
    QString statusMessage;
    SERVER_STATES::eServerState state = SERVER_STATES::eDisconnected;
    ValueBinding<values::TreeItem> root;
    ValueBinding<values::TreeItem> administrationNode; ///< tells what appears late
    std::array<Binding, kBoundValues> bindings;        ///< by the number of their node
    ValueBinding<values::TreeItem> requestNode;

    std::unique_ptr<KoltaResourceObserver> resourceObserver;
    std::unique_ptr<KoltaProcessorObserver> processorObserver;
    std::unique_ptr<KoltaProductionControl> productionControl;
    std::unique_ptr<KoltaTunerTypeObserver> tunerTypeObserver;
    std::unique_ptr<ResourceDemandClassObserver> demandClassObserver;
    std::unique_ptr<TunerClassesObserver> tunerClassesObserver;
    std::unique_ptr<HardwareProcessingObserver> hardwareProcessingObserver;
    std::unique_ptr<KoltaOwnerObserver> ownerObserver;
    std::unique_ptr<TunerBookingManager> bookingManager;
    InstanceCount<KoltaServerInterface> instanceCount;
};

} // namespace Kolta
