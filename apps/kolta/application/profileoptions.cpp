#include "profileoptions.h"

#include <common/profilemembers.h>
#include <kolta/cli/commandline.h>

namespace KoltaCli {

QVector<Option> memberOptions()
{
    QVector<Option> options;
    for (const KoltaApps::ProfileMember& member : KoltaApps::profileMembers())
        options.append(checked(text(member.option, member.valueName, member.help), member.check));
    return options;
}

void takeMembers(const CommandLine& line, Kolta::ShortTimeProfile& profile)
{
    for (const KoltaApps::ProfileMember& member : KoltaApps::profileMembers()) {
        if (line.isSet(member.option))
            member.take(profile, line.value(member.option));
    }
}

} // namespace KoltaCli
