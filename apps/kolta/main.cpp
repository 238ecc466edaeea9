#include <kolta/cli/output.h>
#include <kolta/shell/commandtable.h>

#include <QCoreApplication>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace KoltaCli {

namespace {

QString usage()
{
    const QString begin = QStringLiteral("Usage: kolta COMMAND [ARGUMENT]...\n"
                                         "Talks to the servers of a monitoring installation.\n\n");
    const QString end =
        QStringLiteral("\nOptions: --help, --version. \"kolta COMMAND --help\" tells more of each command.\n"
                       "Exit codes: 0 done, 1 failed, 2 wrong usage.");
    return begin + commandList() + end;
}

int dispatch(const QStringList& words)
{
    if (words.isEmpty()) {
        printError(QStringLiteral("a command is missing. Try \"kolta --help\"."));
        return eExitUsage;
    }
    const QString& name = words.first();
    if (name == QLatin1String("--help") || name == QLatin1String("-h") || name == QLatin1String("help")) {
        printLine(usage());
        return eExitOk;
    }
    if (name == QLatin1String("--version") || name == QLatin1String("-v")) {
        printLine(QStringLiteral("kolta %1").arg(QCoreApplication::applicationVersion()));
        return eExitOk;
    }
    return runCommand(words, QStringLiteral("kolta --help"));
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
