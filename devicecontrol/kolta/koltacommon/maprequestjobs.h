#pragma once

#include <koltacommon/export.h>
#include <koltacommon/mapoperation.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>

namespace Kolta {

/// Asks the owner of the assignments to take over one.
class KOLTA_COMMON_EXPORT AssignmentJob : public MapRequestOperation<ShortTimeFFPAssignmentItemMap>
{
    Q_OBJECT

public:
    AssignmentJob(ShortTimeFFPAssignmentItemMap& map, const ShortTimeFFPAssignment& assignment,
                  QObject* parent);

protected:
    void open(ShortTimeFFPAssignmentItemMap& map) override;

private:
    const ShortTimeFFPAssignment m_assignment;
};

/// Asks the owner of the profiles to give one another type.
class KOLTA_COMMON_EXPORT ProfileTypeJob : public MapRequestOperation<ShortTimeProfileItemMap>
{
    Q_OBJECT

public:
    ProfileTypeJob(ShortTimeProfileItemMap& map, const QString& profileName, eShortTimeProfileType type,
                   QObject* parent);

protected:
    void open(ShortTimeProfileItemMap& map) override;

private:
    const QString m_profileName;
    const eShortTimeProfileType m_type;
};

} // namespace Kolta
