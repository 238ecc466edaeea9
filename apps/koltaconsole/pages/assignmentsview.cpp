#include "assignmentsview.h"

#include "../matrixdelegate.h"
#include "shorttimemaps.h"

#include <common/actionlines.h>
#include <koltacommon/installationevents.h>
#include <koltacommon/maprequestjobs.h>
#include <koltacommon/processormodel.h>

#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

namespace KoltaConsole {

using Kolta::ShortTimeFFPAssignment;
using Kolta::ShortTimeFFPAssignmentItemMap;
using Kolta::UserAction;

namespace {

constexpr int kGatherMs = 100;
constexpr int kCellWidth = 104;

} // namespace

AssignmentsView::AssignmentsView(Session& session, QWidget* parent)
    : QWidget(parent)
    , m_session(session)
    , m_matrix(session, this)
    , m_heading(new QLabel(this))
    , m_send(new QPushButton(this))
    , m_undo(new QPushButton(tr("Undo"), this))
    , m_table(new QTableView(this))
{
    m_heading->setProperty("heading", true);
    m_heading->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_table->setModel(&m_matrix);
    m_table->setItemDelegate(new MatrixDelegate(m_table));
    m_table->setAccessibleName(tr("Assignments"));
    m_table->setShowGrid(false);
    m_table->setAlternatingRowColors(true);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->horizontalHeader()->setDefaultSectionSize(kCellWidth);
    m_table->horizontalHeader()->setFixedHeight(44);
    m_table->horizontalHeader()->setDefaultAlignment(
        static_cast<Qt::Alignment>(static_cast<int>(Qt::AlignCenter) | static_cast<int>(Qt::TextWordWrap)));
    m_table->verticalHeader()->setDefaultSectionSize(26);
    m_table->verticalHeader()->setMinimumWidth(180);
    m_table->installEventFilter(this);
    auto* const hint = new QLabel(tr("Space: on or off · Ctrl+Space: whole column · Shift+Space: whole row · "
                                     "no cover: the tuner does not reach the profile"),
                                  this);
    hint->setProperty("dim", true);
    hint->setContentsMargins(8, 4, 8, 4);
    hint->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    hint->setToolTip(hint->text());
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 5, 8, 5);
    top->setSpacing(8);
    top->addWidget(m_heading, 1);
    top->addWidget(m_send);
    top->addWidget(m_undo);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(top);
    layout->addWidget(m_table, 1);
    layout->addWidget(hint);
    follow();
}

void AssignmentsView::follow()
{
    m_gathering.setSingleShot(true);
    m_gathering.setInterval(kGatherMs);
    connect(&m_gathering, &QTimer::timeout, &m_matrix, &AssignmentMatrix::refresh);
    const auto gather = [this] {
        if (!m_gathering.isActive())
            m_gathering.start();
    };
    const QAbstractItemModel* const sources[] = {&m_assignments, &m_profiles, &m_session.processors()};
    for (const QAbstractItemModel* const source : sources) {
        connect(source, &QAbstractItemModel::dataChanged, this, gather);
        connect(source, &QAbstractItemModel::rowsInserted, this, gather);
        connect(source, &QAbstractItemModel::rowsRemoved, this, gather);
        connect(source, &QAbstractItemModel::rowsMoved, this, gather);
    }
    connect(&m_matrix, &AssignmentMatrix::si_DraftChanged, this, &AssignmentsView::showState);
    connect(m_send, &QPushButton::clicked, this, &AssignmentsView::send);
    connect(m_undo, &QPushButton::clicked, &m_matrix, &AssignmentMatrix::undo);
    connect(m_table, &QTableView::clicked, this,
            [this](const QModelIndex& index) { m_matrix.toggle(index); });
}

void AssignmentsView::showServer(const QString& address)
{
    m_server = address;
    auto* const assignments = shortTimeMap<ShortTimeFFPAssignmentItemMap>(m_session, address, "Assignments");
    auto* const profiles = shortTimeMap<Kolta::ShortTimeProfileItemMap>(m_session, address, "Profiles");
    if (m_assignments.map() != assignments)
        m_assignments.setMap(assignments);
    if (m_profiles.map() != profiles)
        m_profiles.setMap(profiles);
    m_matrix.showServer(address);
    showState();
}

void AssignmentsView::showState()
{
    const int changes = m_matrix.changeCount();
    const bool isThere = shortTimeMap<ShortTimeFFPAssignmentItemMap>(m_session, m_server, "Assignments");
    QString objection = objectionToShortTime(m_session, m_server, isThere, UserAction::EditAssignments);
    const QString counts = tr("%1 FFPs, %2 profiles").arg(m_matrix.rowCount()).arg(m_matrix.columnCount());
    m_heading->setText(!isThere       ? objection
                       : changes == 0 ? counts
                                      : tr("%1; %n change(s) not sent", "", changes).arg(counts));
    m_send->setText(tr("Send %n change(s)", "", changes));
    if (objection.isEmpty() && changes == 0)
        objection = tr("Nothing has changed.");
    m_send->setEnabled(objection.isEmpty());
    m_send->setToolTip(objection);
    m_send->setAccessibleDescription(objection);
    m_undo->setEnabled(changes > 0);
}

QModelIndexList AssignmentsView::cellsFor(Qt::KeyboardModifiers keys) const
{
    const QModelIndex current = m_table->currentIndex();
    QModelIndexList cells;
    if (!current.isValid())
        return cells;
    if (keys.testFlag(Qt::ControlModifier)) {
        for (int row = 0; row < m_matrix.rowCount(); ++row)
            cells.append(m_matrix.index(row, current.column()));
    } else if (keys.testFlag(Qt::ShiftModifier)) {
        for (int column = 0; column < m_matrix.columnCount(); ++column)
            cells.append(m_matrix.index(current.row(), column));
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

/// Each FFP is asked for by itself; what is refused stays ticked and becomes an event.
void AssignmentsView::send()
{
    auto* const map = shortTimeMap<ShortTimeFFPAssignmentItemMap>(m_session, m_server, "Assignments");
    if (!map || !objectionToShortTime(m_session, m_server, true, UserAction::EditAssignments).isEmpty())
        return;
    for (const ShortTimeFFPAssignment& assignment : m_matrix.wanted()) {
        auto* const job = new Kolta::AssignmentJob(*map, assignment, this);
        m_session.events().followOperation(*job, m_server, tr("assignment of %1").arg(assignment.ffpGuid));
        job->deleteWhenFinished();
        job->then(this,
                  [this, server = m_server, ffp = assignment.ffpGuid](const Kolta::Operation& operation) {
                      if (operation.state() == Kolta::Operation::State::Done)
                          m_matrix.forgetDraft(server, ffp);
                  });
        m_line = KoltaApps::ActionLines(m_server).assign(assignment);
    }
    Q_EMIT si_LineChanged();
}

} // namespace KoltaConsole
