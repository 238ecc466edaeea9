#pragma once

#include <koltacommon/q9rprofiles.h>
#include <koltacommon/shorttimeprofile.h>

#include <QList>
#include <QVector>

namespace KoltaApps {

/// What an import takes of a file of short-time profiles, and what it leaves out: a profile with a value that
/// will not be understood, and of several with one name all but the first.
struct ImportableProfiles
{
    struct LeftOut
    {
        QString name;
        int number;   ///< in the file, from 1
        bool isTwice; ///< one before it has the name; otherwise a value is not understood
    };

    QList<Kolta::ShortTimeProfile> taken; ///< in the order of the file
    QVector<LeftOut> leftOut;
};

/// `report` is what the reader said of the file.
ImportableProfiles importable(const VESK_Q9R::ShortTimeProfiles& file, const VESK_Q9R::ReadReport& report,
                              Kolta::eShortTimeProfileType type);

} // namespace KoltaApps
