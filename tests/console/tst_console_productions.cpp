#include "productionsstage.h"

#include <koltaconsole/actions/buttonrow.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/session/ordersunderway.h>

#include <koltacommon/viewroles.h>

#include <QAction>
#include <QElapsedTimer>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QTimer>

using namespace KoltaConsole;

/// The page of productions with keys and drops, while servers come and go.
class TestProductions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// A row that moves keeps its selection; where it cannot go says why, before and during the drag.
    void move()
    {
        ProductionsStage stage;
        QTRY_VERIFY(stage.isReady());
        const QString ffp = stage.keyOf("FFP 1"), from = stage.keyOf("MCP 1"), to = stage.keyOf("MCP 2");
        stage.select(ffp);
        auto& model = const_cast<ProductionsModel&>(stage.page->model());
        const std::unique_ptr<QMimeData> data(model.mimeData({model.indexOf(ffp)}));
        const QModelIndex there = model.indexOf(from);
        QVERIFY(!model.dropMimeData(data.get(), Qt::MoveAction, -1, -1, there));
        QVERIFY(!model.dropMimeData(data.get(), Qt::MoveAction, -1, -1, QModelIndex()));
        model.setDragged(ffp);
        QVERIFY(there.data(Kolta::ViewRoles::StaleRole).toBool());
        QVERIFY(!there.data(Qt::ToolTipRole).toString().isEmpty());
        QVERIFY(!model.indexOf(to).data(Kolta::ViewRoles::StaleRole).toBool());
        // Rows stand still for half a second at a time.
        int changes = 0;
        const auto counting = connect(&model, &QAbstractItemModel::dataChanged, this,
                                      [&](const QModelIndex& first, const QModelIndex& /*last*/) {
                                          changes += first.sibling(first.row(), 0) == there ? 1 : 0;
                                      });
        QTimer news;
        connect(&news, &QTimer::timeout, stage.session.get(), &Session::si_FactsChanged);
        news.start(20);
        QElapsedTimer time;
        time.start();
        QTRY_VERIFY(changes >= 3); // the first may have been due already
        QVERIFY2(time.elapsed() > 800, qPrintable(QString::number(time.elapsed())));
        news.stop();
        disconnect(counting);
        model.setDragged(QString());
        QVERIFY(model.dropMimeData(data.get(), Qt::MoveAction, -1, -1, model.indexOf(to)));
        QCOMPARE(stage.page->commandLine(), QStringLiteral("kolta move --server S1 \"FFP 1\" \"MCP 2\""));
        QTRY_COMPARE(stage.row(ffp)->holderKey, to);
        QCOMPARE(model.indexOf(ffp).parent(), model.indexOf(to));
        QCOMPARE(stage.view->currentIndex(), model.indexOf(ffp));

        QTRY_VERIFY(stage.canDo("move"));
        QTest::keyClick(stage.view, Qt::Key_M);
        auto* const menu = stage.view->findChild<QMenu*>();
        QVERIFY(menu);
        QCOMPARE(menu->actions().size(), 2);
        QVERIFY(menu->actions().at(0)->isEnabled());
        QVERIFY(!menu->actions().at(1)->isEnabled());
        menu->actions().at(0)->trigger();
        menu->close();
        QTRY_COMPARE(stage.row(ffp)->holderKey, from);
    }

    /// What would end with it is named, the default is to leave it, and what has ended is kept below.
    void stop()
    {
        ProductionsStage stage;
        QTRY_VERIFY(stage.isReady());
        QVERIFY(!stage.canDo("stop"));
        const QString mcp = stage.keyOf("MCP 1"), empty = stage.keyOf("MCP 2");
        stage.select(mcp);
        QVERIFY(stage.canDo("stop"));
        QTest::keyClick(stage.view, Qt::Key_Delete);
        QVERIFY(stage.box());
        QVERIFY(stage.box()->informativeText().contains(QStringLiteral("FFP 1")));
        QCOMPARE(stage.box()->defaultButton(), stage.box()->button(QMessageBox::Cancel));
        stage.box()->reject();
        QTRY_VERIFY(!stage.box());
        QVERIFY(stage.row(mcp) && stage.canDo("stop"));

        stage.select(empty); // hits nobody else, so nobody is asked
        QTest::keyClick(stage.view, Qt::Key_Delete);
        QVERIFY(!stage.box());
        QTRY_VERIFY(!stage.row(empty));
        QTRY_VERIFY(stage.row(QStringLiteral("ended:") + empty));
        const ProductionRow& ended = *stage.row(QStringLiteral("ended:") + empty);
        QCOMPARE(ended.frequency, 98.5e6);
        QVERIFY(!ended.timeline.isLost);
        QCOMPARE(ended.timeline.stretches.first().isWatched, false);
        stage.page->filterLine()->setText(QStringLiteral("ended"));
        QCOMPARE(stage.page->model().rowCount(), 1);
        stage.page->filterLine()->setText(QStringLiteral("98.1 MHz FFP"));
        QVERIFY(stage.row(mcp) && !stage.row(QStringLiteral("ended:") + empty));
        stage.page->filterLine()->clear();
        stage.page->showServer(QStringLiteral("S9"));
        QVERIFY(tells(*stage.page, "Nothing runs; watched since "));
    }

    /// What the filter hides ends with what holds it all the same, and has its name all the same.
    void unseen()
    {
        ProductionsStage stage(3); // S3 runs what S1 does
        QTRY_VERIFY(stage.isReady());
        const QString mcp = stage.keyOf("MCP 1");
        Kolta::ProductionOrder order;
        order.kind = Kolta::ProductionOrder::Kind::Ffp;
        order.mcp = QUuid(stage.row(mcp)->guid);
        order.frequency = 98.1e6;
        order.displayName = QStringLiteral("Other");
        (new Kolta::ProductionJob(*stage.session->server(QStringLiteral("S1")), order, stage.page))
            ->deleteWhenFinished();
        QTRY_VERIFY(!stage.keyOf("Other").isEmpty());
        stage.page->filterLine()->setText(QStringLiteral("Other"));
        QVERIFY(stage.keyOf("FFP 1").isEmpty());
        stage.select(mcp);
        QTest::keyClick(stage.view, Qt::Key_Delete);
        QVERIFY(stage.box());
        QVERIFY(stage.box()->informativeText().contains(QStringLiteral("FFP 1")));
        stage.box()->reject();

        stage.page->filterLine()->clear();
        stage.page->showServer(QStringLiteral("S1"));
        stage.select(mcp);
        const ActionTable& actions = stage.window->actions();
        const auto objection = [&actions](const char* line) {
            return actions.enabledBecause(*actions.requestOf(QLatin1String(line)));
        };
        QVERIFY2(objection("kolta stop \"MCP 1\"").contains(QStringLiteral("--server")),
                 qPrintable(objection("kolta stop \"MCP 1\"")));
        QCOMPARE(objection("kolta stop --server S1 \"MCP 1\""), QString());
        const auto line = [&actions] { return actions.find(QStringLiteral("stop"))->line(); };
        QCOMPARE(line(), QStringLiteral("kolta stop --server S1 \"MCP 1\""));
        stage.page->showServer(QString());
        stage.page->filterLine()->setText(QStringLiteral("!S3"));
        stage.select(mcp);
        const QModelIndex other = stage.page->model().indexOf(QStringLiteral("S2"));
        stage.view->selectionModel()->select(other.model()->index(0, 0, other),
                                             QItemSelectionModel::Select | QItemSelectionModel::Rows);
        QVERIFY2(line().startsWith(QStringLiteral("kolta stop ")) &&
                     !line().contains(QStringLiteral("MCP 1")),
                 qPrintable(line()));
    }

    /// What a server ran that comes back without it is told as lost, and not as stopped.
    void lost()
    {
        ProductionsStage stage;
        QTRY_VERIFY(stage.isReady());
        const QString mcp = stage.keyOf("MCP 1");
        stage.server().vanish();
        QTRY_VERIFY(stage.row(mcp)->isStale);
        stage.server().comeBack();
        const QString ended = QStringLiteral("ended:") + mcp;
        QTRY_VERIFY(stage.row(ended));
        QVERIFY(!stage.row(mcp));
        QTRY_VERIFY(stage.row(ended)->timeline.isLost);
        QCOMPARE(stage.row(ended)->look.mark, Mark::Cross);
        // The heading counts what is shown.
        stage.page->filterLine()->setText(QStringLiteral("FFP"));
        const ProductionsModel& model = stage.page->model();
        QTRY_VERIFY(model.indexOf(QStringLiteral("ended")).isValid());
        const QModelIndex group = model.indexOf(QStringLiteral("ended"));
        QCOMPARE(group.data().toString(),
                 QStringLiteral("Ended in the last 24 h: %1").arg(model.rowCount(group)));
    }

    /// What was ordered here stands below its server from the order on, and its refusal with the reason.
    void ordered()
    {
        ProductionsStage stage;
        QTRY_VERIFY(stage.isReady());
        const auto order = [&](const char* rule, const char* name) {
            KoltaSimulation::MisbehaviourRule wanted;
            QString error;
            QVERIFY2(KoltaSimulation::MisbehaviourRule::fromText(QLatin1String(rule), wanted, error),
                     qPrintable(error));
            stage.server().clearMisbehaviour();
            stage.server().addMisbehaviour(wanted);
            Kolta::ProductionOrder written;
            written.kind = Kolta::ProductionOrder::Kind::Scp;
            written.tunerClass = QStringLiteral("HF");
            written.frequency = 5e6;
            written.displayName = QLatin1String(name);
            stage.session->draft().set(written, QStringLiteral("S1"));
            QVERIFY(stage.run("order-start"));
            stage.window->showPage(QStringLiteral("productions"));
        };
        order("delay-production=500", "SCP 7");
        QTRY_VERIFY(!stage.keyOf("SCP 7").isEmpty());
        const QString asked = stage.keyOf("SCP 7");
        QCOMPARE(stage.row(asked)->look.mark, Mark::Half);
        QCOMPARE(stage.row(asked)->frequency, 5e6);
        stage.select(asked);
        QVERIFY(!stage.canDo("stop") && !stage.canDo("own"));
        QTRY_VERIFY(!stage.row(asked)); // and is there but once
        QVERIFY(stage.row(stage.keyOf("SCP 7"))->isRunning());

        QTRY_VERIFY(stage.canDo("order-start"));
        order("refuse-production", "SCP 8");
        QTRY_VERIFY(!stage.keyOf("SCP 8").isEmpty() &&
                    stage.row(stage.keyOf("SCP 8"))->look.mark == Mark::Triangle);
        const ProductionRow& refused = *stage.row(stage.keyOf("SCP 8"));
        QCOMPARE(refused.look.word, QStringLiteral("refused"));
        QVERIFY2(refused.lookInFull.contains(QStringLiteral("Refused on demand")),
                 qPrintable(refused.lookInFull));
        stage.session->ordersUnderWay().forget(
            QDateTime::currentDateTime().addSecs(OrdersUnderWay::kKeepSeconds + 1));
        QVERIFY(stage.session->ordersUnderWay().entries().empty());
    }

    /// Ownership is asked for, shown and given back.
    void ownership()
    {
        ProductionsStage stage;
        QTRY_VERIFY(stage.isReady());
        const QString mcp = stage.keyOf("MCP 1");
        stage.select(mcp);
        QVERIFY(!stage.canDo("own-release"));
        QTest::keyClick(stage.view, Qt::Key_O);
        QTRY_VERIFY(stage.row(mcp)->isMine);
        QTRY_VERIFY(stage.canDo("own-release"));
        QVERIFY(!stage.canDo("own"));
        QTest::keyClick(stage.view, Qt::Key_O, Qt::ShiftModifier);
        QTRY_VERIFY(!stage.row(mcp)->isMine);
    }

    /// Where there is no room buttons go into the menu, the first ones last.
    void narrow()
    {
        ProductionsStage stage;
        auto* const buttons = stage.page->findChild<ButtonRow*>();
        buttons->resize(buttons->sizeHint().width(), buttons->height());
        QCOMPARE(buttons->hiddenCount(), 0);
        buttons->resize(buttons->minimumSizeHint().width() - 1, buttons->height());
        QCOMPARE(buttons->hiddenCount(), 4);
        QCOMPARE(buttons->findChild<QMenu*>()->actions().size(), 4);
    }
};

KOLTA_CONSOLE_TEST(TestProductions);
#include "tst_console_productions.moc"
