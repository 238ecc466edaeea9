#include "commands.h"
#include "output.h"

#include <QCoreApplication>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace KoltaCli {

namespace {

struct Command
{
    const char* name;
    const char* summary;
    int (*run)(const QStringList& arguments);
};

constexpr Command commands[] = {
    {"demo", "the main job against a simulated installation, step by step", runDemo},
    {"describe", "ask a server who it is", runDescribe},
    {"send", "send the message in a file, print the reply", runSend},
    {"listen", "print broadcasts and faults until Ctrl-C", runListen},
    {"ping", "measure round trips", runPing},
    {"demand-classes", "list the demand classes that an application may use", runDemandClasses},
    {"classes", "draw the tree of tuner classes", runClasses},
    {"select", "choose the tuner of a class, and tell why that one", runSelect},
    {"plan", "give tuners to several classes at once", runPlan},
};

QString usage()
{
    QString text = QStringLiteral("Usage: kolta COMMAND [ARGUMENT]...\n"
                                  "Talks to the servers of a monitoring installation.\n\nCommands:\n");
    for (const Command& command : commands)
        text += QStringLiteral("  %1%2\n")
                    .arg(QLatin1String(command.name), -16)
                    .arg(QLatin1String(command.summary));
    text +=
        QStringLiteral("\nOptions: --help, --version. \"kolta COMMAND --help\" tells more of each command.\n"
                       "Exit codes: 0 done, 1 failed, 2 wrong usage.");
    return text;
}

int dispatch(QStringList words)
{
    if (words.isEmpty()) {
        printError(QStringLiteral("a command is missing. Try \"kolta --help\"."));
        return eExitUsage;
    }
    const QString name = words.takeFirst();
    if (name == QLatin1String("--help") || name == QLatin1String("-h") || name == QLatin1String("help")) {
        printLine(usage());
        return eExitOk;
    }
    if (name == QLatin1String("--version") || name == QLatin1String("-v")) {
        printLine(QStringLiteral("kolta %1").arg(QCoreApplication::applicationVersion()));
        return eExitOk;
    }
    for (const Command& command : commands) {
        if (name == QLatin1String(command.name))
            return command.run(words);
    }
    printError(QStringLiteral("there is no command \"%1\". Try \"kolta --help\".").arg(name));
    return eExitUsage;
}

/// Takes the places of standard streams that are closed, so that no socket gets one of them. Writing to them
/// fails.
void fillStandardStreams()
{
    int descriptor = -1;
    do
        descriptor = ::open("/dev/null", O_RDONLY);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor > STDERR_FILENO)
        ::close(descriptor);
}

} // namespace

} // namespace KoltaCli

int main(int argc, char** argv)
{
    KoltaCli::fillStandardStreams();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kolta"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KOLTA_VERSION));
    // A reader that goes away shows as a failed write.
    std::signal(SIGPIPE, SIG_IGN);
    const int exitCode = KoltaCli::dispatch(QCoreApplication::arguments().mid(1));
    return exitCode == KoltaCli::eExitOk && KoltaCli::outputIsLost() ? KoltaCli::eExitFailed : exitCode;
}
