#include "consoletest.h"
#include "installation.h"

#include <koltaconsole/actions/treelines.h>
#include <koltaconsole/pages/order/orderpage.h>
#include <koltaconsole/pages/pages.h>
#include <koltaconsole/pages/productions/productionspage.h>
#include <koltaconsole/pages/productions/productionsview.h>
#include <koltaconsole/pages/shorttime/assignmentsview.h>
#include <koltaconsole/pages/shorttime/conversionsview.h>
#include <koltaconsole/pages/shorttime/profileeditor.h>
#include <koltaconsole/pages/shorttime/profileimportview.h>
#include <koltaconsole/pages/shorttime/profilesview.h>
#include <koltaconsole/pages/shorttime/shorttimemaps.h>
#include <koltaconsole/pages/shorttime/shorttimepage.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/window/installationtree.h>

#include <koltacommon/journal.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/q9rprofiles.h>

#include <QCheckBox>
#include <QClipboard>
#include <QMimeData>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QTreeView>

using namespace KoltaConsole;

namespace {

/// Behind a line, it ends what that one prints.
constexpr char kEnd[] = "\nmove --help";
constexpr char kMark[] = "GUID or name of the MCP";

/// `kolta shell` on the same installation.
class Shell : public Program
{
public:
    explicit Shell(const QString& url)
    {
        setProcessChannelMode(MergedChannels);
        begin(QStringLiteral(KOLTA_PROGRAM),
              {QStringLiteral("shell"), QStringLiteral("--keep-going"), QStringLiteral("--tree"), url});
    }
    /// Types each of the lines, without its first word; what it says then is for them.
    void type(const QString& lines)
    {
        taken();
        for (const QString& line : lines.split(QLatin1Char('\n')))
            write(line.mid(line.startsWith(QStringLiteral("kolta ")) ? 6 : 0).toUtf8() + '\n');
    }
};

} // namespace

/// Every line that the console shows does in `kolta shell` what the action would do.
class TestLines : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void ordersAndProductions();
    void shortTimeData();
    /// What begins or shows nothing by itself.
    void ofPages();
    void ofServers();

private:
    QString line(const char* id) const
    {
        const ActionTable::Entry* const entry = m_stage->window->actions().find(QLatin1String(id));
        return entry && entry->line ? entry->line() : QString();
    }
    template<class Page>
    Page& page(const char* id) const
    {
        return static_cast<Page&>(*m_stage->window->showPage(QLatin1String(id)));
    }
    /// Of the row of that name on the page of productions.
    QModelIndex row(const char* name) const
    {
        return find(page<ProductionsPage>("productions").model(), QLatin1String(name));
    }
    /// Null unless it runs.
    const ProductionRow* running(const char* name) const
    {
        const ProductionRow* const found = page<ProductionsPage>("productions").model().rowAt(row(name));
        return found && found->isRunning() ? found : nullptr;
    }
    void select(const char* name) const
    {
        page<ProductionsPage>("productions").findChild<ProductionsView*>()->setCurrentIndex(row(name));
    }
    void ordersTogether();
    void write(const char* tunerClass, double frequency, const char* name,
               Kolta::ProductionOrder::Kind kind = Kolta::ProductionOrder::Kind::Mcp) const
    {
        Kolta::ProductionOrder order;
        order.kind = kind;
        order.tunerClass = QLatin1String(tunerClass);
        order.frequency = frequency;
        order.displayName = QLatin1String(name);
        if (const ProductionRow* const mcp = running("MCP 1");
            mcp && kind == Kolta::ProductionOrder::Kind::Ffp)
            order.mcp = QUuid(mcp->guid);
        m_stage->session->draft().set(order, QStringLiteral("S1"));
    }
    template<class Map>
    Map& map() const
    {
        return *shortTimeMap<Map>(*m_stage->session, QStringLiteral("S1"));
    }

    std::unique_ptr<Installation> m_installation;
    std::unique_ptr<Stage> m_stage;
    std::unique_ptr<Shell> m_shell;
    QSet<QString> m_tried; ///< IDs of actions
};

void TestLines::initTestCase()
{
    if (!isInstallationPossible())
        QSKIP("there is no mosquitto");
    m_installation = std::make_unique<Installation>(1);
    QVERIFY(m_installation->isUp());
    Options options;
    options.url = m_installation->url();
    options.page = QStringLiteral("tuners");
    m_stage = std::make_unique<Stage>(options);
    QTRY_VERIFY(m_stage->window->isFilled());
    m_shell = std::make_unique<Shell>(options.url);
}

