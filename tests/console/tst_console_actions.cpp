#include "productionsstage.h"

#include <koltaconsole/pages/order/candidatestable.h>
#include <koltaconsole/pages/shorttime/assignmentsview.h>
#include <koltaconsole/pages/shorttime/conversionsview.h>
#include <koltaconsole/pages/shorttime/profileeditor.h>
#include <koltaconsole/pages/shorttime/profileimportview.h>
#include <koltaconsole/pages/shorttime/profilesview.h>
#include <koltaconsole/pages/shorttime/shorttimemaps.h>
#include <koltaconsole/pages/shorttime/shorttimepage.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/widgets/filterbar.h>
#include <koltaconsole/window/installationtree.h>
#include <koltaconsole/window/palette.h>

#include <common/shellwords.h>
#include <kolta/cli/commandtable.h>
#include <kolta/commands/commands.h>

#include <koltacommon/actionrights.h>
#include <koltacommon/journal.h>
#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/operation.h>
#include <koltacommon/processormodel.h>
#include <koltacommon/q9rprofiles.h>
#include <usermanagement/activeuserproxy.h>

#include <QAction>
#include <QClipboard>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeView>

#include <map>
#include <memory>
#include <stdexcept>

using namespace KoltaConsole;

class TestActions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Every action of every page can be found, told and understood, and no key does two things at once.
    void areComplete()
    {
        Stage stage;
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
        const Stage stage;
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

    /// The palette completes names of the servers that are shown, and starts none to do so. An action of a
    /// page that nobody sees says whom it hits, and shows the page first; so does a line that asks for it,
    /// once it is typed in full.
    void palette()
    {
        Stage stage(2);
        QTRY_VERIFY(stage.isSettled());
        auto* const page = stage.window->showPage(QStringLiteral("productions"));
        auto* const view = page->findChild<ProductionsView*>();
        const QModelIndex server = view->model()->index(0, 0);
        QTRY_VERIFY(view->model()->rowCount(server) > 0);
        const QModelIndex chosen = view->model()->index(0, 0, server);
        view->setCurrentIndex(chosen);
        const QString name = chosen.data().toString();
        stage.window->showPage(QStringLiteral("overview"));
        QVERIFY(stage.run("palette"));
        auto* const palette = stage.window->findChild<Palette*>();
        auto* const line = palette->findChild<QLineEdit*>();
        auto* const list = palette->findChild<QListWidget*>();
        QTest::keyClick(line, Qt::Key_Return);
        QVERIFY(palette->isVisible()); // nothing was chosen
        QTest::keyClicks(line, QStringLiteral("stop ") + name.left(1));
        QVERIFY(!list->findItems(name, Qt::MatchContains).isEmpty());
        QCOMPARE(Kolta::KoltaServerRegistry::Instance().addresses().size(), 2);
        line->setText(QStringLiteral("stop prod"));
        QVERIFY(palette->findChild<QLabel*>()->text().contains(name + QStringLiteral(" on S1")));
        QTest::keyClick(line, Qt::Key_Return);
        QCOMPARE(stage.window->currentPage(), page);
        QTRY_VERIFY(page->findChild<QMessageBox*>()); // what is within it would end too
        page->findChild<QMessageBox*>()->reject();
        QTRY_VERIFY(!page->findChild<QMessageBox*>());

        view->clearSelection();
        stage.window->showPage(QStringLiteral("overview"));
        QVERIFY(stage.run("palette"));
        line->setText(QStringLiteral("kolta stop --server S1 ") + name.left(1));
        const QString first = list->item(0)->text();
        QTest::keyClick(line, Qt::Key_Return);
        QVERIFY(palette->isVisible());
        QCOMPARE(QStringLiteral("$ ") + line->text(), first);
        line->setText(QStringLiteral("kolta stop --server S1 ") + KoltaApps::shellQuoted(name));
        QVERIFY(palette->findChild<QLabel*>()->text().contains(name + QStringLiteral(" on S1")));
        QTest::keyClick(line, Qt::Key_Return);
        QCOMPARE(stage.window->currentPage(), page);
        QTRY_VERIFY(page->findChild<QMessageBox*>());
        page->findChild<QMessageBox*>()->reject();
    }

    /// Behind "kolta " Enter only puts a line below the page, to be copied, that no action does; a server is
    /// shown alone.
    void paletteKnowsLinesAndServers()
    {
        Stage stage(2);
        QTRY_VERIFY(stage.isSettled());
        ActionTable& actions = stage.window->actions();
        auto* const palette = stage.window->findChild<Palette*>();
        auto* const line = palette->findChild<QLineEdit*>();
        const auto enter = [&](const char* words) {
            QVERIFY(stage.run("palette"));
            line->setText(QLatin1String(words));
            QTest::keyClick(line, Qt::Key_Return);
            QVERIFY(!palette->isVisible());
        };
        QStringList ran;
        connect(&actions, &ActionTable::si_Ran, this, [&ran](const QString& id) { ran.append(id); });
        enter("kolta stop"); // which an action is called, too
        QCOMPARE(ran, QStringList{QStringLiteral("palette")});
        for (const char* const other : {"kolta stop --all", "kolta server quit", "kolta stop --user x A",
                                        "kolta stop --tree mqtt://none A",
                                        "kolta stop --server S1 --server S2 A", "kolta stop --none A"})
            QVERIFY2(!actions.requestOf(QLatin1String(other)), other);
        enter("kolta status --server S2");
        QVERIFY(stage.run("copy-line"));
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("kolta status --server S2"));
        enter("s2 operational");
        QCOMPARE(stage.window->currentPage()->commandLine(), QStringLiteral("kolta status --server S2"));
        // The history: back, forth, and to what was being typed.
        QVERIFY(stage.run("palette"));
        QTest::keyClick(line, Qt::Key_Return); // nothing, which is not kept
        QTest::keyClicks(line, QStringLiteral("s"));
        const auto key = [line](Qt::Key arrow) {
            QTest::keyClick(line, arrow);
            return line->text();
        };
        QCOMPARE(key(Qt::Key_Up), QStringLiteral("s2 operational"));
        QCOMPARE(key(Qt::Key_Up), QStringLiteral("kolta status --server S2"));
        QCOMPARE(key(Qt::Key_Up), QStringLiteral("kolta stop"));
        QCOMPARE(key(Qt::Key_Up), QStringLiteral("kolta stop"));
        QCOMPARE(key(Qt::Key_Down), QStringLiteral("kolta status --server S2"));
        QCOMPARE(key(Qt::Key_Down), QStringLiteral("s2 operational"));
        QCOMPARE(key(Qt::Key_Down), QStringLiteral("s"));
        QCOMPARE(key(Qt::Key_Down), QStringLiteral("s")); // goes on in the list
        stage.window->showPage(QStringLiteral("order"));
        QVERIFY(!actions.action(QStringLiteral("copy-line"))->isEnabled()); // nothing is ordered
        QVERIFY(!stage.run("copy-line"));
    }

    /// Of inner tabs too.
    void filtersStay()
    {
        const QTemporaryDir settings;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
        Options options;
        options.servers = 1;
        const auto lines = [](const Stage& stage) {
            QVector<QLineEdit*> found;
            for (const FilterBar* const filter : stage.window->findChildren<FilterBar*>())
                found.append(filter->line());
            return found;
        };
        const auto count = [&] {
            const Stage stage(options, true);
            const QVector<QLineEdit*> all = lines(stage);
            for (int place = 0; place < all.size(); ++place)
                all.at(place)->setText(QStringLiteral("!no%1").arg(place));
            return all.size();
        }();
        QVERIFY(count >= 10);
        const Stage stage(options, true);
        for (int place = 0; place < count; ++place)
            QCOMPARE(lines(stage).value(place)->text(), QStringLiteral("!no%1").arg(place));
    }

    /// What is done to a server asks before, hits the one that was named, and waits for its end; an action of
    /// somebody who lacks the right stays off. An exception becomes an event.
    void serversAndFaults()
    {
        Stage stage(2);
        QTRY_VERIFY(stage.isSettled());
        QVERIFY(!stage.why("server-stop-all").isEmpty());
        stage.window->findChild<InstallationTree*>()->selectServer(QStringLiteral("S1"));
        for (const auto& [id, action] : {std::pair("server-quit", Kolta::UserAction::QuitServer),
                                         std::pair("server-stop-all", Kolta::UserAction::StopAll)})
            QCOMPARE(stage.why(id).isEmpty(), stage.session->mayDo(Kolta::rightFor(action)));
        const ActionTable& actions = stage.window->actions();
        const auto request = actions.requestOf(QStringLiteral("kolta server quit S1"));
        QVERIFY(request);
        QCOMPARE(actions.enabledBecause(*request), stage.why("server-quit"));
        const auto running = [&stage](const QString& server) {
            const QAbstractItemModel& model = stage.session->processors();
            return model.match(model.index(0, Kolta::ProcessorModel::eServerColumn), Qt::DisplayRole, server)
                .size();
        };
        QTRY_VERIFY(running(QStringLiteral("S1")) > 0 && running(QStringLiteral("S2")) > 0);
        QVERIFY(stage.run("server-stop-all"));
        auto* const box = stage.window->findChild<QMessageBox*>();
        QVERIFY(box && box->buttonRole(box->defaultButton()) == QMessageBox::RejectRole);
        QVERIFY2(box->informativeText().contains(QLatin1String("MCP 1")), qPrintable(box->informativeText()));
        stage.window->findChild<InstallationTree*>()->selectServer(QStringLiteral("S2"));
        accept(*stage.window);
        QTRY_COMPARE(running(QStringLiteral("S1")), 0);
        QVERIFY(running(QStringLiteral("S2")) > 0);

        auto& application = static_cast<Application&>(*qApp);
        QString fault;
        application.setFaultTaker([&fault](const QString& text) { fault = text; });
        QTimer::singleShot(0, [] { throw std::runtime_error("own fault"); });
        QTRY_COMPARE(fault, QStringLiteral("own fault"));
        application.setFaultTaker({});
    }

    /// What somebody has begun when the server vanishes, with a button that is down or a question that is
    /// open, asks it for nothing, then or later, whether the console has noticed or not; why is told. Before
    /// that each tells of the right that it needs, and of the line that does the same.
    void goesUnderThePress_data()
    {
        const Rows<bool, bool, bool> row("isNoticed isMine isAsked");
        row("at once", false, false, false);
        row("noticed, of one's own", true, true, false);
        row("asked before", true, false, true);
    }
    void goesUnderThePress()
    {
        QFETCH(bool, isNoticed);
        QFETCH(bool, isMine);
        QFETCH(bool, isAsked);
        ProductionsStage stage(1);
        QVERIFY(logIn("administrator"));
        QTRY_VERIFY(stage.isReady());
        giveAllSomethingToDo(stage, isMine);
        if (QTest::currentTestFailed())
            return;
        ActionTable& actions = stage.window->actions();
        const QStringList impossible =
            isMine ? QStringList{"own"_s, "own-force"_s} : QStringList("own-release"_s);
        QStringList begun;
        for (const QString& id : actions.ids()) {
            const ActionTable::Entry& entry = *actions.find(id);
            if (!entry.changes || impossible.contains(id))
                continue;
            QTRY_VERIFY2(actions.enabledBecause(id).isEmpty(),
                         qPrintable(id + QLatin1Char(' ') + actions.enabledBecause(id)));
            QVERIFY2(entry.line ? !entry.line().isEmpty() : entry.text.endsWith(QChar(0x2026)),
                     qPrintable(id));
            begun.append(id);
        }
        const QStringList free{"order-plan"_s, "cart-share"_s}; // for everybody
        QVERIFY(logIn("visitor"));
        for (const QString& id : qAsConst(begun))
            QVERIFY2(actions.enabledBecause(id).contains("right"_s) != free.contains(id), qPrintable(id));
        QVERIFY(logIn("administrator"));

        // Menus last, which close when something else opens.
        const QStringList asking{"stop"_s,         "own-force"_s,   "short-remove"_s, "server-stop-all"_s,
                                 "server-reset"_s, "server-quit"_s, "move"_s,         "server-power"_s};
        std::map<QString, std::unique_ptr<QPushButton>> pressed;
        for (const QString& id : qAsConst(begun)) {
            if (isAsked && asking.contains(id))
                continue;
            auto& button = pressed[id] =
                std::unique_ptr<QPushButton>(actions.makeButton(id, stage.window.get()));
            button->setFocusPolicy(Qt::NoFocus); // or only the last one stays down
            button->show();
            QTest::mousePress(button.get(), Qt::LeftButton);
        }
        for (const QString& id : isAsked ? asking : QStringList())
            QVERIFY2(actions.run(id), qPrintable(id));
        QStringList ran;
        connect(&actions, &ActionTable::si_Ran, this, [&ran](const QString& id) { ran.append(id); });
        stage.server().vanish();
        if (isNoticed)
            QTRY_VERIFY(!actions.action("server-stop-all"_s)->isEnabled());
        for (const auto& each : pressed)
            QTest::mouseRelease(each.second.get(), Qt::LeftButton);
        chooseAll(*stage.window);
        accept(*stage.window);
        for (const QString& id : qAsConst(begun)) {
            QString what = actions.find(id)->text;
            if (isAsked && (id == "stop"_s || id == "move"_s))
                what = id;
            else if (isAsked && id == "own-force"_s)
                what = "ownership"_s;
            const QString words = what + ": not asked for. "_s;
            QTRY_VERIFY2(!toldOf(*stage.session, words).isEmpty(), qPrintable(id));
            const QString told = toldOf(*stage.session, words);
            const bool isOfOrder = id.startsWith("order-"_s) || id.startsWith("cart-"_s);
            QVERIFY2(isOfOrder || told.contains("S1"_s), qPrintable(told));
        }
        const auto isIdle = [&] { return ran.isEmpty() && !stage.window->findChild<Kolta::Operation*>(); };
        QVERIFY2(isIdle(), qPrintable(ran.join(QLatin1Char(' '))));
        stage.server().comeBack();
        QTRY_VERIFY(stage.why("short-import").isEmpty());
        QVERIFY2(isIdle(), qPrintable(ran.join(QLatin1Char(' '))));
    }

    /// Esc goes out one step at a time.
    void leaves()
    {
        Stage stage(2, "tuners");
        QTRY_VERIFY(stage.isSettled());
        Page* const page = stage.window->currentPage();
        auto* const tree = stage.window->findChild<InstallationTree*>();
        auto* const table = page->findChild<QTreeView*>();
        tree->selectServer(QStringLiteral("S2"));
        page->filterLine()->setText(QStringLiteral("HF"));
        table->setCurrentIndex(table->model()->index(0, 0));
        QTest::keyClick(stage.window.get(), Qt::Key_Escape);
        QVERIFY(page->filterLine()->text().isEmpty() && table->selectionModel()->hasSelection());
        QTest::keyClick(stage.window.get(), Qt::Key_Escape);
        QVERIFY(!table->selectionModel()->hasSelection() && tree->selectionModel()->hasSelection());
        QTest::keyClick(stage.window.get(), Qt::Key_Escape);
        QVERIFY(!tree->selectionModel()->hasSelection());
    }

