#include "processverbs.h"

#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#ifdef KOLTA_WITH_DISTRIBUTION
#include <distribution/localbroker.h>
#endif

#include <startup/childprocess.h>

#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <csignal>

namespace KoltaCli {

namespace {

/// How long a process may take to come up, to return, and to do its work on a busy machine.
constexpr int kLimitMs = 120000;
constexpr int kEndLimitMs = 10000;

const QString kStartedAgain = QStringLiteral(" was started again: ");

/// A busy machine is no failure.
QStringList patient(const QStringList& words)
{
    const QString limit = QStringLiteral("60");
    return QStringList{QStringLiteral("--timeout"), limit} + words +
           QStringList{QStringLiteral("--tree-timeout"), limit};
}

QStringList linesOf(const QByteArray& output)
{
    return QString::fromUtf8(output).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

Argument processName()
{
    return {"NAME", "The broker, or a server by its name."};
}

} // namespace

/// A "kolta" of its own, which ends when this process does, however that comes about.
class ProcessVerbs::Child : public Startup::ChildProcess
{
public:
    Child(const QStringList& words, const QProcessEnvironment& environment)
    {
        setProcessEnvironment(environment);
        setProcessChannelMode(MergedChannels);
        start(QCoreApplication::applicationFilePath(), words);
    }
    ~Child() override
    {
        terminate();
        if (state() != NotRunning && !waitForFinished(kEndLimitMs))
            kill();
        waitForFinished(kEndLimitMs);
    }
    bool hasEnded() const { return state() == NotRunning; }
    bool endsWell()
    {
        waitUntil([this] { return hasEnded(); }, kLimitMs);
        return hasEnded() && exitStatus() == NormalExit && exitCode() == eExitOk;
    }
};

ProcessVerbs::ProcessVerbs() : m_environment(QProcessEnvironment::systemEnvironment())
{
    QFile configuration(m_folder.filePath(QStringLiteral("kolta.ini")));
    if (configuration.open(QIODevice::WriteOnly))
        configuration.write("[Distribution]\nWishTimeoutMs=60000\n");
    m_environment.insert(QStringLiteral("KOLTA_CONFIG"), configuration.fileName());
    m_environment.insert(QStringLiteral("XDG_DATA_HOME"), m_folder.path());
    m_environment.remove(QStringLiteral("KOLTA_TREE"));
}

ProcessVerbs::~ProcessVerbs() = default;

bool ProcessVerbs::arePossible(QString& reason)
{
#ifdef KOLTA_WITH_DISTRIBUTION
    reason = QStringLiteral("there is no program mosquitto (Debian package mosquitto)");
    return distribution::LocalBroker::IsInstalled();
#else
    reason = QStringLiteral("this kolta was built without libmosquitto");
    return false;
#endif
}

QVector<Command> ProcessVerbs::commands()
{
    return lifeOfProcesses() + workOnProcesses();
}

Run ProcessVerbs::own(Verb verb)
{
    return [this, verb](const CommandLine& line) { return (this->*verb)(line); };
}

QVector<Command> ProcessVerbs::lifeOfProcesses()
{
    return {
        {"start",
         "start an installation of processes",
         "Runs \"kolta up --restart\" and goes on when all is up.",
         {},
         {whole("servers", "number", "How many servers ({preset}).", 1, 100, 1)},
         own(&ProcessVerbs::start)},
        {"kill",
         "kill a process and wait until it was started again",
         "Kills a process of the installation and waits until it was started again.",
         {processName()},
         {},
         own(&ProcessVerbs::kill)},
        {"end",
         "end the installation",
         "Ends the installation and fails unless nothing is left of it.",
         {},
         {},
         own(&ProcessVerbs::end)},
    };
}

QVector<Command> ProcessVerbs::workOnProcesses()
{
    const Argument words{"COMMAND", "With its options and arguments.", Argument::eWords};
    return {
        {"elsewhere",
         "run a command of kolta in a process of its own",
         "Runs a command of kolta in a process of its own on the installation that was started.",
         {words},
         {},
         own(&ProcessVerbs::elsewhere)},
        {"alike",
         "fail unless two processes print the same",
         "Runs a command in two processes at once and fails unless both print the same.",
         {words},
         {},
         own(&ProcessVerbs::alike)},
        {"killing",
         "run a command while a process is killed",
         "Kills a process of the installation in the moment in which an application that has joined before "
         "runs a command, and waits for both.",
         {processName(), words},
         {},
         own(&ProcessVerbs::killing)},
    };
}

int ProcessVerbs::start(const CommandLine& line)
{
    const QStringList words{QStringLiteral("up"), QStringLiteral("--restart"), QStringLiteral("--servers"),
                            QString::number(line.number("servers"))};
    m_pids.clear();
    m_up = std::make_unique<Child>(words, m_environment);
    return takeLines(QStringLiteral("Try in another terminal")) ? eExitOk : eExitFailed;
}

/// Prints what the installation says up to a line with `last`, and notes who is who. False when it ends
/// before or does not come to it.
bool ProcessVerbs::takeLines(const QString& last)
{
    const QString tree = QStringLiteral("tree ");
    QString said;
    while (!said.contains(last)) {
        if (!waitUntil([this] { return m_up->canReadLine() || m_up->hasEnded(); }, kLimitMs) ||
            !m_up->canReadLine())
            return false;
        said = QString::fromUtf8(m_up->readLine()).trimmed();
        const bool isAgain = said.contains(kStartedAgain);
        const QStringList words = said.remove(QStringLiteral("kolta: ")).split(QLatin1Char(' '));
        if (said.startsWith(tree))
            m_environment.insert(QStringLiteral("KOLTA_TREE"), said.mid(tree.size()));
        else if (isAgain)
            m_pids[words.first() == QLatin1String("the") ? words.value(1) : words.first()] =
                words.last().toLongLong();
        else if (words.value(1).toLongLong() > 0)
            m_pids[words.first()] = words.at(1).toLongLong();
        // What a server traces is not what is told here.
        if (!said.contains(QLatin1String("another terminal")) && !said.contains(QLatin1String("kolta.trace")))
            printLine(said);
    }
    return true;
}

int ProcessVerbs::printOutcome(Child& child) const
{
    const bool isWell = child.endsWell();
    for (const QString& text : linesOf(child.readAll()))
        printLine(text);
    return isWell ? eExitOk : eExitFailed;
}

int ProcessVerbs::elsewhere(const CommandLine& line)
{
    Child child(patient(line.arguments()), m_environment);
    return printOutcome(child);
}

int ProcessVerbs::alike(const CommandLine& line)
{
    const QStringList words = patient(line.arguments());
    Child one(words, m_environment), other(words, m_environment);
    const bool areWell = one.endsWell() && other.endsWell();
    const QStringList said = linesOf(one.readAll());
    if (areWell && said == linesOf(other.readAll())) {
        printLine(QStringLiteral("%1, the same in both").arg(counted(said.size(), QStringLiteral("line"))));
        return eExitOk;
    }
    printError(areWell ? QStringLiteral("two processes print different things")
                       : said.join(QStringLiteral("; ")));
    return eExitFailed;
}

bool ProcessVerbs::killNow(const QString& name) const
{
    const auto found = m_pids.find(name);
    if (m_up && found != m_pids.end())
        return ::kill(static_cast<pid_t>(found->second), SIGKILL) == 0;
    printError(QStringLiteral("there is no process \"%1\"").arg(name));
    return false;
}

int ProcessVerbs::kill(const CommandLine& line)
{
    return killNow(line.argument(0)) && takeLines(kStartedAgain) ? eExitOk : eExitFailed;
}

int ProcessVerbs::killing(const CommandLine& line)
{
    QByteArray order;
    for (const QString& word : line.arguments().mid(1))
        order += '"' + word.toUtf8() + "\" ";
    Child application(patient({QStringLiteral("shell")}), m_environment);
    application.write("status\n");
    // It has joined when it says how its servers are.
    waitUntil([&application] { return application.canReadLine() || application.hasEnded(); }, kLimitMs);
    if (!killNow(line.argument(0)))
        return eExitFailed;
    application.write(order + '\n');
    application.closeWriteChannel();
    return takeLines(kStartedAgain) ? printOutcome(application) : int(eExitFailed);
}

int ProcessVerbs::end(const CommandLine& /*line*/)
{
    if (!m_up)
        return eExitOk;
    m_up->terminate();
    const bool isWell = m_up->endsWell();
    const bool areGone = std::all_of(m_pids.begin(), m_pids.end(), [](const auto& process) {
        return ::kill(static_cast<pid_t>(process.second), 0) != 0;
    });
    m_up.reset();
    if (isWell && areGone) {
        printLine(QStringLiteral("%1 processes have ended, nothing is left").arg(m_pids.size()));
        return eExitOk;
    }
    printError(QStringLiteral("something is left of the installation"));
    return eExitFailed;
}

} // namespace KoltaCli
