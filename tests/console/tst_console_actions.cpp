#include "consoletest.h"

#include <koltaconsole/pages/pages.h>

#include <common/shellwords.h>
#include <kolta/cli/commandtable.h>
#include <kolta/commands/commands.h>

#include <QAction>

using namespace KoltaConsole;

class TestActions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Every action of every page can be found, told and understood, and no key does two things at once.
    void areComplete()
    {
        Stage stage;
        for (const QString& id : pageIds())
            QVERIFY(stage.window->showPage(id) != nullptr);
        QTRY_VERIFY(stage.isSettled());
        const KoltaCli::CommandTable commands(KoltaCli::allCommands(), QString(), QString(), QString());
        ActionTable& actions = stage.window->actions();
        QMap<QString, QString> keys;
        for (const QString& id : actions.ids()) {
            const ActionTable::Entry& entry = *actions.find(id);
            QVERIFY2(!entry.text.isEmpty(), qPrintable(id));
            const QAction* const action = actions.action(id);
            QCOMPARE(action->isEnabled(), actions.enabledBecause(id).isEmpty());
            QVERIFY2(!action->toolTip().isEmpty(), qPrintable(id));
            // Pages have keys of their own, which may be the same as those of another page.
            const QString key = entry.shortcut.toString();
            const QString place = QStringLiteral("%1 %2").arg(
                key, QString::number(reinterpret_cast<quintptr>(action->parent())));
            QVERIFY2(key.isEmpty() || !keys.contains(place), qPrintable(id + QLatin1Char(' ') + keys[place]));
            keys.insert(place, id);
            const QStringList words = KoltaApps::shellWords(entry.line ? entry.line() : QString());
            if (!words.isEmpty()) {
                QCOMPARE(words.first(), QStringLiteral("kolta"));
                QVERIFY2(commands.find(words.value(1)), qPrintable(entry.line()));
            }
        }
    }

    /// The manual names every action, and its key.
    void areInTheManual()
    {
        Stage stage;
        for (const QString& id : pageIds())
            QVERIFY(stage.window->showPage(id) != nullptr);
        QFile manual(QStringLiteral(KOLTA_SOURCE_DIR "/docs/console.md"));
        QVERIFY(manual.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(manual.readAll());
        const ActionTable& actions = stage.window->actions();
        for (const QString& id : actions.ids()) {
            const ActionTable::Entry& entry = *actions.find(id);
            const bool isPage = id.startsWith(QLatin1String("page-")); // Ctrl+1 and so on
            QVERIFY2(isPage || text.contains(entry.text), qPrintable(entry.text));
            QVERIFY2(isPage || text.contains(entry.shortcut.toString()),
                     qPrintable(entry.shortcut.toString()));
        }
    }

    /// Who only looks can change nothing, and is told why.
    void readOnlyChangesNothing()
    {
        Options options;
        options.isReadOnly = true;
        Stage stage(options);
        for (const QString& id : pageIds())
            QVERIFY(stage.window->showPage(id) != nullptr);
        QTRY_VERIFY(stage.isSettled());
        ActionTable& actions = stage.window->actions();
        bool hasRun = false;
        ActionTable::Entry entry;
        entry.id = QStringLiteral("test-change");
        entry.text = QStringLiteral("Change something");
        entry.changes = true;
        entry.run = [&hasRun] { hasRun = true; };
        actions.add(entry, stage.window.get());
        QVERIFY(!actions.run(entry.id));
        QVERIFY(!hasRun);
        for (const QString& id : actions.ids())
            QVERIFY2(!actions.find(id)->changes || !actions.action(id)->isEnabled(), qPrintable(id));
    }
};

KOLTA_CONSOLE_TEST(TestActions);
#include "tst_console_actions.moc"