private:
    static bool logIn(const char* user)
    {
        return Nax::ActiveUserProxy::Instance().LogIn(QLatin1String(user));
    }
    /// The event that begins so; empty for none.
    static QString toldOf(const Session& session, const QString& words)
    {
        const Kolta::Journal& journal = session.journal();
        for (quint64 number = journal.firstNumber(); number < journal.endNumber(); ++number) {
            if (journal.entry(number)->text().startsWith(words))
                return journal.entry(number)->text();
        }
        return QString();
    }
    /// The first that can be chosen in each menu that is open.
    static void chooseAll(const QWidget& window)
    {
        for (QMenu* const menu : window.findChildren<QMenu*>()) {
            const QList<QAction*> choices = menu->isVisible() ? menu->actions() : QList<QAction*>();
            const auto choice = std::find_if(choices.begin(), choices.end(),
                                             [](const QAction* each) { return each->isEnabled(); });
            if (choice != choices.end())
                (*choice)->trigger();
            if (menu->isVisible())
                menu->close();
        }
    }

    static void giveAllSomethingToDo(ProductionsStage& stage, bool isMine);
    static void giveProfilesSomethingToDo(const ShortTimePage& page,
                                          Kolta::ShortTimeProfileItemMap& profiles);
    static void giveConversionsSomethingToDo(ConversionsView& view, Kolta::ConvertProductionResultMap& map);
};

