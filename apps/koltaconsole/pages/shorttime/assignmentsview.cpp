#include "assignmentsview.h"

#include "matrixdelegate.h"
#include "shorttimemaps.h"

#include <common/actionlines.h>
#include <koltacommon/installationevents.h>
#include <koltacommon/maprequestjobs.h>
#include <koltacommon/processormodel.h>
#include <koltaconsole/actions/actions.h>
#include <koltaconsole/widgets/filterbar.h>

#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

#include <functional>

namespace KoltaConsole {

using Kolta::ShortTimeFFPAssignment;
using Kolta::ShortTimeFFPAssignmentItemMap;
using Kolta::UserAction;

namespace {

constexpr int kGatherMs = 100;
constexpr int kMostHeaderWidth = 360;
constexpr int kCellWidth = 104;

} // namespace

AssignmentsView::AssignmentsView(Session& session, ActionTable& actions, QWidget* parent)
    : QWidget(parent)
    , m_session(session)
    , m_actions(actions)
    , m_matrix(session, this)
    , m_filter(new FilterBar(tr("Filter: FFP 1, hopper, !burst"), tr("Filter of assignments"), this))
    , m_nothing(new QLabel(this))
    , m_table(new QTableView(this))
    , m_hint(new QLabel(this))
{
    makeTable();
    makeActions();
    arrange();
    follow();
    showState();
}

void AssignmentsView::makeTable()
{
    m_table->setModel(&m_matrix);
    m_table->setItemDelegate(new MatrixDelegate(m_table));
    m_table->setAccessibleName(tr("Assignments"));
    m_table->setShowGrid(false);
    m_table->setAlternatingRowColors(true);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setTabKeyNavigation(false); // arrows go from cell to cell
    m_table->horizontalHeader()->setDefaultSectionSize(kCellWidth);
    m_table->horizontalHeader()->setFixedHeight(44);
    m_table->horizontalHeader()->setDefaultAlignment(
        static_cast<Qt::Alignment>(static_cast<int>(Qt::AlignCenter) | static_cast<int>(Qt::TextWordWrap)));
    m_table->verticalHeader()->setDefaultSectionSize(26);
    m_table->verticalHeader()->setMinimumWidth(180);
    m_table->verticalHeader()->setMaximumWidth(kMostHeaderWidth);
    m_table->installEventFilter(this);
}

void AssignmentsView::makeActions()
{
    ActionTable::Entry sending;
    sending.id = QStringLiteral("short-send");
    sending.text = tr("Send the assignments");
    sending.shortcut = QKeySequence(Qt::CTRL + Qt::Key_Return);
    sending.rights = Kolta::rightFor(UserAction::EditAssignments);
    sending.needsLink = true;
    sending.changes = true;
    sending.problem = [this] { return objection(); };
    sending.line = [this] { return sendLines(); };
    sending.object = [this] { return m_server; };
    sending.run = [this] { send(); };
    ActionTable::Entry undoing;
    undoing.id = QStringLiteral("short-send-undo");
    undoing.text = tr("Undo the ticks");
    undoing.problem = [this] { return m_matrix.changeCount() == 0 ? tr("Nothing has changed.") : QString(); };
    undoing.run = [this] { m_matrix.undo(); };
    for (const ActionTable::Entry& entry : {sending, undoing})
        m_actions.add(entry, this);
}

void AssignmentsView::arrange()
{
    m_nothing->setProperty("dim", true);
    m_nothing->setContentsMargins(8, 4, 8, 4);
    m_nothing->setWordWrap(true);
    m_nothing->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_hint->setText(tr("Space: on or off · Ctrl+Space: whole column · Shift+Space: whole row · "
                       "no cover: the tuner does not reach the profile"));
    m_hint->setProperty("dim", true);
    m_hint->setContentsMargins(8, 4, 8, 4);
    m_hint->setWordWrap(true);
    m_send = m_actions.makeButton(QStringLiteral("short-send"), this);
    QPushButton* const undo = m_actions.makeButton(QStringLiteral("short-send-undo"), this);
    undo->setText(tr("Undo"));
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 5, 8, 5);
    top->setSpacing(8);
    top->addWidget(m_filter, 1);
    top->addWidget(m_send);
    top->addWidget(undo);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(top);
    layout->addWidget(m_nothing, 1);
    layout->addWidget(m_table, 1);
    layout->addWidget(m_hint);
}

