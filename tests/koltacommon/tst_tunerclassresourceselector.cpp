#include "tunersamples.h"

#include <koltacommon/tunerclassresourceselector.h>
#include <koltacommon/tunerclasstree.h>
#include <support/test.h>

#include <cmath>
#include <limits>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using TunerSamples::tuner;
using TunerSamples::tunerClass;

Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::Tuner)

namespace {

const QString top = "Top"_s;
const QString inner = "Inner"_s;
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
        const Rows<Tuner, Tuner, int> row("first second criterion");
        // Each row is against all criteria that follow, so that their order is tested as well.
        const auto add = [&row](const char* name, TunerCriterion criterion,
                                const std::function<void(Tuner&, Tuner&)>& edit, bool innerSecond = false) {
            Tuner first = tuner("z"_s);
            Tuner second = tuner(innerSecond ? "in"_s : "a"_s);
            first.EditTavikResource().SetGUID("guid z"_s);
            edit(first, second);
            row(name, first, second, static_cast<int>(criterion));
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
            first.EditTavikResource().SetDisplayName("a"_s);
            second.EditTavikResource().SetDisplayName("b"_s);
            second.EditTavikResource().SetGUID("A"_s);
        });
        add("GUID, upper case first", TunerCriterion::Guid, [](Tuner& first, Tuner& second) {
            second.EditTavikResource().SetDisplayName("z"_s);
            first.EditTavikResource().SetGUID("B"_s);
            second.EditTavikResource().SetGUID("a"_s);
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
        policy.init(makeTree({tunerClass(top, {"z"_s, "a"_s}, 3), tunerClass(inner, {"in"_s}, 0, top)},
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
        const Tuner one = tuner("a"_s);
        policy.init(makeTree({tunerClass(top, {}, -7), tunerClass(inner, {"a"_s}, 5, top)}, {one}));
        QCOMPARE(policy.calculateCost(one), -2);
        policy.init(makeTree({tunerClass(top, {}, most), tunerClass(inner, {"a"_s}, 5, top)}, {one}));
        QCOMPARE(policy.calculateCost(one), most);
        QVERIFY(policy.cheaperThan(one, tuner("unknown"_s)));
    }

    /// Choice, order and hand-out against the policy written down naively; the default policy's short cuts
    /// must not show.
    void agreesWithNaivePolicy()
    {
        QRandomGenerator random(testSeed());
        for (int round = 0; round < 300; ++round) {
            const TunerSamples::Installation installation(random, random.bounded(20), random.bounded(1, 6));
            const auto naive = std::make_shared<NaivePolicy>();
            const auto fast = makeSelector(installation.classes, installation.tuners);
            const auto slow = makeSelector(installation.classes, installation.tuners, naive);
            const auto tree = makeTree(installation.classes, installation.tuners);
            for (const QString& name : installation.names) {
                const QString where = "round %1, %2"_s.arg(round).arg(name);
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

    /// Names are compared as the user's language has it; tests run in a second language for that.
    void namesAreOrderedByLanguage()
    {
        const bool isSwedish = QLocale().language() == QLocale::Swedish;
        DefaultCostFunction policy;
        Tuner zeta = tuner("zeta"_s), aerla = tuner("\u00e4rla"_s);
        policy.init(makeTree({tunerClass(top, {"zeta"_s, "\u00e4rla"_s})}, {zeta, aerla}));
        QCOMPARE(policy.cheaperThan(zeta, aerla), QString::localeAwareCompare("zeta"_s, "\u00e4rla"_s) < 0);
        QVERIFY(!isSwedish || policy.cheaperThan(zeta, aerla));
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
        const QStringList names{"good"_s, "away"_s, "busy"_s, "no"_s, "plain"_s, "case"_s};
        const QString storage = "{s}"_s;
        Tuner stranger = tuner("stranger"_s);
        stranger.EditTavikResource().ResetAddress();
        const auto selector = makeSelector({tunerClass(top, names)},
                                           {stranger, withStorage(names[5], "{S}"_s), tuner(names[4]),
                                            withStorage(names[3], storage), tuner(names[2], true, false),
                                            tuner(names[1], false, false), withStorage(names[0], storage)});
        int asked = 0;
        const auto exclude = [&asked, &names](const Tuner& one) {
            ++asked;
            return one.GetTavikResource().GetAddress() == names[3];
        };
        QCOMPARE(selector.selectTuner(top, exclude, {"{x}"_s, storage}).GetTavikResource().GetAddress(),
                 names[0]);
        QCOMPARE(asked, 4); // once per free tuner

        const TunerSelection selection = selector.explainSelection(top, exclude, {storage});
        QStringList texts;
        for (const TunerCandidate& candidate : selection.candidates)
            texts.append(candidate.tuner.GetTavikResource().GetDisplayName() + QLatin1Char(' ') +
                         toText(candidate.refusal));
        QCOMPARE(texts,
                 QStringList({"good "_s, "away out of reach"_s, "busy in use"_s, "case no matching storage"_s,
                              "no excluded"_s, "plain no matching storage"_s,
                              "stranger not in the tuner class tree"_s}));
        QVERIFY(!selector.explainSelection("root"_s).classExists);
    }

    /// What a tuner says of itself, what is needed, and what is said to that.
    void needs_data()
    {
        QTest::addColumn<QString>(
            "says"); // from, to, software and hardware bandwidth in MHz, or no hardware at all
        QTest::addColumn<QString>("needs"); // frequency, bandwidth, "hw"
        QTest::addColumn<QString>("problem");
        const auto row = [](const char* says, const char* needs, const char* problem) {
            QTest::addRow("%s: %s", says, needs)
                << QString::fromLatin1(says) << QString::fromLatin1(needs) << QString::fromLatin1(problem);
        };
        row("0.009 30 1 0", "98.5 0", "needs 98.5 MHz, reaches 0.009 to 30 MHz");
        row("0.009 30 1 0", "30 1", ""); // the edge hangs over
        row("0.009 30 1 0", "0.009 0", "");
        row("0.009 30 1 0", "0.008 0", "needs 0.008 MHz, reaches 0.009 to 30 MHz");
        row("20 0 5 20", "10 0", "needs 10 MHz, begins at 20 MHz");
        row("0 30 5 20", "10 0", "");
        row("30 20 5 20", "98.5 0", ""); // reversed
        row("nan nan nan nan", "98.5 5 hw", "");
        row("20 3000 5 20", "98.5 5.1", "needs a bandwidth of 5.1 MHz, has 5 MHz");
        row("20 3000 5 20", "98.5 20 hw", "");
        row("20 3000 5 20", "98.5 21 hw", "needs a bandwidth of 21 MHz, has 20 MHz");
        row("20 3000 5 no", "98.5 1 hw", "needs hardware processing");
        row("20 3000 5 20", "0 0", "");
    }
    void needs()
    {
        QFETCH(QString, says);
        QFETCH(QString, needs);
        const QStringList said = says.split(QLatin1Char(' '));
        const QStringList needed = needs.split(QLatin1Char(' '));
        Tuner one = tuner("one"_s);
        one.SetMinFrequency(said.at(0).toDouble() * 1e6);
        one.SetMaxFrequency(said.at(1).toDouble() * 1e6);
        one.SetMaxSWBandwidth(said.at(2).toDouble() * 1e6);
        one.SetMaxHWBandwidth(said.at(3).toDouble() * 1e6);
        if (said.at(3) == "no"_s)
            one.SetSupportsHardwareProcessing(false);
        const TunerNeeds wanted{needed.at(0).toDouble() * 1e6, needed.at(1).toDouble() * 1e6,
                                needed.size() > 2};
        QTEST(problemWith(one, wanted), "problem");
        // Selection and its explanation go by the same rule, after the state.
        const auto selector =
            makeSelector({tunerClass(top, {"one"_s, "busy"_s})}, {one, tuner("busy"_s, true, false)});
        const TunerFilter filter = TunerFilter::freeTuners().withNeeds(wanted);
        const bool fits = problemWith(one, wanted).isEmpty();
        QCOMPARE(selector.selectTuner(top, filter).GetTavikResource().GetAddress(),
                 fits ? "one"_s : QString());
        for (const TunerCandidate& candidate : selector.explainSelection(top, filter).candidates) {
            if (candidate.tuner.GetTavikResource().GetAddress() == "one"_s)
                QCOMPARE(candidate.detail, problemWith(one, wanted));
            else
                QCOMPARE(candidate.refusal, TunerRefusal::NotIdle);
        }
    }

    void simultaneousUseIsGreedyAndIgnoresState()
    {
        const auto selector = makeSelector({tunerClass(top, {"a"_s}, 1), tunerClass(inner, {"b"_s}, 1, top)},
                                           {tuner("a"_s, false), tuner("b"_s, true, false)});
        QVERIFY(selector.selectTuner(top) == Tuner());
        QVERIFY(selector.canBeRunSimultaneously({}));
        QVERIFY(selector.canBeRunSimultaneously({top, inner}));
        QStringList errors{"kept"_s};
        QVERIFY(!selector.canBeRunSimultaneously({inner, inner, "x"_s, top, inner}, &errors));
        const QString lacking = "Not enough tuners of class %1 available."_s;
        QCOMPARE(errors, QStringList({"kept"_s, lacking.arg(inner), lacking.arg("x"_s), lacking.arg(inner)}));
        const auto allotments = selector.explainSimultaneousUse({top, "x"_s, top, top});
        QVERIFY(allotments.at(0).served && allotments.at(2).served);
        QCOMPARE(allotments.at(1).heldBy, -1);
        QVERIFY(!allotments.at(3).served);
        QCOMPARE(allotments.at(3).heldBy, 0);
        QCOMPARE(selector.getMCPResourceDemandClassForTunerClass(inner), "rdc of Inner"_s);
        QCOMPARE(selector.getMCPResourceDemandClassForTunerClass("x"_s), QString());
    }

    void asksOtherPoliciesForEverything()
    {
        const auto policy = std::make_shared<LastOfAll>();
        const QStringList names{"a"_s, "b"_s, "c"_s};
        auto selector = makeSelector({tunerClass(top, names)},
                                     {tuner(names[0]), tuner(names[1]), tuner(names[2], false)}, policy);
        QCOMPARE(guidOf(selector.selectTuner(top)), "guid of b"_s);
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

    void choosesFromAKeptTreeAsFromANewOne()
    {
        QRandomGenerator random(testSeed());
        for (int round = 0; round < 60; ++round) {
            const TunerSamples::Installation installation(random, random.bounded(1, 20),
                                                          random.bounded(1, 6));
            QVector<Tuner> tuners = installation.tuners;
            auto kept = makeSelector(installation.classes, tuners);
            for (int change = 0; change < 20; ++change) {
                Tuner& one = tuners[random.bounded(tuners.size())];
                const int kind = random.bounded(40);
                if (kind == 0) // another tuner ID, perhaps one that occurs already
                    one.EditTavikResource().SetAddress(QStringLiteral("T%1").arg(random.bounded(20)));
                else if (kind < 5)
                    one.EditTavikResource().SetGUID(QStringLiteral("guid %1").arg(random.bounded(3)));
                else if (kind < 15)
                    one.SetMaxSWBandwidth(random.bounded(8));
                else if (kind < 35)
                    one.SetIdle(!one.GetIdle());
                kept.setResourceOverview(tuners);
                const auto fresh = makeSelector(installation.classes, tuners);
                QCOMPARE(kept.canBeRunSimultaneously(installation.names),
                         fresh.canBeRunSimultaneously(installation.names));
                for (const QString& name : installation.names) {
                    QVERIFY(kept.selectTuner(name) == fresh.selectTuner(name));
                    const auto mine = kept.explainSelection(name).candidates;
                    const auto theirs = fresh.explainSelection(name).candidates;
                    QCOMPARE(mine.size(), theirs.size());
                    for (int i = 0; i < mine.size(); ++i)
                        QVERIFY(mine.at(i).tuner == theirs.at(i).tuner &&
                                mine.at(i).cost == theirs.at(i).cost);
                }
            }
        }
    }

    void followsTheTree()
    {
        const auto policy = std::make_shared<DefaultCostFunction>();
        auto selector = makeSelector({tunerClass(top, {"a"_s}, 1), tunerClass(inner, {"b"_s}, 1, top)},
                                     {tuner("a"_s), tuner("b"_s)}, policy);
        QCOMPARE(guidOf(selector.selectTuner(top)), "guid of a"_s);
        policy->tree()->findClassItemByName(inner)->setCost(-5);
        QCOMPARE(guidOf(selector.selectTuner(top)), "guid of b"_s);
        const auto other = makeSelector({}, {}, policy);
        QVERIFY(other.selectTuner(top) == Tuner());
        // The shared policy knows another tree by now: all tuners are strangers to it.
        QCOMPARE(selector.explainSelection(top).candidates.first().cost, DefaultCostFunction::kNotInTree);

        // An exclude function may replace the tree that is being searched.
        const auto replace = [&selector](const Tuner&) {
            selector.setResourceOverview(QVector<Tuner>());
            return !(selector.selectTuner(top) == Tuner());
        };
        QCOMPARE(guidOf(selector.selectTuner(top, replace, {})), "guid of a"_s);
        QVERIFY(selector.selectTuner(top) == Tuner());
    }
};

KOLTA_TEST(TestTunerClassResourceSelector);
#include "tst_tunerclassresourceselector.moc"
