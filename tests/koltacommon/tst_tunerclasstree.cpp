#include <koltacommon/tunerclasstree.h>
#include <support/test.h>

#include <algorithm>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using Item = TunerClassTreeItem;

namespace {

/// "a b" as tuners with these addresses; the GUID is the address in braces.
ResourceOverview tunersOf(const QString& addresses)
{
    ResourceOverview overview;
    for (const QString& address : addresses.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        Tuner tuner;
        tuner.EditTavikResource().SetAddress(address == "-"_s ? QString() : address);
        tuner.EditTavikResource().SetGUID("{%1}"_s.arg(address));
        overview.EditTuner().append(tuner);
    }
    return overview;
}

/// "A<B*x:a b|..." as classes: GUID, superclass, default child, members; the name is "n" and the GUID.
TunerClassOverview classesOf(const QString& text)
{
    TunerClassOverview overview;
    const QRegularExpression form("^([^<*:]*)<?([^*:]*)[*]?([^:]*):(.*)$"_s);
    for (const QString& line : text.split(QLatin1Char('|'), Qt::SkipEmptyParts)) {
        const auto match = form.match(line);
        TunerClass tunerClass;
        tunerClass.SetGUID(match.captured(1));
        tunerClass.SetName("n"_s + match.captured(1));
        tunerClass.SetCostPenalty(match.captured(1).size());
        tunerClass.SetSuperclassGUID(match.captured(2));
        tunerClass.SetDefaultChild(match.captured(3));
        for (const QString& id : match.captured(4).split(QLatin1Char(' '), Qt::SkipEmptyParts))
            tunerClass.EditTunerID().append(id);
        overview.EditTunerClass().append(tunerClass);
    }
    return overview;
}

/// "id(child *default ...)" for classes, "id" for tuners; checks the invariants on the way.
QString textOf(const ptrTunerClassTreeItem& item)
{
    if (item->isTunerItem())
        return item->getID();
    QStringList children;
    bool classesBegin = false;
    bool defaultFound = !item->getDefaultChild();
    for (int i = 0; i < item->getNumberOfChildren(); ++i) {
        const ptrTunerClassTreeItem child = item->getChild(i);
        classesBegin = classesBegin || child->isClassItem();
        if (child->getParent() != item || child->getTreeIndex() != i || classesBegin == child->isTunerItem())
            return "broken at child %1 of %2"_s.arg(i).arg(item->getID());
        defaultFound = defaultFound || child->isDefaultChild();
        children.append(QLatin1String(child->isDefaultChild() ? "*" : "") + textOf(child));
    }
    if (!defaultFound)
        return "strange default child of "_s + item->getID();
    return "%1(%2)"_s.arg(item->getID(), children.join(QLatin1Char(' ')));
}

QString textOf(const TunerClassTree& tree)
{
    return textOf(tree.getRootItem());
}

QStringList addressesOf(const QVector<Tuner>& tuners)
{
    QStringList addresses;
    for (const Tuner& tuner : tuners)
        addresses.append(tuner.GetTavikResource().GetAddress());
    return addresses;
}

/// Overviews full of what should not be in them: IDs that occur twice, circles, members of two classes.
struct RandomOverviews
{
    RandomOverviews(QRandomGenerator& random, bool unique)
    {
        const auto pick = [&random](const QString& ids) {
            const QStringList list = ids.split(QLatin1Char(' '));
            return list.at(random.bounded(list.size()));
        };
        const QString tunerIDs = "a b c d e f g h A root -"_s;
        const QString classIDs = "A B C D E F G root a"_s;
        QStringList tuners = tunerIDs.split(QLatin1Char(' '));
        QStringList guids = classIDs.split(QLatin1Char(' '));
        if (unique) {
            tuners = tuners.mid(0, 8);
            guids = guids.mid(0, 7);
        } else {
            for (int i = 0; i < 10; ++i) {
                tuners.append(pick(tunerIDs));
                guids.append(pick(classIDs));
            }
        }
        std::shuffle(tuners.begin(), tuners.end(), random);
        std::shuffle(guids.begin(), guids.end(), random);
        QStringList classes;
        for (const QString& guid : qAsConst(guids)) {
            QStringList members;
            for (int i = random.bounded(4); i > 0; --i)
                members.append(pick(unique ? tunerIDs : tunerIDs + QLatin1Char(' ') + classIDs));
            classes.append(
                "%1<%2*%3:%4"_s.arg(guid, pick(classIDs), pick(tunerIDs), members.join(QLatin1Char(' '))));
        }
        resources = tunersOf(tuners.join(QLatin1Char(' ')));
        tunerClasses = classesOf(classes.join(QLatin1Char('|')));
    }

