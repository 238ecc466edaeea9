#include "linksview.h"

#include "linkmessages.h"
#include "linktraffic.h"
#include "xmlmessages.h"

#include <koltacommon/viewroles.h>
#include <koltaconsole/actions/actions.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/columns.h>
#include <koltaconsole/widgets/filterbar.h>
#include <koltaconsole/widgets/filterwords.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QSplitter>
#include <QTreeView>
#include <QVBoxLayout>

namespace KoltaConsole {

using Kolta::LinkFigures;
using Kolta::LinksModel;

namespace {

std::optional<Look> lookOf(const QModelIndex& index)
{
    if (index.column() != LinksModel::eStateColumn)
        return std::nullopt;
    const QString word = index.data().toString();
    switch (static_cast<LinkFigures::State>(index.data(Kolta::ViewRoles::StateRole).toInt())) {
    case LinkFigures::State::Up:
        return Look{Mark::Disc, Role::InUse, word, false};
    case LinkFigures::State::Connecting:
        return Look{Mark::Half, Role::InUse, word, false};
    case LinkFigures::State::Waiting:
        return Look{Mark::Triangle, Role::Attention, word, true};
    case LinkFigures::State::GivenUp:
        return Look{Mark::Octagon, Role::Alarm, word, true};
    case LinkFigures::State::Closed:
        break;
    }
    return Look{Mark::Cross, Role::Dim, word, false};
}

/// Keys of links are told from those of branches by these.
const QString kLinkKey = QStringLiteral("link/");
const QString kBranchKey = QStringLiteral("branch/");

} // namespace

LinksView::LinksView(Session& session, ActionTable& actions, QWidget* parent)
    : QWidget(parent)
    , m_session(session)
    , m_actions(actions)
    , m_filter(new FilterBar(tr("Filter: S3, lost, !up"), tr("Filter of links"), this))
    , m_nothing(new QLabel(this))
    , m_table(new QTreeView(this))
    , m_parts(new QSplitter(Qt::Vertical, this))
{
    m_model.setBranches(session.branches());
    m_nothing->setText(tr("There are no links: the servers are simulated in this process."));
    m_nothing->setProperty("dim", true);
    m_nothing->setContentsMargins(8, 8, 8, 8);
    connectAll();
    makeTable();
    makeAction();
    m_messages = new LinkMessages(actions, this);
    m_parts->addWidget(m_table);
    m_parts->addWidget(m_messages);
    m_parts->setSizes({150, 400});
    m_parts->setStretchFactor(1, 1);
    m_parts->setHandleWidth(1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_filter->setContentsMargins(8, 5, 8, 5);
    layout->addWidget(m_filter);
    layout->addWidget(m_nothing);
    layout->addWidget(m_parts, 1);
    showWhetherThereAreAny();
    applyFilter();
    showLink();
}

QLineEdit* LinksView::filterLine() const
{
    return m_filter->line();
}

void LinksView::applyFilter()
{
    const FilterWords words(m_filter->text());
    const int all = m_model.rowCount();
    const int shown = FilterBar::showRows(*m_table, [&](int row) {
        const QModelIndex index = m_model.index(row, 0);
        const QString key = index.data(Kolta::ViewRoles::KeyRole).toString();
        const bool isOfOther = !m_server.isEmpty() && key.startsWith(kBranchKey) &&
                               key != kBranchKey + m_server && key != kBranchKey + m_session.url();
        return !isOfOther && words.matches(index.data(Kolta::ViewRoles::SearchRole).toString(), {});
    });
    m_filter->tellCount(shown, all, tr("%1 of %2 links"), tr("No link matches \"%1\"."));
}

void LinksView::showServer(const QString& address)
{
    m_server = address;
    applyFilter();
}

void LinksView::chooseBranch(const QString& name)
{
    const QModelIndexList found = m_model.match(m_model.index(0, 0), Kolta::ViewRoles::KeyRole,
                                                QString(kBranchKey + name), 1, Qt::MatchExactly);
    if (!found.isEmpty())
        m_table->setCurrentIndex(found.first());
}

void LinksView::makeTable()
{
    m_table->setModel(&m_model);
    m_table->setItemDelegate(new StateItemDelegate(m_table, &lookOf));
    dressTable(*m_table);
    m_table->setAccessibleName(tr("Links"));
    setColumnWidths(*m_table, {150, 200, 86, 72, 72, 56, 96});
    connect(m_table->selectionModel(), &QItemSelectionModel::currentChanged, this, &LinksView::choose);
}

void LinksView::makeAction()
{
    ActionTable::Entry entry;
    entry.id = QStringLiteral("link-read");
    entry.text = tr("Read the traffic");
    entry.run = [this] { readOrStop(); };
    entry.problem = [this] { return whyNotRead(); };
    m_actions.add(entry, this);
}

/// Before the table is: what it chooses when a row goes away is not what somebody chose.
void LinksView::connectAll()
{
    connect(&m_model, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            [this](const QModelIndex&, int first, int last) { beginRemoval(first, last); });
    connect(&m_model, &QAbstractItemModel::rowsInserted, this, &LinksView::showWhetherThereAreAny);
    connect(
        &m_model, &QAbstractItemModel::rowsRemoved, this, [this] { endRemoval(); }, Qt::QueuedConnection);
    connect(m_filter->line(), &QLineEdit::textChanged, this, &LinksView::applyFilter);
    // Behind the table, which has to know of a row before it can hide it.
    m_filtering.setSingleShot(true);
    connect(&m_filtering, &QTimer::timeout, this, &LinksView::applyFilter);
    const auto filter = [this] { m_filtering.start(); };
    connect(&m_model, &QAbstractItemModel::rowsInserted, this, filter);
    connect(&m_model, &QAbstractItemModel::rowsRemoved, this, filter);
    connect(&m_model, &QAbstractItemModel::dataChanged, this, [this](const QModelIndex& changed) {
        if (!m_filter->text().isEmpty())
            m_filtering.start();
        if (changed.row() == m_table->currentIndex().row() && !traffic())
            showLink();
    });
}

void LinksView::showWhetherThereAreAny()
{
    const bool isEmpty = m_model.rowCount() == 0 && m_key.isEmpty();
    m_nothing->setVisible(isEmpty);
    m_parts->setVisible(!isEmpty);
    m_filter->setVisible(!isEmpty);
}

QString LinksView::whyNotRead() const
{
    if (m_key.isEmpty())
        return tr("Choose a link to read its traffic.");
    if (m_isGone)
        return tr("The link is no more.");
    return messages() ? QString()
                      : tr("What passes through the broker is read branch by branch: choose one of these.");
}

/// Of what is chosen; empty for the line to the broker.
MessageTap LinksView::messages() const
{
    return m_key.startsWith(kLinkKey) ? xmlMessagesOf(m_key.midRef(kLinkKey.size()).toUInt())
                                      : m_session.messagesOfBranch(m_key.mid(kBranchKey.size()));
}

void LinksView::choose()
{
    const QModelIndex current = m_table->currentIndex();
    if (m_isRemoving || !current.isValid())
        return;
    const QString key = current.data(Kolta::ViewRoles::KeyRole).toString();
    if (m_isGone && key != m_key)
        delete m_traffics.take(m_key);
    m_key = key;
    m_name = current.sibling(current.row(), LinksModel::eLinkColumn).data().toString();
    m_isGone = false;
    showLink();
}

void LinksView::showLink()
{
    LinkTraffic* const shown = traffic();
    QString instead = whyNotRead();
    if (instead.isEmpty())
        instead = m_table->currentIndex().data(Qt::ToolTipRole).toString();
    if (instead.isEmpty())
        instead = tr("Nobody reads the messages of this link, which costs nothing.");
    m_messages->show(shown, m_name, m_isGone, instead);
    m_actions.refresh();
}

void LinksView::readOrStop()
{
    LinkTraffic*& traffic = m_traffics[m_key];
    if (!traffic)
        traffic = new LinkTraffic(messages(), this);
    if (traffic->isReading())
        traffic->stop();
    else
        traffic->start();
    showLink();
}

/// What was read of the link that is shown stays until another one is chosen.
void LinksView::beginRemoval(int first, int last)
{
    m_isRemoving = true;
    for (int row = first; row <= last; ++row) {
        const QString key = m_model.index(row, 0).data(Kolta::ViewRoles::KeyRole).toString();
        if (LinkTraffic* const traffic = m_traffics.value(key))
            traffic->stop();
        if (key == m_key)
            m_isGone = true;
        else
            delete m_traffics.take(key);
    }
}

void LinksView::endRemoval()
{
    if (!m_isRemoving)
        return;
    if (m_isGone)
        m_table->selectionModel()->clear();
    m_isRemoving = false;
    showWhetherThereAreAny();
    showLink();
}

} // namespace KoltaConsole
