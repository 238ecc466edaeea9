#include "profilesview.h"

#include "../columns.h"
#include "../stateitemdelegate.h"
#include "../wishwatch.h"
#include "profileeditor.h"
#include "profilesaving.h"
#include "shorttimemaps.h"

#include <common/actionlines.h>

#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace KoltaConsole {

using Kolta::ShortTimeProfile;
using Kolta::ShortTimeProfileItemMap;
using Kolta::UserAction;

QString objectionToShortTime(const Session& session, const QString& server, bool isThere, UserAction action)
{
    if (session.isReadOnly())
        return session.whyReadOnly();
    if (!session.link().isUp)
        return ProfilesView::tr("It needs the link to the broker.");
    if (!isThere)
        return server.isEmpty() ? ProfilesView::tr("No server is chosen.")
                                : ProfilesView::tr("%1 is away, or has no such data.").arg(server);
    return session.areUsersKnown() ? Kolta::objectionTo(action) : QString();
}

ProfilesView::ProfilesView(Session& session, QWidget* parent)
    : QWidget(parent)
    , m_session(session)
    , m_table(new QTreeView(this))
    , m_nothing(new QLabel(tr("There are no profiles."), this))
    , m_editor(new ProfileEditor(this))
    , m_new(new QPushButton(tr("New"), this))
    , m_remove(new QPushButton(tr("Remove"), this))
    , m_open(new QPushButton(tr("Import…"), this))
    , m_drafts(session, QStringLiteral("profileDrafts"), this)
{
    makeTable();
    m_nothing->setProperty("dim", true);
    m_nothing->setContentsMargins(8, 4, 8, 4);
    m_import = makeImport();
    auto* const buttons = new QHBoxLayout;
    buttons->setContentsMargins(8, 4, 8, 4);
    buttons->setSpacing(8);
    buttons->addWidget(m_nothing, 1);
    for (QPushButton* const button : {m_new, m_remove, m_open})
        buttons->addWidget(button);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(buttons);
    layout->addWidget(m_table, 1);
    layout->addWidget(m_editor);
    layout->addWidget(m_import);
    closeImport();
    follow();
}

void ProfilesView::makeTable()
{
    m_table->setModel(&m_model);
    m_table->setItemDelegate(new StateItemDelegate(m_table));
    m_table->setRootIsDecorated(false);
    m_table->setUniformRowHeights(true);
    m_table->setAlternatingRowColors(true);
    m_table->setAccessibleName(tr("Profiles"));
    setColumnWidths(*m_table, {140, 90, 140, 120, 96, 118, 76, 90});
}

QWidget* ProfilesView::makeImport()
{
    auto* const box = new QWidget(this);
    m_importTitle = new QLabel(box);
    m_importTitle->setProperty("heading", true);
    m_importTitle->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_confirm = new QPushButton(box);
    auto* const cancel = new QPushButton(tr("Cancel"), box);
    m_differences = new QTreeWidget(box);
    m_differences->setHeaderLabels({tr("Difference"), tr("Now"), tr("Becomes")});
    m_differences->setRootIsDecorated(false);
    m_differences->setUniformRowHeights(true);
    m_differences->setAlternatingRowColors(true);
    m_differences->setAccessibleName(tr("What the file would change"));
    m_differences->header()->resizeSection(0, 330);
    m_differences->header()->resizeSection(1, 260);
    m_differences->setItemDelegate(new StateItemDelegate(m_differences, [](const QModelIndex& index) {
        return index.data(Qt::UserRole).toBool()
                   ? std::optional<Look>(Look{Mark::Triangle, Role::Attention, index.data().toString(), true})
                   : std::nullopt;
    }));
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 4, 8, 4);
    top->setSpacing(8);
    top->addWidget(m_importTitle, 1);
    top->addWidget(m_confirm);
    top->addWidget(cancel);
    auto* const layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(top);
    layout->addWidget(m_differences);
    m_differences->setFixedHeight(130);
    connect(m_confirm, &QPushButton::clicked, this, &ProfilesView::confirmImport);
    connect(cancel, &QPushButton::clicked, this, &ProfilesView::closeImport);
    return box;
}

