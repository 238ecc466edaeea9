#include <koltacommon/serverdesk.h>

#include <koltacommon/aftercare.h>
#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/operation.h>
#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclassesobserver.h>

#include <algorithm>
#include <utility>

namespace Kolta {

namespace {

/// How long an accepted order may take until its tuner is shown as used.
constexpr int kKeptPlanMs = 60000;

} // namespace

void ServerDesk::Client::attach(ServerDesk& desk)
{
    detach();
    m_desk = &desk;
    m_number = ++desk.m_lastNumber;
    desk.m_clients.insert(m_number, this);
}

void ServerDesk::Client::detach()
{
    if (ServerDesk* const desk = m_desk) {
        desk->m_clients.remove(m_number);
        for (const QUuid& guid : m_expected)
            desk->m_expecting.remove(guid, m_number);
        for (const QString& path : qAsConst(m_written)) {
            if (desk->m_writers.value(path) == m_number)
                desk->m_writers.remove(path);
        }
    }
    m_expected.clear();
    m_written.clear();
    m_desk.clear();
}

void ServerDesk::Client::expect(const QUuid& guid)
{
    if (!m_desk || std::find(m_expected.begin(), m_expected.end(), guid) != m_expected.end())
        return;
    m_expected.push_back(guid);
    m_desk->m_expecting.insert(guid, m_number);
}

ServerDesk::Asking::Asking(Client& client) : m_desk(client.m_desk)
{
    if (m_desk)
        m_before = std::exchange(m_desk->m_asking, client.m_number);
}

ServerDesk::Asking::~Asking()
{
    if (m_desk)
        m_desk->m_asking = m_before;
}

ServerDesk::Listening::~Listening()
{
    if (m_desk && --m_desk->m_listeners == 0)
        m_desk->m_heard.clear();
}

std::optional<ServerReply> ServerDesk::Listening::to(const QUuid& guid) const
{
    if (!m_desk || !m_desk->m_heard.contains(guid))
        return std::nullopt;
    return m_desk->m_heard.value(guid);
}

ServerDesk& ServerDesk::of(KoltaServerInterface& server)
{
    auto* desk = server.findChild<ServerDesk*>(QString(), Qt::FindDirectChildrenOnly);
    return desk ? *desk : *new ServerDesk(server);
}

ServerDesk::ServerDesk(KoltaServerInterface& server) : QObject(&server), m_server(server)
{
    values::Tree::Instance().AddListener(this);
    const KoltaProductionControl* const control = &server.getProductionControl();
    connect(control, &KoltaProductionControl::si_ProductionRequestReplied, this,
            [this](const QUuid& guid, bool accepted, const QString& text) {
                takeReply(guid, {accepted, text});
            });
    connect(control, &KoltaProductionControl::si_ProductionStopped, this, [this](const QUuid& guid) {
        forEachExpecting(guid, [&](Client& client) { client.ended(guid); });
    });
    const KoltaProcessorObserver* const processors = &server.getProcessorObserver();
    connect(processors, &KoltaProcessorObserver::si_ProcessorsStopped, this,
            [this](const QStringList& guids) {
                const QSet<QString> stopped(guids.begin(), guids.end());
                forEachClient([&](Client& client) { client.processorsStopped(stopped); });
            });
    const auto toldOf = [this](Mirror mirror) {
        return [this, mirror] { forEachClient([mirror](Client& client) { client.mirrorChanged(mirror); }); };
    };
    connect(processors, &KoltaProcessorObserver::si_RunningProcessorsChanged, this,
            toldOf(Mirror::Processors));
    connect(&server.getGuiOwnerObserver(), &KoltaOwnerObserver::si_OwnersChanged, this,
            toldOf(Mirror::Owners));
    // The booking manager first: it has entered an overview's states when the clients hear of it.
    TunerBookingManager& booking = server.getBookingManager();
    const auto forgetTuners = [this] { m_tuners.reset(); };
    connect(&server.getResourceObserver(), &KoltaResourceObserver::si_ResourcesChanged, this, forgetTuners);
    connect(&server.getResourceObserver(), &KoltaResourceObserver::si_ResourcesChanged, this,
            toldOf(Mirror::Resources));
    connect(&server.getTunerClassObserver(), &IValueChangeNotifier::si_ValueChanged, this, forgetTuners);
    connect(&server.getRdcObserver(), &IValueChangeNotifier::si_ValueChanged, this, forgetTuners);
    connect(&booking, &TunerBookingManager::si_TunerStateChanged, this, [this](const QString& guid) {
        const auto kept = m_kept.find(guid);
        if (kept != m_kept.end() && !kept->second.plan.stands())
            m_kept.erase(kept);
    });
    connect(&server, &KoltaServerInterface::si_StateChanged, this, &ServerDesk::takeState);
    connect(&server, &KoltaServerInterface::si_StatusMessageChanged, this,
            [this](const QString& text) { forEachClient([&](Client& client) { client.statusSaid(text); }); });
}

/// Wishes are written below the request node or into values of their own.
void ServerDesk::noteWriter(const values::TreeItem& item)
{
    Client* const client = m_asking == 0 ? nullptr : m_clients.value(m_asking);
    if (!client)
        return;
    const QString& path = item.GetPath();
    const QString base = m_server.getAdministrationBasePath();
    if (!path.startsWith(base))
        return;
    const QString place = path.mid(base.size());
    const ServerNodes::Row* const row = ServerNodes::find(place.section(QLatin1Char('/'), 0, 0));
    const bool isBelow = place.contains(QLatin1Char('/'));
    if (!row || !(row->use & ServerNodes::eRequest) || isBelow != bool(row->use & ServerNodes::eFolder))
        return;
    m_writers.insert(path, m_asking);
    if (!client->m_written.contains(path))
        client->m_written.append(path);
}

void ServerDesk::OnWishFailed(const QString& path, values::WishFailure failure, const QString& reason)
{
    if (Client* const client = m_clients.value(m_writers.value(path)))
        client->wishFailed(failure, reason);
}

/// The interface's parts are gone already; what plans there were went with them.
ServerDesk::~ServerDesk()
{
    values::Tree::Instance().RemoveListener(this);
    m_aftercare.clear();
    while (!m_clients.isEmpty()) {
        Client* const client = m_clients.first();
        client->detach();
        client->serverLost();
    }
}

bool ServerDesk::isConnected() const
{
    return m_server.getState() != SERVER_STATES::eDisconnected;
}

QString ServerDesk::shown(const ProductionMark& mark) const
{
    return isConnected() ? mark.processorIn(m_server.getProcessorObserver()) : QString();
}

std::shared_ptr<const ServerTuners> ServerDesk::tuners()
{
    if (!m_tuners)
        m_tuners = std::make_shared<ServerTuners>(m_server);
    return m_tuners;
}

TunerPlan ServerDesk::plan(const QString& tunerGuid, const TunerNeeds& needs, const QString& purpose,
                           QString& problem)
{
    const QPointer<ServerDesk> guard(this);
    TunerPlan plan = TunerPlan::make(m_server.getBookingManager(), tunerGuid, needs, problem);
    if (guard && plan.stands())
        m_purposes.insert(tunerGuid, {purpose, m_server.getBookingManager().planNumber(tunerGuid)});
    return plan;
}

QString ServerDesk::purposeOfPlan(const QString& tunerGuid) const
{
    const Purpose purpose = m_purposes.value(tunerGuid);
    return purpose.number == m_server.getBookingManager().planNumber(tunerGuid) ? purpose.text : QString();
}

void ServerDesk::keep(TunerPlan plan)
{
    if (!plan.stands())
        return;
    const QString guid = plan.guid();
    m_kept[guid] = {std::move(plan), ringIn(kKeptPlanMs, [this, guid] { m_kept.erase(guid); })};
}

void ServerDesk::lookAfter(const QUuid& production, const ProductionMark& mark, TunerPlan plan, bool takeBack)
{
    m_aftercare.push_back(std::make_unique<Aftercare>(*this, production, mark, std::move(plan), takeBack));
    m_aftercare.back()->look();
}

void ServerDesk::drop(Aftercare* aftercare)
{
    const auto dropped = std::find_if(m_aftercare.begin(), m_aftercare.end(),
                                      [aftercare](const auto& entry) { return entry.get() == aftercare; });
    if (dropped == m_aftercare.end())
        return;
    const std::unique_ptr<Aftercare> last = std::move(*dropped); // undoing its plan tells others
    m_aftercare.erase(dropped);
}

/// Those who are there now and have not left meanwhile.
void ServerDesk::forEachClient(const std::function<void(Client&)>& function)
{
    const QPointer<ServerDesk> guard(this);
    const QList<quint64> numbers = m_clients.keys();
    for (const quint64 number : numbers) {
        if (!guard)
            return;
        if (Client* const client = m_clients.value(number))
            function(*client);
    }
}

void ServerDesk::forEachExpecting(const QUuid& guid, const std::function<void(Client&)>& function)
{
    const QPointer<ServerDesk> guard(this);
    QList<quint64> numbers = m_expecting.values(guid);
    std::sort(numbers.begin(), numbers.end());
    for (const quint64 number : qAsConst(numbers)) {
        if (!guard)
            return;
        if (Client* const client = m_clients.value(number))
            function(*client);
    }
}

void ServerDesk::takeReply(const QUuid& guid, const ServerReply& reply)
{
    if (m_listeners > 0)
        m_heard.insert(guid, reply);
    forEachExpecting(guid, [&](Client& client) { client.replied(reply); });
}

void ServerDesk::takeState()
{
    if (!isConnected())
        return forEachClient([](Client& client) { client.operational(false); });
    if (m_server.getState() != SERVER_STATES::eOperational)
        return;
    // The mirrors are read afresh after this signal.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (m_server.getState() == SERVER_STATES::eOperational)
                forEachClient([](Client& client) { client.operational(true); });
        },
        Qt::QueuedConnection);
}

} // namespace Kolta
