#include "plotmoves.h"

#include <koltaconsole/widgets/theme.h>

#include <qwt_plot.h>
#include <qwt_scale_map.h>

#include <QBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QToolButton>
#include <QWheelEvent>

#include <cmath>
#include <iterator>

namespace KoltaConsole {

namespace {

constexpr double kZoom = 1.5; ///< of a key, and of a step of the wheel
constexpr double kPan = 0.2;  ///< of what is shown

constexpr struct
{
    int key;
    const char* sign;
    void (*run)(IMovable& movable, double middle);
} kMoves[] = {{Qt::Key_Left, "←", [](IMovable& movable, double) { movable.pan(-kPan); }},
              {Qt::Key_Right, "→", [](IMovable& movable, double) { movable.pan(kPan); }},
              {Qt::Key_Plus, "+", [](IMovable& movable, double middle) { movable.zoom(1 / kZoom, middle); }},
              {Qt::Key_Minus, "−", [](IMovable& movable, double middle) { movable.zoom(kZoom, middle); }},
              {Qt::Key_0, "0", [](IMovable& movable, double) { movable.showAll(); }}};

} // namespace

void paintFocusFrame(QWidget& widget)
{
    if (!widget.hasFocus())
        return;
    QPainter painter(&widget);
    painter.setPen(QPen(Theme::instance().color(Role::Planned), kFocusFrame));
    painter.drawRect(widget.rect().adjusted(1, 1, -1, -1));
}

PlotMoves::PlotMoves(IMovable& movable, QWidget& keys, QwtPlot& plot) : m_movable(movable), m_plot(plot)
{
    keys.installEventFilter(this);
    plot.canvas()->installEventFilter(this);
}

void PlotMoves::addButtons(QBoxLayout& row, const std::array<QString, 5>& names)
{
    for (std::size_t i = 0; i < names.size(); ++i) {
        auto* const button = new QToolButton(row.parentWidget());
        button->setText(QString::fromUtf8(kMoves[i].sign));
        button->setToolTip(names[i]);
        button->setAccessibleName(names[i]);
        button->setAutoRaise(true);
        button->setFixedSize(26, 22);
        button->setFocusPolicy(Qt::NoFocus);
        connect(button, &QToolButton::clicked, this, [this, i] { move(i); });
        row.addWidget(button);
    }
}

bool PlotMoves::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Wheel && watched == m_plot.canvas()) {
        const auto* const wheel = static_cast<QWheelEvent*>(event);
        m_movable.zoom(std::pow(kZoom, -wheel->angleDelta().y() / 120.0),
                       m_plot.canvasMap(QwtPlot::xBottom).invTransform(wheel->position().x()));
        return true;
    }
    if (event->type() != QEvent::KeyPress)
        return false;
    const int key = static_cast<QKeyEvent*>(event)->key();
    for (std::size_t i = 0; i < std::size(kMoves); ++i) {
        if (kMoves[i].key == key) {
            move(i);
            return true;
        }
    }
    return false;
}

void PlotMoves::move(std::size_t number)
{
    QwtScaleMap across = m_plot.canvasMap(QwtPlot::xBottom);
    across.setPaintInterval(0, 2); // whatever room it has
    kMoves[number].run(m_movable, across.invTransform(1));
}

} // namespace KoltaConsole
