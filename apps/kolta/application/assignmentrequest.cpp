#include "assignmentrequest.h"

#include <kolta/cli/eventwait.h>

namespace KoltaCli {

AssignmentRequest::AssignmentRequest(Kolta::ShortTimeFFPAssignmentItemMap& map,
                                     const Kolta::ShortTimeFFPAssignment& assignment)
    : m_map(map)
{
    m_map.Attach(this);
    m_map.RequestAssignmentChange(assignment, m_id);
}

AssignmentRequest::Outcome AssignmentRequest::wait(int timeoutMs)
{
    waitUntil([this] { return m_outcome != Outcome::Open; }, timeoutMs);
    return m_outcome;
}

void AssignmentRequest::Update(Observable*, TChangeCode)
{
    if (m_outcome != Outcome::Open)
        return;
    if (m_map.IsDeleted()) {
        m_outcome = Outcome::Lost;
    } else if (const QString* const error = m_map.FindReply(m_id)) {
        m_problem = *error;
        m_outcome = error->isEmpty() ? Outcome::Granted : Outcome::Refused;
    }
}

} // namespace KoltaCli
