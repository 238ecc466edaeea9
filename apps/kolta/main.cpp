#include <common/textwrap.h>
#include <kolta/cli/commandtable.h>
#include <kolta/cli/output.h>
#include <kolta/commands/commands.h>
#include <kolta/demo/demo.h>
#include <kolta/shell/completecommand.h>
#include <kolta/shell/replayverbs.h>
#include <kolta/shell/shell.h>

#include <QCoreApplication>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace KoltaCli {

namespace {

CommandTable programTable()
{
    QStringList codes;
    for (const ExitCode& code : exitCodes())
        codes.append(QStringLiteral("%1 %2").arg(code.code).arg(QLatin1String(code.meaning)));
    return {
        QVector<Command>{demoCommand(), shellCommand(),
#ifdef KOLTA_WITH_DISTRIBUTION
                         replayCommand()
#endif
        } + allCommands() +
            QVector<Command>{manualCommand(), completeCommand()},
        QStringLiteral("kolta "),
        QStringLiteral("Usage: kolta COMMAND [ARGUMENT]...\n"
                       "Talks to the servers of a monitoring installation.\n\n"),
        QStringLiteral("\nOptions: --help, --version. \"kolta help COMMAND\" tells more of each command.\n") +
            KoltaApps::wrapped(QStringLiteral("Exit codes: %1.").arg(listed(codes)), KoltaApps::kHelpWidth)
                .join(QLatin1Char('\n'))};
}

int dispatch(const QStringList& words)
{
    const QString first = words.value(0);
    if (first != QLatin1String("--version") && first != QLatin1String("-v"))
        return programTable().run(words);
    printLine(QStringLiteral("kolta %1").arg(QCoreApplication::applicationVersion()));
    return eExitOk;
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
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow is told as one that cannot be written
    const int exitCode = KoltaCli::dispatch(QCoreApplication::arguments().mid(1));
    return exitCode == KoltaCli::eExitOk && KoltaCli::outputIsLost() ? KoltaCli::eExitFailed : exitCode;
}
