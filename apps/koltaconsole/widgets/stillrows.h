#pragma once

#include <QObject>
#include <QTimer>

namespace KoltaConsole {

/// Whoever opens a menu on a row, or drags it, is to find it where it was: meanwhile rows come and move at
/// most twice a second.
class StillRows : public QObject
{
    Q_OBJECT

public:
    explicit StillRows(QObject* parent = nullptr);

    /// Asked before rows change: whether that waits, for a menu, a list, or what else somebody drags. si_Due
    /// comes then.
    bool areHeld(bool isDragging = false);

Q_SIGNALS:
    /// All that has waited may be shown now; nothing is held meanwhile.
    void si_Due();

private:
    QTimer m_timer;
    bool m_isTelling = false;
};

} // namespace KoltaConsole
