#include "buttonrow.h"

#include "actions.h"

#include <QAction>
#include <QEvent>
#include <QMenu>
#include <QPushButton>

namespace KoltaConsole {

namespace {

constexpr int kGap = 8;

} // namespace

ButtonRow::ButtonRow(const ActionTable& actions, const QStringList& ids, int kept, QWidget* parent)
    : QWidget(parent), m_kept(kept), m_more(new QPushButton(tr("More"), this)), m_menu(new QMenu(this))
{
    for (const QString& id : ids) {
        m_buttons.append(actions.makeButton(id, this));
        m_actions.append(actions.action(id));
    }
    m_more->setMenu(m_menu);
    m_more->setAccessibleDescription(tr("Further actions"));
    m_menu->setToolTipsVisible(true);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    arrange();
}

/// Of the first so many buttons, and the menu where that is not all.
int ButtonRow::widthOf(int count) const
{
    int width = 0;
    for (int place = 0; place < count; ++place)
        width += m_buttons.at(place)->sizeHint().width() + kGap;
    if (count < m_buttons.size())
        width += m_more->sizeHint().width() + kGap;
    return width - kGap;
}

QSize ButtonRow::sizeHint() const
{
    return {widthOf(m_buttons.size()), m_more->sizeHint().height()};
}

QSize ButtonRow::minimumSizeHint() const
{
    return {widthOf(qMin(m_kept, m_buttons.size())), m_more->sizeHint().height()};
}

void ButtonRow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    arrange();
}

void ButtonRow::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::StyleChange || event->type() == QEvent::FontChange)
        arrange();
}

void ButtonRow::arrange()
{
    int shown = m_buttons.size();
    while (shown > m_kept && widthOf(shown) > width())
        --shown;
    m_hidden = m_buttons.size() - shown;
    m_menu->clear();
    int left = width() - widthOf(shown);
    for (int place = 0; place < m_buttons.size(); ++place) {
        QPushButton* const button = m_buttons.at(place);
        button->setVisible(place < shown);
        if (place >= shown) {
            m_menu->addAction(m_actions.at(place));
            continue;
        }
        const QSize size = button->sizeHint();
        button->setGeometry(left, (height() - size.height()) / 2, size.width(), size.height());
        left += size.width() + kGap;
    }
    m_more->setVisible(m_hidden > 0);
    const QSize size = m_more->sizeHint();
    m_more->setGeometry(left, (height() - size.height()) / 2, size.width(), size.height());
}

} // namespace KoltaConsole
