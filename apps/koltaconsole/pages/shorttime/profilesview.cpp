#include "profilesview.h"

#include "profileeditor.h"
#include "profileimportview.h"
#include "profilesaving.h"
#include "shorttimemaps.h"

#include <common/actionlines.h>
#include <koltaconsole/actions/actions.h>
#include <koltaconsole/session/wishwatch.h>
#include <koltaconsole/widgets/columns.h>
#include <koltaconsole/widgets/confirmation.h>
#include <koltaconsole/widgets/filterbar.h>
#include <koltaconsole/widgets/rowtexts.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

namespace KoltaConsole {

using Kolta::ShortTimeProfile;
using Kolta::ShortTimeProfileItemMap;

QString objectionToShortTime(const QString& server, bool isThere)
{
    if (isThere)
        return QString();
    return server.isEmpty() ? ProfilesView::tr("No server is chosen.")
                            : ProfilesView::tr("%1 is away, or has no such data.").arg(server);
}

QString objectionToShortTimeLine(const Session& session, const LineWords& words, const QString& shown)
{
    const QString& server = words.server;
    return shown.isEmpty() || server.isEmpty() || server == shown
               ? objectionToShortTime(server, shortTimeMap<ShortTimeProfileItemMap>(session, server))
               : ProfilesView::tr("The page of short-time data shows %1; choose %2 there first.")
                     .arg(shown, server);
}

QString lastKnownText(const Session& session, const QString& server)
{
    return lastKnownText(session.factsOf(server).lastKnown);
}

ProfilesView::ProfilesView(Session& session, ActionTable& actions, QWidget* parent)
    : QWidget(parent)
    , m_session(session)
    , m_actions(actions)
    , m_filter(new FilterBar(tr("Filter: hopper, FSK2, 30-88 MHz, !burst"), tr("Filter of profiles"), this))
    , m_table(new QTreeView(this))
    , m_nothing(new QLabel(this))
    , m_editor(new ProfileEditor(this))
    , m_import(new ProfileImportView(session, actions, this))
    , m_drafts(session, QStringLiteral("profileDrafts"), this)
{
    makeTable();
    makeListActions();
    makeEditorActions();
    arrange();
    follow();
    followEditor();
    showCount();
}

void ProfilesView::makeTable()
{
    m_rows.setSourceModel(&m_model);
    m_table->setModel(&m_rows);
    m_table->setItemDelegate(new StateItemDelegate(m_table));
    dressTable(*m_table);
    m_table->setAccessibleName(tr("Profiles"));
    // The editor has them too, and there is not room for all.
    for (const int column : {ProfileRows::eDurationColumn, ProfileRows::eShiftColumn})
        m_table->setColumnHidden(column, true);
    setColumnWidths(*m_table, {184, 64, 148, 128, 84, 124, 68, 92, 158});
    offerColumns(*m_table);
}

void ProfilesView::arrange()
{
    m_nothing->setProperty("dim", true);
    m_nothing->setContentsMargins(8, 4, 8, 4);
    m_nothing->setWordWrap(true);
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 5, 8, 5);
    top->setSpacing(8);
    top->addWidget(m_filter, 1);
    for (const char* const id : {"short-new", "short-remove", "short-import"})
        top->addWidget(m_actions.makeButton(QLatin1String(id), this));
    m_editor->addButtons(
        m_actions,
        {QStringLiteral("short-compare"), QStringLiteral("short-take"), QStringLiteral("short-keep")},
        {QStringLiteral("short-save"), QStringLiteral("short-undo")});
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(top);
    layout->addWidget(m_nothing);
    layout->addWidget(m_table, 1);
    layout->addWidget(m_editor);
    layout->addWidget(m_import);
}

void ProfilesView::follow()
{
    connect(m_filter->line(), &QLineEdit::textChanged, this, &ProfilesView::applyFilter);
    connect(m_table->selectionModel(), &QItemSelectionModel::currentChanged, this, &ProfilesView::choose);
    connect(&m_rows, &QAbstractItemModel::modelReset, this, &ProfilesView::selectEdited);
    for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(&m_rows, signal, this, &ProfilesView::showCount);
    connect(&m_rows, &QAbstractItemModel::modelReset, this, &ProfilesView::showCount);
    connect(&m_model, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex& first, const QModelIndex& last) {
                for (int row = first.row(); row <= last.row(); ++row) {
                    const ShortTimeProfile* const profile = m_model.itemAt(m_model.index(row, 0));
                    if (profile && profile->name == m_editor->original().name)
                        compareWithOthers();
                }
                showCount();
            });
    connect(&m_model, &QAbstractItemModel::rowsInserted, this, [this] {
        // A server that returns may tell of its profiles one after the other.
        if (map() && map()->Contains(m_editor->original().name))
            compareWithOthers();
        else
            lookForDraft();
    });
    connect(&m_model, &QAbstractItemModel::rowsRemoved, this, [this] {
        if (!m_model.isLastKnown())
            compareWithOthers();
        else // others removed it while its server was away; once all has come that comes back
            QTimer::singleShot(0, this, &ProfilesView::compareWithOthers);
    });
}

