#include "processorfacts.h"
#include "serverevents.h"
#include "serverrequestwatch.h"

#include <koltacommon/guidtext.h>
#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/installationevents.h>
#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>

#include <algorithm>
#include <utility>

/// \file
/// What is told of productions: that they run, have ended or are gone with their server.

namespace Kolta {

namespace {

constexpr int kMostNames = 3;
constexpr int kMostGone = 1000;

QSet<QString> guidsOf(const HardwareProcessingObserver& observer)
{
    QSet<QString> guids;
    for (const auto& entry : observer.getActiveHWProcessors().GetHWProcessing())
        guids.insert(entry.GetGUID());
    return guids;
}

/// "MCP 1, MCP 2, MCP 3 and 4 more".
QString listed(const QStringList& names)
{
    if (names.size() <= kMostNames)
        return names.join(QStringLiteral(", "));
    return InstallationEvents::tr("%1 and %2 more")
        .arg(names.mid(0, kMostNames).join(QStringLiteral(", ")), QString::number(names.size() - kMostNames));
}

} // namespace

void ServerEvents::followProcessors()
{
    for (const auto& processor : m_ledger.processors().processors())
        m_running.insert(processor.guid(), runningNow(processor.guid()));
    const KoltaProcessorObserver* const observer = &m_server->getProcessorObserver();
    connect(observer, &KoltaProcessorObserver::si_ProcessorStarted, this, &ServerEvents::start);
    connect(observer, &KoltaProcessorObserver::si_ProcessorChanged, this, &ServerEvents::change);
    connect(observer, &KoltaProcessorObserver::si_ProcessorStopped, this, &ServerEvents::stop);
    connect(observer, &KoltaProcessorObserver::si_AllProcessorsStopped, this, [this] {
        if (!m_running.isEmpty() && m_expected.isEmpty()) // else they were lost, which is told
            tell(Kind::Processor, Type::Server, QString(),
                 InstallationEvents::tr("all processors have stopped"));
    });
    connect(&m_ledger, &ProcessorLedger::changed, this, &ServerEvents::compareAfterReturn);
}

ServerEvents::Running ServerEvents::runningNow(const QString& guid) const
{
    const KoltaProcessorObserver& observer = m_server->getProcessorObserver();
    const RunningProcessor found = observer.FindProcessor(guid);
    Running running{observer.GetDisplayNameByGUID(guid), QString(), QString(), observer.GetParentGUID(guid)};
    if (found) {
        const ProcessorIndex::Processor facts{found.kind, -1, found.object, found.record};
        running.production = ProcessorFacts::productionOf(facts);
        running.tuner = ProcessorFacts::tunerOf(facts);
    }
    // So is called what nobody has named.
    if (found && running.name == QLatin1String("Default") && !running.holder.isEmpty())
        running.name = InstallationEvents::tr("%1 of %2")
                           .arg(found.object->GetObjectName(), observer.GetDisplayNameByGUID(running.holder));
    if (running.name.isEmpty())
        running.name = guid;
    return running;
}

Event ServerEvents::processorEvent(const QString& guid, const Running& running, const QString& text) const
{
    Event event =
        make(Kind::Processor, Type::Processor, guid, text.isEmpty() ? text : text.arg(running.name));
    event.name = running.name;
    event.production = running.production;
    event.tuner = running.tuner;
    event.holder = running.holder;
    return event;
}

void ServerEvents::start(const QString& guid)
{
    const Running running = runningNow(guid);
    m_running.insert(guid, running);
    if (m_expected.remove(guid)) {
        m_adopted.append(running.name);
        Event event = processorEvent(guid, running, QString());
        event.state = 1;
        Q_EMIT m_owner.noticed(event);
        return;
    }
    Event event = processorEvent(guid, running, InstallationEvents::tr("%1 has started"));
    event.state = 1;
    tell(event);
}

void ServerEvents::change(const QString& guid)
{
    const Running running = runningNow(guid);
    m_running.insert(guid, running);
    Event event = processorEvent(guid, running, InstallationEvents::tr("%1 has changed"));
    event.state = 1;
    tell(event);
}

void ServerEvents::stop(const QString& guid)
{
    if (!m_running.contains(guid)) // its loss was told
        return;
    if (m_expected.remove(guid)) {
        lose(guid);
        return;
    }
    const Running stopped = end(guid);
    Event event = processorEvent(guid, stopped, InstallationEvents::tr("%1 has stopped"));
    event.state = Event::kGone;
    event.weight = isStopAskedFor(guid, stopped) ? Weight::Note : Weight::Alarm;
    tell(event);
}

/// With its server, which has come back without it. False when a slot has deleted this.
bool ServerEvents::lose(const QString& guid)
{
    Event event = processorEvent(guid, end(guid), InstallationEvents::tr("%1 was lost with its server"));
    event.state = Event::kGone;
    event.weight = Weight::Alarm;
    return tell(event);
}

/// Moves it to what is gone.
ServerEvents::Running ServerEvents::end(const QString& guid)
{
    const Running ended = known(guid);
    m_running.remove(guid);
    if (m_gone.size() > kMostGone)
        m_gone.clear();
    m_gone.insert(guid, ended);
    return ended;
}

/// What is known of it, also after it has stopped; at least a name.
ServerEvents::Running ServerEvents::known(const QString& guid) const
{
    const auto running = m_running.find(guid);
    if (running != m_running.end())
        return *running;
    return m_gone.value(guid, Running{guid, QString(), QString(), QString()});
}

/// By itself, with what holds it, or by switching its unit off.
bool ServerEvents::isStopAskedFor(const QString& guid, const Running& running) const
{
    const auto isAsked = [this](const QString& asked) { return m_requests->isStopAskedFor(asked); };
    if (m_requests->isSwitched() || m_requests->isEndAskedFor() || isAsked(guid) ||
        isAsked(running.production))
        return true;
    for (QString holder = running.holder; !holder.isEmpty(); holder = known(holder).holder) {
        if (isAsked(holder) || isAsked(known(holder).production))
            return true;
    }
    const auto isShown = [this](const QString& production) {
        const auto isOf = [&](const Running& shown) {
            return shown.production.compare(production, Qt::CaseInsensitive) == 0;
        };
        return std::any_of(m_running.begin(), m_running.end(), isOf) ||
               std::any_of(m_gone.begin(), m_gone.end(), isOf);
    };
    return !running.holder.isEmpty() && m_requests->isUnknownStopAskedFor(isShown);
}

/// The processors of before are looked for once the server shows again what runs.
void ServerEvents::compareAfterReturn()
{
    if (isAway() || m_ledger.isInDoubt() || m_state != SERVER_STATES::eOperational)
        return;
    const QStringList adopted = std::exchange(m_adopted, {});
    const QSet<QString> expected = std::exchange(m_expected, {});
    if (!adopted.isEmpty() && !m_wasUnseen &&
        !tell(Kind::Processor, Type::Server, QString(),
              InstallationEvents::tr("still running: %1").arg(listed(adopted))))
        return;
    for (const QString& guid : expected) {
        if (m_ledger.processors().find(guid) < 0 && m_running.contains(guid) && !lose(guid))
            return;
    }
}

/// SCPs and MCPs that are seen to run, and not only expected to.
int ServerEvents::productionCount() const
{
    int count = 0;
    for (auto running = m_running.begin(); running != m_running.end(); ++running)
        count += running->holder.isEmpty() && !m_expected.contains(running.key()) ? 1 : 0;
    return count;
}

/// What is accepted, and what ends, of which nothing is shown yet or any more would be a GUID that says
/// nothing to anybody; what starts and stops is told by its name.
void ServerEvents::followProductions()
{
    const KoltaProductionControl* const control = &m_server->getProductionControl();
    connect(control, &KoltaProductionControl::si_ProductionRequestReplied, this,
            [this](const QUuid& production, bool accepted, const QString& text) {
                const QString guid = production.toString();
                const QString name = producerOf(guid);
                if (accepted && name.isEmpty())
                    return;
                const QString request = name.isEmpty() ? InstallationEvents::tr("a request")
                                                       : InstallationEvents::tr("request for %1").arg(name);
                tell(Kind::Production, Type::Production, guid,
                     accepted ? InstallationEvents::tr("%1 is accepted").arg(request)
                              : InstallationEvents::tr("%1 is refused: %2").arg(request, text),
                     accepted ? Weight::Note : Weight::Attention);
            });
    connect(control, &KoltaProductionControl::si_ProductionStopped, this, [this](const QUuid& production) {
        const QString guid = production.toString();
        const QString name = producerOf(guid);
        if (!name.isEmpty())
            tell(Kind::Production, Type::Production, guid,
                 InstallationEvents::tr("production of %1 has ended").arg(name));
    });
}

/// The name of the processor that serves it; empty where none is shown.
QString ServerEvents::producerOf(const QString& guid) const
{
    for (const auto* const processors : {&m_running, &m_gone}) {
        for (const Running& running : *processors) {
            if (running.production.compare(guid, Qt::CaseInsensitive) == 0)
                return running.name;
        }
    }
    return {};
}

void ServerEvents::followHardware()
{
    m_hardware = guidsOf(m_server->getHWProcessingObserver());
    connect(&m_server->getHWProcessingObserver(), &HardwareProcessingObserver::si_ValueChanged, this,
            &ServerEvents::takeHardware);
}

void ServerEvents::takeHardware()
{
    const QSet<QString> before = m_hardware;
    m_hardware = guidsOf(m_server->getHWProcessingObserver());
    const QSet<QString> after = m_hardware; // a slot may make the list change again
    const auto tellAll = [this](const QSet<QString>& guids, const QString& text) {
        return std::all_of(guids.begin(), guids.end(), [&](const QString& guid) {
            const QString name =
                m_server ? m_server->getProcessorObserver().GetDisplayNameByGUID(guid) : QString();
            return tell(Kind::Hardware, Type::Processor, guid,
                        text.arg(name.isEmpty() ? known(guid).name : name));
        });
    };
    if (tellAll(after - before, InstallationEvents::tr("hardware processing of %1 has begun")))
        tellAll(before - after, InstallationEvents::tr("hardware processing of %1 has ended"));
}

QString ServerEvents::ownerText(const QString& guid) const
{
    const auto* const owner = m_server->getGuiOwnerObserver().FindOwner(guid);
    if (!owner)
        return QString();
    return owner->GetHost().isEmpty()
               ? owner->GetName()
               : InstallationEvents::tr("%1 at %2").arg(owner->GetName(), owner->GetHost());
}

void ServerEvents::followOwners()
{
    const KoltaOwnerObserver* const owners = &m_server->getGuiOwnerObserver();
    for (const auto& owner : owners->GetCurrentOwners().GetOwner())
        m_owners.insert(owner.GetOwnedGUID(), {owner.GetClientID(), ownerText(owner.GetOwnedGUID())});
    connect(owners, &KoltaOwnerObserver::si_OwnerChanged, this, &ServerEvents::takeOwner);
}

/// What was different while the server was away.
bool ServerEvents::compareOwners()
{
    QHash<QString, QString> clients;
    for (const QString& guid : m_owners.keys())
        clients.insert(guid, QString());
    for (const auto& owner : m_server->getGuiOwnerObserver().GetCurrentOwners().GetOwner()) {
        if (clients.value(owner.GetOwnedGUID()).isEmpty())
            clients.insert(owner.GetOwnedGUID(), owner.GetClientID());
    }
    const QPointer<ServerEvents> guard(this);
    for (auto client = clients.begin(); guard && !isAway() && client != clients.end(); ++client)
        takeOwner(client.key(), client.value());
    return guard;
}

void ServerEvents::takeOwner(const QString& guid, const QString& client)
{
    if (isAway())
        return;
    const Owner now{client, client.isEmpty() ? QString() : ownerText(guid)};
    const Owner before = m_owners.value(guid);
    if (client.isEmpty())
        m_owners.remove(guid);
    else
        m_owners.insert(guid, now);
    if (before.client == now.client && before.text == now.text)
        return;
    const QString name = guid.isEmpty() ? InstallationEvents::tr("the server") : known(guid).name;
    const bool isTaken = !client.isEmpty() && guidFromText(before.client) == m_server->getClientId() &&
                         before.client != client;
    tell(Kind::Ownership, guid.isEmpty() ? Type::Server : Type::Processor, guid,
         client.isEmpty() ? InstallationEvents::tr("nobody owns %1 any more").arg(name)
                          : InstallationEvents::tr("%1 owns %2").arg(now.text, name),
         isTaken ? Weight::Attention : Weight::Note);
}

} // namespace Kolta
