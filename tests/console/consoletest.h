#pragma once

#include <koltaconsole/application.h>
#include <koltaconsole/pages/page.h>
#include <koltaconsole/session/options.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/session/simulatedinstallation.h>
#include <koltaconsole/window/mainwindow.h>

#include <support/test.h>

#include <QApplication>

/// Constructs a test class behind an application with widgets and runs it.
template<class Test>
int runConsoleTest(int argc, char** argv)
{
    KoltaConsole::Application application(argc, argv);
    QApplication::setApplicationName(QString::fromLocal8Bit(argv[1]));
    Startup::ErrorHandler::Instance().setLoggingEnabled(false);
    KoltaConsole::Theme::instance().apply(KoltaConsole::Theme::Choice::Light);
    QStringList arguments = QCoreApplication::arguments();
    arguments.removeAt(1);
    Test test;
    return QTest::qExec(&test, arguments);
}

/// As KOLTA_TEST, with widgets.
#define KOLTA_CONSOLE_TEST(Class) static const TestProgram programOf##Class(__FILE__, &runConsoleTest<Class>)

/// The console on an installation that is simulated, all of it up and running.
struct Stage
{
    explicit Stage(KoltaConsole::Options wanted = KoltaConsole::Options(), bool isRemembered = false)
        : options(wanted)
    {
        if (options.url.isEmpty() && options.servers == 0)
            options.servers = 5;
        options.isRemembered = isRemembered;
        QString error;
        session = KoltaConsole::Session::start(options, error);
        if (!session)
            qFatal("%s", qPrintable(error));
        window = std::make_unique<KoltaConsole::MainWindow>(*session, options);
        window->show();
    }
    bool isSettled() const
    {
        return (!session->simulation() || session->simulation()->isSettled()) && window->isFilled();
    }

    KoltaConsole::Options options;
    std::unique_ptr<KoltaConsole::Session> session;
    std::unique_ptr<KoltaConsole::MainWindow> window;
};
