#include "player.h"
#include "watcher.h"

#include <koltaconsole/application.h>
#include <koltaconsole/widgets/theme.h>

#include <distribution/localbroker.h>
#include <startup/errorhandler.h>

#include <QApplication>
#include <QProcess>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kWrongUsage = 2;
constexpr int kReadyMs = 120000;

int fail(const QString& text)
{
    std::fprintf(stderr, "kolta_fluency: %s\n", qPrintable(text));
    return 1;
}

/// play URL SERVERS TUNERS
int play(const QStringList& words)
{
    Fluency::Player player(words.at(2), words.at(3).toInt(), words.at(4).toInt());
    QString error;
    return player.start(error) ? QCoreApplication::exec() : fail(error);
}

/// watch URL TUNERS SECONDS
int watch(const QStringList& words, const QElapsedTimer& clock)
{
    KoltaConsole::Theme::instance().apply(KoltaConsole::Theme::Choice::Light);
    Fluency::Watcher watcher(clock, words.at(3).toInt(), words.at(4).toInt());
    QString error;
    return watcher.start(words.at(2), error) ? QApplication::exec() : fail(error);
}

/// The broker, the servers and one console after the other, each a process.
int trial(int servers, int tuners, int seconds, int times)
{
    distribution::LocalBroker broker{distribution::LocalBroker::Settings()};
    QString error;
    if (!broker.start(error))
        return fail(error);
    const auto text = [](int number) { return QString::number(number); };
    QProcess player;
    player.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    player.start(QCoreApplication::applicationFilePath(),
                 {QStringLiteral("play"), broker.url(), text(servers), text(tuners)});
    QByteArray said;
    while (!said.contains("ready") && player.waitForReadyRead(kReadyMs))
        said += player.readAllStandardOutput();
    if (!said.contains("ready"))
        return fail(QStringLiteral("the servers do not come up"));
    int worst = 0;
    for (int time = 0; time < times && worst <= 1; ++time) {
        double load[1] = {0.0};
        getloadavg(load, 1);
        std::printf("%d x %d tuners, load %.1f\n", servers, tuners, load[0]);
        std::fflush(stdout);
        const int result =
            QProcess::execute(QCoreApplication::applicationFilePath(),
                              {QStringLiteral("watch"), broker.url(), text(servers * tuners), text(seconds)});
        worst = std::max(worst, result < 0 ? 2 : result);
    }
    player.kill();
    player.waitForFinished();
    return worst;
}

} // namespace

/// How long the console makes people wait. It ends with 1 when that is longer than docs/console.md aims at,
/// which a machine with other work easily brings about.
int main(int argc, char** argv)
{
    QElapsedTimer clock;
    clock.start();
    Startup::ErrorHandler::Instance().setLoggingEnabled(false);
    if (argc == 5 && qstrcmp(argv[1], "watch") == 0) {
        if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        KoltaConsole::keepFreedMemory();
        const QApplication application(argc, argv);
        QCoreApplication::setApplicationName(QStringLiteral("kolta_fluency"));
        return watch(QCoreApplication::arguments(), clock);
    }
    const QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    if (argc == 5 && words.at(1) == QLatin1String("play"))
        return play(words);
    const int servers = words.value(1).toInt(), tuners = words.value(2).toInt();
    const int seconds = words.value(3, QStringLiteral("20")).toInt();
    const int times = words.value(4, QStringLiteral("3")).toInt();
    if (servers < 1 || tuners < 1 || seconds < 1 || times < 1) {
        fail(QStringLiteral("expected SERVERS TUNERS [SECONDS [TIMES]]"));
        return kWrongUsage;
    }
    return trial(servers, tuners, seconds, times);
}
