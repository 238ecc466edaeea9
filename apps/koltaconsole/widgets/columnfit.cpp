#include "columnfit.h"

#include <QEvent>
#include <QHeaderView>
#include <QScopedValueRollback>
#include <QTreeView>

#include <algorithm>
#include <limits>

namespace KoltaConsole {

ColumnFit::ColumnFit(QTreeView& view, std::initializer_list<Yielding> yielding, int last)
    : QObject(&view), m_view(view), m_yielding(yielding), m_last(last)
{
    take();
    // What somebody drags is wanted.
    connect(view.header(), &QHeaderView::sectionResized, this, [this](int column, int /*before*/, int width) {
        const auto place = static_cast<std::size_t>(column);
        if (!m_isFitting && place < m_wanted.size())
            m_wanted[place] = width;
    });
    view.header()->installEventFilter(this);
}

ColumnFit* ColumnFit::of(const QTreeView& view)
{
    return view.findChild<ColumnFit*>(QString(), Qt::FindDirectChildrenOnly);
}

void ColumnFit::take()
{
    m_wanted.clear();
    for (int column = 0; column < m_view.header()->count() - 1; ++column)
        m_wanted.push_back(m_view.header()->sectionSize(column));
    fit();
}

void ColumnFit::release()
{
    fitInto(std::numeric_limits<int>::max());
}

void ColumnFit::fit()
{
    fitInto(m_view.header()->width());
}

void ColumnFit::fitInto(int room)
{
    const QScopedValueRollback<bool> fitting(m_isFitting, true);
    QHeaderView& header = *m_view.header();
    int needed = m_last;
    for (int column = 0; column < header.count() - 1; ++column)
        needed += header.isSectionHidden(column) ? 0 : m_wanted.at(static_cast<std::size_t>(column));
    int excess = std::max(0, needed - room);
    for (const Yielding& each : m_yielding) {
        if (header.isSectionHidden(each.column))
            continue;
        const int wanted = m_wanted.at(static_cast<std::size_t>(each.column));
        const int given = std::min(excess, std::max(0, wanted - each.least));
        header.resizeSection(each.column, wanted - given);
        excess -= given;
    }
}

/// Before the header takes its new size, the rest of which goes to the last column.
bool ColumnFit::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize)
        fit();
    return QObject::eventFilter(watched, event);
}

} // namespace KoltaConsole
