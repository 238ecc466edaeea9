#include <koltacommon/koltaserverinterface.h>

#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/koltaexception.h>
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

#include <utility>

namespace Kolta {

using SERVER_STATES::eServerState;

namespace {

const QString kConnectManager = QStringLiteral("/ConnectManager");
const QString kAdministration = QStringLiteral("/ADMINISTRATION/");

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
    static_assert(eValueCount == 9, "one binding each");
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
    const bool strip = stripPrefix && recordMapBasePath.startsWith(kConnectManager);
    return strip ? recordMapBasePath.mid(kConnectManager.size()) : recordMapBasePath;
}

QString KoltaServerInterface::getAdministrationBasePath() const
{
    return serverBasePath + kAdministration;
}

QString KoltaServerInterface::administrationPath() const
{
    return serverBasePath + QStringLiteral("/ADMINISTRATION");
}

QString KoltaServerInterface::nodePath(const QString& name) const
{
    return getAdministrationBasePath() + name;
}

template<class Part>
Part& KoltaServerInterface::part(std::unique_ptr<Part>& owned, const QString& name)
{
    if (!owned) {
        owned = std::make_unique<Part>();
        owned->init(nodePath(name));
    }
    return *owned;
}

KoltaResourceObserver& KoltaServerInterface::getResourceObserver()
{
    return part(resourceObserver, QStringLiteral("Resources"));
}

KoltaProcessorObserver& KoltaServerInterface::getProcessorObserver()
{
    return part(processorObserver, QStringLiteral("ActualConfiguration"));
}

HardwareProcessingObserver& KoltaServerInterface::getHWProcessingObserver()
{
    return part(hardwareProcessingObserver, QStringLiteral("HardwareProcessing"));
}

ResourceDemandClassObserver& KoltaServerInterface::getRdcObserver()
{
    return part(demandClassObserver, QStringLiteral("DemandClasses"));
}

TunerClassesObserver& KoltaServerInterface::getTunerClassObserver()
{
    return part(tunerClassesObserver, QStringLiteral("TunerClasses"));
}

KoltaTunerTypeObserver& KoltaServerInterface::getTunerTypeObserver()
{
    return part(tunerTypeObserver, QStringLiteral("TunerTypeOverview"));
}

KoltaOwnerObserver& KoltaServerInterface::getGuiOwnerObserver()
{
    const bool fresh = !ownerObserver;
    KoltaOwnerObserver& owners = part(ownerObserver, QStringLiteral("Owners"));
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
        try {
            productionControl->init(administrationPath());
        } catch (const KoltaException&) { // traced there; bindParts() goes on trying
        }
    }
    return *productionControl;
}

bool KoltaServerInterface::restartServer()
{
    return state != SERVER_STATES::eDisconnected &&
           values::WriteOrAnnounce(nodePath(QStringLiteral("reset")), clientId.toString());
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
    serverBasePath = fullPath;
    dataBasePath = QString(fullPath).replace(QStringLiteral("/AdminTree/"), QStringLiteral("/DataTree/"));
    recordMapBasePath =
        QString(fullPath).replace(QStringLiteral("/AdminTree"), QStringLiteral("/RecordMapTree"));

    const bool rootFound = bindRoot();
    announceClient();
    if (!guard)
        return false;
    const bool hostnameRead = readHostname(rootFound);
    const bool valuesBound = bindValues();
    const bool complete = rootFound && hostnameRead && valuesBound;
    createRequestNode();
    if (!bindParts() || !processContents())
        return false;
    ready = complete;
    if (complete)
        optimiseTransfer();
    Q_EMIT si_ConnectionReady(complete, address);
    return complete;
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
    const QString clients = nodePath(QStringLiteral("Clients"));
    const values::TreeItem* const list = tree.Find(clients);
    if (list && !list->IsDeleted())
        tree.Emplace<values::StringValue>(clients + QLatin1Char('/') + clientId.toString(),
                                          QSysInfo::machineHostName());
}

void KoltaServerInterface::withdrawClient()
{
    values::Tree::Instance().Remove(nodePath(QStringLiteral("Clients/")) + clientId.toString());
}

