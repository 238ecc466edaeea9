#include "options.h"

#include <common/endpoint.h>
#include <common/manualpage.h>

#include <simulation/installation.h>

#include <QCommandLineParser>
#include <QCoreApplication>

namespace {

struct OptionText
{
    const char* name;
    const char* value; ///< null: it is a switch
    const char* preset;
    const char* help;
};

/// In the order of the help.
constexpr OptionText kOptions[] = {
    {"installation", "DIR", nullptr, "Folder with the installation's files (the sample installation)."},
    {"listen", "HOST:PORT", "127.0.0.1:0",
     "Where to listen, 127.0.0.1:0 unless given: an address or a name; port 0 lets the system pick one. An "
     "IPv6 "
     "address may stand in brackets."},
    {"tls", "FILE", nullptr,
     "Links are protected by TLS; FILE (PEM) holds the server's certificate and its key."},
    {"tls-clients", "FILE", nullptr,
     "Clients must show a certificate that the authority in FILE (PEM) has signed; it names the user."},
    {"users", "FILE", nullptr,
     "Only users of this file who hold the right may give orders; needs --tls-clients or --publish."},
    {"plain-network", nullptr, nullptr,
     "Listens without TLS also where others than this machine can reach it."},
    {"log", nullptr, nullptr, "Prints links, requests, orders and misbehaviours as they happen (on stderr)."},
    {"misbehave", "KIND[=ARG]", nullptr,
     "Do something wrong; may be given several times. KIND is one of %1. After KIND[=ARG] may follow "
     ",component=NAME ,after=N ,times=N ,chance=0…1."},
    {"seed", "N", "1", "Seed of all that happens by chance (1)."},
    {"activity", nullptr, nullptr,
     "Tuners become busy and free, and subscribers are told; conversions go on, and enabled assignments "
     "yield "
     "results."},
    {"period", "MS", "500", "Time between two activities in milliseconds (500)."},
    {"publish", "URL", nullptr,
     "Share the server's value tree with other processes through the broker at "
     "mqtt[s]://[USER@]HOST[:PORT][/PREFIX]. "
     "A password comes from the configuration."},
    {"branch", "NAME", nullptr, "Name under which it is shared (that of the server)."},
    {"take-over", nullptr, nullptr,
     "Share it also when another process has the name, which is displaced then."}};

constexpr char kDescription[] =
    "Simulates one server of an installation until it is interrupted. Its first line of output says where it "
    "listens, and \"published as NAME\" follows. Exit codes: 0 interrupted, 1 cannot start, 2 wrong usage, 3 "
    "the name "
    "is taken or was taken over.";

QString helpOf(const OptionText& text)
{
    const QString help = QString::fromUtf8(text.help);
    return help.contains(QLatin1String("%1"))
               ? help.arg(KoltaSimulation::misbehaviourNames().join(QStringLiteral(", ")))
               : help;
}

QCommandLineOption makeOption(const OptionText& text)
{
    QCommandLineOption option(QString::fromLatin1(text.name), helpOf(text), QString::fromLatin1(text.value));
    if (text.preset)
        option.setDefaultValue(QString::fromLatin1(text.preset));
    return option;
}

bool writeManual(const QString& folder, QString& error)
{
    KoltaApps::ManualPage page(QCoreApplication::applicationName(),
                               QStringLiteral("simulate a server of a monitoring installation"),
                               QCoreApplication::applicationVersion());
    page.addSection(QStringLiteral("SYNOPSIS"));
    page.addUsage(QCoreApplication::applicationName(), QStringLiteral("[options]"));
    page.addSection(QStringLiteral("DESCRIPTION"));
    page.addText(QString::fromLatin1(kDescription));
    page.addSection(QStringLiteral("OPTIONS"));
    for (const OptionText& text : kOptions)
        page.addEntry(
            QStringLiteral("--%1 %2").arg(QLatin1String(text.name), QLatin1String(text.value)).trimmed(),
            helpOf(text));
    page.addReferences({QStringLiteral("kolta")});
    return page.write(folder, error);
}

/// Parsed arguments by the names of the table.
class Arguments
{
public:
    explicit Arguments(const QCommandLineParser& parser) : m_parser(parser) {}
    bool has(const char* name) const { return m_parser.isSet(QString::fromLatin1(name)); }
    QString value(const char* name) const { return m_parser.value(QString::fromLatin1(name)); }
    QStringList values(const char* name) const { return m_parser.values(QString::fromLatin1(name)); }

private:
    const QCommandLineParser& m_parser;
};

/// What is wrong with options that stand or fall together; empty when nothing is.
QString problemOfCombination(const Arguments& given)
{
    if (given.has("tls-clients") && !given.has("tls"))
        return QStringLiteral("--tls-clients: expected --tls with it");
    if (given.has("users") && !given.has("tls-clients") && !given.has("publish"))
        return QStringLiteral(
            "--users: expected --tls-clients or --publish with it, or nobody is known by name");
    if (given.value("publish").isEmpty() &&
        (given.has("publish") || given.has("branch") || given.has("take-over")))
        return QStringLiteral("--branch and --take-over belong to --publish, which expects a URL");
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
    QString host;
    if (KoltaApps::splitHostAndPort(text, host, options.port, message, KoltaApps::kAnyPort) &&
        KoltaApps::findAddress(host, options.address, message))
        return true;
    message.prepend(QStringLiteral("--listen: "));
    return false;
}

bool readNumbers(const Arguments& given, Options& options, QString& message)
{
    bool seedOk = false;
    bool periodOk = false;
    options.seed = given.value("seed").toUInt(&seedOk);
    options.period = given.value("period").toInt(&periodOk);
    if (seedOk && periodOk && options.period >= 1)
        return true;
    message = seedOk ? QStringLiteral("--period: expected a number of milliseconds, at least 1")
                     : QStringLiteral("--seed: expected a number");
    return false;
}

bool readOptions(const Arguments& given, Options& options, QString& message)
{
    options.installation = given.has("installation") ? given.value("installation")
                                                     : KoltaSimulation::Installation::sampleFolder();
    options.activity = given.has("activity");
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
           readNumbers(given, options, message) &&
           readMisbehaviour(given.values("misbehave"), options, message);
}

} // namespace

ParseResult parseCommandLine(const QStringList& arguments, Options& options, QString& message)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(kDescription));
    for (const OptionText& text : kOptions)
        parser.addOption(makeOption(text));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this help."));
    parser.addOption(help);
    const QCommandLineOption version = parser.addVersionOption();
    QCommandLineOption manual(QStringLiteral("manual"), QString(), QStringLiteral("FOLDER"));
    manual.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(manual);

    if (!parser.parse(arguments)) {
        message = parser.errorText();
        return ParseResult::Wrong;
    }
    if (parser.isSet(manual)) {
        message.clear();
        return writeManual(parser.value(manual), message) ? ParseResult::Show : ParseResult::Wrong;
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
    return readOptions(Arguments(parser), options, message) ? ParseResult::Run : ParseResult::Wrong;
}
