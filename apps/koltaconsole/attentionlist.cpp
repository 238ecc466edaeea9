#include "attentionlist.h"

#include "session.h"
#include "stateitemdelegate.h"

#include <QKeyEvent>
#include <QListWidget>
#include <QVBoxLayout>

namespace KoltaConsole {

AttentionList::AttentionList(Session& session, QWidget* parent)
    : QFrame(parent), m_session(session), m_list(new QListWidget(this))
{
    setFrameShape(QFrame::Box);
    setAutoFillBackground(true);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setAccessibleName(tr("What needs attention"));
    m_list->setItemDelegate(new StateItemDelegate(m_list, [this](const QModelIndex& index) {
        Look look = m_session.factsOf(index.data(Qt::UserRole).toString()).look();
        look.word = index.data().toString();
        return std::optional<Look>(look);
    }));
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(1, 1, 1, 1);
    layout->addWidget(m_list);
    connect(m_list, &QListWidget::itemActivated, this, &AttentionList::want);
    connect(m_list, &QListWidget::itemClicked, this, &AttentionList::want);
    connect(&session, &Session::si_FactsChanged, this, [this] {
        if (isVisible())
            fill();
    });
    hide();
}

void AttentionList::fill()
{
    const int row = m_list->currentRow();
    m_list->clear();
    for (const ServerFacts& facts : m_session.facts()) {
        if (!facts.needsAttention())
            continue;
        auto* const item = new QListWidgetItem(
            QStringLiteral("%1  %2, %3").arg(facts.address, facts.look().word, facts.reason()), m_list);
        item->setData(Qt::UserRole, facts.address);
        item->setSizeHint({0, 26});
    }
    if (m_list->count() == 0)
        m_list->addItem(tr("nothing needs attention"));
    m_list->setCurrentRow(qBound(-1, row, m_list->count() - 1));
    resize(400, qMin(12, m_list->count()) * 26 + 6);
}

void AttentionList::open()
{
    fill();
    raise();
    show();
    m_list->setFocus();
}

void AttentionList::step(int by)
{
    const bool wasOpen = isVisible();
    open();
    const int count = m_list->count();
    const int row = wasOpen ? (m_list->currentRow() + by + count) % count : by > 0 ? 0 : count - 1;
    m_list->setCurrentRow(row);
    if (wasOpen)
        want(m_list->item(row));
}

void AttentionList::want(const QListWidgetItem* item)
{
    const QString address = item ? item->data(Qt::UserRole).toString() : QString();
    if (!address.isEmpty())
        Q_EMIT si_ServerWanted(address);
}

void AttentionList::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        hide();
    else
        QFrame::keyPressEvent(event);
}

} // namespace KoltaConsole
