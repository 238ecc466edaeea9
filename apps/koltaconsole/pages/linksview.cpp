#include "linksview.h"

#include "../columns.h"
#include "../session.h"
#include "../stateitemdelegate.h"

#include <koltacommon/viewroles.h>

#include <QHeaderView>
#include <QLabel>
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

} // namespace

LinksView::LinksView(Session& session, QWidget* parent)
    : QWidget(parent), m_nothing(new QLabel(this)), m_table(new QTreeView(this))
{
    m_model.setBranches(session.branches());
    m_nothing->setText(tr("There are no links: the servers are simulated in this process."));
    m_nothing->setProperty("dim", true);
    m_nothing->setContentsMargins(8, 8, 8, 8);
    m_table->setModel(&m_model);
    m_table->setItemDelegate(new StateItemDelegate(m_table, &lookOf));
    m_table->setRootIsDecorated(false);
    m_table->setUniformRowHeights(true);
    m_table->setAlternatingRowColors(true);
    m_table->setAccessibleName(tr("Links"));
    setColumnWidths(*m_table, {260, 200, 110, 100, 70, 110});
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_nothing);
    layout->addWidget(m_table, 1);
    connect(&m_model, &QAbstractItemModel::rowsInserted, this, &LinksView::showWhetherThereAreAny);
    connect(&m_model, &QAbstractItemModel::rowsRemoved, this, &LinksView::showWhetherThereAreAny);
    showWhetherThereAreAny();
}

void LinksView::showWhetherThereAreAny()
{
    const bool isEmpty = m_model.rowCount() == 0;
    m_nothing->setVisible(isEmpty);
    m_table->setVisible(!isEmpty);
}

} // namespace KoltaConsole
