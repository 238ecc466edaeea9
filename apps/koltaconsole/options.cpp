#include "options.h"

#include "pages/pages.h"

#include <common/manualpage.h>
#include <common/usualtree.h>

#include <QCommandLineParser>
#include <QSettings>

namespace KoltaConsole {

namespace {

const char* const kThemeKey = "theme";

QString urlOf(const QCommandLineParser& parser)
{
    const QString option = QStringLiteral("tree");
    return parser.isSet(option) ? parser.value(option) : KoltaApps::usualTreeUrl();
}

struct OptionText
{
    const char* name;
    const char* value; ///< null: it is a switch
    const char* preset;
    const char* help;
};

/// In the order of the help.
constexpr OptionText kOptions[] = {
    {"tree", "URL", nullptr,
     "The servers that publish themselves at the broker mqtt[s]://[USER@]HOST[:PORT][/PREFIX], or that did "
     "in "
     "the recording replay:FILE[?speed=N][&from=TIME] (environment KOLTA_TREE, configuration "
     "Distribution/Url)."},
    {"simulate", nullptr, nullptr, "An installation of its own, in this process."},
    {"servers", "NUMBER", "5", "How many servers are simulated (5)."},
    {"tuners", "NUMBER", "0", "How many tuners each of them has (those of the sample)."},
    {"activity", "MS", "0",
     "Lets something happen to tuners and results in each of them every so many milliseconds (never)."},
    {"vanish", "SERVER", nullptr, "The simulated server that vanishes before the picture is made."},
    {"ask", nullptr, nullptr, "Asks in a window which installation to show, where nothing says it."},
    {"read-only", nullptr, nullptr, "Nothing can be changed."},
    {"trace", nullptr, nullptr, "Writes trace lines to standard error, for support."},
    {"theme", "THEME", "system", "light, dark or system (system)."},
    {"page", "NAME", nullptr, "The page that is shown first: %1."},
    {"screenshot", "FILE", nullptr, "Writes a picture of the page once it has filled, and ends."}};

constexpr char kDescription[] =
    "One window on a monitoring installation: its servers, tuners and productions as they change, orders "
    "with "
    "the reason for each choice of a tuner, and what happened. Exit codes: 0 closed, 1 the picture cannot be "
    "made, 2 wrong usage, no display, no such installation.";

QString helpOf(const OptionText& text)
{
    const QString help = QString::fromUtf8(text.help);
    return help.contains(QLatin1String("%1")) ? help.arg(pageIds().join(QStringLiteral(", "))) : help;
}

void describe(QCommandLineParser& parser)
{
    parser.setApplicationDescription(QString::fromUtf8(kDescription));
    for (const OptionText& text : kOptions) {
        QCommandLineOption option(QString::fromLatin1(text.name), helpOf(text),
                                  QString::fromLatin1(text.value));
        if (text.preset)
            option.setDefaultValue(QString::fromLatin1(text.preset));
        parser.addOption(option);
    }
}

bool writeManual(const QString& folder, QString& error)
{
    const QString name = QStringLiteral("koltaconsole");
    KoltaApps::ManualPage page(name, QStringLiteral("watch and steer a monitoring installation"),
                               QStringLiteral(KOLTA_VERSION));
    page.addSection(QStringLiteral("SYNOPSIS"));
    page.addUsage(name, QStringLiteral("[options]"));
    page.addSection(QStringLiteral("DESCRIPTION"));
    page.addText(QString::fromUtf8(kDescription));
    page.addSection(QStringLiteral("OPTIONS"));
    for (const OptionText& text : kOptions)
        page.addEntry(
            QStringLiteral("--%1 %2").arg(QLatin1String(text.name), QLatin1String(text.value)).trimmed(),
            helpOf(text));
    page.addReferences({QStringLiteral("kolta"), QStringLiteral("koltasim")});
    return page.write(folder, error);
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
    return options.url.isEmpty() && !parser.isSet(QStringLiteral("ask"))
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
    QCommandLineOption manual(QStringLiteral("manual"), QString(), QStringLiteral("FOLDER"));
    manual.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(manual);
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
    } else if (parser.isSet(manual)) {
        exitCode = writeManual(parser.value(manual), text) ? 0 : 1;
    } else if (text = problemOf(parser, options); !text.isEmpty()) {
        exitCode = 2;
    }
    options.vanish = parser.value(QStringLiteral("vanish"));
    options.isAsking = options.servers == 0 && options.url.isEmpty();
    options.isReadOnly = parser.isSet(QStringLiteral("read-only"));
    options.isTracing = parser.isSet(QStringLiteral("trace"));
    options.screenshot = parser.value(QStringLiteral("screenshot"));
    options.isRemembered = options.screenshot.isEmpty();
    return options;
}

Theme::Choice Options::wantedTheme() const
{
    if (theme != Theme::Choice::System || !isRemembered)
        return theme;
    const int before = QSettings().value(QLatin1String(kThemeKey), static_cast<int>(theme)).toInt();
    return before == static_cast<int>(Theme::Choice::Light) || before == static_cast<int>(Theme::Choice::Dark)
               ? static_cast<Theme::Choice>(before)
               : theme;
}

void Options::rememberTheme(Theme::Choice theme)
{
    QSettings().setValue(QLatin1String(kThemeKey), static_cast<int>(theme));
}

} // namespace KoltaConsole
