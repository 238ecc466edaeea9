#include "productionsstage.h"

#include <koltaconsole/pages/order/orderpage.h>
#include <koltaconsole/plots/frequencyaxis.h>
#include <koltaconsole/session/orderdraft.h>
#include <support/program.h>

#include <QStandardPaths>
#include <QTimer>

#include <cmath>
#include <cstdio>
#include <optional>

using namespace KoltaConsole;

namespace {

constexpr char kInside[] = "KOLTA_MOUSE_TEST"; ///< set within the display of the test's own
constexpr int kFailed = 1;

/// Moves pointer and keys of the display as from outside the program. A drag has an event loop of its own,
/// which only its end leaves; so the steps follow each other by signals, each when the one before is done.
class Hand : public QObject
{
public:
    Hand()
    {
        m_clock.setInterval(5);
        connect(&m_clock, &QTimer::timeout, this, &Hand::look);
    }
    void moveTo(const QPoint& global)
    {
        m_steps.append({QStringLiteral("mousemove %1 %2").arg(global.x()).arg(global.y()), global});
    }
    void handle(const char* words) { m_steps.append({QLatin1String(words), std::nullopt}); }
    void drag(const QPoint& from, const QPoint& to)
    {
        constexpr int kSteps = 8;
        moveTo(from);
        handle("mousedown 1");
        for (int step = 1; step <= kSteps; ++step)
            moveTo(from + (to - from) * step / kSteps);
        handle("mouseup 1");
    }
    /// Does all that. False when something of it fails.
    bool work()
    {
        next();
        const bool isDone = waitFor([this] { return !m_clock.isActive(); });
        m_clock.stop();
        return isDone && m_steps.isEmpty();
    }

private:
    struct Step
    {
        QString words;
        std::optional<QPoint> pointer; ///< where it is then by the program's own account
    };

    void next()
    {
        m_current = m_steps.takeFirst();
        m_tool.begin(QStringLiteral("xdotool"), m_current.words.split(QLatin1Char(' ')));
        m_clock.start();
    }
    void look()
    {
        if (m_tool.state() != QProcess::NotRunning)
            return;
        if (m_tool.error() != QProcess::UnknownError || m_tool.exitCode() != 0) {
            qWarning("xdotool %s fails", qPrintable(m_current.words));
            m_steps.append(m_current);
            m_clock.stop();
        } else if (!m_current.pointer || QCursor::pos() == *m_current.pointer) {
            m_clock.stop();
            if (!m_steps.isEmpty())
                next();
        }
    }

    Program m_tool;
    QTimer m_clock;
    QVector<Step> m_steps;
    Step m_current;
};

QPoint centreOf(const QTreeView& view, const QModelIndex& index)
{
    return view.viewport()->mapToGlobal(view.visualRect(index).center());
}

} // namespace

