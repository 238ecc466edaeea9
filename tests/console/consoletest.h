#pragma once

#include <koltaconsole/application.h>
#include <koltaconsole/pages/page.h>
#include <koltaconsole/session/options.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/session/simulatedinstallation.h>
#include <koltaconsole/window/mainwindow.h>

#include <simulation/simulatedserver.h>
#include <support/test.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>

#include <algorithm>

/// Constructs a test class behind an application with widgets and runs it.
template<class Test>
int runConsoleTest(int argc, char** argv)
{
    KoltaConsole::Application application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("kolta")); // or nothing can be kept
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
    static KoltaConsole::Options optionsFor(int servers, const char* page = "")
    {
        KoltaConsole::Options options;
        options.servers = servers;
        options.page = QLatin1String(page);
        return options;
    }
    explicit Stage(int servers, const char* page = "") : Stage(optionsFor(servers, page)) {}
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
    bool run(const char* id) const { return window->actions().run(QLatin1String(id)); }
    /// Why that action cannot be run now; empty when it can.
    QString why(const char* id) const { return window->actions().enabledBecause(QLatin1String(id)); }
    KoltaSimulation::SimulatedServer& server(const QString& address = QStringLiteral("S1")) const
    {
        return *session->simulation()->server(address);
    }

    KoltaConsole::Options options;
    std::unique_ptr<KoltaConsole::Session> session;
    std::unique_ptr<KoltaConsole::MainWindow> window;
};

/// Whether a label says that, among other words, where somebody sees it.
inline bool tells(const QWidget& part, const char* words)
{
    const auto labels = part.findChildren<QLabel*>();
    return std::any_of(labels.begin(), labels.end(), [words](const QLabel* label) {
        return label->isVisible() && label->text().contains(QString::fromUtf8(words));
    });
}

/// The one that is called so for those who do not see it.
inline QLineEdit& field(const QWidget& part, const char* name)
{
    for (QLineEdit* const line : part.findChildren<QLineEdit*>()) {
        if (line->accessibleName() == QLatin1String(name))
            return *line;
    }
    qFatal("no field %s", name);
}

inline QComboBox& dropDown(const QWidget& part, const char* name)
{
    for (QComboBox* const each : part.findChildren<QComboBox*>()) {
        if (each->accessibleName() == QLatin1String(name))
            return *each;
    }
    qFatal("no list %s", name);
}

/// As somebody does who opens that list.
inline void choose(const QWidget& part, const char* name, const char* value)
{
    QComboBox& list = dropDown(part, name);
    list.setCurrentIndex(list.findData(QLatin1String(value)));
    Q_EMIT list.activated(list.currentIndex());
}

/// What is due in one turn of the event loop has been done.
inline bool turn()
{
    bool isOver = false;
    QTimer::singleShot(0, qApp, [&isOver] { isOver = true; });
    return waitFor([&isOver] { return isOver; });
}

/// The first that shows this text, at whatever depth.
inline QModelIndex find(const QAbstractItemModel& model, const QString& text)
{
    return model.match(model.index(0, 0), Qt::DisplayRole, text, 1, Qt::MatchExactly | Qt::MatchRecursive)
        .value(0);
}

/// Says yes wherever that is asked.
inline void accept(const QWidget& part)
{
    for (const QMessageBox* const box : part.findChildren<QMessageBox*>()) {
        for (QAbstractButton* const button : box->buttons()) {
            if (box->buttonRole(button) == QMessageBox::AcceptRole)
                button->click();
        }
    }
}
