#include "shell.h"

#include "replayverbs.h"

#include <kolta/application/embeddedinstallation.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/interruption.h>
#include <kolta/cli/output.h>

#include <common/shellwords.h>
#include <startup/errorhandler.h>

#include <QCoreApplication>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace KoltaCli {

namespace {

const QString kExpectVerb = QStringLiteral("expect");

/// A text such that neither the widths of columns nor quotes matter.
QString plain(const QString& text)
{
    return text.simplified().remove(QLatin1Char('"'));
}

/// `verbs` behind those of `commands` that have other names: a shell within a shell has its own verbs.
QVector<Command> behind(QVector<Command> commands, const QVector<Command>& verbs)
{
    for (const Command& verb : verbs) {
        const auto isSame = [&verb](const Command& command) { return qstrcmp(command.name, verb.name) == 0; };
        commands.erase(std::remove_if(commands.begin(), commands.end(), isSame), commands.end());
    }
    return commands + verbs;
}

/// What somebody at a terminal is told first.
QString whereServersAre(const EmbeddedInstallation& installation)
{
    if (installation.isSimulated())
        return QStringLiteral("%1 runs in this process. ")
            .arg(installation.server().installation().serverName());
#ifdef KOLTA_WITH_DISTRIBUTION
    if (const auto* const replay = installation.treeMirror()->replay())
        return replayGreeting(*replay);
#endif
    return QStringLiteral("The servers run elsewhere. ");
}

} // namespace

Shell::Shell(const CommandLine& line, EmbeddedInstallation& installation, const QVector<Command>& further)
    : m_line(line)
    , m_installation(installation)
    , m_simulation(installation)
    , m_table(behind(line.table().all(), m_simulation.commands() + verbs() + further), QString(), QString(),
              QStringLiteral("\n\"help COMMAND\" tells more of each, \"exit\" leaves."))
{
    connect(&m_signals, &TerminationSignals::terminationRequested, this, &Shell::takeSignal);
}

Shell::~Shell() = default;

QVector<Command> Shell::verbs()
{
    const Run leave = [this](const CommandLine&) {
        m_left = true;
        return eExitOk;
    };
    return {{"expect",
             "fail unless the last command has printed a text",
             "Fails unless each TEXT stands in what the command before has printed, errors included. Blanks "
             "more or less and double quotes do not matter.",
             {{"TEXT", "What must be there.", Argument::eSeveral}},
             {flag("none", "What must not be there.")},
             [this](const CommandLine& line) { return expect(line); }},
            {"fails",
             "run a command that must fail",
             "Runs a command that must end with exit code 1; its errors are output then.",
             {{"COMMAND", "With its options and arguments.", Argument::eWords}},
             {},
             [this](const CommandLine& line) { return fails(line); }},
            {"exit", "leave", "Leaves the shell.", {}, {}, leave},
            {"quit", "leave", "Leaves the shell.", {}, {}, leave}};
}

int Shell::run(bool keepGoing)
{
    auto input = takeStandardInput(m_table);
    ScriptTeller script;
    TerminalTeller terminal;
    const bool isTerminal = input->isTerminal();
    if (isTerminal)
        printLine(whereServersAre(m_installation) +
                  QStringLiteral("\"help\" lists the commands, \"exit\" leaves."));
    return run(std::move(input), isTerminal ? terminal : script, keepGoing || isTerminal);
}