void ProfilesView::followEditor()
{
    connect(m_editor, &ProfileEditor::si_StateChanged, &m_actions, &ActionTable::refresh);
    connect(m_editor, &ProfileEditor::si_Written, this,
            [this] { m_drafts.set(m_server, m_editor->written()); });
    m_editor->setObjectionToName([this](const QString& name) {
        return map() ? objectionToName(name, m_editor->original().name) : QString();
    });
    connect(m_import, &ProfileImportView::si_Line, this, &ProfilesView::tellLine);
}

ShortTimeProfileItemMap* ProfilesView::map() const
{
    return shortTimeMap<ShortTimeProfileItemMap>(m_session, m_server);
}

QLineEdit* ProfilesView::filterLine() const
{
    return m_filter->line();
}

/// While a server is away its profiles are those that were known last; what somebody types stays.
void ProfilesView::showServer(const QString& address)
{
    const bool isOther = m_server != address;
    if (isOther) {
        m_server.clear(); // what is shown instead is no draft of either server
        m_editor->edit(ShortTimeProfile());
        m_server = address;
        m_editor->resume(m_drafts.of(address));
        m_import->showServer(address);
    }
    const auto* const before = m_model.map();
    showShortTime(m_model, m_session, address, isOther);
    if (m_model.map() != before && m_model.rowCount() > 0)
        compareWithOthers();
    if (isVisible() || isOther)
        showCount();
}

void ProfilesView::setUses(const QHash<QString, QStringList>& uses)
{
    m_uses = uses;
    m_model.setUses(uses);
    if (!m_editor->original().name.isEmpty())
        m_editor->setUse(useOf(m_editor->original().name));
}

void ProfilesView::applyFilter()
{
    m_words = FilterWords(m_filter->text());
    if (m_words.isEmpty()) {
        m_rows.setFilter({});
        return;
    }
    m_rows.setFilter([this](int row, const QString& search) {
        const ShortTimeProfile* const profile =
            m_words.wantsBand() ? m_model.itemAt(m_model.index(row, 0)) : nullptr;
        return m_words.matches(search, profile ? bandOf(*profile) : FilterWords::Band());
    });
}

void ProfilesView::showCount()
{
    const QLocale locale;
    const int all = m_model.rowCount(), shown = m_rows.rowCount();
    QString count = all == shown ? tr("%n profile(s)", "", all)
                                 : tr("%1 of %n profile(s)", "", all).arg(locale.toString(shown));
    const bool isAway = !map();
    if (isAway && all > 0)
        count = QStringLiteral("%1, %2").arg(count, lastKnownText(m_session, m_server));
    m_filter->tell(count, shown == 0);
    m_nothing->setVisible(shown == 0);
    m_nothing->setText(all > 0  ? tr("No profile matches \"%1\".").arg(m_filter->text())
                       : isAway ? objectionToShortTime(m_server, false)
                                : tr("There is no profile yet: make one below and save it, or import a file "
                                     "that has some."));
    m_actions.refresh();
}

/// What has become of the profile that is shown, while nobody told of it too.
void ProfilesView::compareWithOthers()
{
    const QString name = m_editor->original().name;
    const ShortTimeProfileItemMap* const profiles = name.isEmpty() ? nullptr : map();
    // What is being saved here shows at once, and may not last.
    if (!profiles || (m_saving && m_saving->server() == m_server))
        return;
    if (profiles->Contains(name))
        m_editor->takeTheirs(profiles->At(name));
    else
        m_editor->takeRemoval();
}

/// A new one that is there as it was typed is saved, whatever became of the answer.
void ProfilesView::lookForDraft()
{
    if (m_saving || !m_editor->isChanged())
        return;
    if (m_editor->original().name.isEmpty() && !m_editor->isWrong() && isThere(m_editor->draft()))
        m_editor->takeSaved(map()->At(m_editor->draft().name));
    else
        m_editor->checkName();
}

/// Just as it is typed.
bool ProfilesView::isThere(const ShortTimeProfile& profile) const
{
    return map() && map()->Contains(profile.name) &&
           differingFields(map()->At(profile.name), profile).isEmpty();
}

const ShortTimeProfile* ProfilesView::selected() const
{
    const QModelIndex current = m_table->currentIndex();
    return current.isValid() ? m_model.itemAt(m_rows.mapToSource(current)) : nullptr;
}

/// A filter leaves no row chosen.
void ProfilesView::selectEdited()
{
    const QModelIndex edited = m_rows.mapFromSource(m_model.indexOf(m_editor->original().name));
    if (edited.isValid())
        m_table->setCurrentIndex(edited);
    else
        m_actions.refresh();
}

