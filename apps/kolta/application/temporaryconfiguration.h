#pragma once

#include <koltacommon/faultmessagehandler.h>
#include <koltacommon/koltaconnection.h>
#include <startup/cfgcenter.h>

#include <QTemporaryDir>

namespace KoltaCli {

/// A configuration and a data folder that are gone when the command ends; while it lives the process reads
/// and writes nothing of the user's. After that all is as before. The texts of faults belong to a
/// configuration.
class TemporaryConfiguration
{
public:
    TemporaryConfiguration() : m_before(Startup::CfgCenter::Instance().FileName())
    {
        open(m_folder.filePath(QStringLiteral("kolta.ini")));
        Startup::AdministratorConfiguration::Instance().SetValue(QStringLiteral("TavikDataDir"),
                                                                 m_folder.path());
    }
    ~TemporaryConfiguration() { open(m_before); }
    TemporaryConfiguration(const TemporaryConfiguration&) = delete;
    TemporaryConfiguration& operator=(const TemporaryConfiguration&) = delete;

private:
    static void open(const QString& file)
    {
        Startup::CfgCenter::Instance().Open(file);
        Kolta::KoltaConnection::getStaticFaultMessageHandler()->Forget();
    }

    QString m_before;
    QTemporaryDir m_folder;
};

} // namespace KoltaCli
