#include "elidedlabel.h"

#include <QPainter>
#include <QStyle>

namespace KoltaConsole {

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent)
{
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void ElidedLabel::setText(const QString& text)
{
    QLabel::setText(text);
    setToolTip(text);
}

void ElidedLabel::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(),
                          fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width()),
                          foregroundRole());
    Q_UNUSED(event)
}

} // namespace KoltaConsole