int Shell::run(std::unique_ptr<ShellInput> input, Teller& teller, bool keepGoing)
{
    m_input = std::move(input);
    m_teller = &teller;
    int result = eExitOk;
    QString line;
    while (!m_left && readLine(line)) {
        line = line.trimmed();
        if (line.startsWith(QLatin1Char('#'))) {
            teller.comment(line.mid(1));
            continue;
        }
        const QStringList words = KoltaApps::shellWords(line);
        const int exitCode = words.isEmpty() ? int(eExitOk) : execute(line, words);
        if (exitCode == eExitOk || m_input->isTerminal())
            continue;
        if (result == eExitOk)
            result = exitCode;
        m_left = m_left || !keepGoing;
    }
    return m_ended && result == eExitOk ? int(eExitFailed) : result;
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

int Shell::execute(const QString& line, const QStringList& words)
{
    QStringList printed;
    int exitCode = eExitOk;
    {
        const OutputManner manner(m_teller->begin(line));
        const QString problem = KoltaApps::problemOfLine(line);
        if (!problem.isEmpty())
            printError(problem);
        exitCode = problem.isEmpty() ? runSingle(words) : int(eExitUsage);
        printed = manner.lines();
    }
    m_teller->end(line, m_lineNumber, exitCode, printed);
    if (words.first() != kExpectVerb)
        m_printed = printed;
    return exitCode;
}

/// Runs a command such that the next one finds everything as this one has found it.
int Shell::runSingle(const QStringList& words)
{
    m_running = true;
    // A time that was given to the shell holds for all that do not have their own.
    const QStringList time{QStringLiteral("--timeout"), m_line.value("timeout")};
    const int exitCode = m_table.run(m_line.isSet("timeout") ? time + words : words);
    // What it has left to be deleted goes, and a Ctrl-C that nobody has looked at was meant for it.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    m_running = false;
    setInterrupted(false);
    Startup::ErrorHandler::Instance().setLoggingEnabled(m_line.isSet("trace"));
    return exitCode;
}

int Shell::expect(const CommandLine& line) const
{
    QString printed;
    for (const QString& text : m_printed)
        printed += plain(text) + QLatin1Char('\n');
    const bool wanted = !line.isSet("none");
    for (const QString& text : line.arguments()) {
        if (printed.contains(plain(text)) == wanted)
            continue;
        printError(QStringLiteral("the command before has%1 printed \"%2\"")
                       .arg(wanted ? QStringLiteral(" not") : QString(), text));
        return eExitFailed;
    }
    return eExitOk;
}

int Shell::fails(const CommandLine& line)
{
    const OutputManner manner(OutputManner::eErrorsAsOutput);
    const int exitCode = m_table.run(line.arguments());
    if (exitCode == eExitFailed)
        return eExitOk;
    printError(QStringLiteral("\"%1\" ended with exit code %2, expected %3")
                   .arg(line.arguments().join(QLatin1Char(' ')), QString::number(exitCode),
                        QString::number(eExitFailed)));
    return eExitFailed;
}

void Shell::takeSignal(int number)
{
    m_ended = m_ended || number != SIGINT;
    if (m_running)
        setInterrupted(true);
    else
        m_input->interrupt();
}

namespace {

int shell(const CommandLine& line)
{
    if (EmbeddedInstallation::isShared())
        return line.usageError(QStringLiteral("a shell runs already"));
    const auto installation = EmbeddedInstallation::start(line);
    if (!installation)
        return takeStartFailure();
    EmbeddedInstallation::share(installation);
    QVector<Command> verbs;
#ifdef KOLTA_WITH_DISTRIBUTION
    if (const TreeMirror* const mirror = installation->treeMirror())
        verbs = replayVerbs(mirror->replay());
#endif
    Shell shell(line, *installation, verbs);
    return shell.run(line.isSet("keep-going"));
}

} // namespace

Command shellCommand()
{
    return {
        "shell",
        "run commands one after another on one installation",
        "Runs commands one after another in this process, on one simulated installation that lives as long "
        "as the shell. At a terminal there is a prompt; otherwise standard input is a script with one "
        "command in a line, where lines that begin with \"#\" are comments. \"exit\", \"quit\" or the end of "
        "the input leaves.",
        {},
        EmbeddedInstallation::options(
            {flag("keep-going", "Go on with a script when one of its commands has failed.")}),
        shell};
}

} // namespace KoltaCli
