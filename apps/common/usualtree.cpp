#include "usualtree.h"

#include <startup/cfgcenter.h>

namespace KoltaApps {

QString usualTreeUrl()
{
    const QString environment = qEnvironmentVariable("KOLTA_TREE");
    return environment.isEmpty()
               ? Startup::CfgCenter::Instance().Text(QStringLiteral("Distribution"), QStringLiteral("Url"))
               : environment;
}

} // namespace KoltaApps