/// What people do with a mouse, which only a display can tell: enter, moves and drop of a drag do not come
/// off screen.
class TestMouse : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// An FFP is dropped on another MCP and goes there; on the one that cannot take it nothing happens.
    void movesAnFfp()
    {
        ProductionsStage stage;
        QTRY_VERIFY(stage.isReady());
        QVERIFY(QTest::qWaitForWindowExposed(stage.window.get(), kPatienceMs));
        const QString ffp = stage.keyOf("FFP 1"), from = stage.keyOf("MCP 1"), to = stage.keyOf("MCP 2");
        const auto place = [&](const QString& key) {
            return centreOf(*stage.view, stage.page->model().indexOf(key));
        };
        QSignalSpy moves(&stage.page->model(), &ProductionsModel::si_MoveWanted);
        Hand hand;
        hand.drag(place(ffp), place(from));
        QVERIFY(hand.work());
        QTRY_VERIFY(!QApplication::mouseButtons());
        hand.drag(place(ffp), place(to));
        QVERIFY(hand.work());
        QTRY_COMPARE(stage.row(ffp)->holderKey, to);
        QCOMPARE(moves.size(), 1);
        QCOMPARE(stage.page->commandLine(), QStringLiteral("kolta move --server S1 \"FFP 1\" \"MCP 2\""));
        QTRY_VERIFY(stage.page->model().rowAt(stage.view->currentIndex()));
        QCOMPARE(stage.page->model().rowAt(stage.view->currentIndex())->key, ffp);
    }

    /// The wheel zooms where the pointer is, dragging moves what is shown, and only with Shift does it begin
    /// an order.
    void worksTheAxis()
    {
        Stage stage(1, "tuners");
        QTRY_VERIFY(stage.isSettled());
        QVERIFY(QTest::qWaitForWindowExposed(stage.window.get(), kPatienceMs));
        auto* const axis = stage.window->currentPage()->findChild<FrequencyAxis*>();
        QTRY_VERIFY(!axis->lanes().isEmpty());
        auto* const canvas = axis->findChild<QWidget*>(QStringLiteral("QwtPlotCanvas"));
        QTRY_VERIFY(canvas->width() > 400);
        const auto at = [canvas](double part) {
            return canvas->mapToGlobal(
                QPoint(static_cast<int>(canvas->width() * part), canvas->height() / 2));
        };
        axis->setRange(100e6, 110e6);
        const auto frequencyAt = [axis](double part) {
            return axis->from() + part * (axis->to() - axis->from());
        };

        Hand hand;
        hand.moveTo(at(0.6));
        hand.handle("click 4");
        QVERIFY(hand.work());
        QTRY_VERIFY(axis->to() - axis->from() < 9e6);
        QVERIFY2(std::abs(frequencyAt(0.6) - 106e6) < 0.1e6, "it zooms elsewhere than at the pointer");

        const double from = axis->from(), width = axis->to() - axis->from();
        hand.drag(at(0.5), at(0.6));
        QVERIFY(hand.work());
        QTRY_VERIFY(axis->from() < from - 0.05 * width);
        QCOMPARE(stage.session->draft().order().frequency, 0.0);

        const double low = frequencyAt(0.3), high = frequencyAt(0.5);
        hand.handle("keydown shift");
        hand.drag(at(0.3), at(0.5));
        hand.handle("keyup shift");
        QVERIFY(hand.work());
        QTRY_VERIFY(qobject_cast<OrderPage*>(stage.window->currentPage()));
        const Kolta::ProductionOrder order = stage.session->draft().order();
        // The axis keeps room for the labels at its ends.
        const auto isAbout = [](double found, double wanted) { return std::abs(found - wanted) < 0.15e6; };
        QVERIFY2(isAbout(order.frequency - order.bandwidth / 2, low) &&
                     isAbout(order.frequency + order.bandwidth / 2, high),
                 qPrintable("%1 +- %2 / 2, wanted %3 to %4"_s.arg(order.frequency, 0, 'f')
                                .arg(order.bandwidth)
                                .arg(low, 0, 'f')
                                .arg(high, 0, 'f')));
    }
};

namespace {

QString missingTool()
{
    for (const char* const tool : {"xvfb-run", "Xvfb", "xauth", "xdotool"}) {
        if (QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty())
            return QLatin1String(tool);
    }
    return QString();
}

/// The test runs itself within a display of its own. Without the tools for that it is skipped, which
/// continuous integration takes for a failure.
int runWithDisplay(int argc, char** argv)
{
    if (qEnvironmentVariableIsSet(kInside))
        return runConsoleTest<TestMouse>(argc, argv);
    const QCoreApplication application(argc, argv);
    if (const QString missing = missingTool(); !missing.isEmpty()) {
        const bool isSkipped = qEnvironmentVariableIsEmpty("CI");
        std::fprintf(stderr, "%s: %s is missing, without which no mouse can be moved\n",
                     isSkipped ? "SKIP" : "FAIL", qPrintable(missing));
        return isSkipped ? KOLTA_SKIPPED : kFailed;
    }
    qputenv(kInside, "1");
    qputenv("QT_QPA_PLATFORM", "xcb");
    return QProcess::execute(QStringLiteral("xvfb-run"),
                             QStringList{QStringLiteral("-a"), QStringLiteral("-s"),
                                         QStringLiteral("-screen 0 1400x1000x24"),
                                         QCoreApplication::applicationFilePath()} +
                                 QCoreApplication::arguments().mid(1));
}

const TestProgram program(__FILE__, &runWithDisplay);

} // namespace

#include "tst_console_mouse.moc"
