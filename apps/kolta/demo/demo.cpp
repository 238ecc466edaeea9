#include "demo.h"

#include "story.h"

#include <kolta/application/embeddedinstallation.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/shell/shell.h>

#include <simulation/installation.h>

#include <QDir>
#include <QFile>

#include <cerrno>

#include <fcntl.h>

namespace KoltaCli {

namespace {

/// The folder in which the installation, the messages and the demo lie. Names of files in a script are
/// relative to it.
QString shareFolder()
{
    return QDir::cleanPath(KoltaSimulation::Installation::sampleFolder() + QStringLiteral("/.."));
}

class WorkingFolder
{
public:
    explicit WorkingFolder(const QString& folder) : m_before(QDir::currentPath())
    {
        QDir::setCurrent(folder);
    }
    ~WorkingFolder() { QDir::setCurrent(m_before); }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

private:
    QString m_before;
};

int demo(const CommandLine& line)
{
    const QString file =
        line.isSet("script") ? line.value("script") : shareFolder() + QStringLiteral("/demo/demo.kolta");
    const int descriptor = ::open(QFile::encodeName(file).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        printError(QStringLiteral("cannot read %1: %2").arg(file, qt_error_string(errno)));
        return eExitFailed;
    }
    auto script = std::make_unique<ScriptInput>(descriptor);
    const EmbeddedInstallation::Withdrawal withdrawal;
    const auto installation = EmbeddedInstallation::simulate(line);
    if (!installation)
        return eExitFailed;
    EmbeddedInstallation::share(installation);
    const WorkingFolder folder(shareFolder());
    Story story(line.json());
    const int exitCode = Shell(line, *installation).run(std::move(script), story, false);
    story.finish(exitCode == eExitOk);
    return exitCode == eExitOk ? eExitOk : eExitFailed;
}

} // namespace

Command demoCommand()
{
    return {"demo",
            "the main job against a simulated installation, step by step",
            "Runs the main job against a simulated server inside this process, step by step, and checks each "
            "step. "
            "Neither needs nor changes any configuration.",
            {},
            {text("installation", "folder", "Folder with an installation's files (the sample)."),
             text("script", "file",
                  "Another script of shell commands; its files are found below the folder share/.")},
            demo};
}

} // namespace KoltaCli