void TestLines::cleanupTestCase()
{
    m_shell.reset();
    m_stage.reset();
    m_installation.reset();
}

void TestLines::ordersAndProductions()
{
    const auto run = [this](const char* id) {
        m_tried.insert(QLatin1String(id));
        const QString shown = line(id);
        QVERIFY2(!shown.isEmpty(), id);
        const auto request = m_stage->window->actions().requestOf(shown);
        QVERIFY2(request && request->id == QLatin1String(id), qPrintable(shown));
        m_shell->type(shown);
    };
    page<OrderPage>("order");
    for (const char* const id : {"order-start", "order-plan"})
        QCOMPARE(line(id), QString()); // nothing is wanted yet
    write("HF", 5e6, "");
    page<Page>("tuners");
    run("tuner-why-not");
    QVERIFY(m_shell->says("KW 1"));
    page<OrderPage>("order");
    run("order-plan");
    QVERIFY(m_shell->says("KW 1"));
    for (const char* const name : {"MCP 1", "MCP 2"}) {
        write("Wide", 98.5e6, name);
        run("order-start");
        QTRY_VERIFY2(running(name), m_shell->said().constData());
    }
    write("", 98.1e6, "FFP 1", Kolta::ProductionOrder::Kind::Ffp);
    run("order-start");
    QTRY_VERIFY2(running("FFP 1"), m_shell->said().constData());
    ordersTogether();

    // What was dropped is shown, and done again from the other end.
    auto& productions = page<ProductionsPage>("productions");
    auto& model = const_cast<ProductionsModel&>(productions.model());
    const std::unique_ptr<QMimeData> dragged(model.mimeData({row("FFP 1")}));
    const QString to = running("MCP 2")->key, from = running("MCP 1")->key;
    QVERIFY(model.dropMimeData(dragged.get(), Qt::MoveAction, -1, -1, row("MCP 2")));
    const QString move = productions.commandLine();
    QTRY_COMPARE(running("FFP 1")->holderKey, to);
    QTRY_VERIFY(model.dropMimeData(dragged.get(), Qt::MoveAction, -1, -1, row("MCP 1")));
    QTRY_COMPARE(running("FFP 1")->holderKey, from);
    m_shell->type(move);
    QTRY_COMPARE(running("FFP 1")->holderKey, to);

    select("MCP 1");
    run("own");
    QTRY_VERIFY(!running("MCP 1")->owner.isEmpty());
    run("own-release");
    QTRY_VERIFY(running("MCP 1")->owner.isEmpty());
    run("own-force");
    QTRY_VERIFY(!running("MCP 1")->owner.isEmpty());
    run("front-end");
    QVERIFY(m_shell->says("MCP 1"));
    // In a terminal where nothing says which tree.
    m_tried.insert(QStringLiteral("stop"));
    QString stop = linesOnTree(line("stop"), m_stage->session->treeUrl());
    stop.replace(0, 5, QStringLiteral(KOLTA_PROGRAM));
    QVERIFY(!qEnvironmentVariableIsSet("KOLTA_TREE"));
    QCOMPARE(QProcess::execute(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), stop}), 0);
    QTRY_VERIFY(!running("MCP 1"));
}

