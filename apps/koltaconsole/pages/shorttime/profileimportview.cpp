#include "profileimportview.h"

#include "profilefields.h"
#include "shorttimemaps.h"

#include <common/actionlines.h>
#include <koltaconsole/actions/actions.h>
#include <koltaconsole/session/wishwatch.h>
#include <koltaconsole/widgets/columns.h>
#include <koltaconsole/widgets/elidedlabel.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace KoltaConsole {

using Kolta::ShortTimeProfile;
using Kolta::ShortTimeProfileItemMap;

namespace {

constexpr int kHeight = 130;

} // namespace

ProfileImportView::ProfileImportView(Session& session, ActionTable& actions, QWidget* parent)
    : QWidget(parent)
    , m_session(session)
    , m_actions(actions)
    , m_title(new ElidedLabel(this))
    , m_differences(new QTreeWidget(this))
{
    m_title->setProperty("heading", true);
    makeTable();
    makeActions();
    m_confirm = m_actions.makeButton(QStringLiteral("short-import-confirm"), this);
    QPushButton* const cancel = m_actions.makeButton(QStringLiteral("short-import-cancel"), this);
    cancel->setText(tr("Cancel"));
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 4, 8, 4);
    top->setSpacing(8);
    top->addWidget(m_title, 1);
    top->addWidget(m_confirm);
    top->addWidget(cancel);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(top);
    layout->addWidget(m_differences);
    close();
}

void ProfileImportView::makeTable()
{
    m_differences->setHeaderLabels({tr("Difference"), tr("Now"), tr("Becomes")});
    dressTable(*m_differences);
    m_differences->setAccessibleName(tr("What the file would change"));
    m_differences->header()->resizeSection(0, 330);
    m_differences->header()->resizeSection(1, 260);
    m_differences->setFixedHeight(kHeight);
    m_differences->setItemDelegate(new StateItemDelegate(m_differences, [](const QModelIndex& index) {
        return index.data(Qt::UserRole).toBool()
                   ? std::optional<Look>(Look{Mark::Triangle, Role::Attention, index.data().toString(), true})
                   : std::nullopt;
    }));
}

void ProfileImportView::makeActions()
{
    ActionTable::Entry open;
    open.id = QStringLiteral("short-import");
    open.text = tr("Import…");
    open.shortcut = QKeySequence(QKeySequence::Open);
    open.rights = Kolta::rightFor(Kolta::UserAction::EditProfiles);
    open.needsLink = true;
    open.changes = true;
    open.problem = [this] { return objectionToShortTime(m_server, map() != nullptr); };
    open.run = [this] { askForFile(); };
    open.command = QStringLiteral("profiles import");
    open.asked = [this](const LineWords& words) -> std::optional<ActionTable::Asked> {
        const QString file = words.arguments.first();
        if (file == QLatin1String("-"))
            return std::nullopt;
        return ActionTable::Asked{objectionToShortTimeLine(m_session, words, m_server), file,
                                  [this, file] { preview(file); }};
    };
    m_actions.add(open, parentWidget()); // this is hidden before
    ActionTable::Entry confirm;
    confirm.id = QStringLiteral("short-import-confirm");
    confirm.text = tr("Import the file");
    confirm.rights = Kolta::rightFor(Kolta::UserAction::EditProfiles);
    confirm.needsLink = true;
    confirm.changes = true;
    confirm.problem = [this] { return objection(); };
    confirm.line = [this] { return line(); };
    confirm.object = [this] { return QFileInfo(m_pending.file).fileName(); };
    confirm.run = [this] { this->confirm(); };
    ActionTable::Entry cancel;
    cancel.id = QStringLiteral("short-import-cancel");
    cancel.text = tr("Cancel the import");
    cancel.problem = [this] {
        return m_pending.file.isEmpty() ? tr("No file is open: Import… opens one.") : QString();
    };
    cancel.run = [this] { close(); };
    for (const ActionTable::Entry& entry : {confirm, cancel})
        m_actions.add(entry, this);
}

ShortTimeProfileItemMap* ProfileImportView::map() const
{
    return shortTimeMap<ShortTimeProfileItemMap>(m_session, m_server);
}

QString ProfileImportView::objection() const
{
    const QString general = objectionToShortTime(m_server, map() != nullptr);
    if (!general.isEmpty())
        return general;
    if (m_pending.file.isEmpty())
        return tr("No file is open: Import… opens one.");
    return m_pending.wanted.isEmpty() ? tr("The file has nothing that differs and can be taken over.")
                                      : QString();
}