void AssignmentsView::follow()
{
    m_gathering.setSingleShot(true);
    m_gathering.setInterval(kGatherMs);
    connect(&m_gathering, &QTimer::timeout, this, &AssignmentsView::refresh);
    const auto gather = [this] {
        if (!m_gathering.isActive())
            m_gathering.start();
    };
    const auto gatherIfSeen = [this, gather] {
        if (m_isSeen)
            gather();
        else
            m_isDue = true;
    };
    const auto connectTo = [this](const QAbstractItemModel& source, const std::function<void()>& take) {
        connect(&source, &QAbstractItemModel::dataChanged, this, take);
        connect(&source, &QAbstractItemModel::rowsInserted, this, take);
        connect(&source, &QAbstractItemModel::rowsRemoved, this, take);
        connect(&source, &QAbstractItemModel::rowsMoved, this, take);
    };
    // These are read in time: once their server is away nobody can make up for it.
    connectTo(m_assignments, gather);
    connectTo(m_profiles, gather);
    connectTo(m_session.processors(), gatherIfSeen);
    connect(&m_matrix, &AssignmentMatrix::si_DraftChanged, this, &AssignmentsView::showState);
    connect(&m_matrix, &QAbstractItemModel::modelReset, this, &AssignmentsView::applyFilter);
    connect(m_filter->line(), &QLineEdit::textChanged, this, &AssignmentsView::applyFilter);
    connect(m_table, &QTableView::clicked, this,
            [this](const QModelIndex& index) { m_matrix.toggle(index); });
}

void AssignmentsView::showServer(const QString& address)
{
    const bool isOther = m_server != address;
    m_server = address;
    auto* const assignments = shortTimeMap<ShortTimeFFPAssignmentItemMap>(m_session, address);
    auto* const profiles = shortTimeMap<Kolta::ShortTimeProfileItemMap>(m_session, address);
    if (m_assignments.map() != assignments)
        m_assignments.setMap(assignments);
    if (m_profiles.map() != profiles)
        m_profiles.setMap(profiles);
    m_matrix.showServer(address);
    if (isOther || m_isSeen)
        refresh();
    else
        m_isDue = true;
}

void AssignmentsView::setSeen(bool isSeen)
{
    m_isSeen = isSeen;
    if (m_isSeen && m_isDue)
        refresh();
}

void AssignmentsView::refresh()
{
    m_isDue = false;
    m_matrix.refresh();
}

QLineEdit* AssignmentsView::filterLine() const
{
    return m_filter->line();
}

/// Of the rows and columns those with a cell that fits: words of an FFP, of a profile, or of both.
void AssignmentsView::applyFilter()
{
    const FilterWords words(m_filter->text());
    QVector<bool> rows(m_matrix.rowCount(), words.isEmpty());
    QVector<bool> columns(m_matrix.columnCount(), words.isEmpty());
    for (int row = 0; !words.isEmpty() && row < rows.size(); ++row) {
        for (int column = 0; column < columns.size(); ++column) {
            if (!m_matrix.fits(words, row, column))
                continue;
            rows[row] = true;
            columns[column] = true;
        }
    }
    for (int row = 0; row < rows.size(); ++row)
        m_table->setRowHidden(row, !rows.at(row));
    for (int column = 0; column < columns.size(); ++column)
        m_table->setColumnHidden(column, !columns.at(column));
    showState();
}