void ProfilesView::follow()
{
    connect(m_new, &QPushButton::clicked, this, [this] {
        m_table->clearSelection();
        m_table->setCurrentIndex(QModelIndex());
        m_editor->edit(ShortTimeProfile());
        m_editor->line(ProfileField::Name)->setFocus();
    });
    connect(m_remove, &QPushButton::clicked, this, &ProfilesView::remove);
    connect(m_open, &QPushButton::clicked, this, &ProfilesView::askForFile);
    connect(m_editor, &ProfileEditor::si_Save, this, &ProfilesView::save);
    connect(m_table->selectionModel(), &QItemSelectionModel::currentChanged, this, &ProfilesView::choose);
    connect(&m_model, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex& first, const QModelIndex& last) {
                for (int row = first.row(); row <= last.row(); ++row) {
                    const ShortTimeProfile* const profile = m_model.itemAt(m_model.index(row, 0));
                    if (profile && profile->name == m_editor->original().name)
                        compareWithOthers();
                }
            });
    connect(&m_model, &QAbstractItemModel::rowsInserted, this, [this] {
        // A server that returns may tell of its profiles one after the other.
        if (map() && map()->Contains(m_editor->original().name))
            compareWithOthers();
        refresh();
    });
    connect(&m_model, &QAbstractItemModel::rowsRemoved, this, [this] {
        compareWithOthers();
        refresh();
    });
    connect(m_editor, &ProfileEditor::si_Written, this,
            [this] { m_drafts.set(m_server, m_editor->written()); });
}

ShortTimeProfileItemMap* ProfilesView::map() const
{
    return shortTimeMap<ShortTimeProfileItemMap>(m_session, m_server, "Profiles");
}

void ProfilesView::showServer(const QString& address)
{
    if (m_server != address) {
        m_server.clear(); // what is shown instead is no draft of either server
        closeImport();
        m_editor->edit(ShortTimeProfile());
        m_server = address;
        m_editor->resume(m_drafts.of(address));
    }
    refresh();
}

