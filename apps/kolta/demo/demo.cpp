#include "demo.h"

#include "processverbs.h"
#include "story.h"

#include <kolta/application/embeddedinstallation.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/shell/shell.h>

#include <simulation/installation.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <memory>
#include <vector>

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

/// Null, and told, when it cannot be read.
std::unique_ptr<ScriptInput> openScript(const QString& file)
{
    const int descriptor = ::open(QFile::encodeName(file).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor >= 0)
        return std::make_unique<ScriptInput>(descriptor);
    printError(QStringLiteral("cannot read %1: %2").arg(file, qt_error_string(errno)));
    return nullptr;
}

/// The scripts that are to be told one after the other.
QStringList scriptsFor(const CommandLine& line, Story& story)
{
    if (line.isSet("script"))
        return {QFileInfo(line.value("script")).absoluteFilePath()};
    const QDir folder(shareFolder() + QStringLiteral("/demo"));
    QStringList files{folder.filePath(QStringLiteral("demo.kolta"))};
    QString reason;
    if (line.isSet("one-process"))
        return files;
    if (ProcessVerbs::arePossible(reason))
        files.append(folder.filePath(QStringLiteral("processes.kolta")));
    else
        story.setRemark(QStringLiteral("Several processes are left out: %1.").arg(reason));
    return files;
}

int demo(const CommandLine& line)
{
    // Its servers would stand among those that are mirrored.
    if (EmbeddedInstallation::isMirrorShared())
        return line.usageError(QStringLiteral("this shell shows the servers of a tree; leave it first"));
    Story story(line.json());
    const QStringList files = scriptsFor(line, story);
    std::vector<std::unique_ptr<ScriptInput>> scripts;
    for (const QString& file : files) {
        scripts.push_back(openScript(file));
        if (!scripts.back())
            return eExitFailed;
    }
    const EmbeddedInstallation::Withdrawal withdrawal;
    const auto installation = EmbeddedInstallation::simulate(line);
    if (!installation)
        return eExitFailed;
    EmbeddedInstallation::share(installation);
    const WorkingFolder folder(shareFolder());
    ProcessVerbs processes;
    int exitCode = eExitOk;
    for (auto script = scripts.begin(); script != scripts.end() && exitCode == eExitOk; ++script)
        exitCode = Shell(line, *installation, processes.commands()).run(std::move(*script), story, false);
    story.finish(exitCode == eExitOk);
    return exitCode == eExitOk ? eExitOk : eExitFailed;
}

} // namespace

Command demoCommand()
{
    return {"demo",
            "the main job against a simulated installation, step by step",
            "Runs the main job against a simulated server inside this process, and then what several "
            "processes do together, "
            "step by step, and checks each step. Neither needs nor changes any configuration.",
            {},
            {text("installation", "folder", "Folder with an installation's files (the sample)."),
             flag("one-process", "Leave out what needs several processes."),
             text("script", "file",
                  "Another script of shell commands; its files are found below the folder share/.")},
            demo};
}

} // namespace KoltaCli
