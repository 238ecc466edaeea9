#pragma once

#include <QObject>
#include <QTimer>
#include <QVector>

namespace KoltaSimulation {

/// Leads a server through its working states, one after the other, until it is up.
class StartupSequence : public QObject
{
    Q_OBJECT

public:
    explicit StartupSequence(QObject* parent = nullptr);

    /// Begins with the first of `states`, which must not be empty, and stays `stepMs` in each of them; with 0
    /// it is in the last one at once. Says nothing of the state in which it begins: see state().
    void begin(const QVector<int>& states, int stepMs);
    /// Stays where it is.
    void cancel();
    bool isRunning() const { return m_timer.isActive(); }
    int state() const { return m_states.value(m_at); }
    /// How far it is, per cent.
    int progress() const;

Q_SIGNALS:
    /// It is in the next state; in the last one it runs no more.
    void advanced();

private:
    void advance();

    QVector<int> m_states;
    int m_at = 0;
    QTimer m_timer;
};

} // namespace KoltaSimulation
