#include "serveractions.h"

#include <common/actionlines.h>
#include <koltaconsole/session/runningprocessors.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/confirmation.h>
#include <koltaconsole/widgets/rowtexts.h>

#include <koltacommon/installationevents.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/powerjob.h>
#include <koltacommon/stopjob.h>

#include <QCursor>
#include <QMenu>
#include <QTimer>

#include <utility>

namespace KoltaConsole {

using Kolta::TerminationJob;
using Kolta::UserAction;

namespace {

const char* const kMenu[] = {"server-links", "server-stop-all", "server-power", "server-reset",
                             "server-quit"};

} // namespace

ServerActions::ServerActions(Session& session, ActionTable& actions, QWidget* window)
    : QObject(window), m_session(session), m_actions(actions), m_window(window)
{
    makeActions();
    makeTermination("server-reset", tr("Restart the server…"), tr("Restart %1? All that runs on it ends."),
                    TerminationJob::Action::Reset);
    makeTermination("server-quit", tr("End the server…"), tr("End %1? All that runs on it ends too."),
                    TerminationJob::Action::Quit);
    connect(&session, &Session::si_FactsChanged, &actions, &ActionTable::refresh);
}

void ServerActions::select(const QString& address)
{
    m_selected = address;
    m_actions.refresh();
}

void ServerActions::showMenu(const QString& address, const QPoint& place)
{
    m_menuServer = address;
    const int number = ++m_menuNumber;
    m_actions.refresh();
    auto* const menu = new QMenu(m_window);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setToolTipsVisible(true);
    menu->addAction(tr("Show %1 alone").arg(menuText(address)), this,
                    [this, address] { Q_EMIT si_ServerWanted(address); });
    for (const char* const id : kMenu)
        menu->addAction(m_actions.action(QLatin1String(id)));
    // What was chosen runs when the menu has been hidden; by then that of another server may be open.
    connect(menu, &QMenu::aboutToHide, this, [this, number] {
        QTimer::singleShot(0, this, [this, number] {
            if (m_menuNumber != number)
                return;
            m_menuServer.clear();
            m_actions.refresh();
        });
    });
    menu->popup(place);
}

QString ServerActions::problemOf(const QString& address) const
{
    if (address.isEmpty())
        return tr("No server is selected.");
    return m_session.isThere(address) ? QString() : tr("%1 is away.").arg(address);
}

/// A line names the server behind the command, or it is the one that the whole line is for.
ActionTable::Entry ServerActions::entry(const char* id, const QString& text, UserAction action,
                                        const Deed& deed, const Objection& objection) const
{
    ActionTable::Entry entry;
    entry.id = QLatin1String(id);
    entry.text = text;
    entry.rights = Kolta::rightFor(action);
    entry.needsLink = true;
    entry.changes = true;
    entry.problem = [this, objection] { return objection(target()); };
    entry.object = [this] { return target(); };
    entry.run = [this, deed] { deed(QString(target())); };
    entry.asked = [deed, objection](const LineWords& words) -> std::optional<ActionTable::Asked> {
        const bool isOption = words.command.endsWith(QLatin1String("--all"));
        const QString address = isOption ? words.server : words.arguments.value(0);
        if (address.isEmpty() || (isOption && !words.arguments.isEmpty()))
            return std::nullopt;
        return ActionTable::Asked{objection(address), address, [deed, address] { deed(address); }};
    };
    return entry;
}

void ServerActions::makeActions()
{
    ActionTable::Entry links;
    links.id = QStringLiteral("server-links");
    links.text = tr("Show the links");
    links.run = [this] { Q_EMIT si_LinksWanted(target()); };
    ActionTable::Entry stop = entry(
        "server-stop-all", tr("Stop all on the server…"), UserAction::StopAll,
        [this](const QString& address) {
            askBefore(*m_window, tr("Stop all that runs on %1?").arg(address), runningOn(address),
                      tr("Stop all"), [this, address] { stopAll(address); });
        },
        [this](const QString& address) {
            const QString text = problemOf(address);
            return text.isEmpty() && runningOn(address).isEmpty() ? tr("Nothing runs on %1.").arg(address)
                                                                  : text;
        });
    stop.line = [this] { return KoltaApps::ActionLines(target()).stopAll(); };
    stop.command = QStringLiteral("stop --all");
    const ActionTable::Entry power = entry(
        "server-power", tr("Switch power…"), UserAction::SwitchPower,
        [this](const QString& address) { offerPower(address); },
        [this](const QString& address) { return problemOf(address); });
    for (const ActionTable::Entry& each : {links, stop, power})
        m_actions.add(each, m_window);
}

void ServerActions::makeTermination(const char* id, const QString& text, const QString& question,
                                    TerminationJob::Action action)
{
    const bool isQuit = action == TerminationJob::Action::Quit;
    ActionTable::Entry wanted = entry(
        id, text, isQuit ? UserAction::QuitServer : UserAction::ResetServer,
        [this, question, action, isQuit](const QString& address) {
            askBefore(*m_window, question.arg(address), runningOn(address),
                      isQuit ? tr("End it") : tr("Restart"),
                      [this, address, action] { terminate(address, action); });
        },
        [this](const QString& address) { return problemOf(address); });
    wanted.command = isQuit ? QStringLiteral("server quit") : QStringLiteral("server reset");
    wanted.line = [this, action] {
        return target().isEmpty() ? QString() : KoltaApps::ActionLines(target()).terminate(action);
    };
    m_actions.add(wanted, m_window);
}

/// With their owners.
QStringList ServerActions::runningOn(const QString& address) const
{
    QStringList names;
    for (const RunningProcessor& processor : runningProcessors(m_session, address)) {
        if (!processor.isStale)
            names.append(processor.owner.isEmpty()
                             ? processor.name
                             : tr("%1, operated by %2").arg(processor.name, processor.owner));
    }
    return names;
}

/// A menu of the units that have a switch; what is off ends what runs on it, so that is asked before.
void ServerActions::offerPower(const QString& address)
{
    auto* const menu = new QMenu(m_window);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto& resources = m_session.server(address)->getResourceObserver().GetCurrentResources();
    const auto add = [&](const auto& units) {
        for (const auto& unit : units) {
            const auto& identity = unit.GetTavikResource();
            const bool isOn = isRegistered(unit);
            addSwitch(*menu, address, identity.GetDisplayName(), identity.GetGUID(), isOn);
        }
    };
    add(resources.GetProcessingUnit());
    add(resources.GetStorageUnit());
    if (menu->isEmpty())
        menu->addAction(tr("No unit has a switch"))->setEnabled(false);
    menu->popup(QCursor::pos());
}

void ServerActions::addSwitch(QMenu& menu, const QString& address, const QString& name, const QString& guid,
                              bool isOn)
{
    const auto turn = [this, address, name, guid, isOn] { switchPower(address, name, guid, !isOn); };
    const QString shown = menuText(name);
    menu.addAction(isOn ? tr("Switch %1 off…").arg(shown) : tr("Switch %1 on").arg(shown), this, [=] {
        if (!isOn)
            return turn();
        askBefore(*m_window,
                  tr("Switch %1 of %2 off? What runs on it may end.").arg(shortName(name), address),
                  runningOn(address), tr("Switch off"), turn);
    });
}

/// While somebody was asked, link, right or server may have gone.
bool ServerActions::isPossible(const QString& id, const QString& address)
{
    const QString before = std::exchange(m_menuServer, address);
    const QString reason = m_actions.enabledBecause(id);
    m_menuServer = before;
    if (!reason.isEmpty())
        m_session.tellRefusal(m_actions.find(id)->text, reason);
    return reason.isEmpty();
}

void ServerActions::follow(Kolta::ServerOperation& operation, const QString& address, const QString& purpose)
{
    m_session.events().followOperation(operation, address, purpose);
    operation.deleteWhenFinished();
}

void ServerActions::switchPower(const QString& address, const QString& name, const QString& guid, bool isOn)
{
    if (!isPossible(QStringLiteral("server-power"), address))
        return;
    const QString word = isOn ? QStringLiteral("on") : QStringLiteral("off");
    Q_EMIT si_Line(KoltaApps::ActionLines(address).power(word, {name}));
    const auto command =
        isOn ? Kolta::KoltaResourceObserver::eUnitOn : Kolta::KoltaResourceObserver::eUnitOff;
    follow(*new Kolta::PowerJob(*m_session.server(address), command, {guid}, this), address,
           isOn ? tr("switch %1 on").arg(name) : tr("switch %1 off").arg(name));
}

void ServerActions::stopAll(const QString& address)
{
    if (isPossible(QStringLiteral("server-stop-all"), address))
        follow(*Kolta::StopJob::all(*m_session.server(address), this), address, tr("stop all"));
}

void ServerActions::terminate(const QString& address, TerminationJob::Action action)
{
    const bool isQuit = action == TerminationJob::Action::Quit;
    if (isPossible(isQuit ? QStringLiteral("server-quit") : QStringLiteral("server-reset"), address))
        follow(*new TerminationJob(*m_session.server(address), action, this), address,
               isQuit ? tr("end the server") : tr("restart the server"));
}

} // namespace KoltaConsole
