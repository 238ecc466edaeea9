#pragma once

#include <startup/cfgcenter.h>

#include <QString>

namespace KoltaApps {

/// The file of users that the configuration names; empty when it names none, and the servers decide alone.
inline QString usersFile()
{
    return Startup::CfgCenter::Instance().Text(QStringLiteral("Users"), QStringLiteral("File"));
}

} // namespace KoltaApps
