#include "options.h"

#include <common/endpoint.h>

#include <simulation/installation.h>

#include <QCommandLineParser>
#include <QCoreApplication>

namespace {

bool readMisbehaviour(const QStringList& texts, Options& options, QString& message)
{
    for (const QString& text : texts) {
        KoltaSimulation::MisbehaviourRule rule;
        if (!KoltaSimulation::MisbehaviourRule::fromText(text, rule, message)) {
            message.prepend(QStringLiteral("--misbehave: "));
            return false;
        }
        options.misbehaviour.append(rule);
    }
    return true;
}

bool readListen(const QString& text, Options& options, QString& message)
{
    QString host;
    if (KoltaApps::splitHostAndPort(text, host, options.port, message, KoltaApps::anyPort) &&
        KoltaApps::findAddress(host, options.address, message))
        return true;
    message.prepend(QStringLiteral("--listen: "));
    return false;
}

} // namespace

ParseResult parseCommandLine(const QStringList& arguments, Options& options, QString& message)
{
    const QCommandLineOption installation(
        QStringLiteral("installation"),
        QStringLiteral("Folder with the installation's files (the sample installation)."),
        QStringLiteral("DIR"), KoltaSimulation::Installation::sampleFolder());
    const QCommandLineOption listen(
        QStringLiteral("listen"),
        QStringLiteral(
            "Where to listen, 127.0.0.1:0 unless given: an address or a name; port 0 lets the system "
            "pick one. An IPv6 address may stand in brackets."),
        QStringLiteral("HOST:PORT"), QStringLiteral("127.0.0.1:0"));
    const QCommandLineOption misbehave(
        QStringLiteral("misbehave"),
        QStringLiteral(
            "Do something wrong; may be given several times. KIND is one of %1. After KIND[=ARG] may follow "
            ",component=NAME ,after=N ,times=N ,chance=0…1.")
            .arg(KoltaSimulation::misbehaviourNames().join(QStringLiteral(", "))),
        QStringLiteral("KIND[=ARG]"));
    const QCommandLineOption seed(QStringLiteral("seed"),
                                  QStringLiteral("Seed of all that happens by chance (1)."),
                                  QStringLiteral("N"), QStringLiteral("1"));
    const QCommandLineOption activity(
        QStringLiteral("activity"),
        QStringLiteral(
            "Tuners become busy and free, and subscribers are told; conversions go on, and enabled "
            "assignments yield results."));
    const QCommandLineOption period(QStringLiteral("period"),
                                    QStringLiteral("Time between two activities in milliseconds (500)."),
                                    QStringLiteral("MS"), QStringLiteral("500"));
    const QCommandLineOption tls(
        QStringLiteral("tls"),
        QStringLiteral("Links are protected by TLS; FILE (PEM) holds the server's certificate and its key."),
        QStringLiteral("FILE"));
    const QCommandLineOption tlsClients(
        QStringLiteral("tls-clients"),
        QStringLiteral(
            "Clients must show a certificate that the authority in FILE (PEM) has signed; it names the "
            "user."),
        QStringLiteral("FILE"));
    const QCommandLineOption users(
        QStringLiteral("users"),
        QStringLiteral("Only users of this file who hold the right may give commands; needs --tls-clients."),
        QStringLiteral("FILE"));
    const QCommandLineOption plainNetwork(
        QStringLiteral("plain-network"),
        QStringLiteral("Listens without TLS also where others than this machine can reach it."));
    const QCommandLineOption log(
        QStringLiteral("log"),
        QStringLiteral("Prints links, requests, orders and misbehaviours as they happen (on stderr)."));
    const QCommandLineOption publish(
        QStringLiteral("publish"),
        QStringLiteral("Share the server's value tree with other processes through the broker at "
                       "mqtt[s]://[USER@]HOST[:PORT][/PREFIX]. A password comes from the configuration."),
        QStringLiteral("URL"));
    const QCommandLineOption branch(QStringLiteral("branch"),
                                    QStringLiteral("Name under which it is shared (that of the server)."),
                                    QStringLiteral("NAME"));
    const QCommandLineOption takeOver(
        QStringLiteral("take-over"),
        QStringLiteral("Share it also when another process has the name, which is displaced then."));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Simulates one server of an installation until it is interrupted. Its first line of output "
        "says where it listens, and \"published as NAME\" follows. Exit codes: 0 interrupted, 1 cannot "
        "start, "
        "2 wrong usage, 3 the name is taken or was taken over."));
    parser.addOptions({installation, listen, tls, tlsClients, users, plainNetwork, log, misbehave, seed,
                       activity, period, publish, branch, takeOver});
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this help."));
    parser.addOption(help);
    const QCommandLineOption version = parser.addVersionOption();

    if (!parser.parse(arguments)) {
        message = parser.errorText();
        return ParseResult::Wrong;
    }
    if (parser.isSet(help) || parser.isSet(version)) {
        message = parser.isSet(help) ? parser.helpText()
                                     : QCoreApplication::applicationName() + QLatin1Char(' ') +
                                           QCoreApplication::applicationVersion() + QLatin1Char('\n');
        return ParseResult::Show;
    }
    if (!parser.positionalArguments().isEmpty()) {
        message =
            QStringLiteral("found \"%1\", expected options only").arg(parser.positionalArguments().first());
        return ParseResult::Wrong;
    }
    options.installation = parser.value(installation);
    options.activity = parser.isSet(activity);
    options.tlsCertificate = parser.value(tls);
    options.tlsClients = parser.value(tlsClients);
    options.users = parser.value(users);
    options.plainNetwork = parser.isSet(plainNetwork);
    options.log = parser.isSet(log);
    if (parser.isSet(tlsClients) && !parser.isSet(tls)) {
        message = QStringLiteral("--tls-clients: expected --tls with it");
        return ParseResult::Wrong;
    }
    if (parser.isSet(users) && !parser.isSet(tlsClients)) {
        message = QStringLiteral("--users: expected --tls-clients with it, or nobody is known by name");
        return ParseResult::Wrong;
    }
    if (!readListen(parser.value(listen), options, message))
        return ParseResult::Wrong;
    bool seedOk = false;
    bool periodOk = false;
    options.seed = parser.value(seed).toUInt(&seedOk);
    options.period = parser.value(period).toInt(&periodOk);
    if (!seedOk || !periodOk || options.period < 1) {
        message = seedOk ? QStringLiteral("--period: expected a number of milliseconds, at least 1")
                         : QStringLiteral("--seed: expected a number");
        return ParseResult::Wrong;
    }
    options.publish = parser.value(publish);
    options.branch = parser.value(branch);
    options.takeOver = parser.isSet(takeOver);
    if (options.publish.isEmpty() && (parser.isSet(publish) || parser.isSet(branch) || options.takeOver)) {
        message = QStringLiteral("--branch and --take-over belong to --publish, which expects a URL");
        return ParseResult::Wrong;
    }
    return readMisbehaviour(parser.values(misbehave), options, message) ? ParseResult::Run
                                                                        : ParseResult::Wrong;
}