/// A line for each order, the first of which is shown with the number of the others.
void TestLines::ordersTogether()
{
    ActionTable& actions = m_stage->window->actions();
    page<OrderPage>("order");
    m_shell->type(QStringLiteral("kolta plan --clear"));
    const QPair<const char*, double> orders[] = {{"MCP 3", 5e6}, {"MCP 4", 98.5e6}};
    for (const auto& [name, frequency] : orders) {
        write(frequency < 30e6 ? "HF" : "Wide", frequency, name);
        QVERIFY(actions.run(QStringLiteral("order-add")));
    }
    QVERIFY(actions.run(QStringLiteral("cart-share")));
    QCoreApplication::processEvents();
    QApplication::clipboard()->clear();
    QVERIFY(actions.run(QStringLiteral("copy-line")));
    const QStringList plans = QApplication::clipboard()->text().split(QLatin1Char('\n'));
    QCOMPARE(plans.size(), 2);
    for (const QString& plan : plans) {
        const QString tree = QStringLiteral(" --tree ") + m_installation->url();
        QVERIFY2(plan.startsWith(QStringLiteral("kolta plan") + tree), qPrintable(plan));
        QString typed = plan;
        m_shell->type(typed.remove(tree)); // the shell has a tree already
        QVERIFY2(m_shell->says("yes"), qPrintable(plan));
    }
    m_shell->type(QStringLiteral("kolta plan --clear"));
    const QStringList starts = line("cart-start").split(QLatin1Char('\n'));
    QCOMPARE(starts.size(), 2);
    for (const QString& start : starts)
        m_shell->type(start);
    for (const auto& [name, frequency] : orders)
        QTRY_VERIFY2(running(name), m_shell->said().constData());
    m_tried << QStringLiteral("cart-share") << QStringLiteral("cart-start");
    QVERIFY(actions.run(QStringLiteral("cart-clear")));
}

void TestLines::shortTimeData()
{
    auto& shown = page<ShortTimePage>("short-time");
    auto* const tabs = shown.findChild<QTabWidget*>();
    QTRY_VERIFY(shown.isFilled());
    const auto run = [&](const char* id) {
        m_tried.insert(QLatin1String(id));
        QCOMPARE(m_stage->window->actions().enabledBecause(QLatin1String(id)), QString());
        QVERIFY2(!line(id).isEmpty(), id);
        m_shell->type(line(id));
    };
    using Profiles = Kolta::ShortTimeProfileItemMap;
    const QString first = QStringLiteral("O'Hara 1"), second = QStringLiteral("O'Hara 2");
    const auto isThere = [&](const QString& name) { return map<Profiles>().Contains(name); };
    auto* const editor = shown.findChild<ProfileEditor*>();
    editor->edit(Kolta::ShortTimeProfile());
    editor->line(ProfileField::Name)->setText(first);
    editor->line(ProfileField::Bandwidth)->setText(QStringLiteral("16-25 kHz"));
    run("short-save");
    QTRY_VERIFY2(isThere(first), m_shell->said().constData());
    const auto fresh = map<Profiles>().At(first);
    QCOMPARE(fresh.bandwidthMax, 25000u);
    editor->edit(fresh);
    QCOMPARE(editor->objectionToSave(), QStringLiteral("Nothing has changed."));
    editor->line(ProfileField::Name)->setText(second);
    run("short-save");
    QTRY_VERIFY2(!isThere(first), m_shell->said().constData());
    QVERIFY(isThere(second));
    auto* const list = shown.profiles().findChild<QTreeView*>();
    list->setCurrentIndex(find(*list->model(), second));
    run("short-remove");
    QTRY_VERIFY2(!isThere(second), m_shell->said().constData());
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("some profiles.xml"));
    QCOMPARE(VESK_Q9R::writeProfileFile(file, Kolta::ShortTimeProfile::toQ9RProfile({fresh})), QString());
    shown.profiles().import().preview(file);
    run("short-import-confirm");
    QTRY_VERIFY2(isThere(first), m_shell->said().constData());

    using Assignments = Kolta::ShortTimeFFPAssignmentItemMap;
    tabs->setCurrentIndex(1);
    AssignmentMatrix& matrix = shown.assignments().matrix();
    QTRY_COMPARE(matrix.rowCount(), 1);
    auto* const table = shown.assignments().findChild<QTableView*>();
    table->setCurrentIndex(matrix.index(0, 1));
    QTest::keyClick(table, Qt::Key_Space);
    const auto wanted = matrix.wanted();
    run("short-send");
    QTRY_COMPARE(map<Assignments>().Size(), std::size_t(1));
    QCOMPARE(map<Assignments>().data().begin()->second.profiles, wanted.value(0).profiles);
    QCOMPARE(wanted.size(), 1);

    using Conversions = Kolta::ConvertProductionResultMap;
    tabs->setCurrentIndex(3);
    ConversionsView& conversions = shown.conversions();
    const QString record = QStringLiteral("archive/disk-1/4711");
    const auto result = [&] { return map<Conversions>().At(sorel::RecordIdentifier::fromString(record)); };
    field(conversions, "Record").setText(record);
    field(conversions, "Production").setText(QStringLiteral("a b"));
    for (const char* const id : {"conversion-finish", "conversion-fail"}) {
        run("conversion-start");
        QTRY_COMPARE(conversions.model().rowCount(), 1);
        QTRY_COMPARE(result().state(), Kolta::ConvertProductionResult::eConverting);
        QCOMPARE(result().productionName(), QStringLiteral("a b"));
        conversions.findChild<QTreeView*>()->setCurrentIndex(conversions.model().index(0, 0));
        run(id);
        QTRY_VERIFY(result().finished());
        QCOMPARE(result().sucessfullyFinished(), !qstrcmp(id, "conversion-finish"));
    }
    QVERIFY(!m_stage->window->actions().enabledBecause(QStringLiteral("conversions-tidy")).isEmpty());
    conversions.findChild<QCheckBox*>()->setChecked(true);
    run("conversions-tidy");
    QTRY_COMPARE(map<Conversions>().Size(), std::size_t(0));
}

