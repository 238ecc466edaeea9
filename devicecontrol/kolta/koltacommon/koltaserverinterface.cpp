#include <koltacommon/koltaserverinterface.h>

#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/koltatunertypeobserver.h>
#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclassesobserver.h>

#include <startup/tracesource.h>
#include <values/treeclient.h>

#include <QCoreApplication>
#include <QPointer>
#include <QSysInfo>

#include <algorithm>
#include <tuple>
#include <utility>

namespace Kolta {

using SERVER_STATES::eServerState;

namespace {

/// Numbers of the trace points.
enum eTracePoint : int { eSetOptimization = 210, eNoOptimization = 220 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/koltaserverinterface");

} // namespace

KoltaServerInterface::KoltaServerInterface(const QString& serverAddress, QString basePath)
    : address(serverAddress)
    , serverBasePath(std::move(basePath))
    , root(this)
    , administrationNode(this)
    , bindings{{Binding(this), Binding(this), Binding(this), Binding(this), Binding(this), Binding(this),
                Binding(this), Binding(this), Binding(this)}}
    , requestNode(this)
{
    static_assert(kBoundValues == 9, "one binding each");
    qRegisterMetaType<SERVER_STATES::eServerState>();
}

KoltaServerInterface::~KoltaServerInterface()
{
    withdrawClient();
}

QString KoltaServerInterface::getStateString(eServerState serverState) const
{
    const values::SelectionValue* const value = workingState();
    return value && value->HasItem(serverState) ? value->GetItemName(serverState) : tr("Disconnected");
}

QString KoltaServerInterface::getRecordMapBasePath(bool stripPrefix) const
{
    const bool strip = stripPrefix && recordMapBasePath.startsWith(ServerNodes::kConnectManager);
    return strip ? recordMapBasePath.mid(ServerNodes::kConnectManager.size()) : recordMapBasePath;
}

QString KoltaServerInterface::getAdministrationBasePath() const
{
    return administrationPath() + QLatin1Char('/');
}

QString KoltaServerInterface::administrationPath() const
{
    return serverBasePath + ServerNodes::kAdministration;
}

QString KoltaServerInterface::nodePath(ServerNodes::eNode node) const
{
    return ServerNodes::path(serverBasePath, node);
}

values::ValueBase* KoltaServerInterface::bound(ServerNodes::eNode node) const
{
    return bindings[static_cast<std::size_t>(node)].Get();
}

/// The parts that observe a node each.
struct KoltaServerInterface::Parts
{
    template<class Part>
    struct Row
    {
        std::unique_ptr<Part> KoltaServerInterface::*owned;
        ServerNodes::eNode node;
    };

    /// In the order in which they are bound.
    static auto all()
    {
        using Self = KoltaServerInterface;
        return std::make_tuple(
            Row<KoltaResourceObserver>{&Self::resourceObserver, ServerNodes::eResources},
            Row<KoltaProcessorObserver>{&Self::processorObserver, ServerNodes::eActualConfiguration},
            Row<KoltaProductionControl>{&Self::productionControl,
                                        ServerNodes::eNodeCount}, // observes several
            Row<KoltaTunerTypeObserver>{&Self::tunerTypeObserver, ServerNodes::eTunerTypeOverview},
            Row<ResourceDemandClassObserver>{&Self::demandClassObserver, ServerNodes::eDemandClasses},
            Row<TunerClassesObserver>{&Self::tunerClassesObserver, ServerNodes::eTunerClasses},
            Row<HardwareProcessingObserver>{&Self::hardwareProcessingObserver,
                                            ServerNodes::eHardwareProcessing},
            Row<KoltaOwnerObserver>{&Self::ownerObserver, ServerNodes::eOwners});
    }

    template<class Part>
    static Row<Part> rowOf()
    {
        return std::get<Row<Part>>(all());
    }

