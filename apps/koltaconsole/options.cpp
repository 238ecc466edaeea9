#include "options.h"

#include "pages/pages.h"

#include <startup/cfgcenter.h>

#include <QCommandLineParser>

namespace KoltaConsole {

namespace {

QString urlOf(const QCommandLineParser& parser)
{
    if (parser.isSet(QStringLiteral("tree")))
        return parser.value(QStringLiteral("tree"));
    const QString environment = qEnvironmentVariable("KOLTA_TREE");
    return environment.isEmpty()
               ? Startup::CfgCenter::Instance().Text(QStringLiteral("Distribution"), QStringLiteral("Url"))
               : environment;
}

void describe(QCommandLineParser& parser)
{
    parser.setApplicationDescription(QStringLiteral("One window on a monitoring installation."));
    parser.addOptions(
        {{QStringLiteral("tree"),
          QStringLiteral(
              "The servers that publish themselves at the broker mqtt[s]://[USER@]HOST[:PORT][/PREFIX] "
              "(environment KOLTA_TREE)."),
          QStringLiteral("URL")},
         {QStringLiteral("simulate"), QStringLiteral("An installation of its own, in this process.")},
         {QStringLiteral("servers"), QStringLiteral("How many servers are simulated (5)."),
          QStringLiteral("number"), QStringLiteral("5")},
         {QStringLiteral("tuners"), QStringLiteral("How many tuners each of them has (those of the sample)."),
          QStringLiteral("number"), QStringLiteral("0")},
         {QStringLiteral("activity"),
          QStringLiteral("Lets something happen to tuners and results in each of them every so many "
                         "milliseconds (0: never)."),
          QStringLiteral("milliseconds"), QStringLiteral("0")},
         {QStringLiteral("vanish"),
          QStringLiteral("The simulated server that vanishes before the picture is made."),
          QStringLiteral("server")},
         {QStringLiteral("read-only"), QStringLiteral("Nothing can be changed.")},
         {QStringLiteral("trace"), QStringLiteral("Writes trace lines to standard error, for support.")},
         {QStringLiteral("theme"), QStringLiteral("light, dark or system (system)."), QStringLiteral("theme"),
          QStringLiteral("system")},
         {QStringLiteral("page"),
          QStringLiteral("The page that is shown first: %1.").arg(pageIds().join(QStringLiteral(", "))),
          QStringLiteral("name")},
         {QStringLiteral("screenshot"),
          QStringLiteral("Writes a picture of the page once it has filled, and ends."),
          QStringLiteral("file")}});
}

/// What is wrong, in one line.
QString problemOf(const QCommandLineParser& parser, Options& options)
{
    const auto number = [&](const char* name, int minimum, int maximum, int& value) {
        bool isNumber = false;
        value = parser.value(QLatin1String(name)).toInt(&isNumber);
        return isNumber && value >= minimum && value <= maximum
                   ? QString()
                   : QStringLiteral("--%1: expected a number from %2 to %3, found \"%4\"")
                         .arg(QLatin1String(name))
                         .arg(minimum)
                         .arg(maximum)
                         .arg(parser.value(QLatin1String(name)));
    };
    if (!parser.positionalArguments().isEmpty())
        return QStringLiteral("unexpected \"%1\"").arg(parser.positionalArguments().first());
    for (const QString& problem :
         {number("servers", 1, 1000, options.servers), number("tuners", 0, 100000, options.tuners),
          number("activity", 0, 3600000, options.activityMs)}) {
        if (!problem.isEmpty())
            return problem;
    }
    const int theme =
        QStringList{QStringLiteral("light"), QStringLiteral("dark"), QStringLiteral("system")}.indexOf(
            parser.value(QStringLiteral("theme")));
    if (theme < 0)
        return QStringLiteral("--theme: expected light, dark or system");
    options.theme = static_cast<Theme::Choice>(theme);
    options.page = parser.value(QStringLiteral("page"));
    if (!options.page.isEmpty() && !pageIds().contains(options.page))
        return QStringLiteral("--page: expected one of %1").arg(pageIds().join(QStringLiteral(", ")));
    if (parser.isSet(QStringLiteral("simulate")))
        return parser.isSet(QStringLiteral("tree"))
                   ? QStringLiteral("--simulate and --tree exclude each other")
                   : QString();
    options.servers = 0;
    options.url = urlOf(parser);
    return options.url.isEmpty()
               ? QStringLiteral("which installation? --tree URL shows one, --simulate plays one")
               : QString();
}

} // namespace

Options Options::read(const QStringList& arguments, int& exitCode, QString& text)
{
    QCommandLineParser parser;
    describe(parser);
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    Options options;
    exitCode = -1;
    const QStringList words = QStringList{QStringLiteral("koltaconsole")} + arguments;
    if (!parser.parse(words)) {
        text = parser.errorText();
        exitCode = 2;
    } else if (parser.isSet(help)) {
        text = parser.helpText();
        exitCode = 0;
    } else if (parser.isSet(version)) {
        text = QStringLiteral("koltaconsole " KOLTA_VERSION);
        exitCode = 0;
    } else if (text = problemOf(parser, options); !text.isEmpty()) {
        exitCode = 2;
    }
    options.vanish = parser.value(QStringLiteral("vanish"));
    options.isReadOnly = parser.isSet(QStringLiteral("read-only"));
    options.isTracing = parser.isSet(QStringLiteral("trace"));
    options.screenshot = parser.value(QStringLiteral("screenshot"));
    options.isRemembered = options.screenshot.isEmpty();
    return options;
}

} // namespace KoltaConsole
