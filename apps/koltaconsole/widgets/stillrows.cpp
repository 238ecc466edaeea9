#include "stillrows.h"

#include <QApplication>

namespace KoltaConsole {

namespace {

constexpr int kHeldMs = 500;

} // namespace

StillRows::StillRows(QObject* parent) : QObject(parent)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(kHeldMs);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_isTelling = true;
        Q_EMIT si_Due();
        m_isTelling = false;
    });
}

bool StillRows::areHeld(bool isDragging)
{
    if (m_isTelling || (!isDragging && !QApplication::activePopupWidget()))
        return false;
    if (!m_timer.isActive())
        m_timer.start();
    return true;
}

} // namespace KoltaConsole
