#include "tunersamples.h"

#include <koltacommon/tunerclassresourceselector.h>
#include <koltacommon/tunerclasstree.h>

#include <QtTest>

#include <cmath>
#include <functional>
#include <limits>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using TunerSamples::tuner;
using TunerSamples::tunerClass;

Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::Tuner)

namespace {

const QString top = QStringLiteral("Top");
const QString inner = QStringLiteral("Inner");
constexpr double infinite = std::numeric_limits<double>::infinity();

QString guidOf(const Tuner& one)
{
    return one.GetTavikResource().GetGUID();
}

std::shared_ptr<TunerClassTree> makeTree(const QVector<TunerClass>& classes, const QVector<Tuner>& tuners)
{
    ResourceOverview resources;
    resources.SetTuner(tuners);
    return std::make_shared<TunerClassTree>(TunerSamples::classOverview(classes), resources);
}

TunerClassResourceSelector
makeSelector(const QVector<TunerClass>& classes, const QVector<Tuner>& tuners,
             const std::shared_ptr<AbstractTunerClassCostFunction>& policy = nullptr)
{
    TunerClassResourceSelector selector(policy);
    selector.setTunerClassOverview(TunerSamples::classOverview(classes));
    selector.setResourceOverview(tuners);
    return selector;
}

/// The order of criteria, written down once more from the item itself.
class NaivePolicy : public AbstractTunerClassCostFunction
{
public:
    void init(const std::shared_ptr<TunerClassTree>& tree) override { m_tree = tree; }
    int calculateCost(const Tuner& one) const override
    {
        const ptrTunerClassTreeItem found = item(one);
        int cost = found ? 0 : 2147483647;
        for (ptrTunerClassTreeItem i = found; i; i = i->getParent())
            cost += i->getCost();
        return cost;
    }
    bool cheaperThan(const Tuner& a, const Tuner& b) const override
    {
        if (calculateCost(a) != calculateCost(b))
            return calculateCost(a) < calculateCost(b);
        if (item(a) && item(b) && item(a)->getDepth() != item(b)->getDepth())
            return item(a)->getDepth() < item(b)->getDepth();
        if (std::fabs(bandwidth(a) - bandwidth(b)) >= 1.0)
            return bandwidth(a) < bandwidth(b);
        if (a.GetSupportsHardwareProcessing() != b.GetSupportsHardwareProcessing())
            return b.GetSupportsHardwareProcessing();
        if (a.GetSupportsPScan() != b.GetSupportsPScan())
            return b.GetSupportsPScan();
        const int names = QString::localeAwareCompare(a.GetTavikResource().GetDisplayName(),
                                                      b.GetTavikResource().GetDisplayName());
        return names ? names < 0 : guidOf(a) < guidOf(b);
    }

private:
    static double bandwidth(const Tuner& one)
    {
        double result = one.GetMaxSWBandwidth() > 0.0 ? one.GetMaxSWBandwidth() : 0.0;
        if (one.IsMaxHWBandwidthSet() && one.GetMaxHWBandwidth() > result)
            result = one.GetMaxHWBandwidth();
        return result;
    }
    ptrTunerClassTreeItem item(const Tuner& one) const
    {
        const QString id = m_tree->resolveTunerID(one);
        return m_tree->getRootItem()->findDescendantRecursive(
            [&id](const ptrTunerClassTreeItem& candidate) { return candidate->getID() == id; });
    }
    std::shared_ptr<TunerClassTree> m_tree;
};

/// Prefers the last of a list and notes how many it was asked about.
class LastOfAll : public DefaultCostFunction
{
public:
    QVector<Tuner>::const_iterator cheapestOf(const QVector<Tuner>& tuners) const override
    {
        sizes.append(tuners.size());
        return isBroken ? nullptr : tuners.constEnd() - 1;
    }
    mutable QVector<int> sizes;
    bool isBroken = false;
};

} // namespace

