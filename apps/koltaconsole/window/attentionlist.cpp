#include "attentionlist.h"

#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#include <QKeyEvent>
#include <QListWidget>
#include <QVBoxLayout>

namespace KoltaConsole {

namespace {

constexpr int kRowHeight = 26;
constexpr int kWidth = 460; ///< enough for what is wrong and since when

} // namespace

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
    QStringList texts, addresses;
    for (const ServerFacts& facts : m_session.facts()) {
        if (!facts.needsAttention())
            continue;
        texts.append(QStringLiteral("%1  %2, %3").arg(facts.address, facts.look().word, facts.reason()));
        addresses.append(facts.address);
    }
    if (texts.isEmpty()) {
        texts.append(tr("nothing needs attention"));
        addresses.append(QString());
    }
    setTexts(texts, addresses);
    resize(kWidth, qMin(12, m_list->count()) * kRowHeight + 6);
}

/// Rows stay the same ones as long as they are of the same servers: somebody may just press a button on one.
/// Otherwise the current one stays the same server's; one that needs nothing any more has no heir.
void AttentionList::setTexts(const QStringList& texts, const QStringList& addresses)
{
    if (m_addresses != addresses) {
        const QString current = m_addresses.value(m_list->currentRow());
        m_list->clear();
        for (const QString& address : addresses) {
            auto* const item = new QListWidgetItem(m_list);
            item->setData(Qt::UserRole, address);
            item->setSizeHint({0, kRowHeight});
        }
        m_list->setCurrentRow(current.isEmpty() ? -1 : addresses.indexOf(current));
        m_addresses = addresses;
    }
    for (int row = 0; row < texts.size(); ++row)
        m_list->item(row)->setText(texts.at(row));
}

void AttentionList::open()
{
    if (!isVisible())
        m_hasGone = false;
    fill();
    raise();
    show();
    m_list->setFocus();
}

void AttentionList::step(int by)
{
    open();
    const int count = m_list->count(), current = m_list->currentRow();
    const bool goesOn = m_hasGone && current >= 0;
    const int row = goesOn ? (current + by + count) % count : by > 0 ? 0 : count - 1;
    m_list->setCurrentRow(row);
    want(m_list->item(row));
}

void AttentionList::want(const QListWidgetItem* item)
{
    const QString address = item ? item->data(Qt::UserRole).toString() : QString();
    if (address.isEmpty())
        return;
    m_hasGone = true;
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
