#include "profileeditor.h"
#include "profilesview.h"
#include "shorttimemaps.h"

#include <common/actionlines.h>
#include <koltaconsole/actions/actions.h>

#include <QTreeView>

/// \file
/// What can be done with profiles, what speaks against it, and the lines that do the same.

namespace KoltaConsole {

using Kolta::ShortTimeProfile;
using Kolta::ShortTimeProfileItemMap;
using Kolta::UserAction;

void ProfilesView::makeListActions()
{
    ActionTable::Entry begin;
    begin.id = QStringLiteral("short-new");
    begin.text = tr("New");
    begin.shortcut = QKeySequence(QKeySequence::New);
    begin.problem = [this] { return objectionToNew(); };
    begin.run = [this] { beginNew(); };
    ActionTable::Entry removal;
    removal.id = QStringLiteral("short-remove");
    removal.text = tr("Remove");
    removal.shortcut = QKeySequence(Qt::Key_Delete);
    removal.rights = Kolta::rightFor(UserAction::EditProfiles);
    removal.needsLink = true;
    removal.changes = true;
    removal.problem = [this] { return objectionToRemove(); };
    removal.line = [this] { return removeLine(); };
    removal.object = [this] { return selected() ? selected()->name : QString(); };
    removal.run = [this] { remove(selected()->name); };
    removal.command = QStringLiteral("profiles remove");
    removal.asked = [this](const LineWords& words) -> std::optional<ActionTable::Asked> {
        const QString name = words.arguments.first();
        if (words.arguments.size() > 1)
            return std::nullopt;
        QString problem = objectionToShortTimeLine(m_session, words, m_server);
        if (problem.isEmpty() &&
            !shortTimeMap<ShortTimeProfileItemMap>(m_session, words.server)->Contains(name))
            problem = tr("There is no profile %1.").arg(name);
        return ActionTable::Asked{problem, name, [this, name] { remove(name); }};
    };
    m_actions.add(begin, this);
    m_actions.add(removal, m_table); // in a field the key is for what is typed
}

void ProfilesView::makeEditorActions()
{
    ActionTable::Entry saving;
    saving.id = QStringLiteral("short-save");
    saving.text = tr("Save");
    saving.shortcut = QKeySequence(QKeySequence::Save);
    saving.rights = Kolta::rightFor(UserAction::EditProfiles);
    saving.needsLink = true;
    saving.changes = true;
    saving.problem = [this] { return objectionToSave(); };
    saving.line = [this] { return saveLine(); };
    saving.object = [this] { return m_editor->draft().name; };
    saving.run = [this] { save(); };
    m_actions.add(saving, this);
    const auto add = [this](const char* id, const QString& text, const std::function<QString()>& problem,
                            void (ProfileEditor::*deed)()) {
        ActionTable::Entry entry;
        entry.id = QLatin1String(id);
        entry.text = text;
        entry.problem = problem;
        entry.run = [editor = m_editor, deed] { (editor->*deed)(); };
        m_actions.add(entry, this);
    };
    const auto noNews = [this] {
        return m_editor->hasTheirs() ? QString() : tr("Others have changed nothing of it meanwhile.");
    };
    add(
        "short-undo", tr("Undo"), [this] { return m_editor->objectionToUndo(); }, &ProfileEditor::undo);
    add("short-compare", tr("Compare"), noNews, &ProfileEditor::compare);
    add("short-take", tr("Take theirs"), noNews, &ProfileEditor::undo);
    add("short-keep", tr("Keep mine"), noNews, &ProfileEditor::keepMine);
}

/// Assignments follow another name, which not everybody may let them.
QString ProfilesView::objectionToName(const QString& name, const QString& before) const
{
    if (name == before)
        return QString();
    // A change of name that was cut off in its middle goes on.
    if (map()->Contains(name) && (before.isEmpty() || m_editor->isWrong() || !isThere(m_editor->draft())))
        return tr("There is a profile of that name.");
    return before.isEmpty() || useCount(before) == 0 || !m_session.areUsersKnown()
               ? QString()
               : Kolta::objectionTo(UserAction::EditAssignments);
}

QString ProfilesView::objectionToSave() const
{
    const QString general = objectionToShortTime(m_server, map() != nullptr);
    if (!general.isEmpty())
        return general;
    if (m_saving)
        return tr("A profile is being saved.");
    const QString objection = m_editor->objectionToSave();
    return objection.isEmpty() ? objectionToName(m_editor->draft().name, m_editor->original().name)
                               : objection;
}

QString ProfilesView::saveLine() const
{
    const ShortTimeProfile& draft = m_editor->draft();
    const QString before = nameBefore();
    return draft.name.isEmpty() ? QString()
                                : KoltaApps::ActionLines(m_server).setProfile(
                                      draft, before == draft.name ? QString() : before);
}

QString ProfilesView::objectionToNew() const
{
    return m_editor->isChanged() ? tr("Save or undo what is typed first.") : QString();
}

QString ProfilesView::objectionToRemove() const
{
    const QString general = objectionToShortTime(m_server, map() != nullptr);
    return general.isEmpty() && !selected() ? tr("No profile is selected.") : general;
}

QString ProfilesView::removeLine() const
{
    return selected() ? KoltaApps::ActionLines(m_server).removeProfiles({selected()->name}) : QString();
}

} // namespace KoltaConsole