class TestTunerClassResourceSelector : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Two tuners, the preferred one first; then what decides between them. Both list orders must agree.
    void criteria_data()
    {
        QTest::addColumn<Tuner>("first");
        QTest::addColumn<Tuner>("second");
        QTest::addColumn<int>("criterion");
        // Each row is against all criteria that follow, so that their order is tested as well.
        const auto add = [](const char* name, TunerCriterion criterion,
                            const std::function<void(Tuner&, Tuner&)>& edit, bool innerSecond = false) {
            Tuner first = tuner(QStringLiteral("z"));
            Tuner second = tuner(innerSecond ? QStringLiteral("in") : QStringLiteral("a"));
            first.EditTavikResource().SetGUID(QStringLiteral("guid z"));
            edit(first, second);
            QTest::newRow(name) << first << second << static_cast<int>(criterion);
        };
        const auto widen = [](double a, double b) {
            return [a, b](Tuner& first, Tuner& second) {
                first.SetMaxSWBandwidth(a);
                second.SetMaxSWBandwidth(b);
                if (a < b)
                    first.SetSupportsHardwareProcessing(true);
                else
                    second.SetSupportsHardwareProcessing(true);
            };
        };
        add("depth", TunerCriterion::Depth, widen(2e7, 1e7), true);
        add("exactly 1 Hz", TunerCriterion::Bandwidth, widen(10e6, 10e6 + 1.0));
        add("less than 1 Hz", TunerCriterion::HardwareProcessing, widen(10e6 + 0.5, 10e6));
        add("no number is none", TunerCriterion::HardwareProcessing, widen(0.0, std::nan("")));
        add("infinite", TunerCriterion::Bandwidth, widen(1e308, infinite));
        add("both infinite", TunerCriterion::HardwareProcessing, widen(infinite, infinite));
        add("panorama scan", TunerCriterion::PanoramaScan,
            [](Tuner&, Tuner& second) { second.SetSupportsPScan(true); });
        add("name", TunerCriterion::DisplayName, [](Tuner& first, Tuner& second) {
            first.EditTavikResource().SetDisplayName(QStringLiteral("a"));
            second.EditTavikResource().SetDisplayName(QStringLiteral("b"));
            second.EditTavikResource().SetGUID(QStringLiteral("A"));
        });
        add("GUID, upper case first", TunerCriterion::Guid, [](Tuner& first, Tuner& second) {
            second.EditTavikResource().SetDisplayName(QStringLiteral("z"));
            first.EditTavikResource().SetGUID(QStringLiteral("B"));
            second.EditTavikResource().SetGUID(QStringLiteral("a"));
        });
        add("outside the tree", TunerCriterion::Cost,
            [](Tuner&, Tuner& second) { second.EditTavikResource().SetAddress(QString()); });
    }
    void criteria()
    {
        QFETCH(Tuner, first);
        QFETCH(Tuner, second);
        DefaultCostFunction policy;
        QCOMPARE(policy.calculateCost(first), -1);
        policy.init(makeTree({tunerClass(top, {QStringLiteral("z"), QStringLiteral("a")}, 3),
                              tunerClass(inner, {QStringLiteral("in")}, 0, top)},
                             {first, second}));
        QCOMPARE(policy.calculateCost(first), 3);
        QVERIFY(policy.cheaperThan(first, second));
        QVERIFY(!policy.cheaperThan(second, first));
        QVERIFY(!policy.cheaperThan(first, first));
        QFETCH(int, criterion);
        const TunerVerdict verdict = DefaultCostFunction::compare(policy.weigh(first), policy.weigh(second));
        QCOMPARE(static_cast<int>(verdict.criterion), criterion);
        const QVector<Tuner> list{second, first, first, second};
        QCOMPARE(int(policy.cheapestOf(list) - list.constBegin()), 1); // a tie keeps the earlier one
        const QVector<Tuner> empty;
        QVERIFY(policy.cheapestOf(empty) == empty.constEnd());
    }

    void costsAreSummedAndSaturate()
    {
        const int most = std::numeric_limits<int>::max();
        DefaultCostFunction policy;
        const Tuner one = tuner(QStringLiteral("a"));
        policy.init(
            makeTree({tunerClass(top, {}, -7), tunerClass(inner, {QStringLiteral("a")}, 5, top)}, {one}));
        QCOMPARE(policy.calculateCost(one), -2);
        policy.init(
            makeTree({tunerClass(top, {}, most), tunerClass(inner, {QStringLiteral("a")}, 5, top)}, {one}));
        QCOMPARE(policy.calculateCost(one), most);
        QVERIFY(policy.cheaperThan(one, tuner(QStringLiteral("unknown"))));
    }

    /// Choice, order and hand-out against the policy written down naively; the default policy's short cuts
    /// must not show.
    void agreesWithNaivePolicy()
    {
        const quint32 seed = TunerSamples::seed();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        for (int round = 0; round < 300; ++round) {
            const TunerSamples::Installation installation(random, random.bounded(20), random.bounded(1, 6));
            const auto naive = std::make_shared<NaivePolicy>();
            const auto fast = makeSelector(installation.classes, installation.tuners);
            const auto slow = makeSelector(installation.classes, installation.tuners, naive);
            const auto tree = makeTree(installation.classes, installation.tuners);
            for (const QString& name : installation.names) {
                const QString where = QStringLiteral("round %1, %2").arg(round).arg(name);
                const TunerSelection a = fast.explainSelection(name);
                const TunerSelection b = slow.explainSelection(name);
                QCOMPARE(a.candidates.size(), b.candidates.size());
                QCOMPARE(a.candidates.size(), tree->getAllTunerDescendantsOfClass(name).size());
                for (int i = 0; i < a.candidates.size(); ++i) {
                    QVERIFY2(a.candidates.at(i).tuner == b.candidates.at(i).tuner, qPrintable(where));
                    QCOMPARE(a.candidates.at(i).cost, b.candidates.at(i).cost);
                    QVERIFY(a.candidates.at(i).refusal == b.candidates.at(i).refusal);
                    const bool isLast =
                        i + 1 == a.candidates.size() || a.candidates.at(i + 1).refusal != TunerRefusal::None;
                    QCOMPARE(a.candidates.at(i).ahead == TunerCriterion::None,
                             isLast || a.candidates.at(i).refusal != TunerRefusal::None);
                    if (a.candidates.at(i).ahead != TunerCriterion::None)
                        QVERIFY(!naive->cheaperThan(a.candidates.at(i + 1).tuner, a.candidates.at(i).tuner));
                }
                const Tuner chosen = fast.selectTuner(name);
                QVERIFY2(chosen == slow.selectTuner(name), qPrintable(where));
                QVERIFY(a.chosen() ? chosen == a.chosen()->tuner : chosen == Tuner());
            }
        }
    }

    void refusals()
    {
        const auto withStorage = [](const QString& name, const QString& storage) {
            Tuner one = tuner(name);
            XGStorage interface;
            interface.SetGUID(storage);
            one.EditXGStorage().append(XGStorage());
            one.EditXGStorage().append(interface);
            return one;
        };
        const QStringList names{QStringLiteral("good"), QStringLiteral("away"),  QStringLiteral("busy"),
                                QStringLiteral("no"),   QStringLiteral("plain"), QStringLiteral("case")};
        const QString storage = QStringLiteral("{s}");
        Tuner stranger = tuner(QStringLiteral("stranger"));
        stranger.EditTavikResource().ResetAddress();
        const auto selector =
            makeSelector({tunerClass(top, names)},
                         {stranger, withStorage(names[5], QStringLiteral("{S}")), tuner(names[4]),
                          withStorage(names[3], storage), tuner(names[2], true, false),
                          tuner(names[1], false, false), withStorage(names[0], storage)});
        int asked = 0;
        const auto exclude = [&asked, &names](const Tuner& one) {
            ++asked;
            return one.GetTavikResource().GetAddress() == names[3];
        };
        QCOMPARE(selector.selectTuner(top, exclude, {QStringLiteral("{x}"), storage})
                     .GetTavikResource()
                     .GetAddress(),
                 names[0]);
        QCOMPARE(asked, 4); // once per free tuner

        const TunerSelection selection = selector.explainSelection(top, exclude, {storage});
        QStringList texts;
        for (const TunerCandidate& candidate : selection.candidates)
            texts.append(candidate.tuner.GetTavikResource().GetDisplayName() + QLatin1Char(' ') +
                         toText(candidate.refusal));
        QCOMPARE(texts,
                 QStringList({QStringLiteral("good "), QStringLiteral("away not accessible"),
                              QStringLiteral("busy not idle"), QStringLiteral("case no matching storage"),
                              QStringLiteral("no excluded"), QStringLiteral("plain no matching storage"),
                              QStringLiteral("stranger not in the tuner class tree")}));
        QVERIFY(!selector.explainSelection(QStringLiteral("root")).classExists);
    }

    void simultaneousUseIsGreedyAndIgnoresState()
    {
        const auto selector = makeSelector(
            {tunerClass(top, {QStringLiteral("a")}, 1), tunerClass(inner, {QStringLiteral("b")}, 1, top)},
            {tuner(QStringLiteral("a"), false), tuner(QStringLiteral("b"), true, false)});
        QVERIFY(selector.selectTuner(top) == Tuner());
        QVERIFY(selector.canBeRunSimultaneously({}));
        QVERIFY(selector.canBeRunSimultaneously({top, inner}));
        QStringList errors{QStringLiteral("kept")};
        QVERIFY(!selector.canBeRunSimultaneously({inner, inner, QStringLiteral("x"), top, inner}, &errors));
        const QString lacking = QStringLiteral("Not enough tuners of class %1 available.");
        QCOMPARE(errors, QStringList({QStringLiteral("kept"), lacking.arg(inner),
                                      lacking.arg(QStringLiteral("x")), lacking.arg(inner)}));
        const auto allotments = selector.explainSimultaneousUse({top, QStringLiteral("x"), top, top});
        QVERIFY(allotments.at(0).served && allotments.at(2).served);
        QCOMPARE(allotments.at(1).heldBy, -1);
        QVERIFY(!allotments.at(3).served);
        QCOMPARE(allotments.at(3).heldBy, 0);
        QCOMPARE(selector.getMCPResourceDemandClassForTunerClass(inner), QStringLiteral("rdc of Inner"));
        QCOMPARE(selector.getMCPResourceDemandClassForTunerClass(QStringLiteral("x")), QString());
    }

    void asksOtherPoliciesForEverything()
    {
        const auto policy = std::make_shared<LastOfAll>();
        const QStringList names{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
        auto selector = makeSelector({tunerClass(top, names)},
                                     {tuner(names[0]), tuner(names[1]), tuner(names[2], false)}, policy);
        QCOMPARE(guidOf(selector.selectTuner(top)), QStringLiteral("guid of b"));
        QCOMPARE(policy->sizes, QVector<int>{2}); // refused ones are not shown to it
        const std::shared_ptr<TunerClassTree> tree = policy->tree();
        QVERIFY(selector.canBeRunSimultaneously({top, top, top}));
        QCOMPARE(policy->sizes, (QVector<int>{2, 3, 2, 1}));
        QVERIFY(policy->tree() == tree);
        policy->isBroken = true;
        QVERIFY(selector.selectTuner(top) == Tuner());
        const TunerSelection selection = selector.explainSelection(top);
        QCOMPARE(selection.candidates.size(), 3);
        QVERIFY(!selection.chosen());
        QCOMPARE(selection.candidates.first().refusal, TunerRefusal::NotChosen);

        // A new overview gives the policy a new tree, at the next query.
        selector.setResourceOverview(QVector<Tuner>());
        QVERIFY(policy->tree() == tree);
        QVERIFY(!selector.canBeRunSimultaneously({top}));
        QVERIFY(policy->tree() != tree);
    }

    void followsTheTree()
    {
        const auto policy = std::make_shared<DefaultCostFunction>();
        auto selector = makeSelector(
            {tunerClass(top, {QStringLiteral("a")}, 1), tunerClass(inner, {QStringLiteral("b")}, 1, top)},
            {tuner(QStringLiteral("a")), tuner(QStringLiteral("b"))}, policy);
        QCOMPARE(guidOf(selector.selectTuner(top)), QStringLiteral("guid of a"));
        policy->tree()->findClassItemByName(inner)->setCost(-5);
        QCOMPARE(guidOf(selector.selectTuner(top)), QStringLiteral("guid of b"));
        const auto other = makeSelector({}, {}, policy);
        QVERIFY(other.selectTuner(top) == Tuner());
        // The shared policy knows another tree by now: all tuners are strangers to it.
        QCOMPARE(selector.explainSelection(top).candidates.first().cost, DefaultCostFunction::kNotInTree);

        // An exclude function may replace the tree that is being searched.
        const auto replace = [&selector](const Tuner&) {
            selector.setResourceOverview(QVector<Tuner>());
            return !(selector.selectTuner(top) == Tuner());
        };
        QCOMPARE(guidOf(selector.selectTuner(top, replace, {})), QStringLiteral("guid of a"));
        QVERIFY(selector.selectTuner(top) == Tuner());
    }
};

QTEST_GUILESS_MAIN(TestTunerClassResourceSelector)
#include "tst_tunerclassresourceselector.moc"