    ResourceOverview resources;
    TunerClassOverview tunerClasses;
};

/// Every query of the tree against what a walk finds.
void compareQueries(const TunerClassTree& tree)
{
    const auto& tuners = tree.getResources().GetTuner();
    QVector<ptrTunerClassTreeItem> items;
    tree.getRootItem()->applyToAllDescendants([&](const ptrTunerClassTreeItem& item) { items.append(item); });
    for (const Tuner& tuner : tuners) {
        const QString id = tuner.GetTavikResource().GetAddress();
        const auto first =
            std::find_if(items.begin(), items.end(), [&id](const auto& item) { return item->getID() == id; });
        const auto found = first == items.end() ? ptrTunerClassTreeItem() : *first;
        const auto expected = id.isEmpty() ? ptrTunerClassTreeItem() : found;
        QCOMPARE(tree.findItemForTuner(tuner), expected);
        QCOMPARE(tree.getRootItem()->findDescendantRecursive(id), found);
        if (expected)
            QCOMPARE(tree.getClassForTuner(tuner), expected->getParent());
    }
    for (const ptrTunerClassTreeItem& item : qAsConst(items)) {
        if (item->isTunerItem() || tree.findClassItemByName(item->getName()) != item)
            continue;
        QStringList ids;
        for (const ptrTunerClassTreeItem& tuner : item->getTunerDescendants())
            ids.append(tuner->getID());
        QCOMPARE(item->getNumberOfTunerDescendants(), ids.size());
        QStringList expected;
        for (const Tuner& tuner : tuners) {
            if (ids.contains(tuner.GetTavikResource().GetAddress()))
                expected.append(tuner.GetTavikResource().GetAddress());
        }
        QCOMPARE(addressesOf(tree.getAllTunerDescendantsOfClass(item->getName())), expected);
        for (const TunerPlace& place : *tree.getTunerPlacesOfClass(item->getName())) {
            QCOMPARE(place.item, tree.findItemForTuner(*place.tuner).get());
            QCOMPARE(place.cost, place.item->getPathCost());
            QCOMPARE(place.depth, place.item->getDepth());
        }
    }
}

} // namespace

