#include "shell.h"

#include "commandtable.h"

#include <kolta/application/embeddedinstallation.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/interruption.h>
#include <kolta/cli/output.h>
#include <kolta/commands/commands.h>

#include <startup/errorhandler.h>

#include <QCoreApplication>
#include <QProcess>

#include <cerrno>
#include <csignal>

namespace KoltaCli {

Shell::Shell(std::unique_ptr<ShellInput> input, bool keepGoing, bool trace)
    : m_input(std::move(input)), m_keepGoing(keepGoing), m_trace(trace)
{
    connect(&m_signals, &TerminationSignals::terminationRequested, this, &Shell::takeSignal);
}

int Shell::run()
{
    int result = eExitOk;
    QString line;
    while (!m_left && readLine(line)) {
        const int exitCode = execute(line);
        if (exitCode == eExitOk || m_input->isTerminal())
            continue;
        printError(QStringLiteral("line %1 (%2) ended with exit code %3")
                       .arg(QString::number(m_lineNumber), line.trimmed(), QString::number(exitCode)));
        if (result == eExitOk)
            result = exitCode;
        m_left = m_left || !m_keepGoing;
    }
    return m_ended && result == eExitOk ? eExitFailed : result;
}

/// False when there are no more lines, or nobody wants what comes of them.
bool Shell::readLine(QString& line)
{
    while (!m_ended && !outputIsLost()) {
        switch (m_input->nextLine(line)) {
        case ShellInput::Result::Data:
            ++m_lineNumber;
            return true;
        case ShellInput::Result::End:
            return false;
        case ShellInput::Result::Interrupted:
            m_ended = m_ended || !m_input->isTerminal();
            break;
        case ShellInput::Result::Failed:
            printError(QStringLiteral("cannot read standard input: %1").arg(qt_error_string(errno)));
            m_ended = true;
            break;
        }
    }
    return false;
}

int Shell::execute(const QString& line)
{
    const QStringList words = QProcess::splitCommand(line);
    if (words.isEmpty() || words.first().startsWith(QLatin1Char('#')))
        return eExitOk;
    const QString& name = words.first();
    if (name == QLatin1String("help") || name == QLatin1String("--help") || name == QLatin1String("-h")) {
        printLine(commandList() +
                  QStringLiteral("\n\"COMMAND --help\" tells more of each, \"exit\" leaves."));
        return eExitOk;
    }
    if (name != QLatin1String("exit") && name != QLatin1String("quit"))
        return runSingle(words);
    if (words.size() > 1) {
        printError(QStringLiteral("\"%1\" takes no arguments").arg(name));
        return eExitUsage;
    }
    m_left = true;
    return eExitOk;
}

/// Runs a command such that the next one finds everything as this one has found it.
int Shell::runSingle(const QStringList& words)
{
    m_running = true;
    const int exitCode = runCommand(words, QStringLiteral("help"));
    // What it has left to be deleted goes, and a Ctrl-C that nobody has looked at was meant for it.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    m_running = false;
    setInterrupted(false);
    Startup::ErrorHandler::Instance().setLoggingEnabled(m_trace);
    return exitCode;
}

void Shell::takeSignal(int number)
{
    m_ended = m_ended || number != SIGINT;
    if (m_running)
        setInterrupted(true);
    else
        m_input->interrupt();
}

int runShell(const QStringList& arguments)
{
    CommandLine line(
        QStringLiteral("shell"),
        QStringLiteral("Runs commands one after another in this process, on one simulated "
                       "installation that lives as long as the shell. At a terminal there is a "
                       "prompt; otherwise standard input is a script with one command in a line, "
                       "where lines that begin with \"#\" are comments. \"exit\", \"quit\" or "
                       "the end of the input leaves."));
    line.addOption({QStringLiteral("keep-going"),
                    QStringLiteral("Go on with a script when one of its commands has failed.")});
    EmbeddedInstallation::declareOptions(line);
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    if (EmbeddedInstallation::isShared())
        return line.usageError(QStringLiteral("a shell runs already"));
    const auto installation = EmbeddedInstallation::start(line);
    if (!installation)
        return eExitFailed;
    EmbeddedInstallation::share(installation);
    auto input = takeStandardInput();
    if (input->isTerminal())
        printLine(QStringLiteral("%1 runs in this process. \"help\" lists the commands, \"exit\" leaves.")
                      .arg(installation->server().installation().serverName()));
    return Shell(std::move(input), line.isSet(QStringLiteral("keep-going")),
                 line.isSet(QStringLiteral("trace")))
        .run();
}

} // namespace KoltaCli
