#include "actions.h"

#include <common/shellwords.h>
#include <koltaconsole/session/session.h>

#include <QAction>
#include <QPushButton>
#include <QTabWidget>
#include <QVector>
#include <QWidget>

#include <algorithm>

namespace KoltaConsole {

using Kolta::UserRights;

namespace {

/// A page of a widget with tabs.
struct Tab
{
    QTabWidget* tabs;
    QWidget* page;
};

/// Those that hold the widget, the innermost first.
QVector<Tab> tabsAround(QWidget* widget)
{
    QVector<Tab> result;
    for (QWidget *inner = widget, *outer = nullptr; inner; inner = outer) {
        outer = inner->parentWidget();
        // Between the page and the tabs is the stack of pages.
        auto* const tabs = qobject_cast<QTabWidget*>(outer ? outer->parentWidget() : nullptr);
        if (tabs && tabs->indexOf(inner) >= 0)
            result.append({tabs, inner});
    }
    return result;
}

/// Brings the pages to the front that the widget is on.
void bringToFront(QWidget& widget)
{
    for (const Tab& tab : tabsAround(&widget))
        tab.tabs->setCurrentWidget(tab.page);
}

} // namespace

ActionTable::ActionTable(Session& session, QObject* parent) : QObject(parent), m_session(session)
{
    connect(&session, &Session::si_LinkChanged, this, &ActionTable::refresh);
    connect(&session, &Session::si_UserChanged, this, &ActionTable::refresh);
}

void ActionTable::add(const Entry& entry, QWidget* owner)
{
    if (m_entries.contains(entry.id)) {
        m_ids.removeOne(entry.id);
        delete m_actions.take(entry.id);
    }
    m_ids.append(entry.id);
    m_entries.insert(entry.id, entry);
    auto* const action = new QAction(entry.text, owner);
    action->setShortcut(entry.shortcut);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    owner->addAction(action);
    connect(action, &QAction::triggered, this, [this, id = entry.id] {
        if (!run(id))
            tellIfRefused(id);
    });
    connect(action, &QObject::destroyed, this, [this, id = entry.id](QObject* gone) {
        if (m_actions.value(id) != gone)
            return;
        m_actions.remove(id);
        m_entries.remove(id);
        m_ids.removeOne(id);
    });
    m_actions.insert(entry.id, action);
    refresh();
}

QStringList ActionTable::ids() const
{
    return m_ids;
}

const ActionTable::Entry* ActionTable::find(const QString& id) const
{
    const auto found = m_entries.constFind(id);
    return found == m_entries.constEnd() ? nullptr : &*found;
}

QAction* ActionTable::action(const QString& id) const
{
    return m_actions.value(id);
}

QPushButton* ActionTable::makeButton(const QString& id, QWidget* parent) const
{
    QAction* const action = m_actions.value(id);
    auto* const button = new QPushButton(action->text(), parent);
    const auto follow = [this, id, button, action] {
        if (button->isDown() && !action->isEnabled())
            tellIfRefused(id); // letting go of it does nothing any more
        button->setEnabled(action->isEnabled());
        button->setToolTip(action->toolTip());
        button->setStatusTip(action->statusTip());
        button->setAccessibleDescription(action->isEnabled() ? QString() : action->statusTip());
    };
    connect(button, &QPushButton::clicked, action, &QAction::trigger);
    connect(action, &QAction::changed, button, follow);
    follow();
    return button;
}

QString ActionTable::pageOf(const QString& id) const
{
    const QAction* const action = m_actions.value(id);
    const QVector<Tab> tabs = tabsAround(action ? action->parentWidget() : nullptr);
    return tabs.isEmpty() ? QString()
                          : tabs.last().tabs->tabText(tabs.last().tabs->indexOf(tabs.last().page));
}

bool ActionTable::isInSight(const QString& id) const
{
    const QAction* const action = m_actions.value(id);
    const QVector<Tab> tabs = tabsAround(action ? action->parentWidget() : nullptr);
    return std::all_of(tabs.begin(), tabs.end(),
                       [](const Tab& tab) { return tab.tabs->currentWidget() == tab.page; });
}

QString ActionTable::whyNobodyCan(const Entry& entry) const
{
    if (entry.changes && m_session.isReadOnly())
        return m_session.whyReadOnly();
    if (entry.needsLink && !m_session.link().isUp)
        return tr("It needs the link to the broker.");
    for (int place = 0; place < UserRights::GetNumberOfRights(); ++place) {
        const auto right = UserRights::GetRightValueByIndex(place);
        if (entry.rights.testFlag(right) && !m_session.mayDo(right))
            return tr("It needs the right %1.").arg(UserRights::GetRightNameByIndex(place, false));
    }
    return QString();
}

QString ActionTable::enabledBecause(const QString& id) const
{
    const Entry* const entry = find(id);
    if (!entry)
        return tr("There is no such action.");
    const QString general = whyNobodyCan(*entry);
    return general.isEmpty() && entry->problem ? entry->problem() : general;
}

QString ActionTable::enabledBecause(const Request& request) const
{
    const Entry* const entry = find(request.id);
    if (!entry || !request.asked.run)
        return enabledBecause(request.id);
    const QString general = whyNobodyCan(*entry);
    return general.isEmpty() ? request.asked.problem : general;
}

std::optional<ActionTable::Request> ActionTable::requestOf(const QString& line) const
{
    const std::optional<LineWords> words = readLine(line, m_session);
    if (!words)
        return std::nullopt;
    for (const QString& id : m_ids) {
        const Entry& entry = *find(id);
        if (entry.asked) {
            const auto asked = entry.command == words->command ? entry.asked(*words) : std::nullopt;
            if (asked)
                return Request{id, line, *asked};
        } else if (entry.line && KoltaApps::shellWords(entry.line()) == KoltaApps::shellWords(line)) {
            return Request{id, line, {QString(), entry.object ? entry.object() : QString(), {}}};
        }
    }
    return std::nullopt;
}

/// For what was possible when somebody began it: a change that does not come about is told.
void ActionTable::tellIfRefused(const QString& id) const
{
    const Entry* const entry = find(id);
    const QString reason = entry && entry->changes ? enabledBecause(id) : QString();
    if (!reason.isEmpty())
        m_session.tellRefusal(entry->text, reason);
}

bool ActionTable::run(const QString& id)
{
    if (!enabledBecause(id).isEmpty())
        return false;
    if (!isInSight(id)) {
        bringToFront(*m_actions.value(id)->parentWidget());
        // What it is done to may have gone while nobody saw it.
        if (!enabledBecause(id).isEmpty())
            return false;
    }
    // The action may remove itself with its page.
    const Entry entry = *find(id);
    const auto line = [&entry] { return entry.line ? entry.line() : QString(); };
    const QString before = entry.tellsAfterwards ? QString() : line();
    if (entry.run)
        entry.run();
    const QString told = entry.tellsAfterwards ? line() : before;
    Q_EMIT si_Ran(id, told);
    return true;
}

bool ActionTable::run(const Request& request)
{
    if (!request.asked.run || !enabledBecause(request).isEmpty())
        return !request.asked.run && run(request.id);
    std::optional<Request> now = request;
    if (!isInSight(request.id)) {
        bringToFront(*m_actions.value(request.id)->parentWidget());
        now = requestOf(request.line);
        if (!now || now->id != request.id || !enabledBecause(*now).isEmpty())
            return false;
    }
    now->asked.run();
    Q_EMIT si_Ran(request.id, request.line);
    return true;
}

void ActionTable::refresh()
{
    for (const QString& id : qAsConst(m_ids)) {
        QAction* const action = m_actions.value(id);
        const QString problem = enabledBecause(id);
        const QString shown = problem.isEmpty() ? m_entries.value(id).text : problem;
        action->setEnabled(problem.isEmpty());
        const QString keys = action->shortcut().toString(QKeySequence::NativeText);
        action->setToolTip(keys.isEmpty() ? shown : QStringLiteral("%1 (%2)").arg(shown, keys));
        action->setStatusTip(shown);
    }
}

} // namespace KoltaConsole
