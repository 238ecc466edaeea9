#include "usualtree.h"

#include <startup/cfgcenter.h>

namespace KoltaApps {

NamedTree namedTree(const std::optional<QString>& option)
{
    if (option)
        return {*option, QStringLiteral("--tree")};
    const QString environment = qEnvironmentVariable("KOLTA_TREE");
    if (!environment.isEmpty())
        return {environment, QStringLiteral("KOLTA_TREE")};
    return {Startup::CfgCenter::Instance().Text(QStringLiteral("Distribution"), QStringLiteral("Url")),
            QStringLiteral("Distribution/Url")};
}

} // namespace KoltaApps