void TestLines::ofPages()
{
    const QLatin1String end(kEnd);
    m_shell->type(QStringLiteral("kolta status") + end);
    QVERIFY(m_shell->says(kMark));
    QStringList tried;
    const auto tryLine = [&](const QString& wanted) {
        if (wanted.isEmpty() || tried.contains(wanted) ||
            wanted.startsWith(QStringLiteral("kolta produce")) ||
            wanted.startsWith(QStringLiteral("kolta watch"))) // do something, and have no end
            return;
        tried.append(wanted);
        m_shell->type(wanted + end);
        QVERIFY(m_shell->says(kMark));
        QVERIFY2(!m_shell->said().contains("kolta:"),
                 QByteArray(wanted.toUtf8() + m_shell->said()).constData());
    };
    const QTemporaryDir folder;
    QVERIFY(m_stage->session->journal().open(folder.filePath(QStringLiteral("a journal"))));
    page<Page>("events").filterLine()->setText(QStringLiteral("!\"two words\" 2026-03-01"));
    QTRY_VERIFY(line("events-save").contains(QStringLiteral("--to")));
    m_tried.insert(QStringLiteral("events-save"));
    tryLine(line("events-save"));
    for (const QString& id : pageIds()) {
        Page& shown = page<Page>(qPrintable(id));
        auto* const tabs = shown.findChild<QTabWidget*>();
        for (const char* const server : {"", "S1"}) {
            shown.showServer(QLatin1String(server));
            for (int tab = 0; tab < (tabs ? tabs->count() : 1); ++tab) {
                if (tabs)
                    tabs->setCurrentIndex(tab);
                tryLine(shown.commandLine());
            }
        }
    }
    QVERIFY(tried.contains(QStringLiteral("kolta servers")));
    QCOMPARE(tried.filter(QStringLiteral("kolta tree dump")).size(), 1);
}

void TestLines::ofServers()
{
    const auto run = [this](const char* id) {
        m_tried.insert(QLatin1String(id));
        QCOMPARE(m_stage->window->actions().enabledBecause(QLatin1String(id)), QString());
        m_shell->type(line(id));
    };
    m_stage->window->findChild<InstallationTree*>()->selectServer(QStringLiteral("S1"));
    QVERIFY(running("MCP 2"));
    run("server-stop-all");
    QTRY_VERIFY2(!running("MCP 2"), m_shell->said().constData());
    Session& session = *m_stage->session;
    const auto isWell = [&] { return !session.factsOf(QStringLiteral("S1")).isStale(); };
    bool hasBegunAnew = false;
    connect(session.server(QStringLiteral("S1")), &Kolta::KoltaServerInterface::si_StateChanged, this,
            [&] { hasBegunAnew = true; });
    run("server-reset");
    QTRY_VERIFY2(hasBegunAnew, m_shell->said().constData());
    QTRY_COMPARE(m_stage->window->actions().enabledBecause(QStringLiteral("server-quit")), QString());
    run("server-quit");
    QTRY_VERIFY2(!isWell(), m_shell->said().constData());
    const ActionTable& actions = m_stage->window->actions();
    for (const QString& id : actions.ids())
        QVERIFY2(!actions.find(id)->line || m_tried.contains(id),
                 qPrintable(id + QStringLiteral(" was not tried")));
}

KOLTA_CONSOLE_TEST(TestLines);
#include "tst_console_lines.moc"