bool KoltaServerInterface::readHostname(bool rootFound)
{
    const auto* const value =
        values::Tree::Instance().FindAs<values::StringValue>(nodePath(QStringLiteral("HostName")));
    if (!rootFound || !value || value->IsDeleted())
        return false;
    hostname = value->GetValue().isEmpty() ? QStringLiteral("<unknown>") : value->GetValue();
    return true;
}

bool KoltaServerInterface::bindValues()
{
    static const std::array<const char*, eValueCount> names{
        "Quit",         "reset",  "stopAll",      "UnitPowerControl", "StartupErrors", "StartupProgress",
        "WorkingState", "Status", "InternalState"};
    bool all = true;
    for (std::size_t i = 0; i < names.size(); ++i)
        all = bindings[i].Bind(nodePath(QLatin1String(names[i]))) && all;
    if (workingState())
        return all;
    bindings[eWorkingState].Release();
    return false;
}

values::SelectionValue* KoltaServerInterface::workingState() const
{
    return dynamic_cast<values::SelectionValue*>(bindings[eWorkingState].Get());
}

void KoltaServerInterface::createRequestNode()
{
    if (!requestNode.Get())
        requestNode.Bind(nodePath(QStringLiteral("RequestsNode")));
}

/// One that the application has made an offline mirror stays that.
template<class Part>
void KoltaServerInterface::bindPart(const std::unique_ptr<Part>& owned, const QString& name)
{
    if (!owned || owned->getVtPath().isEmpty())
        return;
    const QString path = nodePath(name);
    if (!owned->IsAttachedTo(values::Tree::Instance().Find(path)))
        owned->init(path);
}

/// Parts that were asked for before their node was there, or at another path, follow. False when a slot
/// deleted this.
bool KoltaServerInterface::bindParts()
{
    using Self = KoltaServerInterface;
    static constexpr void (*steps[])(Self&) = {
        [](Self& self) { self.bindPart(self.resourceObserver, QStringLiteral("Resources")); },
        [](Self& self) { self.bindPart(self.processorObserver, QStringLiteral("ActualConfiguration")); },
        [](Self& self) {
            if (self.productionControl)
                self.productionControl->follow(self.administrationPath());
        },
        [](Self& self) { self.bindPart(self.tunerTypeObserver, QStringLiteral("TunerTypeOverview")); },
        [](Self& self) { self.bindPart(self.demandClassObserver, QStringLiteral("DemandClasses")); },
        [](Self& self) { self.bindPart(self.tunerClassesObserver, QStringLiteral("TunerClasses")); },
        [](Self& self) {
            self.bindPart(self.hardwareProcessingObserver, QStringLiteral("HardwareProcessing"));
        },
        [](Self& self) { self.bindPart(self.ownerObserver, QStringLiteral("Owners")); }};
    const QPointer<Self> guard(this);
    for (const auto step : steps) {
        step(*this);
        if (!guard)
            return false;
    }
    return true;
}

/// False when a slot deleted this.
bool KoltaServerInterface::processContents()
{
    const auto* const current = bindings[eWorkingState].Get();
    const bool deleted = current && current->GetState() != values::eValueValid;
    const std::pair<eValue, TChangeCode> contents[] = {
        {eStartupErrors, eChangeContent},
        {eStartupProgress, eChangeValue},
        {eWorkingState, deleted ? eChangeState : eChangeValue},
        {eStatus, eChangeValue},
        {eInternalState, eChangeValue},
    };
    const QPointer<KoltaServerInterface> guard(this);
    for (const auto& [value, code] : contents) {
        if (bindings[value].Get())
            Update(bindings[value].Get(), code);
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
    for (const char* name : {"ReplyResource", "Resources", "ActualConfiguration"}) {
        const QString node = kAdministration + QLatin1String(name);
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
    if (source == bindings[eWorkingState].Get()) {
        if (code == eChangeValue)
            followWorkingState();
        else if (code == eChangeState)
            followDeletion();
    } else if (source == bindings[eStatus].Get() && code == eChangeValue) {
        statusMessage = bindings[eStatus].Get()->GetStringValue();
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
        return;
    }
    setState(SERVER_STATES::eDisconnected);
    if (guard)
        requestNode.Release();
}

} // namespace Kolta
