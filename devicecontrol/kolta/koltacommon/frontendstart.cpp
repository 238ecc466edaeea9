#include <koltacommon/frontendstart.h>

#include <startup/cfgcenter.h>
#include <startup/tracesource.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>

#include <algorithm>
#include <memory>

namespace Kolta {

using Startup::AdministratorConfiguration;
using Startup::CfgCenter;

namespace {

/// Trace point numbers.
enum eTracePoint : int { eNoFrontEnd = 100, eNoGuiStarter = 200 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/frontendstart");

/// A front end that does not run after this time will not.
constexpr int kStartTimeoutMs = 5000;

QString configurationGroup()
{
    return QStringLiteral("ProductionControl");
}

QString besideThisProgram(const QString& program)
{
    return QCoreApplication::applicationDirPath() + QLatin1Char('/') + program + QStringLiteral(".exe");
}

/// A server must not name a program elsewhere, nor, with a NUL, one of another suffix.
bool isPartOfName(QChar c)
{
    return c.isPrint() && c != QLatin1Char('/') && c != QLatin1Char('\\');
}

/// The configured arguments; "%1" stands for the driver's type, "%2" for its address.
QStringList guiStarterArguments(const QString& type, const QString& address)
{
    const QStringList typeAndAddress{QStringLiteral("%1"), QStringLiteral("%2")};
    QStringList arguments =
        CfgCenter::Instance()
            .Value(configurationGroup(), QStringLiteral("GuiStarterArguments"), typeAndAddress)
            .toStringList();
    for (QString& argument : arguments) {
        if (argument == typeAndAddress.first())
            argument = type;
        else if (argument == typeAndAddress.last())
            argument = address;
    }
    return arguments;
}

} // namespace

FrontEndStart FrontEndStart::of(const QString& type, const QString& address)
{
    if (!std::all_of(type.begin(), type.end(), isPartOfName))
        return FrontEndStart();
    const QString plugin = CfgCenter::Instance().Text(
        configurationGroup(), QStringLiteral("MessageDialogPlugin"), QStringLiteral("MessageDialog"));
    return {besideThisProgram(type),
            {QStringLiteral("Server"), plugin, QStringLiteral("Con:") + address},
            AdministratorConfiguration::Instance().TavikDataDir()};
}

QProcess* FrontEndStart::run(QObject* parent) const
{
    auto process = std::make_unique<QProcess>(parent);
    process->setWorkingDirectory(workingDirectory);
    process->start(executable, arguments, QIODevice::ReadWrite);
    process->closeReadChannel(QProcess::StandardOutput);
    process->closeReadChannel(QProcess::StandardError);
    if (process->waitForStarted(kStartTimeoutMs))
        return process.release();
    kTrace(eNoFrontEnd, QStringLiteral("Front end %1 cannot be started in %2: %3")
                            .arg(executable, workingDirectory, process->errorString()));
    return nullptr;
}

QString FrontEndStart::runOnItsOwn() const
{
    if (!QFileInfo(executable).isExecutable()) // which the process would not tell
        return QCoreApplication::translate("Kolta::FrontEndStart", "there is no such program");
    QProcess process;
    process.setProgram(executable);
    process.setArguments(arguments);
    process.setWorkingDirectory(workingDirectory);
    return process.startDetached() ? QString() : process.errorString();
}

bool FrontEndStart::runDetached(const QString& type, const QString& address)
{
    const QString executable = besideThisProgram(QStringLiteral("TavikGuiStarter"));
    const QString directory = AdministratorConfiguration::Instance().TavikDataDir();
    const bool started = QProcess::startDetached(executable, guiStarterArguments(type, address), directory);
    if (!started)
        kTrace(eNoGuiStarter,
               QStringLiteral("GUI starter %1 cannot be started in %2").arg(executable, directory));
    return started;
}

} // namespace Kolta
