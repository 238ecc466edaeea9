#include <koltacommon/maprequestjobs.h>

namespace Kolta {

AssignmentJob::AssignmentJob(ShortTimeFFPAssignmentItemMap& map, const ShortTimeFFPAssignment& assignment,
                             QObject* parent)
    : MapRequestOperation(map, parent), m_assignment(assignment)
{
}

void AssignmentJob::open(ShortTimeFFPAssignmentItemMap& map)
{
    map.RequestAssignmentChange(m_assignment, id());
}

ProfileTypeJob::ProfileTypeJob(ShortTimeProfileItemMap& map, const QString& profileName,
                               eShortTimeProfileType type, QObject* parent)
    : MapRequestOperation(map, parent), m_profileName(profileName), m_type(type)
{
}

void ProfileTypeJob::open(ShortTimeProfileItemMap& map)
{
    map.RequestTypeChange(m_profileName, m_type, id());
}

} // namespace Kolta