/// While a server is away its collection is empty; what somebody types stays.
void ProfilesView::refresh()
{
    ShortTimeProfileItemMap* const now = map();
    if (m_model.map() != now) {
        m_model.setMap(now);
        if (m_model.rowCount() > 0)
            compareWithOthers();
    }
    const QString objection = objectionToShortTime(m_session, m_server, now, UserAction::EditProfiles);
    m_editor->setObjection(objection);
    for (QPushButton* const button : {m_open, m_confirm, m_remove}) {
        button->setToolTip(objection);
        button->setAccessibleDescription(objection);
    }
    m_open->setEnabled(objection.isEmpty());
    m_remove->setEnabled(objection.isEmpty() && m_table->currentIndex().isValid());
    m_confirm->setEnabled(objection.isEmpty() && !m_pending.wanted.isEmpty());
    m_nothing->setText(!now                      ? objection
                       : m_model.rowCount() == 0 ? tr("There are no profiles.")
                                                 : tr("%n profile(s)", "", m_model.rowCount()));
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

/// A draft that is not saved is not lost to a click; it has to be undone first.
void ProfilesView::choose()
{
    const ShortTimeProfile* const profile = m_model.itemAt(m_table->currentIndex());
    if (profile && !m_editor->isChanged()) {
        m_editor->edit(*profile);
        m_editor->setUse(useOf(profile->name));
    }
    refresh();
}

int ProfilesView::useCount(const QString& profile) const
{
    const auto* const assignments =
        shortTimeMap<Kolta::ShortTimeFFPAssignmentItemMap>(m_session, m_server, "Assignments");
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

/// Assignments follow another name, which not everybody may let them.
QString ProfilesView::objectionToName(const QString& name, const QString& before) const
{
    if (name == before)
        return QString();
    if (map()->Contains(name))
        return tr("there is one of that name");
    return before.isEmpty() || useCount(before) == 0
               ? QString()
               : objectionToShortTime(m_session, m_server, true, UserAction::EditAssignments);
}

void ProfilesView::save()
{
    ShortTimeProfileItemMap* const profiles = map();
    if (!profiles || m_saving || !m_editor->objectionToSave().isEmpty())
        return;
    const ShortTimeProfile draft = m_editor->draft();
    const QString before = m_editor->original().name;
    const QString objection = objectionToName(draft.name, before);
    if (!objection.isEmpty()) {
        m_editor->setFailure(objection);
        m_session.tell(tr("profile %1 of %2 is not saved: %3").arg(draft.name, m_server, objection),
                       Kolta::Event::Weight::Attention);
        return;
    }
    m_saving =
        new ProfileSaving(m_session, m_server, profiles->Contains(before) ? before : QString(), draft, this);
    connect(m_saving, &ProfileSaving::si_Ended, this, &ProfilesView::takeEnd);
    tellLine(KoltaApps::ActionLines(m_server).setProfile(draft, m_saving->isRenaming() ? before : QString()));
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
    const auto* const profiles = shortTimeMap<ShortTimeProfileItemMap>(m_session, server, "Profiles");
    const bool isSaved = profiles && profiles->Contains(wanted.name) &&
                         differingFields(profiles->At(wanted.name), wanted).isEmpty();
    if (server != m_server) {
        if (isSaved)
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
    refresh();
}

void ProfilesView::remove()
{
    ShortTimeProfileItemMap* const profiles = map();
    const ShortTimeProfile* const profile = m_model.itemAt(m_table->currentIndex());
    if (!profiles || !profile)
        return;
    const QString name = profile->name;
    tellLine(KoltaApps::ActionLines(m_server).removeProfiles({name}));
    profiles->EraseAt(name);
    new WishWatch(
        m_session, m_server, profiles->GetPath(),
        [this, name, server = m_server](const QString& reason) {
            const auto* const left = shortTimeMap<ShortTimeProfileItemMap>(m_session, server, "Profiles");
            if (!reason.isEmpty() && left && left->Contains(name))
                m_session.tell(tr("profile %1 of %2 is not removed: %3").arg(name, server, reason),
                               Kolta::Event::Weight::Attention);
        },
        this);
}

void ProfilesView::askForFile()
{
    auto* const dialog = new QFileDialog(this, tr("Import profiles"), QString(), tr("Profiles (*.xml)"));
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::fileSelected, this, &ProfilesView::previewImport);
    dialog->open();
}

void ProfilesView::previewImport(const QString& file)
{
    const ShortTimeProfileItemMap* const profiles = map();
    if (!profiles)
        return;
    m_pending = ProfileImport::read(file, *profiles);
    if (!m_pending.error.isEmpty()) {
        m_session.tell(tr("profiles are not imported: %1").arg(m_pending.error),
                       Kolta::Event::Weight::Attention);
        closeImport();
        return;
    }
    m_importTitle->setText(m_pending.lines.isEmpty()
                               ? tr("Import of %1: nothing differs").arg(QFileInfo(file).fileName())
                               : tr("Import of %1").arg(QFileInfo(file).fileName()));
    m_confirm->setText(tr("Import %1 of %2").arg(m_pending.wanted.size()).arg(m_pending.count()));
    m_differences->clear();
    for (const ProfileImport::Line& line : qAsConst(m_pending.lines)) {
        auto* const item = new QTreeWidgetItem(m_differences, {line.what, line.now, line.becomes});
        item->setData(0, Qt::UserRole, line.isRefused);
        item->setFirstColumnSpanned(line.now.isEmpty() && line.becomes.isEmpty());
        for (int column = 0; column < 3; ++column)
            item->setToolTip(column, item->text(column));
    }
    m_import->show();
    refresh();
}

/// What others changed since the preview is compared again.
void ProfilesView::confirmImport()
{
    ShortTimeProfileItemMap* const profiles = map();
    if (!profiles || m_pending.wanted.isEmpty())
        return;
    const ProfileImport now = ProfileImport::read(m_pending.file, *profiles);
    std::list<ShortTimeProfile> items;
    for (const ShortTimeProfile& profile : now.wanted) {
        const bool wasShown = std::any_of(m_pending.wanted.cbegin(), m_pending.wanted.cend(),
                                          [&](const ShortTimeProfile& p) { return p.name == profile.name; });
        if (wasShown)
            items.push_back(profile);
    }
    tellLine(KoltaApps::ActionLines(m_server).importProfiles(m_pending.file, false));
    const QString file = m_pending.file;
    closeImport();
    profiles->Set(items, false, true);
    new WishWatch(
        m_session, m_server, profiles->GetPath(),
        [this, file, items, server = m_server](const QString& reason) {
            tellImport(server, file, items, reason);
        },
        this);
}

/// By what is there now; what has not been taken over is shown again.
void ProfilesView::tellImport(const QString& server, const QString& file,
                              const std::list<ShortTimeProfile>& items, const QString& reason)
{
    const auto* const profiles = shortTimeMap<ShortTimeProfileItemMap>(m_session, server, "Profiles");
    const auto taken = std::count_if(items.begin(), items.end(), [profiles](const ShortTimeProfile& item) {
        return profiles && profiles->Contains(item.name) &&
               differingFields(profiles->At(item.name), item).isEmpty();
    });
    if (taken == static_cast<qint64>(items.size())) {
        m_session.tell(tr("%1 profiles of %2 imported").arg(items.size()).arg(file),
                       Kolta::Event::Weight::Note);
        return;
    }
    m_session.tell(tr("%1 of %2 profiles of %3 imported: %4")
                       .arg(taken)
                       .arg(items.size())
                       .arg(file, profiles ? reason : tr("%1 has gone").arg(server)),
                   Kolta::Event::Weight::Attention);
    if (profiles && server == m_server)
        previewImport(file);
}

void ProfilesView::closeImport()
{
    m_pending = ProfileImport();
    m_differences->clear();
    m_import->hide();
}

} // namespace KoltaConsole
