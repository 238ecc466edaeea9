#include "looklabel.h"

#include <QPainter>
#include <QStyle>
#include <QVariant>

namespace KoltaConsole {

LookLabel::LookLabel(QWidget* parent) : QLabel(parent)
{
    setWordWrap(true);
    setAlignment(Qt::AlignLeft | Qt::AlignTop);
}

void LookLabel::setLook(const Look& look)
{
    m_look = look;
    dress(look.word, true);
}

void LookLabel::setNote(const QString& text)
{
    m_look = Look();
    dress(text, false);
}

void LookLabel::dress(const QString& text, bool isMarked)
{
    if (m_isMarked != isMarked) {
        QMargins margins = contentsMargins();
        margins.setLeft(margins.left() + (isMarked ? kMarkRoom : -kMarkRoom));
        setContentsMargins(margins);
        m_isMarked = isMarked;
    }
    setText(text);
    if (property("dim") == !isMarked && property("warning") == m_look.isLoud)
        return;
    setProperty("dim", !isMarked);
    setProperty("warning", m_look.isLoud);
    style()->unpolish(this);
    style()->polish(this);
}

void LookLabel::paintEvent(QPaintEvent* event)
{
    QLabel::paintEvent(event);
    if (!m_isMarked || text().isEmpty())
        return;
    QPainter painter(this);
    const QRect room = contentsRect();
    const QRectF square(room.left() - kMarkRoom, room.top() + (fontMetrics().height() - kMarkSize) / 2.0,
                        kMarkSize, kMarkSize);
    paintMark(painter, square, m_look.mark, Theme::instance().color(m_look.role));
}

} // namespace KoltaConsole
