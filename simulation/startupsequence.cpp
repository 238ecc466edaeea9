#include <simulation/startupsequence.h>

namespace KoltaSimulation {

StartupSequence::StartupSequence(QObject* parent) : QObject(parent)
{
    connect(&m_timer, &QTimer::timeout, this, &StartupSequence::advance);
}

void StartupSequence::begin(const QVector<int>& states, int stepMs)
{
    m_states = states;
    m_at = stepMs > 0 ? 0 : states.size() - 1;
    if (m_at < states.size() - 1)
        m_timer.start(stepMs);
    else
        m_timer.stop();
}

void StartupSequence::cancel()
{
    m_timer.stop();
}

int StartupSequence::progress() const
{
    return m_states.size() < 2 ? 100 : 100 * m_at / (m_states.size() - 1);
}

void StartupSequence::advance()
{
    if (++m_at >= m_states.size() - 1)
        m_timer.stop();
    Q_EMIT advanced();
}

} // namespace KoltaSimulation