class TestTunerClassTree : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void overviewsMakeATree_data()
    {
        const Rows<QString, QString, QString> row("tuners classes expected");
        row("nothing", "", "", "root()");
        row("no classes", "a - b c", "", "root(c b a)");
        row("reverse order, the first is the default", "a b c",
            "X<Y:|A<X:a b c|Y:", "root(Y(*X(*A(c b *a))))");
        row("tuners first", "a b", "A:|B<A:|C<A:a", "root(b A(*B() C(*a)))");
        row("unknown members and superclass", "a", "A<Z:x a|B<B:", "root(A(*a) B())");
        row("a circle stays at its last", "", "A<B:|B<C:|C<A:", "root(C(*B(*A())))");
        row("a tuner is no superclass", "a", "A<a:", "root(a A())");
        row("twice in a class", "a b", "A:a b a", "root(A(b *a))");
        row("in two classes", "a b c", "A:a b c|B:a c", "root(A(*b) B(c *a))");
        row("default child", "a b c",
            "A*a:|B<A*c:a b c|C*b:|D<C*C:|E<C*E:", "root(A(*B(*c b a)) C(*D() E()))");
        row("tuner IDs before GUIDs", "a a B", "A:a B|B:a|C<B:", "root(a A(*B) B(*a) C())");
        row("equal GUIDs", "", "A:|A:|B<A:", "root(A(*B()) A())");
        row("classes as members", "", "A:B|B:A B|C:A", "root(B() C(*A()))");
        row("the root's name", "root", "A:root|root<A:|B<root*B:", "root(A(*root root()) B())");
    }
    void overviewsMakeATree()
    {
        QFETCH(QString, tuners);
        QFETCH(QString, classes);
        QFETCH(QString, expected);
        qSetGlobalQHashSeed(0);
        const TunerClassTree tree(classesOf(classes), tunersOf(tuners));
        QCOMPARE(textOf(tree), expected);
        QCOMPARE(textOf(*tree.clone()), expected);
        compareQueries(tree);
        qSetGlobalQHashSeed(-1); // tables that were built before go on finding what is in them
        compareQueries(tree);
    }

    void changes()
    {
        // "x A 0" deletes the first child of A, "p A B" gives A the parent B, "* A" makes A a default child.
        const char* const cases[][2] = {{"x A 0", "root(d A(*a B(*c)) C())"},
                                        {"x A 1", "root(d A(*b B(*c)) C())"},
                                        {"* b,x A 0", "root(d A(*a B(*c)) C())"},
                                        {"x A 2", "root(d A(c b *a) C())"},
                                        {"x root 1", "root(a b c d C())"},
                                        {"x A 3,x A -1,x a 0", "root(d A(b *a B(*c)) C())"},
                                        {"p B C", "root(d A(b *a) C(*B(*c)))"},
                                        {"p a C", "root(d A(*b B(*c)) C(*a))"},
                                        {"p B C,p A C,x C 0", "root(d C(c *A(b *a)))"},
                                        {"p d A", "root(A(d b *a B(*c)) C())"},
                                        {"p A B,p A A,p B a,p root C", "root(d A(b *a B(*c)) C())"},
                                        {"* B,* d,* root", "root(*d A(b a *B(*c)) C())"}};
        for (const auto& [script, expected] : cases) {
            const TunerClassTree tree(classesOf("A:a b|B<A:c|C:"_s), tunersOf("a b c d"_s));
            for (const QString& step : QString::fromLatin1(script).split(QLatin1Char(','))) {
                const QStringList words = step.split(QLatin1Char(' '));
                const ptrTunerClassTreeItem item = tree.findItemByID(words.at(1));
                if (words.at(0) == "x"_s)
                    item->deleteChild(words.at(2).toInt());
                else if (words.at(0) == "p"_s)
                    item->setParent(tree.findItemByID(words.at(2)));
                else
                    item->makeDefaultChild();
            }
            QCOMPARE(textOf(tree), QLatin1String(expected));
        }
        // With every level that tuners come up their order is turned round.
        const TunerClassTree deep(classesOf("A:a b|B<A:c d|C<B:e f|D<B:g h|E<A:i j"_s),
                                  tunersOf("a b c d e f g h i j k"_s));
        QVERIFY(deep.getRootItem()->deleteChild(1));
        QCOMPARE(textOf(deep), "root(a b g h e f d c j i k)"_s);
    }

    void anyChangesKeepTheTreeWhole()
    {
        QRandomGenerator random(testSeed());
        for (int round = 0; round < 100; ++round) {
            const RandomOverviews overviews(random, round % 2 == 0);
            TunerClassTree tree(overviews.tunerClasses, overviews.resources);
            for (int step = 0; step < 20; ++step) {
                std::vector<ptrTunerClassTreeItem> items{tree.getRootItem()};
                tree.getRootItem()->applyToAllDescendants([&](const auto& item) { items.push_back(item); });
                const auto pick = [&] { return items[random.bounded(static_cast<quint32>(items.size()))]; };
                const quint64 revision = tree.revision();
                const QString before = textOf(tree);
                const int action = random.bounded(5);
                if (action == 0)
                    pick()->deleteChild(random.bounded(-1, 4));
                else if (action == 1)
                    pick()->addChild("new"_s, QString());
                else if (action == 2)
                    pick()->makeDefaultChild();
                else
                    pick()->setParent(pick());
                QVERIFY2(!textOf(tree).contains("broken"_s) && !textOf(tree).contains("strange"_s),
                         qPrintable(textOf(tree)));
                QVERIFY(textOf(tree).remove(QLatin1Char('*')) == QString(before).remove(QLatin1Char('*')) ||
                        tree.revision() > revision);
                if (step % 4 == 0)
                    compareQueries(tree);
                if (QTest::currentTestFailed())
                    return;
            }
            if (round % 2 != 0)
                continue;
            // The record tells everything but what tuners stood below the root, and its default child.
            const TunerClassTree again(tree.createOverview(), tree.getResources());
            QCOMPARE(again.createOverview(), tree.createOverview());
            for (const auto& root : {tree.getRootItem(), again.getRootItem()}) {
                while (root->getNumberOfTunerChildren() > 0)
                    root->deleteChild(0);
                root->addChild(QString(), QString())->makeDefaultChild();
                root->deleteChild(root->getNumberOfChildren() - 1);
            }
            QCOMPARE(textOf(again), textOf(tree));
        }
    }

    void itemsOutliveTheirTree()
    {
        auto tree = std::make_unique<TunerClassTree>(classesOf("A:a b|B<A:c"_s), tunersOf("a b c"_s));
        const ptrTunerClassTreeItem kept = tree->findItemByID("B"_s);
        const std::weak_ptr<Item> lost = kept->getParent()->getDefaultChild();
        const ptrTunerClassTreeItem heldTuner = tree->findItemByID("b"_s);
        ResourceOverview later = tunersOf("a b c"_s);
        later.EditTuner()[1].SetIdle(true);
        std::vector<int> changed;
        QVERIFY(tree->refresh(later, changed) && changed.size() == 3);
        later.Reset();
        QVERIFY(!tree->getRootItem()->setParent(kept));
        QVERIFY(!kept->setParent(nullptr));
        tree.reset();
        QVERIFY(lost.expired() && !kept->getParent());
        QCOMPARE(textOf(kept), "B(*c)"_s);
        QVERIFY(heldTuner->getID() == "b"_s && heldTuner->getTuner().GetIdle());

        TunerClassTree other(classesOf("D:d"_s), tunersOf("d c"_s));
        QVERIFY(!other.findItemByID("B"_s));
        QVERIFY(kept->setParent(other.findItemByID("D"_s)));
        QCOMPARE(textOf(other), "root(c D(*d B(*c)))"_s);
        QCOMPARE(addressesOf(other.getAllTunerDescendantsOfClass("nD"_s)), (QStringList{"d"_s, "c"_s}));
        const ptrTunerClassTreeItem tuner = kept->getChild(0);
        QVERIFY(other.findItemByID("D"_s)->deleteChild(1));
        QVERIFY(!kept->getParent() && kept->getChildren().empty() && !kept->getDefaultChild());
        QCOMPARE(textOf(other), "root(c D(c *d))"_s);
        QCOMPARE(tuner->getParent()->getID(), "D"_s);
        QCOMPARE(tuner->getTuner().GetTavikResource().GetGUID(), "{c}"_s);
        Item onStack((Item::RootItemType()));
        QVERIFY(!onStack.addChild(QString(), QString()));
    }

    void namesAndCostsCount()
    {
        TunerClassTree tree(classesOf("A:a|B<A:b"_s), tunersOf("a b"_s));
        const ptrTunerClassTreeItem top = tree.findClassItemByName("nA"_s);
        QCOMPARE(tree.getTunerPlacesOfClass("nA"_s)->at(1).cost, 2);
        tree.getRootItem()->setCost(5);
        QCOMPARE(tree.getTunerPlacesOfClass("nA"_s)->at(1).cost, 7);
        top->setCost(std::numeric_limits<int>::max());
        top->setName("new"_s);
        QVERIFY(tree.getTunerPlacesOfClass("nA"_s)->empty());
        QCOMPARE(tree.getTunerPlacesOfClass("new"_s)->at(1).cost, std::numeric_limits<int>::max());
        QVERIFY(!tree.findClassItemByName("root"_s));
        QCOMPARE(tree.findItemByID("root"_s), tree.getRootItem());

        QVector<Tuner> tuners = tree.getResources().GetTuner();
        QCOMPARE(addressesOf(TunerClassTree::getTunerObjects(tree.getAllDefaultTuners())),
                 (QStringList{"a"_s, "b"_s}));
        tree.findItemByID("B"_s)->makeDefaultChild();
        const auto classes =
            TunerClassTree::getTunerClassObjects(tree.getAllClassesWithDefaultTuner(tuners.at(1)));
        QCOMPARE(classes.size(), 2);
        QCOMPARE(classes.at(0).GetName(), "new"_s);
        QCOMPARE(classes.at(0).GetDefaultChild(), "B"_s);
        QVERIFY(tree.getAllClassesWithDefaultTuner(tuners.at(0)).empty());
    }

    /// As deep as hostile overviews may be: no walk recurses.
    void defaultTunersOfDeepTrees()
    {
        TunerClassTree tree(TunerClassOverview(), tunersOf("a b"_s));
        ptrTunerClassTreeItem item = tree.getRootItem();
        const int depth = 20000;
        for (int i = 0; i < depth; ++i) {
            item = item->addChild("n"_s, QString());
            item->makeDefaultChild();
        }
        QVERIFY(tree.findItemByID("b"_s)->setParent(item));
        const auto tuners = tree.getAllDefaultTuners();
        const auto classes = tree.getAllClassesWithDefaultTuner(tree.getResources().GetTuner().at(1));
        QCOMPARE(int(tuners.size()), depth);
        QCOMPARE(int(classes.size()), depth);
        QCOMPARE(tuners.front()->getID(), "b"_s);
        QCOMPARE(classes.back(), item);
    }

    /// What is set in a class is in the next overview; tuners have nothing to set but a name.
    void overviewsHoldWhatWasSet()
    {
        TunerClassTree tree(classesOf("A:a"_s), tunersOf("a b"_s));
        for (const char* const id : {"A", "a"}) {
            const ptrTunerClassTreeItem item = tree.findItemByID(QLatin1String(id));
            item->setDescription("text"_s);
            item->setRDC("hw"_s);
            item->setHWProcessing(true);
            QCOMPARE(item->getRDC() + item->getDescription(), item->isTunerItem() ? QString() : "hwtext"_s);
            QCOMPARE(item->getHWProcessing(), item->isClassItem());
        }
        const auto classes = tree.createOverview().GetTunerClass();
        QCOMPARE(classes.size(), 1);
        QCOMPARE(classes.first().GetDescription(), "text"_s);
        QCOMPARE(classes.first().GetRDC(), "hw"_s);
        QVERIFY(classes.first().GetHWProcessingRDC());
        tree.findItemByID("a"_s)->setName("own"_s);
        QCOMPARE(tree.findItemByID("a"_s)->getName(), "own"_s);
        QVERIFY(tree.findItemByID("a"_s)->getTuner() == tree.getResources().GetTuner().first());
    }

    void visitorsMayChangeTheTree()
    {
        const TunerClassTree tree(classesOf("A:a b|B<A:c|C<B:d"_s), tunersOf("a b c d"_s));
        QStringList visited;
        tree.getRootItem()->applyToAllDescendants([&](const ptrTunerClassTreeItem& item) {
            visited.append(item->getID());
            while (tree.getRootItem()->deleteChild(0)) {
            }
        });
        QCOMPARE(visited.join(QLatin1Char(' ')), "A b a B c C d"_s);
        QCOMPARE(textOf(tree), "root()"_s);
    }

    void depthIsNoDanger()
    {
        constexpr int depth = 10000;
        QStringList tuners;
        QStringList classes;
        for (int i = 0; i < depth; ++i) {
            tuners.append("t%1"_s.arg(i));
            classes.append("c%1<c%2:t%1"_s.arg(i).arg(i - 1));
        }
        TunerClassTree tree(classesOf(classes.join(QLatin1Char('|'))),
                            tunersOf(tuners.join(QLatin1Char(' '))));
        const QString last = "c%1"_s.arg(depth - 1);
        QCOMPARE(tree.getRootItem()->findDescendantRecursive(last)->getDepth(), depth);
        QCOMPARE(tree.createOverview().GetTunerClass().last().GetGUID(), last);
        QCOMPARE(tree.getTunerPlacesOfClass("nc0"_s)->size(), std::size_t{depth});
        QCOMPARE(tree.getTunerPlacesOfClass(QLatin1Char('n') + last)->front().depth, depth + 1);
        QVERIFY(tree.getRootItem()->deleteChild(0)); // 10,000 classes vanish, and all tuners move up
        QCOMPARE(tree.getRootItem()->getNumberOfTunerChildren(), depth);
        tree.createDefaultHierarchy({});
        QCOMPARE(tree.getRootItem()->getNumberOfChildren(), 1);
    }

    void defaultHierarchy_data()
    {
        // Tuners are type/software MHz/hardware MHz, with "+" for hardware; classes
        // name<superclass,RDC,HW:tuners.
        const Rows<QString, QString, QString> row("tuners demandClasses expected");
        row("no tuners", "", "hw_20MHz", "");
        row("one type", "EB/4 EB/6", "", "EB<,sw,0:0 1");
        row("narrow", "EB/4", "", "EB<,sw_5MHz,0:0");
        row("exactly 5 MHz, or any", "EB/5 VB", "", "EB<,sw,0:0|VB<,sw,0:1");
        row("types in order, by case", "b/1 a/1 B/1 a/9", "", "b<,sw_5MHz,0:0|a<,sw,0:1 3|B<,sw_5MHz,0:2");
        row("hardware without 20 MHz class", "zelm+/9/20", "hw",
            "ZELM_5M<,sw_5MHz,0:|ZELM_HW80M<ZELM_10M,hw,1:0|ZELM_10M<ZELM_5M,sw,0:");
        row("hardware with 20 MHz class", "ZELM+/9/20 ZELM+/9 ZELM+/9/21", "HW_20mhz",
            "ZELM_5M<,sw_5MHz,0:|ZELM_HW80M<ZELM_HW20M,hw,1:1 2|ZELM_HW20M<ZELM_10M,hw_20MHz,1:0|"
            "ZELM_10M<ZELM_5M,sw,0:");
        row("20 MHz alone", "ZELM+/9/20", "hw_20MHz",
            "ZELM_5M<,sw_5MHz,0:|ZELM_HW20M<ZELM_10M,hw_20MHz,1:0|ZELM_10M<ZELM_5M,sw,0:");
        row("software", "ZELM/5 ZELM/6 EB ZELM", "hw_20MHz",
            "EB<,sw,0:2|ZELM_5M<,sw_5MHz,0:0|ZELM_10M<ZELM_5M,sw,0:1 3");
        row("only 5 MHz", "ZELM/5", "", "ZELM_5M<,sw_5MHz,0:0");
    }
    void defaultHierarchy()
    {
        QFETCH(QString, tuners);
        QFETCH(QString, demandClasses);
        QFETCH(QString, expected);
        ResourceOverview resources;
        for (const QString& text : tuners.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            const QStringList parts = text.split(QLatin1Char('/'));
            Tuner tuner;
            tuner.EditTavikResource().SetAddress(QString::number(resources.GetTuner().size()));
            tuner.SetType(QString(parts.at(0)).remove(QLatin1Char('+')));
            tuner.SetSupportsHardwareProcessing(parts.at(0).endsWith(QLatin1Char('+')));
            if (parts.size() > 1)
                tuner.SetMaxSWBandwidth(parts.at(1).toDouble() * 1e6);
            if (parts.size() > 2)
                tuner.SetMaxHWBandwidth(parts.at(2).toDouble() * 1e6);
            resources.EditTuner().append(tuner);
        }
        ResourceDemandClass demandClass;
        demandClass.SetDemandClassName(demandClasses);
        resources.EditTuner().append(Tuner()); // without tuner ID
        TunerClassTree tree(classesOf("old:0"_s), resources);
        const quint64 revision = tree.revision();
        tree.createDefaultHierarchy({demandClass});
        QVERIFY(tree.revision() > revision);

        const QHash<QString, QString> descriptions{
            {"ZELM_5M"_s, "Basic ZELM tuners up to 5MHz bandwidth"_s},
            {"ZELM_10M"_s, "Basic ZELM tuners up to 10MHz bandwidth"_s},
            {"ZELM_HW20M"_s, "ZELMs with hardware acceleration up to 20MHz bandwidth"_s},
            {"ZELM_HW80M"_s, "Basic ZELM tuners up to 80MHz bandwidth"_s}};
        QStringList classes;
        for (const TunerClass& item : tree.getOriginalTunerClassOverview().GetTunerClass()) {
            const auto superclass = tree.findItemByID(item.GetSuperclassGUID());
            QCOMPARE(item.GetCostPenalty(), 1);
            QCOMPARE(item.GetDescription(),
                     descriptions.value(item.GetName(), "Tuners of type "_s + item.GetName()));
            classes.append(
                "%1<%2,%3,%4:%5"_s.arg(item.GetName(), superclass ? superclass->getName() : QString(),
                                       item.GetRDC(), QString::number(item.GetHWProcessingRDC()),
                                       QStringList(item.GetTunerID().toList()).join(QLatin1Char(' '))));
        }
        QCOMPARE(classes.join(QLatin1Char('|')), expected);
    }
};

KOLTA_TEST(TestTunerClassTree);
#include "tst_tunerclasstree.moc"
