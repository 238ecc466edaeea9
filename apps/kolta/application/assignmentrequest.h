#pragma once

#include <koltacommon/shorttimeffpassignmentitemmap.h>

#include <QString>
#include <QUuid>

namespace KoltaCli {

/// Asks the owner of a map of assignments for one, and hears the answer. The map must outlive this.
class AssignmentRequest : private IObserver
{
public:
    AssignmentRequest(Kolta::ShortTimeFFPAssignmentItemMap& map,
                      const Kolta::ShortTimeFFPAssignment& assignment);

    enum class Outcome { Open, Granted, Refused, Lost };
    /// Lost: the map was deleted meanwhile, so no answer is to come.
    Outcome outcome() const noexcept { return m_outcome; }
    /// Runs the event loop until it is no more Open, the command is interrupted or the time is over.
    Outcome wait(int timeoutMs);
    const QUuid& id() const noexcept { return m_id; }
    /// Why it was refused.
    const QString& problem() const noexcept { return m_problem; }

private:
    void Update(Observable* source, TChangeCode code) override;

    Kolta::ShortTimeFFPAssignmentItemMap& m_map;
    QUuid m_id = QUuid::createUuid();
    Outcome m_outcome = Outcome::Open;
    QString m_problem;
};

} // namespace KoltaCli