    /// One that the application has made an offline mirror stays that.
    template<class Part>
    static void bind(KoltaServerInterface& self, const Row<Part>& row)
    {
        Part* const part = (self.*row.owned).get();
        if (!part || part->getVtPath().isEmpty())
            return;
        const QString path = self.nodePath(row.node);
        if (!part->IsAttachedTo(values::Tree::Instance().Find(path)))
            part->init(path);
    }
    static void bind(KoltaServerInterface& self, const Row<KoltaProductionControl>&)
    {
        if (self.productionControl)
            self.productionControl->follow(self.administrationPath());
    }
};

template<class Part>
Part& KoltaServerInterface::part()
{
    const auto row = Parts::rowOf<Part>();
    std::unique_ptr<Part>& owned = this->*row.owned;
    if (!owned) {
        owned = std::make_unique<Part>();
        owned->init(nodePath(row.node));
    }
    return *owned;
}

KoltaResourceObserver& KoltaServerInterface::getResourceObserver()
{
    return part<KoltaResourceObserver>();
}

KoltaProcessorObserver& KoltaServerInterface::getProcessorObserver()
{
    return part<KoltaProcessorObserver>();
}

HardwareProcessingObserver& KoltaServerInterface::getHWProcessingObserver()
{
    return part<HardwareProcessingObserver>();
}

ResourceDemandClassObserver& KoltaServerInterface::getRdcObserver()
{
    return part<ResourceDemandClassObserver>();
}

TunerClassesObserver& KoltaServerInterface::getTunerClassObserver()
{
    return part<TunerClassesObserver>();
}

KoltaTunerTypeObserver& KoltaServerInterface::getTunerTypeObserver()
{
    return part<KoltaTunerTypeObserver>();
}

KoltaOwnerObserver& KoltaServerInterface::getGuiOwnerObserver()
{
    const bool fresh = !ownerObserver;
    KoltaOwnerObserver& owners = part<KoltaOwnerObserver>();
    if (fresh)
        owners.setClient(clientId, QCoreApplication::applicationName());
    return owners;
}

TunerBookingManager& KoltaServerInterface::getBookingManager()
{
    if (!bookingManager) {
        bookingManager = std::make_unique<TunerBookingManager>();
        bookingManager->init(getResourceObserver());
    }
    return *bookingManager;
}

KoltaProductionControl& KoltaServerInterface::getProductionControl()
{
    if (!productionControl) {
        productionControl = std::make_unique<KoltaProductionControl>();
        productionControl->follow(administrationPath()); // bindParts() goes on trying
    }
    return *productionControl;
}

bool KoltaServerInterface::restartServer()
{
    return state != SERVER_STATES::eDisconnected &&
           values::WriteOrAnnounce(nodePath(ServerNodes::eReset), clientId.toString());
}

bool KoltaServerInterface::quitServer()
{
    return state != SERVER_STATES::eDisconnected &&
           values::WriteOrAnnounce(nodePath(ServerNodes::eQuit), clientId.toString());
}

QProcess* KoltaServerInterface::startGUI(const QString& guid, QObject* parent)
{
    return getProductionControl().startGUI(guid, parent);
}

bool KoltaServerInterface::init(QString path)
{
    const QString fullPath = getBasePath() + path;
    if (fullPath.isEmpty())
        return false;
    const QPointer<KoltaServerInterface> guard(this);
    if (fullPath != serverBasePath) {
        withdrawClient();
        if (!guard)
            return false;
        requestNode.Release();
    }
    boundWhole = false;
    serverBasePath = fullPath;
    dataBasePath = ServerNodes::dataPath(fullPath);
    recordMapBasePath = ServerNodes::recordMapPath(fullPath);

    const bool rootFound = bindRoot();
    announceClient();
    if (!guard)
        return false;
    const bool hostnameRead = readHostname(rootFound);
    const bool valuesBound = bindValues();
    boundWhole = rootFound && hostnameRead && valuesBound;
    createRequestNode();
    const bool wasThere = workingState() && SERVER_STATES::fromKey(workingState()->GetSelectedKey());
    if (!bindParts() || !processContents())
        return false;
    const bool hasVanished = wasThere && state == SERVER_STATES::eDisconnected;
    return finishBinding(boundWhole && !hasVanished);
}

bool KoltaServerInterface::finishBinding(bool complete)
{
    ready = complete;
    if (complete)
        optimiseTransfer();
    Q_EMIT si_ConnectionReady(complete, address);
    return complete;
}

/// The server has come back: what a client learns of it once in a life is learnt anew.
void KoltaServerInterface::followReturn()
{
    const bool hostnameRead = readHostname(root.Get() && !root.Get()->IsDeleted());
    finishBinding(hostnameRead && areValuesThere());
}

bool KoltaServerInterface::bindRoot()
{
    root.Release();
    administrationNode.Bind(administrationPath());
    return root.Bind(serverBasePath);
}

/// The server that keeps a list of its clients has a node for it; each client is a value there.
void KoltaServerInterface::announceClient()
{
    values::Tree& tree = values::Tree::Instance();
    const QString clients = nodePath(ServerNodes::eClients);
    const values::TreeItem* const list = tree.Find(clients);
    if (list && !list->IsDeleted())
        tree.Emplace<values::StringValue>(clients + QLatin1Char('/') + clientId.toString(),
                                          QSysInfo::machineHostName());
}

void KoltaServerInterface::withdrawClient()
{
    values::Tree::Instance().Remove(nodePath(ServerNodes::eClients) + QLatin1Char('/') + clientId.toString());
}

bool KoltaServerInterface::readHostname(bool rootFound)
{
    const auto* const value =
        values::Tree::Instance().FindAs<values::StringValue>(nodePath(ServerNodes::eHostName));
    if (!rootFound || !value || value->IsDeleted())
        return false;
    hostname = value->GetValue().isEmpty() ? QStringLiteral("<unknown>") : value->GetValue();
    return true;
}

bool KoltaServerInterface::bindValues()
{
    for (std::size_t i = 0; i < bindings.size(); ++i)
        bindings[i].Bind(nodePath(static_cast<ServerNodes::eNode>(i)));
    if (!workingState())
        bindings[ServerNodes::eWorkingState].Release();
    return areValuesThere();
}

/// Deleted ones are bound, to be heard when they come back, but they are not there.
bool KoltaServerInterface::areValuesThere() const
{
    return std::all_of(bindings.begin(), bindings.end(), [](const Binding& binding) {
        const values::ValueBase* const value = binding.Get();
        return value && !value->IsDeleted();
    });
}

values::SelectionValue* KoltaServerInterface::workingState() const
{
    return dynamic_cast<values::SelectionValue*>(bound(ServerNodes::eWorkingState));
}

void KoltaServerInterface::createRequestNode()
{
    if (!requestNode.Get())
        requestNode.Bind(nodePath(ServerNodes::eRequestsNode));
}

/// Parts that were asked for before their node was there, or at another path, follow. False when a slot
/// deleted this.
bool KoltaServerInterface::bindParts()
{
    const QPointer<KoltaServerInterface> guard(this);
    const auto bind = [this, &guard](const auto& row) {
        Parts::bind(*this, row);
        return !guard.isNull();
    };
    return std::apply([&bind](const auto&... rows) { return (bind(rows) && ...); }, Parts::all());
}

/// False when a slot deleted this.
bool KoltaServerInterface::processContents()
{
    using namespace ServerNodes;
    const auto* const current = bound(eWorkingState);
    const bool deleted = current && current->GetState() != values::eValueValid;
    const std::pair<eNode, TChangeCode> contents[] = {
        {eStartupErrors, eChangeContent},
        {eStartupProgress, eChangeValue},
        {eWorkingState, deleted ? eChangeState : eChangeValue},
        {eStatus, eChangeValue},
        {eInternalState, eChangeValue},
    };
    const QPointer<KoltaServerInterface> guard(this);
    for (const auto& [value, code] : contents) {
        if (bound(value))
            Update(bound(value), code);
        if (!guard)
            return false;
    }
    return true;
}

void KoltaServerInterface::optimiseTransfer() const
{
    values::ITreeClient* const client =
        values::ITreeClient::Find(KoltaServerRegistry::connectionManagerAlias());
    if (!client)
        return;
    kTrace(eSetOptimization, QStringLiteral("CALLING SET OPTIMIZATION IN Kolta::KoltaServerInterface"));
    for (const ServerNodes::Row& row : ServerNodes::kTable) {
        if (!(row.use & ServerNodes::eOptimised))
            continue;
        const QString node = ServerNodes::kAdministration + ServerNodes::suffix(row.node);
        auto* const value = values::Tree::Instance().FindAs<values::ValueBase>(serverBasePath + node);
        if (value && !value->IsDeleted())
            client->SetOptimization(*value);
        else
            kTrace(eNoOptimization, node + QStringLiteral(" not yet available. cannot set optimization"));
    }
}

void KoltaServerInterface::setState(eServerState newState)
{
    if (newState == state)
        return;
    const eServerState oldState = std::exchange(state, newState);
    if (newState == SERVER_STATES::eDisconnected)
        ready = false;
    else if (oldState == SERVER_STATES::eDisconnected)
        ready = true;
    const QPointer<KoltaServerInterface> guard(this);
    if (newState == SERVER_STATES::eDisconnected || oldState == SERVER_STATES::eDisconnected)
        Q_EMIT si_ConnectionChanged(newState != SERVER_STATES::eDisconnected, address);
    if (guard)
        Q_EMIT si_StateChanged(state, address);
    if (guard && newState == SERVER_STATES::eOperational)
        updateParts();
}

/// False when a slot deleted this.
bool KoltaServerInterface::updateParts()
{
    const QPointer<KoltaServerInterface> guard(this);
    if (productionControl)
        productionControl->UpdateAll();
    if (guard && resourceObserver)
        resourceObserver->UpdateAll();
    if (guard && processorObserver)
        processorObserver->UpdateAll();
    if (guard && hardwareProcessingObserver)
        hardwareProcessingObserver->UpdateAll();
    return guard;
}

void KoltaServerInterface::Update(Observable* source, TChangeCode code)
{
    if (!source)
        return;
    if (source == bound(ServerNodes::eWorkingState)) {
        if (code == eChangeValue)
            followWorkingState();
        else if (code == eChangeState)
            followDeletion();
    } else if (source == bound(ServerNodes::eStatus) && code == eChangeValue) {
        statusMessage = bound(ServerNodes::eStatus)->GetStringValue();
        Q_EMIT si_StatusMessageChanged(statusMessage);
    } else if (source == administrationNode.Get() && code == eChangeChildAdded) {
        bindParts();
    }
}

void KoltaServerInterface::followWorkingState()
{
    const QPointer<KoltaServerInterface> guard(this);
    setState(SERVER_STATES::fromKey(workingState()->GetSelectedKey()));
    if (guard)
        createRequestNode();
}

/// The working-state value was deleted, or exists again.
void KoltaServerInterface::followDeletion()
{
    const QPointer<KoltaServerInterface> guard(this);
    if (!workingState()->IsDeleted()) {
        announceClient();
        if (guard)
            followWorkingState();
        if (guard && boundWhole)
            followReturn();
        return;
    }
    setState(SERVER_STATES::eDisconnected);
    if (guard)
        requestNode.Release();
}

} // namespace Kolta
