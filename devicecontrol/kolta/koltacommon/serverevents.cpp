#include "serverevents.h"

#include "serverrequestwatch.h"

#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/installationevents.h>
#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/operation.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunermodel.h>

#include <QTimer>

#include <algorithm>
#include <utility>

namespace Kolta {

using RESOURCEMANAGEMENT::ProcessingUnit;
using RESOURCEMANAGEMENT::StorageUnit;
using RESOURCEMANAGEMENT::Tuner;

namespace {

/// How long after a server's return what it shows counts as found.
constexpr int kFreshMs = 3000;
constexpr int kMostEarly = 20000;

/// With a place for the tuner's name.
QString stateText(TunerBookingManager::eTunerState state)
{
    return InstallationEvents::tr("tuner %1 is %2").arg(QStringLiteral("%1"), TunerModel::stateText(state));
}

QString durationText(qint64 milliseconds)
{
    const qint64 seconds = milliseconds / 1000;
    if (seconds < 120)
        return InstallationEvents::tr("%1 s").arg(seconds);
    return seconds < 7200 ? InstallationEvents::tr("%1 min").arg(seconds / 60)
                          : InstallationEvents::tr("%1 h").arg(seconds / 3600);
}

QString returnText(qint64 gone)
{
    return gone < 1000 ? InstallationEvents::tr("is back")
                       : InstallationEvents::tr("is back after %1").arg(durationText(gone));
}

} // namespace

ServerEvents::ServerEvents(KoltaServerInterface& server, InstallationEvents& owner)
    : QObject(&owner)
    , m_server(&server)
    , m_owner(owner)
    , m_address(server.getAddress())
    , m_ledger(server)
    , m_requests(
          std::make_unique<ServerRequestWatch>([this](const QString& text) { tellStartupErrors(text); }))
    , m_state(server.getState())
    , m_wasThere(!isAway())
{
    followServer();
    followResources();
    followProcessors();
    followProductions();
    followHardware();
    followOwners();
    m_requests->bind(server.getServerBasePath());
    m_isFirstLook = false;
}

ServerEvents::~ServerEvents() = default;

void ServerEvents::retire()
{
    m_requests.reset();
    m_freshLook.reset();
    m_search.reset();
    if (m_server) {
        m_server->disconnect(this);
        m_server->getResourceObserver().disconnect(this);
        m_server->getProcessorObserver().disconnect(this);
        m_server->getProductionControl().disconnect(this);
        m_server->getHWProcessingObserver().disconnect(this);
        m_server->getGuiOwnerObserver().disconnect(this);
    }
    m_ledger.disconnect(this);
    deleteLater();
}

bool ServerEvents::isAway() const
{
    return !m_server || m_server->getState() == SERVER_STATES::eDisconnected;
}

Event ServerEvents::make(Kind kind, Type type, const QString& guid, const QString& text) const
{
    Event event;
    event.time = m_owner.now();
    event.kind = kind;
    event.subject = {type, m_address, guid};
    event.sawBegin = !m_freshLook;
    event.text = text;
    return event;
}

/// A server shows what it has before it is there; that is told when it is.
bool ServerEvents::tell(const Event& event)
{
    if (isAway() && event.kind != Kind::State) {
        if (m_early.size() < kMostEarly)
            m_early.append(event);
        return true;
    }
    const QPointer<ServerEvents> guard(this);
    Q_EMIT m_owner.happened(event);
    return guard;
}

bool ServerEvents::notice(const Event& event)
{
    const QPointer<ServerEvents> guard(this);
    Q_EMIT m_owner.noticed(event);
    return guard;
}

bool ServerEvents::tell(Kind kind, Type type, const QString& guid, const QString& text, Weight weight)
{
    Event event = make(kind, type, guid, text);
    event.weight = weight;
    return tell(event);
}

void ServerEvents::followServer()
{
    KoltaServerInterface* const server = m_server;
    connect(server, &KoltaServerInterface::si_ConnectionChanged, this,
            [this](bool connected) { connected ? come() : vanish(); });
    connect(server, &KoltaServerInterface::si_StateChanged, this, &ServerEvents::takeState);
    connect(server, &KoltaServerInterface::si_StatusMessageChanged, this, [this](const QString& message) {
        const QString text = InstallationEvents::tr("says: %1").arg(message);
        if ((!message.isEmpty() || !isAway()) && !saysStateWord(text))
            tell(Kind::Message, Type::Server, QString(), text);
    });
    connect(server, &KoltaServerInterface::si_ConnectionReady, this, [this] {
        if (m_requests)
            m_requests->bind(m_server->getServerBasePath());
    });
}

/// Servers say in words what their state tells as well. The words are known once it is there.
bool ServerEvents::saysStateWord(const QString& text) const
{
    using namespace SERVER_STATES;
    for (int state = eState1; state <= eState7; ++state) {
        const QString word = m_server->getStateString(fromKey(state));
        if (!word.isEmpty() && text == InstallationEvents::tr("says: %1").arg(word))
            return true;
    }
    return false;
}

void ServerEvents::come()
{
    if (std::exchange(m_isFarewellDue, false) && !tellGone(farewell()))
        return;
    m_freshLook = ringIn(kFreshMs, [this] { m_freshLook.reset(); });
    const qint64 vanishedAt = std::exchange(m_vanishedAt, -1);
    const qint64 gone = m_owner.elapsedMs() - vanishedAt;
    const bool isReturn = std::exchange(m_wasThere, true) && vanishedAt >= 0;
    m_wasUnseen = std::exchange(m_isUnseen, false);
    Event event = make(Kind::State, Type::Server, QString(),
                       isReturn ? returnText(gone) : InstallationEvents::tr("has appeared"));
    event.state = m_server->getState();
    event.sawBegin = true;
    if (!(m_wasUnseen ? notice(event) : tell(event)))
        return;
    for (Event& early : std::exchange(m_early, {})) {
        if (early.kind == Kind::Message && saysStateWord(early.text))
            continue;
        early.time = m_owner.now();
        early.sawBegin = false;
        if (!tell(early))
            return;
    }
    compareOwners();
}

void ServerEvents::vanish()
{
    m_vanishedAt = m_owner.elapsedMs();
    m_seenState = std::exchange(m_state, SERVER_STATES::eDisconnected);
    m_freshLook.reset();
    m_ranThere = productionCount();
    for (auto running = m_running.begin(); running != m_running.end(); ++running)
        m_expected.insert(running.key());
    m_adopted.clear();
    const bool isAskedFor = m_requests && m_requests->isEndAskedFor();
    m_isUnseen = m_owner.isOutOfSight() && !isAskedFor;
    if (!m_isUnseen && (isAskedFor || !m_owner.m_leaverCheck)) {
        tellGone(isAskedFor ? Farewell::AskedFor : Farewell::Vanished);
        return;
    }
    if (!m_isUnseen) {
        // What is gone from the tree goes before its owner's farewell is known.
        m_isFarewellDue = true;
        QTimer::singleShot(0, this, [this] {
            if (std::exchange(m_isFarewellDue, false))
                tellGone(farewell());
        });
        return;
    }
    Event event = make(Kind::State, Type::Server, QString(), QString());
    event.state = SERVER_STATES::eDisconnected;
    event.sawBegin = false;
    notice(event);
}

/// What is not back some time after the servers can be seen again has vanished meanwhile.
void ServerEvents::takeSight()
{
    if (m_isUnseen)
        m_search = ringIn(InstallationEvents::kReturnMs, [this] {
            if (!m_owner.isOutOfSight() && std::exchange(m_isUnseen, false))
                tellGone(farewell());
        });
}

/// Of a server that was not asked to go.
ServerEvents::Farewell ServerEvents::farewell() const
{
    return m_owner.m_leaverCheck && m_owner.m_leaverCheck(m_address) ? Farewell::Left : Farewell::Vanished;
}

/// One is a text of its own for programs that are not translated.
QString ServerEvents::vanishedText() const
{
    if (m_ranThere == 0)
        return InstallationEvents::tr("has vanished");
    return m_ranThere == 1
               ? InstallationEvents::tr("has vanished; 1 production ran there")
               : InstallationEvents::tr("has vanished; %n productions ran there", nullptr, m_ranThere);
}

/// Only what is missed is remembered as being away.
bool ServerEvents::tellGone(Farewell farewell)
{
    const bool isVanished = farewell == Farewell::Vanished;
    Event event =
        make(Kind::State, Type::Server, QString(),
             isVanished                       ? vanishedText()
             : farewell == Farewell::AskedFor ? InstallationEvents::tr("has gone, as it was asked to")
                                              : InstallationEvents::tr("has left by itself"));
    event.weight = isVanished ? Weight::Alarm : Weight::Note;
    event.state = isVanished ? int(SERVER_STATES::eDisconnected) : Event::kGone;
    return tell(event);
}

void ServerEvents::takeState(SERVER_STATES::eServerState state)
{
    const auto before = std::exchange(m_state, state);
    if (state == SERVER_STATES::eDisconnected) // told already
        return;
    // A state without a word of its own has that of the one that is known always.
    const QString word = m_server->getStateString(state);
    const bool isNamed = !word.isEmpty() && word != m_server->getStateString(SERVER_STATES::eDisconnected);
    Event event = make(Kind::State, Type::Server, QString(),
                       InstallationEvents::tr("state %1").arg(isNamed ? word : QString::number(state)));
    event.state = state;
    event.sawBegin = true;
    const bool isNews = !m_wasUnseen || before != SERVER_STATES::eDisconnected || state != m_seenState;
    if (before == SERVER_STATES::eOperational && !m_requests->isEndAskedFor())
        event.weight = Weight::Attention;
    if ((isNews ? tell(event) : notice(event)) && !isAway())
        compareAfterReturn();
}

void ServerEvents::tellStartupErrors(const QString& errors)
{
    if (errors == std::exchange(m_startupErrors, errors) || errors.trimmed().isEmpty() || m_isFirstLook)
        return;
    QStringList lines;
    for (const QString& line : errors.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        lines.append(line.simplified());
    tell(Kind::Startup, Type::Server, QString(),
         InstallationEvents::tr("errors of its start-up: %1").arg(lines.join(QStringLiteral("; "))),
         Weight::Attention);
}

void ServerEvents::appendPresent(QVector<Event>& events) const
{
    const auto add = [&](Kind kind, Type type, const QString& guid, int state,
                         const QString& name) -> Event& {
        Event event = make(kind, type, guid, QString());
        event.state = state;
        event.sawBegin = false;
        event.name = name;
        events.append(event);
        return events.last();
    };
    add(Kind::State, Type::Server, QString(), m_state, m_address);
    if (isAway())
        return;
    const auto& resources = m_server->getResourceObserver().GetCurrentResources();
    for (const Tuner& tuner : resources.GetTuner()) {
        const auto& identity = tuner.GetTavikResource();
        const auto state = TunerBookingManager::reportedState(tuner);
        if (state != TunerBookingManager::eFree)
            add(Kind::Resource, Type::Tuner, identity.GetGUID(), state, identity.GetDisplayName());
    }
    const auto addUnits = [&add](const auto& units) {
        for (const auto& unit : units) {
            const auto& identity = unit.GetTavikResource();
            if (!isRegistered(unit))
                add(Kind::Resource, Type::Unit, identity.GetGUID(), 0, identity.GetDisplayName());
        }
    };
    addUnits(resources.GetProcessingUnit());
    addUnits(resources.GetStorageUnit());
    for (auto running = m_running.begin(); running != m_running.end(); ++running) {
        Event& event = add(Kind::Processor, Type::Processor, running.key(), 1, running->name);
        event = processorEvent(running.key(), *running, QString());
        event.state = 1;
        event.sawBegin = false;
    }
}

void ServerEvents::followResources()
{
    const KoltaResourceObserver* const resources = &m_server->getResourceObserver();
    for (const Tuner& tuner : resources->GetCurrentResources().GetTuner())
        resourceName(tuner.GetTavikResource().GetGUID());
    connect(resources, &KoltaResourceObserver::si_NewTuner, this, [this](const QString& guid) {
        tellTuner(guid, InstallationEvents::tr("tuner %1 is new"), Weight::Note);
    });
    connect(resources, &KoltaResourceObserver::si_RemovedTuner, this, [this](const QString& guid) {
        tellTuner(guid, InstallationEvents::tr("tuner %1 has gone"), Weight::Attention);
    });
    connect(resources, &KoltaResourceObserver::si_TunerAccessiblityChanged, this,
            [this](const QString& guid, bool accessible) {
                const bool isExpected = accessible || m_requests->isSwitched();
                tellTuner(guid,
                          accessible ? InstallationEvents::tr("tuner %1 is within reach")
                                     : stateText(TunerBookingManager::eInaccessible),
                          isExpected ? Weight::Note : Weight::Alarm);
            });
    connect(resources, &KoltaResourceObserver::si_TunerIdleStateChanged, this,
            [this](const QString& guid, bool idle) {
                tellTuner(guid, stateText(idle ? TunerBookingManager::eFree : TunerBookingManager::eInUse),
                          Weight::Note);
            });
    followUnits(*resources);
}

void ServerEvents::followUnits(const KoltaResourceObserver& resources)
{
    const auto tellRegistration = [this](const QString& guid, const QString& text, bool on) {
        tellUnit(guid,
                 text.arg(resourceName(guid), on ? InstallationEvents::tr("registered")
                                                 : InstallationEvents::tr("not registered")),
                 on ? 1 : 0);
    };
    connect(&resources, &KoltaResourceObserver::si_PuRegistrationChanged, this,
            [tellRegistration](const QString& guid, ProcessingUnit::Registration registration) {
                tellRegistration(guid, InstallationEvents::tr("processing unit %1 is %2"),
                                 registration == ProcessingUnit::eRegistered);
            });
    connect(&resources, &KoltaResourceObserver::si_SuRegistrationChanged, this,
            [tellRegistration](const QString& guid, StorageUnit::Registration registration) {
                tellRegistration(guid, InstallationEvents::tr("storage unit %1 is %2"),
                                 registration == StorageUnit::eRegistered);
            });
}

QString ServerEvents::resourceName(const QString& guid)
{
    const QString name = m_server->getResourceObserver().GetDisplayNameByGUID(guid);
    if (!name.isEmpty())
        m_resourceNames.insert(guid, name);
    return m_resourceNames.value(guid, guid);
}

int ServerEvents::tunerState(const QString& guid) const
{
    const auto* const tuner = dynamic_cast<const Tuner*>(m_server->getResourceObserver().FindResource(guid));
    return tuner ? TunerBookingManager::reportedState(*tuner) : Event::kGone;
}

void ServerEvents::tellTuner(const QString& guid, const QString& text, Weight weight)
{
    const QString name = resourceName(guid);
    Event event = make(Kind::Resource, Type::Tuner, guid, text.arg(name));
    event.state = tunerState(guid);
    event.name = name;
    event.weight = weight;
    tell(event);
}

void ServerEvents::tellUnit(const QString& guid, const QString& text, int state)
{
    Event event = make(Kind::Resource, Type::Unit, guid, text);
    event.state = state;
    event.name = resourceName(guid);
    event.weight = state == 1 || m_requests->isSwitched() ? Weight::Note : Weight::Alarm;
    tell(event);
}

} // namespace Kolta