/// What has to be there first, as a sentence; empty for nothing.
QString AssignmentsView::whatIsMissing() const
{
    const bool isEmpty = m_matrix.rowCount() == 0 || m_matrix.columnCount() == 0;
    if (isEmpty && m_matrix.isLastKnown())
        return objectionToShortTime(m_server, false);
    if (m_server.isEmpty())
        return objectionToShortTime(m_server, false);
    if (m_matrix.columnCount() == 0)
        return tr("There is no profile yet: make one under Profiles.");
    if (m_matrix.rowCount() == 0)
        return tr("No FFP runs on %1 that could look for a profile: start one on the page Order.")
            .arg(m_server);
    return m_table->verticalHeader()->hiddenSectionCount() == m_matrix.rowCount()
               ? tr("Neither an FFP nor a profile matches \"%1\".").arg(m_filter->text())
               : QString();
}

void AssignmentsView::showState()
{
    const int changes = m_matrix.changeCount();
    const QString missing = whatIsMissing();
    const int rows = m_matrix.rowCount() - m_table->verticalHeader()->hiddenSectionCount();
    const int columns = m_matrix.columnCount() - m_table->horizontalHeader()->hiddenSectionCount();
    QStringList counts{tr("%n FFP(s)", "", rows), tr("%n profile(s)", "", columns)};
    if (changes > 0)
        counts.append(tr("%n change(s) not sent", "", changes));
    if (m_matrix.isLastKnown())
        counts.append(lastKnownText(m_session, m_server));
    m_filter->tell(counts.join(QStringLiteral(", ")), !missing.isEmpty());
    m_nothing->setText(missing);
    m_nothing->setVisible(!missing.isEmpty());
    m_table->setVisible(missing.isEmpty());
    m_hint->setVisible(missing.isEmpty());
    m_send->setText(tr("Send %n change(s)", "", changes));
    m_actions.refresh();
}

QString AssignmentsView::objection() const
{
    const QString general =
        objectionToShortTime(m_server, shortTimeMap<ShortTimeFFPAssignmentItemMap>(m_session, m_server));
    if (!general.isEmpty())
        return general;
    if (m_matrix.isSending())
        return tr("They are being sent.");
    return m_matrix.changeCount() == 0 ? tr("Nothing has changed.") : QString();
}

QModelIndexList AssignmentsView::cellsFor(Qt::KeyboardModifiers keys) const
{
    const QModelIndex current = m_table->currentIndex();
    QModelIndexList cells;
    if (!current.isValid())
        return cells;
    if (keys.testFlag(Qt::ControlModifier)) {
        for (int row = 0; row < m_matrix.rowCount(); ++row) {
            if (!m_table->isRowHidden(row))
                cells.append(m_matrix.index(row, current.column()));
        }
    } else if (keys.testFlag(Qt::ShiftModifier)) {
        for (int column = 0; column < m_matrix.columnCount(); ++column) {
            if (!m_table->isColumnHidden(column))
                cells.append(m_matrix.index(current.row(), column));
        }
    } else {
        cells.append(current);
    }
    return cells;
}

bool AssignmentsView::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_table && event->type() == QEvent::KeyPress) {
        const auto* const key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Space) {
            const QModelIndexList cells = cellsFor(key->modifiers());
            if (!cells.isEmpty())
                m_matrix.toggleAll(cells);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

QString AssignmentsView::sendLines() const
{
    QStringList lines;
    for (const ShortTimeFFPAssignment& assignment : m_matrix.wanted())
        lines.append(KoltaApps::ActionLines(m_server).assign(assignment));
    return lines.join(QLatin1Char('\n'));
}

/// Each FFP is asked for by itself; what is refused stays ticked and becomes an event.
void AssignmentsView::send()
{
    auto* const map = shortTimeMap<ShortTimeFFPAssignmentItemMap>(m_session, m_server);
    m_line = sendLines();
    for (const ShortTimeFFPAssignment& assignment : m_matrix.wanted()) {
        auto* const job = new Kolta::AssignmentJob(*map, assignment, this);
        m_session.events().followOperation(*job, m_server, tr("assignment of %1").arg(assignment.ffpGuid));
        job->deleteWhenFinished();
        m_matrix.noteSent(assignment);
        job->then(this, [this, server = m_server, assignment](const Kolta::Operation& operation) {
            m_matrix.takeEnd(server, assignment, operation.state() == Kolta::Operation::State::Done);
        });
    }
    Q_EMIT si_LineChanged();
}

} // namespace KoltaConsole
