#include <koltacommon/installationevents.h>

#include "serverevents.h"

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/operation.h>
#include <koltacommon/userrights.h>

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