/// A draft that is not saved is not lost to a click; it has to be undone first.
void ProfilesView::choose()
{
    const ShortTimeProfile* const profile = selected();
    if (profile && !m_editor->isChanged()) {
        m_editor->edit(*profile);
        m_editor->setUse(useOf(profile->name));
    }
    m_actions.refresh();
}

int ProfilesView::useCount(const QString& profile) const
{
    const auto* const assignments = shortTimeMap<Kolta::ShortTimeFFPAssignmentItemMap>(m_session, m_server);
    int count = 0;
    if (assignments) {
        for (const auto& entry : assignments->data())
            count += entry.second.profiles.contains(profile) ? 1 : 0;
    }
    return count;
}

QString ProfilesView::useOf(const QString& profile) const
{
    const int count = useCount(profile);
    return count == 0 ? tr("in use by no FFP") : tr("in use by %n FFP(s)", "", count);
}

void ProfilesView::tellLine(const QString& line)
{
    m_line = line;
    Q_EMIT si_LineChanged();
}

/// The name that the profile has on its server so far; empty for a new one.
QString ProfilesView::nameBefore() const
{
    const QString name = m_editor->original().name;
    const ShortTimeProfileItemMap* const profiles = map();
    return profiles && profiles->Contains(name) ? name : QString();
}

void ProfilesView::beginNew()
{
    m_table->clearSelection();
    m_table->setCurrentIndex(QModelIndex());
    m_editor->edit(ShortTimeProfile());
    m_editor->line(ProfileField::Name)->setFocus();
}

void ProfilesView::save()
{
    tellLine(saveLine());
    m_saving = new ProfileSaving(m_session, m_server, nameBefore(), m_editor->draft(), this);
    connect(m_saving, &ProfileSaving::si_Ended, this, &ProfilesView::takeEnd);
    m_editor->setSaving(true);
    m_saving->begin();
}

/// What is not saved stays typed, for its server also while another one is shown.
void ProfilesView::takeEnd(const QString& problem)
{
    const QString server = m_saving->server();
    const ShortTimeProfile wanted = m_saving->profile();
    m_saving->deleteLater();
    m_saving = nullptr;
    m_editor->setSaving(false);
    const auto* const profiles = shortTimeMap<ShortTimeProfileItemMap>(m_session, server);
    const bool isSaved = profiles && profiles->Contains(wanted.name) &&
                         differingFields(profiles->At(wanted.name), wanted).isEmpty();
    if (server != m_server) {
        if (isSaved && differingFields(ProfileEditor::draftOf(m_drafts.of(server)), wanted).isEmpty())
            m_drafts.set(server, QJsonObject());
    } else if (isSaved) {
        m_editor->takeSaved(profiles->At(wanted.name));
        m_editor->setUse(useOf(wanted.name));
    } else {
        m_editor->setFailure(problem);
        compareWithOthers();
    }
    if (!problem.isEmpty())
        m_session.tell(isSaved ? tr("profile %1 of %2: %3").arg(wanted.name, server, problem)
                               : tr("profile %1 of %2 is not saved: %3").arg(wanted.name, server, problem),
                       Kolta::Event::Weight::Attention);
    m_actions.refresh();
}

/// Asks when FFPs look for it, and when it would be lost because the fields hold what is typed of another.
void ProfilesView::remove(const QString& name)
{
    if (useCount(name) == 0 && m_editor->canKeep(name)) {
        erase(m_server, name);
        return;
    }
    askBefore(*this, tr("Remove %1? It is %2.").arg(shortName(name), useOf(name)), m_uses.value(name),
              tr("Remove"), [this, server = m_server, name] { erase(server, name); });
}

/// While somebody was asked, link, right, server or profile may have gone; the row that gave the name goes
/// here.
void ProfilesView::erase(const QString& server, QString name)
{
    auto* const profiles = shortTimeMap<ShortTimeProfileItemMap>(m_session, server);
    const ActionTable::Entry& removal = *m_actions.find(QStringLiteral("short-remove"));
    const QString away = objectionToShortTime(server, profiles);
    const QString objection = away.isEmpty() ? m_actions.whyNobodyCan(removal) : away;
    if (!objection.isEmpty())
        return m_session.tellRefusal(removal.text, objection);
    if (!profiles->Contains(name))
        return;
    tellLine(KoltaApps::ActionLines(server).removeProfiles({name}));
    if (server == m_server && m_editor->keepRemoved(profiles->At(name)))
        m_table->setCurrentIndex(QModelIndex()); // the row that follows would be shown instead
    profiles->EraseAt(name);
    new WishWatch(
        m_session, server, profiles->GetPath(),
        [this, name = std::move(name), server](const QString& reason) {
            const auto* const left = shortTimeMap<ShortTimeProfileItemMap>(m_session, server);
            if (!reason.isEmpty() && left && left->Contains(name))
                m_session.tell(tr("profile %1 of %2 is not removed: %3").arg(name, server, reason),
                               Kolta::Event::Weight::Attention);
        },
        this);
}

} // namespace KoltaConsole
