#include "consoletest.h"
#include "pointer.h"

#include <koltaconsole/pages/order/orderpage.h>
#include <koltaconsole/plots/frequencyaxis.h>
#include <koltaconsole/session/orderdraft.h>

#include <koltacommon/processormodel.h>

#include <QSignalSpy>

#include <cmath>
#include <utility>

using namespace KoltaConsole;

/// The axis of frequencies over the tuners.
class TestAxis : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void axis();
    void laterTuners();
};

/// Zooming keeps the frequency under the pointer, moving keeps the width, neither leaves what there is; only
/// dragging with Shift begins an order.
void TestAxis::axis()
{
    Stage stage(5, "tuners");
    QTRY_VERIFY(stage.isSettled());
    auto* const axis = stage.window->findChild<FrequencyAxis*>();
    QTRY_COMPARE(axis->lanes().size(), 5);
    QCOMPARE(axis->from(), 9e3);
    QCOMPARE(axis->to(), 18e9);
    QTest::keyClick(axis, Qt::Key_Plus);
    QVERIFY(std::abs(std::sqrt(axis->from() * axis->to()) / std::sqrt(9e3 * 18e9) - 1) < 1e-6);
    QTest::keyClick(axis, Qt::Key_Minus);
    QTest::keyClick(axis, Qt::Key_Minus);
    QTest::keyClick(axis, Qt::Key_Left);
    QCOMPARE(axis->from(), 9e3);
    QCOMPARE(axis->to(), 18e9);
    axis->setRange(88e6, 108e6);
    axis->pan(0.5);
    QCOMPARE(axis->from(), 98e6);
    QCOMPARE(axis->to(), 118e6);
    axis->zoom(0.5, 100e6);
    QCOMPARE(axis->from(), 99e6);
    QCOMPARE(axis->to(), 109e6);
    QWidget* const canvas = axis->findChild<QWidget*>(QStringLiteral("QwtPlotCanvas"));
    const QPoint left(canvas->width() / 4, 20), right(canvas->width() / 2, 20);
    const QSignalSpy marked(axis, &FrequencyAxis::si_BandMarked);
    drag(*canvas, right, left, Qt::NoModifier);
    QCOMPARE(marked.size(), 0);
    QVERIFY(axis->from() > 99e6);
    axis->setRange(100e6, 110e6);
    drag(*canvas, right, left, Qt::ShiftModifier);
    QCOMPARE(marked.size(), 1);
    const auto& order = stage.session->draft().order();
    QVERIFY(std::abs(order.frequency - 103.75e6) < 0.2e6);
    QVERIFY(order.bandwidth > 2.4e6 && order.bandwidth < 2.9e6);
    QCOMPARE(std::fmod(order.bandwidth, 10e3), 0.0); // no finer than a pixel can tell
    QVERIFY(qobject_cast<OrderPage*>(stage.window->currentPage()));
    drag(*canvas, right, {-500, 20}, Qt::ShiftModifier);
    QCOMPARE(order.frequency - order.bandwidth / 2, 100e6); // nor of what is not on screen
    QCOMPARE(stage.session->processors().rowCount(), 5);    // nothing was started
}

/// Tuners that reach farther than those before are in sight, but for who looks at a part.
void TestAxis::laterTuners()
{
    FrequencyAxis axis(nullptr);
    const auto show = [&axis](double from, double to) {
        LaneTuner tuner;
        tuner.from = from;
        tuner.to = to;
        axis.setLanes({{QStringLiteral("HF"), 1, {tuner}}});
        return std::pair(axis.from(), axis.to());
    };
    QCOMPARE(show(1e6, 30e6), std::pair(1e6, 30e6));
    QCOMPARE(show(1e6, 3e9), std::pair(1e6, 3e9));
    QCOMPARE(show(20e6, 30e6), std::pair(1e6, 3e9)); // a filter moves nothing
    QCOMPARE(show(9e3, 3e9), std::pair(9e3, 3e9));
    axis.setRange(88e6, 108e6);
    axis.setLanes({});
    QCOMPARE(show(9e3, 18e9), std::pair(88e6, 108e6));
    axis.showAll();
    QCOMPARE(show(1e3, 18e9), std::pair(1e3, 18e9));
}

KOLTA_CONSOLE_TEST(TestAxis);
#include "tst_console_axis.moc"
