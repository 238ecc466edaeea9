#include "tunerspage.h"

#include "../actions.h"
#include "../session.h"
#include "../stateitemdelegate.h"

#include <koltacommon/tunermodel.h>
#include <koltacommon/viewroles.h>

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QScrollBar>
#include <QTreeView>
#include <QVBoxLayout>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;
using Kolta::TunerModel;

TunersPage::TunersPage(Session& session, ActionTable& actions, QWidget* parent)
    : Page(session, actions, parent)
    , m_filter(new QLineEdit(this))
    , m_count(new QLabel(this))
    , m_table(new QTreeView(this))
    , m_answer(new QLabel(this))
    , m_rows(this)
{
    m_filter->setPlaceholderText(tr("Filter: HF free, 118-137 MHz, >20 MHz, !S3"));
    m_filter->setClearButtonEnabled(true);
    m_filter->setFixedWidth(330);
    m_filter->setAccessibleName(tr("Filter of tuners"));
    m_count->setProperty("dim", true);
    m_answer->setContentsMargins(8, 4, 8, 4);
    m_answer->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_rows.setSourceModel(&session.tuners());
    makeTable();
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 5, 8, 5);
    top->setSpacing(8);
    top->addWidget(m_filter);
    top->addWidget(m_count, 1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(top);
    layout->addWidget(m_table, 1);
    layout->addWidget(m_answer);
    connect(m_filter, &QLineEdit::textChanged, this, &TunersPage::applyFilter);
    connect(&m_rows, &QAbstractItemModel::modelAboutToBeReset, this, &TunersPage::remember);
    connect(&m_rows, &QAbstractItemModel::modelReset, this, &TunersPage::restore);
    for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(&m_rows, signal, this, &TunersPage::showCount);
    connect(&m_rows, &QAbstractItemModel::dataChanged, this, &TunersPage::explain);
    showCount();
}

void TunersPage::makeTable()
{
    m_table->setModel(&m_rows);
    m_table->setItemDelegate(new StateItemDelegate(m_table, [](const QModelIndex& index) {
        return index.column() == TunerModel::eStateColumn
                   ? std::optional<Look>(tunerLook(index.data(Roles::StateRole).toInt()))
                   : std::nullopt;
    }));
    m_table->setRootIsDecorated(false);
    m_table->setUniformRowHeights(true);
    m_table->setAlternatingRowColors(true);
    m_table->setSortingEnabled(true);
    m_table->sortByColumn(TunerModel::eNameColumn, Qt::AscendingOrder);
    m_table->setAccessibleName(tr("Tuners"));
    QHeaderView* const header = m_table->header();
    header->moveSection(header->visualIndex(TunerModel::eStateColumn), 1);
    const int widths[] = {150, 130, 110, 150, 100, 120, 150, 110, 90};
    for (int column = 0; column < TunerModel::eColumnCount; ++column)
        header->resizeSection(column, widths[column]);
    m_table->setColumnHidden(TunerModel::eTypeColumn, true);
    connect(m_table->selectionModel(), &QItemSelectionModel::currentChanged, this, &TunersPage::explain);
}

void TunersPage::applyFilter()
{
    m_words = FilterWords(m_filter->text());
    if (m_words.isEmpty() && m_only.isEmpty()) {
        m_rows.setFilter({});
        return;
    }
    const TunerModel& model = session().tuners();
    m_rows.setFilter([this, &model](int row, const QString& search) {
        if (!m_only.isEmpty() && model.index(row, 0).data(Roles::ServerRole).toString() != m_only)
            return false;
        FilterWords::Band band;
        if (m_words.wantsBand()) {
            const auto tuner = model.index(row, 0).data(Roles::ItemRole).value<RESOURCEMANAGEMENT::Tuner>();
            band = {tuner.GetMinFrequency(), tuner.GetMaxFrequency(), tuner.GetMaxSWBandwidth()};
        }
        return m_words.matches(search, band);
    });
}

void TunersPage::remember()
{
    const QModelIndex current = m_table->currentIndex();
    if (current.isValid())
        m_currentKey = current.data(Roles::KeyRole).toString();
    m_topRow = m_table->verticalScrollBar()->value();
}

void TunersPage::restore()
{
    showCount();
    for (int row = 0; !m_currentKey.isEmpty() && row < m_rows.rowCount(); ++row) {
        const QModelIndex index = m_rows.index(row, 0);
        if (index.data(Roles::KeyRole).toString() != m_currentKey)
            continue;
        m_table->setCurrentIndex(index);
        m_table->verticalScrollBar()->setValue(m_topRow);
        return;
    }
    explain();
}

void TunersPage::showCount()
{
    const QLocale locale;
    const int shown = m_rows.rowCount(), all = session().tuners().rowCount();
    if (shown == 0 && all > 0)
        m_count->setText(tr("No tuner matches \"%1\"").arg(m_filter->text()));
    else if (shown == all)
        m_count->setText(tr("%1 tuners").arg(locale.toString(all)));
    else
        m_count->setText(tr("%1 of %2 tuners").arg(locale.toString(shown), locale.toString(all)));
}

/// Why the selected tuner cannot be had.
void TunersPage::explain()
{
    const QModelIndex current = m_table->currentIndex();
    m_answer->setVisible(current.isValid());
    if (!current.isValid())
        return;
    const QString name = current.sibling(current.row(), TunerModel::eNameColumn).data().toString();
    const QString holder = current.data(Roles::HolderRole).toString();
    const QString state = current.sibling(current.row(), TunerModel::eStateColumn).data().toString();
    const bool isStale = current.data(Roles::StaleRole).toBool();
    m_answer->setText(tr("%1: %2").arg(name, holder.isEmpty() ? state : holder) +
                      (isStale ? tr(", last known %1; its server is away")
                                     .arg(timeText(current.data(Roles::LastKnownRole).toDateTime()))
                               : QString()));
}

bool TunersPage::isFilled() const
{
    return m_rows.rowCount() > 0;
}

QString TunersPage::commandLine() const
{
    return m_only.isEmpty() ? QStringLiteral("kolta classes")
                            : QStringLiteral("kolta classes --server %1").arg(m_only);
}

void TunersPage::showServer(const QString& address)
{
    m_only = address;
    applyFilter();
    Q_EMIT si_CommandLineChanged();
}

} // namespace KoltaConsole
