#include "options.h"

#include <common/programoptions.h>

#include <simulation/installation.h>
#include <simulation/resourcegenerator.h>

#include <limits>

namespace {

using KoltaApps::checked;
using KoltaApps::flag;
using KoltaApps::Option;
using KoltaApps::ProgramOptions;
using KoltaApps::proposed;
using KoltaApps::text;
using KoltaApps::whole;

QString problemOfSeed(const QString& text)
{
    bool isNumber = false;
    text.toUInt(&isNumber);
    return isNumber ? QString() : QStringLiteral("expected a number");
}

QVector<Option> placeOptions()
{
    return {text("installation", "DIR", "Folder with the installation's files (the sample installation)."),
            whole("number", "N",
                  "Plays server N, from {least}, of an installation whose servers are all of this kind: S1, "
                  "S2 and so on.",
                  1, std::numeric_limits<int>::max()),
            whole("tuners", "N", "How many tuners it has; needs --number (those of the files).", 0,
                  KoltaSimulation::kMostTuners),
            text("listen", "HOST:PORT",
                 "Where to listen, {preset} unless given: an address or a name; port 0 lets the system "
                 "pick one. An IPv6 address may stand in brackets.",
                 Options().listen.toString())};
}

QVector<Option> protectionOptions()
{
    return {
        text("tls", "FILE",
             "Links are protected by TLS; FILE (PEM) holds the server's certificate and its key."),
        text("tls-clients", "FILE",
             "Clients must show a certificate that the authority in FILE (PEM) has signed; it names the "
             "user."),
        text("users", "FILE",
             "Only users of this file who hold the right may give orders; needs --tls-clients or --publish."),
        flag("plain-network", "Listens without TLS also where others than this machine can reach it.")};
}

QVector<Option> happeningOptions()
{
    return {flag("log", "Prints links, requests, orders and misbehaviours as they happen (on stderr)."),
            proposed(text("misbehave", "KIND[=ARG]",
                          "Do something wrong; may be given several times. KIND is one of {choices}. After "
                          "KIND[=ARG] may follow ,component=NAME ,after=N ,times=N ,chance=0…1."),
                     KoltaSimulation::misbehaviourNames()),
            checked(text("seed", "N", "Seed of all that happens by chance ({preset}).",
                         QString::number(Options().seed)),
                    problemOfSeed),
            flag("activity", "Tuners become busy and free, and subscribers are told; conversions go on, and "
                             "enabled assignments yield results."),
            whole("period", "MS", "Time between two activities in milliseconds ({preset}).", 1,
                  std::numeric_limits<int>::max(), Options().period)};
}

QVector<Option> publishingOptions()
{
    return {text("publish", "URL",
                 "Share the server's value tree with other processes through the broker at "
                 "mqtt[s]://[USER@]HOST[:PORT][/PREFIX]. A password comes from the configuration."),
            text("branch", "NAME", "Name under which it is shared (that of the server)."),
            flag("take-over", "Share it also when another process has the name, which is displaced then.")};
}

constexpr char kDescription[] =
    "Simulates one server of an installation until it is interrupted. Its first line of output says where it "
    "listens, and \"published as NAME\" follows. Exit codes: 0 interrupted, 1 cannot start, 2 wrong usage, 3 "
    "the name is taken or was taken over.";

/// What is wrong with options that stand or fall together; empty when nothing is.
QString problemOfCombination(const ProgramOptions& given)
{
    if (given.has("users") && !given.has("tls-clients") && !given.has("publish"))
        return QStringLiteral(
            "--users: expected --tls-clients or --publish with it, or nobody is known by name");
    if (given.has("publish") && given.value("publish").isEmpty())
        return QStringLiteral("--publish: expected a URL");
    const QString problem = given.problemOfPairs(
        {{"tls-clients", "tls"}, {"branch", "publish"}, {"take-over", "publish"}, {"tuners", "number"}});
    if (!problem.isEmpty())
        return problem;
    if (given.has("branch") && given.value("branch").isEmpty())
        return QStringLiteral("--branch: expected a name");
    return {};
}

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
    if (KoltaApps::findEndpoint(text, options.listen, message, KoltaApps::kAnyPort))
        return true;
    message.prepend(QStringLiteral("--listen: "));
    return false;
}

bool readOptions(const ProgramOptions& given, Options& options, QString& message)
{
    options.installation = given.has("installation") ? given.value("installation")
                                                     : KoltaSimulation::Installation::sampleFolder();
    options.number = given.number("number");
    options.tuners = given.number("tuners");
    options.seed = given.value("seed").toUInt();
    options.activity = given.has("activity");
    options.period = given.number("period");
    options.tlsCertificate = given.value("tls");
    options.tlsClients = given.value("tls-clients");
    options.users = given.value("users");
    options.plainNetwork = given.has("plain-network");
    options.log = given.has("log");
    options.publish = given.value("publish");
    options.branch = given.value("branch");
    options.takeOver = given.has("take-over");
    message = problemOfCombination(given);
    return message.isEmpty() && readListen(given.value("listen"), options, message) &&
           readMisbehaviour(given.values("misbehave"), options, message);
}

} // namespace

ParseResult parseCommandLine(const QStringList& arguments, Options& options, QString& message)
{
    ProgramOptions given({"koltasim",
                          "simulate a server of a monitoring installation",
                          kDescription,
                          {QStringLiteral("kolta")}},
                         placeOptions() + protectionOptions() + happeningOptions() + publishingOptions());
    switch (given.read(arguments, message)) {
    case ProgramOptions::Result::Show:
        return ParseResult::Show;
    case ProgramOptions::Result::Run:
        return readOptions(given, options, message) ? ParseResult::Run : ParseResult::Wrong;
    case ProgramOptions::Result::Wrong:
    case ProgramOptions::Result::Failed:
        break;
    }
    return ParseResult::Wrong;
}
