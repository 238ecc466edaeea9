#include "importableprofiles.h"

#include <QSet>

#include <algorithm>

namespace KoltaApps {

using Kolta::ShortTimeProfile;

ImportableProfiles importable(const VESK_Q9R::ShortTimeProfiles& file, const VESK_Q9R::ReadReport& report,
                              Kolta::eShortTimeProfileType type)
{
    ImportableProfiles result;
    QSet<QString> names;
    const QVector<int>& doubtful = report.doubtfulProfiles;
    int place = 0;
    for (const ShortTimeProfile& profile : ShortTimeProfile::fromQ9RProfile(file, type)) {
        const bool isTwice = names.contains(profile.name);
        names.insert(profile.name);
        if (isTwice || std::binary_search(doubtful.begin(), doubtful.end(), place))
            result.leftOut.append({profile.name, place + 1, isTwice});
        else
            result.taken.append(profile);
        ++place;
    }
    return result;
}

} // namespace KoltaApps
