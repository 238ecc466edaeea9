#include "options.h"

#include "keptsettings.h"

#include <common/exitcodes.h>
#include <common/programoptions.h>
#include <common/usualtree.h>
#include <simulation/installation.h>
#include <simulation/resourcegenerator.h>

#include <QFileInfo>
#include <QImageWriter>

namespace KoltaConsole {

namespace {

const char* const kThemeKey = "theme";
/// In the order of Theme::Choice.
const QStringList kThemes{QStringLiteral("light"), QStringLiteral("dark"), QStringLiteral("system")};

using KoltaApps::ProgramOptions;

/// In the order of the help.
QVector<KoltaApps::Option> declaredOptions(const QStringList& pages)
{
    using namespace KoltaApps;
    return {
        text("tree", "URL",
             "The servers that publish themselves at the broker mqtt[s]://[USER@]HOST[:PORT][/PREFIX], or "
             "that did in the recording replay:FILE[?speed=N][&from=TIME] (environment KOLTA_TREE, "
             "configuration Distribution/Url)."),
        flag("simulate", "An installation of its own, in this process."),
        whole("servers", "NUMBER",
              "How many servers are simulated ({preset}); like the next two it needs --simulate.", 1, 1000,
              5),
        whole("tuners", "NUMBER", "How many tuners each of them has (those of the sample).", 0,
              KoltaSimulation::kMostTuners, 0),
        whole(
            "activity", "MS",
            "Lets something happen to tuners and results in each of them every so many milliseconds (never).",
            0, 3600000, 0),
        text("vanish", "SERVER",
             "The simulated server that vanishes before the picture is made; needs --screenshot."),
        flag("ask", "Asks in a window which installation to show, where nothing says it or that one cannot "
                    "be shown."),
        flag("read-only", "Nothing can be changed."),
        flag("trace", "Writes trace lines to standard error, for support."),
        choice("theme", "THEME", "One of {choices} ({preset}).", kThemes, kThemes.last()),
        choice("page", "NAME", "The page that is shown first: {choices}.", pages),
        text("screenshot", "FILE",
             "Writes a picture of the page once it has filled, and ends; the suffix says which kind.")};
}

constexpr char kDescription[] =
    "One window on a monitoring installation: its servers, tuners and productions as they change, orders "
    "with "
    "the reason for each choice of a tuner, and what happened. Exit codes: 0 closed, 1 the picture cannot be "
    "made, 2 wrong usage, no display, no such installation.";

bool isSimulated(const QString& server, int servers)
{
    for (int number = 1; number <= servers; ++number) {
        if (server == KoltaSimulation::Installation::usualName(number))
            return true;
    }
    return false;
}

/// What is wrong with options that stand or fall together.
QString problemOfCombination(const ProgramOptions& given)
{
    if (given.has("simulate") && given.has("tree"))
        return QStringLiteral("--simulate and --tree exclude each other");
    if (given.has("ask") && given.has("screenshot"))
        return QStringLiteral("--ask and --screenshot exclude each other");
    return given.problemOfPairs({{"servers", "simulate"},
                                 {"tuners", "simulate"},
                                 {"activity", "simulate"},
                                 {"vanish", "simulate"},
                                 {"vanish", "screenshot"}});
}

/// Of what the picture shows, and how it is written.
QString problemOfPicture(const ProgramOptions& given, const Options& options)
{
    if (given.has("vanish") && !isSimulated(options.vanish, options.servers))
        return QStringLiteral("--vanish: expected a server from S1 to S%1, found \"%2\"")
            .arg(options.servers)
            .arg(options.vanish);
    const QByteArray suffix = QFileInfo(options.screenshot).suffix().toLower().toLatin1();
    const QList<QByteArray> formats = QImageWriter::supportedImageFormats();
    return given.has("screenshot") && !formats.contains(suffix)
               ? QStringLiteral("--screenshot: expected a file that ends in one of %1, found \"%2\"")
                     .arg(QString::fromLatin1(formats.join(", ")), options.screenshot)
               : QString();
}

/// What is wrong, in one line.
QString problemOf(const ProgramOptions& given, const QStringList& pages, Options& options)
{
    options.servers = given.number("servers");
    options.tuners = given.number("tuners");
    options.activityMs = given.number("activity");
    options.theme = static_cast<Theme::Choice>(given.choice("theme"));
    options.page = pages.value(given.choice("page"));
    options.vanish = given.value("vanish");
    options.screenshot = given.value("screenshot");
    for (const QString& problem : {problemOfCombination(given), problemOfPicture(given, options)}) {
        if (!problem.isEmpty())
            return problem;
    }
    if (given.has("simulate"))
        return QString();
    options.servers = 0;
    const auto tree =
        KoltaApps::namedTree(given.has("tree") ? std::make_optional(given.value("tree")) : std::nullopt);
    options.url = tree.url;
    options.urlSource = tree.source;
    return options.url.isEmpty() && !given.has("ask")
               ? QStringLiteral("which installation? --tree URL shows one, --simulate plays one")
               : QString();
}

} // namespace

Options Options::read(const QStringList& arguments, const QStringList& pages, int& exitCode, QString& text)
{
    using namespace KoltaApps;
    using Result = ProgramOptions::Result;
    ProgramOptions given({"koltaconsole",
                          "watch and steer a monitoring installation",
                          kDescription,
                          {QStringLiteral("kolta"), QStringLiteral("koltasim")}},
                         declaredOptions(pages));
    Options options;
    const Result result = given.read(QStringList{QStringLiteral("koltaconsole")} + arguments, text);
    exitCode = result == Result::Show     ? eExitOk
               : result == Result::Failed ? eExitFailed
               : result == Result::Wrong  ? eExitUsage
                                          : -1;
    if (result == Result::Run)
        text = problemOf(given, pages, options);
    if (result == Result::Run && !text.isEmpty())
        exitCode = eExitUsage;
    options.isAsking = given.has("ask");
    options.isReadOnly = given.has("read-only");
    options.isTracing = given.has("trace");
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
    KeptSettings().setValue(QLatin1String(kThemeKey), static_cast<int>(theme));
}

} // namespace KoltaConsole
