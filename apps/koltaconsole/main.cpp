#include "addressdialog.h"
#include "application.h"
#include "texts.h"

#include <common/exitcodes.h>
#include <koltacommon/tunerclassmodel.h>
#include <koltacommon/viewroles.h>
#include <koltaconsole/pages/pages.h>
#include <koltaconsole/session/options.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/session/simulatedinstallation.h>
#include <koltaconsole/window/mainwindow.h>
#include <simulation/simulatedserver.h>
#include <startup/errorhandler.h>

#include <QApplication>
#include <QLocale>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace KoltaApps;
using namespace KoltaConsole;

constexpr int kPictureLimitMs = 20000;
constexpr int kSettleMs = 600; ///< from the filled page to the picture

int tell(const QString& text, int exitCode)
{
    if (text.isEmpty())
        return exitCode;
    std::fputs(qPrintable(exitCode == eExitOk ? text.trimmed() : QStringLiteral("koltaconsole: ") + text),
               exitCode == eExitOk ? stdout : stderr);
    std::fputc('\n', exitCode == eExitOk ? stdout : stderr);
    return exitCode;
}

/// Whether Qt draws on one, and not elsewhere.
bool isDisplayWanted()
{
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    return platform.isEmpty() || platform.startsWith("xcb") || platform.startsWith("wayland");
}

/// Qt aborts the process with a page of text where the display cannot be reached.
void tellFatal(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
{
    if (type != QtFatalMsg)
        return;
    const QString display = qEnvironmentVariable("DISPLAY", qEnvironmentVariable("WAYLAND_DISPLAY"));
    std::_Exit(tell(!text.contains(QLatin1String("platform plugin")) ? text
                    : isDisplayWanted() ? QStringLiteral("the display \"%1\" cannot be reached").arg(display)
                                        : QStringLiteral("QT_QPA_PLATFORM: Qt has no platform \"%1\" here")
                                              .arg(qEnvironmentVariable("QT_QPA_PLATFORM")),
                    eExitUsage));
}

bool hasDisplay()
{
    if (!isDisplayWanted())
        return true;
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

QString wordOf(int argc, char** argv, const char* option)
{
    const QString name = QLatin1String(option), begin = name + QLatin1Char('=');
    for (int i = 1; i < argc; ++i) {
        const QString word = QString::fromLocal8Bit(argv[i]);
        if (word.startsWith(begin))
            return word.mid(begin.size());
        if (word == name && i + 1 < argc)
            return QString::fromLocal8Bit(argv[i + 1]);
    }
    return QString();
}

/// Nested ones count as the others; empty for none.
QString classWithFreeTuners(const Kolta::TunerClassModel& model, const QModelIndex& parent)
{
    using Kolta::TunerClassModel;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex name = model.index(row, TunerClassModel::eNameColumn, parent);
        if (name.data(Kolta::ViewRoles::StateRole).isValid()) // a tuner
            continue;
        if (parent.isValid() && name.data(Kolta::ViewRoles::FreeRole).toInt() > 0)
            return name.data().toString();
        const QString inner = classWithFreeTuners(model, name);
        if (!inner.isEmpty())
            return inner;
    }
    return QString();
}

/// A page of orders without one would be a picture of nothing.
void writeSomeOrder(const Session& session)
{
    Kolta::ProductionOrder order = session.draft().order();
    order.tunerClass = classWithFreeTuners(session.classes(), QModelIndex());
    session.draft().set(order, session.draft().server());
}

/// Writes the picture when the page has filled, and ends the program.
void photograph(MainWindow& window, Session& session, const Options& options)
{
    auto* const waiting = new QTimer(&window);
    const auto take = [&window, &options] {
        const bool isWritten = window.grab().save(options.screenshot);
        if (!isWritten)
            tell(QStringLiteral("%1 cannot be written").arg(options.screenshot), eExitFailed);
        QApplication::exit(isWritten ? eExitOk : eExitFailed);
    };
    QObject::connect(waiting, &QTimer::timeout, &window, [&, waiting, take] {
        SimulatedInstallation* const simulation = session.simulation();
        if (!window.isFilled() || (simulation && !simulation->isSettled()))
            return;
        waiting->stop();
        if (session.draft().isEmpty())
            writeSomeOrder(session);
        if (auto* const server = simulation ? simulation->server(options.vanish) : nullptr)
            server->vanish();
        QTimer::singleShot(kSettleMs, &window, take);
    });
    waiting->start(50);
    QTimer::singleShot(kPictureLimitMs, &window, [&session] {
        const LinkState& link = session.link();
        const QString reason = link.isUp ? QString() : QStringLiteral(": ") + link.text;
        QApplication::exit(tell(
            QStringLiteral("the page has not filled within %1 s%2").arg(kPictureLimitMs / 1000).arg(reason),
            eExitFailed));
    });
}

/// Exit code.
int run(Application& application, Options& options)
{
    Startup::ErrorHandler::Instance().setLoggingEnabled(options.isTracing);
    const bool isGerman = QLocale().language() == QLocale::German;
    installTexts(isGerman ? QStringLiteral("de") : QStringLiteral("en"));
    Theme::instance().apply(options.wantedTheme());
    QString error;
    const auto session = startSession(options, error);
    if (!session)
        return options.isAsking ? eExitOk : tell(error, eExitUsage);
    application.setFaultTaker([&session](const QString& what) {
        session->tell(QApplication::translate("Application", "the console: %1").arg(what),
                      Kolta::Event::Weight::Attention);
    });
    MainWindow window(*session, options);
    window.show();
    if (!options.screenshot.isEmpty())
        photograph(window, *session, options);
    const int result = QApplication::exec();
    application.setFaultTaker({});
    return result;
}

} // namespace

int main(int argc, char** argv)
{
    keepFreedMemory();
    std::signal(SIGXFSZ, SIG_IGN); // a journal that may not grow is told as one that cannot be written
    // A picture needs no display.
    if (!wordOf(argc, argv, "--screenshot").isEmpty() && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words.append(QString::fromLocal8Bit(argv[i]));
    QCoreApplication::setOrganizationName(QStringLiteral("kolta"));
    QCoreApplication::setApplicationName(QStringLiteral("koltaconsole"));
    int exitCode = -1;
    QString text;
    Options options;
    {
        const QCoreApplication early(argc, argv); // for the help's sake, without a display
        options = Options::read(words, pageIds(), exitCode, text);
    }
    if (exitCode >= 0)
        return tell(text, exitCode);
    if (!hasDisplay())
        return tell(QStringLiteral("there is no display (DISPLAY is not set)"), eExitUsage);

    const QtMessageHandler usual = qInstallMessageHandler(tellFatal);
    Application application(argc, argv);
    qInstallMessageHandler(usual);
    return run(application, options);
}