/// On an installation of S1 alone. An FFP there is operated from here or by somebody else.
void TestActions::giveAllSomethingToDo(ProductionsStage& stage, bool isMine)
{
    auto& server = *stage.session->server("S1"_s);
    stage.window->findChild<InstallationTree*>()->selectServer("S1"_s);
    const QString ffp = stage.keyOf("FFP 1");
    stage.select(ffp);
    Kolta::KoltaOwnerObserver owner(server.getServerBasePath() + "/ADMINISTRATION/Owners"_s);
    owner.setClient(isMine ? server.getClientId() : QUuid::createUuid(), "somebody"_s);
    QVERIFY(owner.requestOwnership(stage.row(ffp)->guid));
    QTRY_VERIFY(!stage.row(ffp)->owner.isEmpty() && stage.row(ffp)->isMine == isMine);

    Kolta::ProductionOrder order;
    order.tunerClass = "Wide"_s;
    order.frequency = 98.5e6;
    stage.session->draft().set(order, QString());
    const Page& orders = *stage.window->showPage("order"_s);
    QTRY_VERIFY(orders.findChild<CandidatesTable*>()->acceptedCount() > 0);
    QVERIFY(stage.run("order-add") && stage.run("cart-share"));

    auto& shortTime = *static_cast<ShortTimePage*>(stage.window->showPage("short-time"_s));
    AssignmentMatrix& matrix = shortTime.assignments().matrix();
    QTRY_COMPARE(matrix.rowCount(), 1);
    auto& profiles = *shortTimeMap<Kolta::ShortTimeProfileItemMap>(*stage.session, "S1"_s);
    giveProfilesSomethingToDo(shortTime, profiles);
    Kolta::ShortTimeFFPAssignment use; // removing a profile that is in use is asked before
    use.ffpGuid = QUuid::createUuid().toString();
    for (const auto& profile : profiles.data())
        use.profiles.append(profile.first);
    shortTimeMap<Kolta::ShortTimeFFPAssignmentItemMap>(*stage.session, "S1"_s)
        ->SetAt(use.ffpGuid, use, nullptr);
    matrix.toggle(matrix.index(0, 1));
    giveConversionsSomethingToDo(shortTime.conversions(),
                                 *shortTimeMap<Kolta::ConvertProductionResultMap>(*stage.session, "S1"_s));
}