QString ProfileImportView::line() const
{
    return m_pending.wanted.isEmpty()
               ? QString()
               : KoltaApps::ActionLines(m_server).importProfiles(m_pending.file, false);
}

void ProfileImportView::showServer(const QString& address)
{
    if (m_server == address)
        return;
    m_server = address;
    close();
}

void ProfileImportView::preview(const QString& file)
{
    const ShortTimeProfileItemMap* const profiles = map();
    if (!profiles)
        return m_session.tellRefusal(m_actions.find(QStringLiteral("short-import-confirm"))->text,
                                     objectionToShortTime(m_server, false));
    const ProfileImport read = ProfileImport::read(file, *profiles);
    if (read.error.isEmpty()) {
        present(read);
        return;
    }
    close();
    tellUnread(read.error);
}

void ProfileImportView::tellUnread(const QString& error)
{
    m_session.tell(tr("profiles are not imported: %1").arg(error), Kolta::Event::Weight::Attention);
}

void ProfileImportView::present(const ProfileImport& import)
{
    m_pending = import;
    const QString file = QFileInfo(import.file).fileName();
    m_title->setText(m_pending.lines.isEmpty() ? tr("Import of %1: nothing differs").arg(file)
                                               : tr("Import of %1").arg(file));
    m_confirm->setText(tr("Import %1 of %2").arg(m_pending.wanted.size()).arg(m_pending.count()));
    m_differences->clear();
    for (const ProfileImport::Line& line : qAsConst(m_pending.lines)) {
        auto* const item = new QTreeWidgetItem(m_differences, {line.what, line.now, line.becomes});
        item->setData(0, Qt::UserRole, line.isRefused);
        item->setFirstColumnSpanned(line.now.isEmpty() && line.becomes.isEmpty());
        for (int column = 0; column < 3; ++column)
            item->setToolTip(column, item->text(column));
    }
    show();
    m_actions.refresh();
}

void ProfileImportView::askForFile()
{
    auto* const dialog =
        new QFileDialog(parentWidget(), tr("Import profiles"), QString(), tr("Profiles (*.xml)"));
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::fileSelected, this, &ProfileImportView::preview);
    dialog->open();
}

/// Nothing is taken over but what was shown: where file or profiles have changed since, that is shown first.
void ProfileImportView::confirm()
{
    ShortTimeProfileItemMap* const profiles = map();
    const ProfileImport now = ProfileImport::read(m_pending.file, *profiles);
    if (!now.error.isEmpty())
        return tellUnread(now.error);
    if (now.lines != m_pending.lines) {
        present(now);
        m_session.tell(tr("profiles are not imported yet: other values are there by now, see what differs"),
                       Kolta::Event::Weight::Attention);
        return;
    }
    const std::list<ShortTimeProfile> items(now.wanted.cbegin(), now.wanted.cend());
    Q_EMIT si_Line(line());
    const QString file = m_pending.file;
    close();
    profiles->Set(items, false, true);
    new WishWatch(
        m_session, m_server, profiles->GetPath(),
        [this, file, items, server = m_server](const QString& reason) {
            tellImport(server, file, items, reason);
        },
        this);
}

/// By what is there now; what has not been taken over is shown again.
void ProfileImportView::tellImport(const QString& server, const QString& file,
                                   const std::list<ShortTimeProfile>& items, const QString& reason)
{
    const auto* const profiles = shortTimeMap<ShortTimeProfileItemMap>(m_session, server);
    const auto taken = std::count_if(items.begin(), items.end(), [profiles](const ShortTimeProfile& item) {
        return profiles && profiles->Contains(item.name) &&
               differingFields(profiles->At(item.name), item).isEmpty();
    });
    if (taken == static_cast<qint64>(items.size())) {
        m_session.tell(tr("%n profile(s) of %1 imported", nullptr, static_cast<int>(items.size())).arg(file),
                       Kolta::Event::Weight::Note);
        return;
    }
    m_session.tell(tr("%1 of %2 profiles of %3 imported: %4")
                       .arg(QString::number(taken), QString::number(items.size()), file,
                            profiles ? reason : tr("%1 has gone").arg(server)),
                   Kolta::Event::Weight::Attention);
    if (profiles && server == m_server)
        preview(file);
}

void ProfileImportView::close()
{
    m_pending = ProfileImport();
    m_differences->clear();
    hide();
    m_actions.refresh();
}

} // namespace KoltaConsole
