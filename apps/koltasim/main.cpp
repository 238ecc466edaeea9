#include "options.h"
#include "publishing.h"

#include <common/exitcodes.h>
#include <common/terminationsignals.h>

#include <simulation/activity.h>
#include <simulation/installation.h>
#include <simulation/resourcegenerator.h>
#include <simulation/simulatedserver.h>

#include <QCoreApplication>
#include <QDateTime>

#include <cerrno>
#include <cstdio>
#include <memory>

namespace {

using namespace KoltaApps;

bool print(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    const std::size_t size = static_cast<std::size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, stream) == size && std::fflush(stream) == 0;
}

int fail(int exitCode, const QString& text)
{
    print(stderr, QStringLiteral("koltasim: %1\n").arg(text));
    return exitCode;
}

/// Protects the server as the command line says. False with the reason in `error`.
bool protect(KoltaSimulation::SimulatedServer& server, const Options& options, QString& error)
{
    if (!options.tlsCertificate.isEmpty()) {
        XmlCommunication::TlsSettings tls;
        tls.required = true;
        tls.certificateFile = options.tlsCertificate;
        tls.caFile = options.tlsClients;
        server.setTls(tls);
    }
    server.setPlainNetworkAllowed(options.plainNetwork);
    return options.users.isEmpty() || server.setUsers(options.users, error);
}

void printHappening(const QString& line)
{
    const QString time = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    print(stderr, QStringLiteral("%1 %2\n").arg(time, line));
}

/// Shares the tree if that is asked for; null in `link` otherwise. False with the reason in `error`.
bool publish(const KoltaSimulation::SimulatedServer& server, const Options& options,
             std::unique_ptr<QObject>& link, QString& error)
{
    if (options.publish.isEmpty())
        return true;
    PublishingEvents events;
    events.published = [](const QString& branch) {
        print(stdout, QStringLiteral("published as %1\n").arg(branch));
    };
    events.failed = [](bool isTaken, const QString& reason) {
        QCoreApplication::exit(fail(isTaken ? eExitNameTaken : eExitFailed, reason));
    };
    link = publishTree(server, options, events, error);
    return link != nullptr;
}

/// Serves until it is told to end; `server` listens and is published.
int run(KoltaSimulation::SimulatedServer& server, const Options& options)
{
    KoltaSimulation::Activity activity(server, options.seed);
    if (options.activity)
        activity.start(options.period);

    TerminationSignals termination;
    QObject::connect(&termination, &TerminationSignals::terminationRequested, qApp, &QCoreApplication::quit);
    QObject::connect(&server, &KoltaSimulation::SimulatedServer::quitRequested, qApp,
                     &QCoreApplication::quit);
    const KoltaSimulation::Installation& installation = server.installation();
    const QString place =
        QStringLiteral("%1 listens on %2\n").arg(installation.serverName(), server.hostAndPort());
    // Nobody would know where to find it.
    if (!print(stdout, place))
        return fail(eExitFailed,
                    QStringLiteral("cannot write to standard output: %1").arg(qt_error_string(errno)));
    // The first to go, so that others see the server leave.
    std::unique_ptr<QObject> link;
    QString error;
    if (!publish(server, options, link, error))
        return fail(eExitUsage, error);
    return QCoreApplication::exec();
}

int runServer(const Options& options)
{
    using namespace KoltaSimulation;
    Installation installation;
    QString error;
    if (!canPublish(options, error))
        return fail(eExitUsage, error);
    if (!installation.load(options.installation, error))
        return fail(eExitFailed, error);
    if (options.number > 0)
        installation = makeInstallation(installation, options.number, options.tuners);

    SimulatedServer server(installation);
    server.setSeed(options.seed);
    for (const MisbehaviourRule& rule : options.misbehaviour)
        server.addMisbehaviour(rule);
    if (!protect(server, options, error))
        return fail(eExitFailed, error);
    if (options.log)
        QObject::connect(&server, &SimulatedServer::happened, &printHappening);
    if (!server.listen(options.listen.address, options.listen.port)) {
        return fail(
            eExitFailed,
            QStringLiteral("cannot listen on %1: %2").arg(server.hostAndPort(), server.errorString()));
    }
    server.publish();
    return run(server, options);
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("koltasim"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KOLTA_VERSION));

    Options options;
    QString message;
    switch (parseCommandLine(QCoreApplication::arguments(), options, message)) {
    case ParseResult::Show:
        return print(stdout, message) ? eExitOk : eExitFailed;
    case ParseResult::Wrong:
        return fail(eExitUsage, QStringLiteral("%1\nTry koltasim --help.").arg(message));
    case ParseResult::Run:
        break;
    }
    return runServer(options);
}
