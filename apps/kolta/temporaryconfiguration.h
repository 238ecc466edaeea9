#pragma once

#include <startup/cfgcenter.h>

#include <QTemporaryDir>

namespace KoltaCli {

/// A configuration and a data folder that are gone when the command ends; from its construction on the
/// process reads and writes nothing of the user's.
class TemporaryConfiguration
{
public:
    TemporaryConfiguration()
    {
        Startup::CfgCenter::Instance().Open(m_folder.filePath(QStringLiteral("kolta.ini")));
        Startup::AdministratorConfiguration::Instance().SetValue(QStringLiteral("TavikDataDir"),
                                                                 m_folder.path());
    }

private:
    QTemporaryDir m_folder;
};

} // namespace KoltaCli
