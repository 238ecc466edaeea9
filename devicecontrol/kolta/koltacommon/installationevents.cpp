#include <koltacommon/installationevents.h>

#include "serverevents.h"

#include <koltacommon/koltaconnection.h>
#include <koltacommon/koltaconnectionsviewer.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/operation.h>
#include <koltacommon/userrights.h>

#include <startup/clock.h>
#include <startup/hostandport.h>

#include <utility>

namespace Kolta {

InstallationEvents::InstallationEvents(QObject* parent) : QObject(parent)
{
    qRegisterMetaType<Event>();
}

InstallationEvents::~InstallationEvents() = default;

void InstallationEvents::followRegistry(KoltaServerRegistry& registry)
{
    connect(&registry, &KoltaServerRegistry::si_ServerAdded, this,
            [this, known = QPointer<KoltaServerRegistry>(&registry)](const QString& address) {
                if (KoltaServerInterface* const server = known ? known->server(address) : nullptr)
                    addServer(*server);
            });
    connect(&registry, &KoltaServerRegistry::si_ServerRemoved, this, &InstallationEvents::removeServer);
    for (const QString& address : registry.addresses())
        addServer(*registry.server(address));
}

bool InstallationEvents::addServer(KoltaServerInterface& server)
{
    const QString address = server.getAddress();
    if (m_servers.count(address))
        return false;
    auto* const events = new ServerEvents(server, *this);
    m_servers.emplace(address, events);
    // Its parts die before it does.
    connect(&server, &QObject::destroyed, events, [this, address, events] {
        const auto found = m_servers.find(address);
        if (found != m_servers.end() && found->second == events)
            removeServer(address);
    });
    QVector<Event> present;
    events->appendPresent(present);
    const QPointer<InstallationEvents> guard(this);
    for (const Event& event : qAsConst(present)) {
        Q_EMIT noticed(event);
        if (!guard)
            break;
    }
    return true;
}

void InstallationEvents::removeServer(const QString& address)
{
    const auto found = m_servers.find(address);
    if (found == m_servers.end())
        return;
    found->second->retire();
    m_servers.erase(found);
    Event event;
    event.kind = Event::Kind::State;
    event.subject = {EventSubject::Type::Server, address, QString()};
    event.state = Event::kGone;
    event.text = tr("is not followed any longer");
    tell(event);
}

/// For differences of times: that of a time source, else by the clock, which nobody sets.
qint64 InstallationEvents::elapsedMs() const
{
    return m_timeSource ? m_timeSource().toMSecsSinceEpoch() : Startup::Clock::instance().now();
}

void InstallationEvents::followUser(UserRights& rights)
{
    connect(&rights, &UserRights::si_UserChanged, this, [this](long, const QString& name) {
        Event event;
        event.kind = Event::Kind::User;
        event.subject = {EventSubject::Type::User, QString(), name};
        event.text = name.isEmpty() ? tr("nobody is logged in any more") : tr("%1 has logged in").arg(name);
        tell(event);
    });
    connect(&rights, &UserRights::si_UserRightsChanged, this, [this, &rights] {
        int held = 0;
        for (int i = 0; i < UserRights::GetNumberOfRights(); ++i)
            held += rights.IsUserAllowedTo(UserRights::GetRightValueByIndex(i)) ? 1 : 0;
        Event event;
        event.kind = Event::Kind::User;
        event.subject = {EventSubject::Type::User, QString(), rights.GetActiveUserName()};
        event.text = tr("the user has %1 of %2 rights").arg(held).arg(UserRights::GetNumberOfRights());
        tell(event);
    });
}

void InstallationEvents::followConnections(KoltaConnectionsViewer& viewer)
{
    // From the event loop: the link is in the middle of what it does.
    connect(
        &viewer, &KoltaConnectionsViewer::si_linkChanged, this, [this, &viewer] { takeLinks(viewer, true); },
        Qt::QueuedConnection);
    takeLinks(viewer, false);
}

/// One that is closed here was not lost.
void InstallationEvents::takeLinks(const KoltaConnectionsViewer& viewer, bool isTold)
{
    using State = LinkFigures::State;
    const QPointer<InstallationEvents> guard(this);
    const QHash<quint32, int> before = std::exchange(m_links, {});
    QVector<Event> events;
    for (const LinkFigures& link : viewer.links()) {
        m_links.insert(link.id, static_cast<int>(link.state));
        const bool isUp = link.state == State::Up;
        const bool wasUp = before.value(link.id) == static_cast<int>(State::Up);
        Event event;
        event.kind = Event::Kind::Link;
        const QString peer = Startup::joinHostAndPort(link.host, link.port);
        event.name = link.name.isEmpty() ? peer : QStringLiteral("%1 (%2)").arg(link.name, peer);
        event.subject = {EventSubject::Type::Link, QString(), event.name};
        event.state = static_cast<int>(link.state);
        if (isUp && !wasUp) {
            event.text = tr("link %1 is up").arg(event.name);
        } else if (wasUp && (link.state == State::Waiting || link.state == State::GivenUp)) {
            event.weight = Event::Weight::Alarm;
            event.text =
                tr("link %1 was lost: %2").arg(event.name, KoltaConnection::socketErrorText(link.lastFault));
        } else if (link.state == State::GivenUp && link.state != static_cast<State>(before.value(link.id))) {
            event.weight = Event::Weight::Attention;
            event.text = tr("link %1 was given up: %2")
                             .arg(event.name, KoltaConnection::socketErrorText(link.lastFault));
        }
        if (!event.text.isEmpty())
            events.append(event);
    }
    for (const Event& event : qAsConst(events)) {
        if (guard && isTold)
            tell(event);
    }
}

void InstallationEvents::followOperation(Operation& operation, const QString& server, const QString& purpose)
{
    operation.then(this, [this, server, purpose](const Operation& ended) {
        if (ended.state() == Operation::State::Done)
            return;
        Event event;
        event.kind = Event::Kind::Operation;
        event.subject = {EventSubject::Type::Server, server, QString()};
        const bool isOwn = ended.state() == Operation::State::Cancelled;
        event.weight = isOwn ? Event::Weight::Note : Event::Weight::Attention;
        event.text = QStringLiteral("%1: %2").arg(purpose, ended.text());
        tell(event);
    });
}

void InstallationEvents::setOutOfSight(bool isOutOfSight)
{
    if (std::exchange(m_isOutOfSight, isOutOfSight) == isOutOfSight || isOutOfSight)
        return;
    for (const auto& [address, server] : m_servers)
        server->takeSight();
}

void InstallationEvents::tell(Event event)
{
    if (!event.time.isValid())
        event.time = now();
    Q_EMIT happened(event);
}

QVector<Event> InstallationEvents::present() const
{
    QVector<Event> events;
    for (const auto& [address, server] : m_servers)
        server->appendPresent(events);
    return events;
}

QStringList InstallationEvents::servers() const
{
    QStringList addresses;
    for (const auto& [address, server] : m_servers)
        addresses.append(address);
    return addresses;
}

} // namespace Kolta