void TestActions::giveProfilesSomethingToDo(const ShortTimePage& page,
                                            Kolta::ShortTimeProfileItemMap& profiles)
{
    auto* const table = page.profiles().findChild<QTreeView*>();
    QTRY_VERIFY(table->model()->rowCount() > 0);
    table->setCurrentIndex(table->model()->index(0, 0));
    page.profiles().findChild<ProfileEditor*>()->line(ProfileField::Bandwidth)->setText("16-26 kHz"_s);
    Kolta::ShortTimeProfile changed = profiles.data().begin()->second;
    changed.useShift = true;
    changed.shiftMax = changed.shiftMin + 4711;
    const QTemporaryDir folder;
    const QString file = folder.filePath("p.xml"_s);
    QCOMPARE(VESK_Q9R::writeProfileFile(file, Kolta::ShortTimeProfile::toQ9RProfile({changed})), QString());
    page.profiles().import().preview(file);
}

/// One is to begin, one goes on, one has ended.
void TestActions::giveConversionsSomethingToDo(ConversionsView& view, Kolta::ConvertProductionResultMap& map)
{
    for (const char* const name : {"archive/disk/1", "archive/disk/2"}) {
        const auto record = sorel::RecordIdentifier::fromString(QLatin1String(name));
        map.Add(Kolta::ConvertProductionResult({record, "audio"_s, {}, {}, {}}));
        map.startConverting(record);
    }
    map.setFinished(sorel::RecordIdentifier::fromString("archive/disk/1"_s), true, QString());
    auto* const table = view.findChild<QTreeView*>();
    QTRY_COMPARE(table->model()->rowCount(), 2);
    table->setCurrentIndex(find(*table->model(), "archive/disk/2"_s));
    QVERIFY(table->currentIndex().isValid());
    field(view, "Record").setText("archive/disk/3"_s);
}

KOLTA_CONSOLE_TEST(TestActions);
#include "tst_console_actions.moc"
