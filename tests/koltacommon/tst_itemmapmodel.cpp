#include "modelfollower.h"
#include <support/probe.h>
#include <support/test.h>

#include <koltacommon/shorttimemodels.h>

#include <values/tree.h>

#include <QAbstractItemModelTester>

#include <map>
#include <tuple>

using namespace Kolta;

namespace {

using Map = ShortTimeFFPAssignmentItemMap;
using Model = ShortTimeFFPAssignmentModel;
using Layout = Model::Layout;
const QString path = "/ShortTime/Assignments"_s;

ShortTimeFFPAssignment assignment(const QString& guid, unsigned int radio, const QStringList& profiles = {})
{
    ShortTimeFFPAssignment item;
    item.ffpGuid = guid;
    item.radioId = radio;
    item.profiles = profiles;
    return item;
}

QString groupName(const ShortTimeFFPAssignment& item)
{
    return "radio %1"_s.arg(item.radioId);
}

Layout layoutWith(bool groups, bool lines)
{
    Layout layout;
    if (groups)
        layout.groupOf = groupName;
    if (lines)
        layout.linesOf = assignmentsWithProfiles().linesOf;
    return layout;
}

/// What a model is to show, told from the map alone; in the form of ModelFollower::lines().
QStringList expectedLines(const Map& map, bool groups, bool lines)
{
    using Adapter = ShortTimeFFPAssignment_TextAdapter;
    const QString empty(Adapter::ColumnCount() - 1, QLatin1Char('|'));
    std::map<QString, std::map<QString, ShortTimeFFPAssignment>> sorted;
    for (const auto& [key, item] : map.data())
        sorted[groups ? groupName(item) : QString()].emplace(key, item);
    QStringList result;
    for (const auto& [group, items] : sorted) {
        const QString indent = groups ? " "_s : QString();
        if (groups)
            result << group + empty;
        for (const auto& entry : items) {
            QStringList texts;
            for (int column = 0; column < Adapter::ColumnCount(); ++column)
                texts << Adapter::GetText4Column(column, entry.second);
            result << indent + texts.join(QLatin1Char('|'));
            for (int i = 0; lines && i < entry.second.profiles.size(); ++i)
                result << indent + QLatin1Char(' ') + entry.second.profiles.at(i) + empty;
        }
    }
    return result;
}

/// Changes collections in every way that there is.
class RandomChanges
{
public:
    explicit RandomChanges(quint32 seed) : m_random(seed) {}

    int number(int bound) { return m_random.bounded(bound); }
    ShortTimeFFPAssignment item()
    {
        QStringList profiles;
        for (int i = number(4); i > 0; --i)
            profiles << QString(QLatin1Char(static_cast<char>('p' + number(4))));
        return assignment(QString::number(number(30)), static_cast<unsigned int>(number(4)), profiles);
    }
    void small(Map& map)
    {
        if (number(3) == 0)
            map.EraseAt(QString::number(number(30)));
        else
            map.Set(item());
    }
    void any(values::Tree& tree)
    {
        auto* const map = tree.FindAs<Map>(path);
        switch (map->IsDeleted() ? 0 : number(16)) {
        case 0:
            revive(tree);
            break;
        case 1:
            tree.Remove(path);
            break;
        case 2:
            map->Clear();
            break;
        case 3:
            map->Set(items(), number(2) == 0, number(2) == 0);
            break;
        case 4:
            map->Assign(*content());
            map->Announce();
            break;
        case 5:
            map->RequestAssignmentChange(item());
            break;
        default:
            small(*map);
        }
    }
    void revive(values::Tree& tree) { tree.Add(path, content()); }

private:
    std::list<ShortTimeFFPAssignment> items()
    {
        std::list<ShortTimeFFPAssignment> list;
        for (int i = number(20); i > 0; --i)
            list.push_back(item());
        return list;
    }
    std::unique_ptr<Map> content()
    {
        auto map = std::make_unique<Map>();
        map->Set(items(), false, false);
        return map;
    }

    QRandomGenerator m_random;
};

} // namespace

class TestItemMapModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// After every change, nested ones included, map, model and what a view made of the signals are the same.
    void follows()
    {
        RandomChanges random(testSeed());
        for (const auto& [groups, lines, logSize] : {std::tuple{false, false, 1000U},
                                                     {false, false, 2U},
                                                     {false, false, 0U},
                                                     {true, false, 1000U},
                                                     {false, true, 1000U},
                                                     {true, true, 1000U},
                                                     {true, true, 2U}}) {
            values::Tree tree;
            auto* const map = tree.Emplace<Map>(path);
            map->SetChangeLogSize(logSize);

            int meddling = 0;
            const auto meddle = [&] {
                if (meddling > 0 && !map->IsDeleted()) {
                    --meddling;
                    random.small(*map);
                }
            };
            QStringList heard;
            Probe early(&heard); // is called before the model
            early.action = [&](Observable*, TChangeCode) { meddle(); };
            map->Attach(&early);
            Model model(map, layoutWith(groups, lines));
            const QAbstractItemModelTester tester(&model,
                                                  QAbstractItemModelTester::FailureReportingMode::Fatal);
            const ModelFollower follower(model);
            connect(&model, &Model::rowsInserted, &model, meddle);
            connect(&model, &Model::rowsAboutToBeRemoved, &model, meddle);
            connect(&model, &Model::dataChanged, &model, meddle);

            for (int i = 0; i < 600; ++i) {
                meddling = random.number(4) == 0 ? random.number(4) : 0;
                random.any(tree);
                const QStringList expected = expectedLines(*map, groups, lines);
                QCOMPARE(follower.modelLines(), expected);
                QCOMPARE(follower.lines(), expected);
            }
            QCOMPARE(follower.resets + follower.layouts, 0);
        }
    }

    void namesRolesAndOrder()
    {
        ShortTimeProfileItemMap profiles;
        for (const char* name : {"b", "B", "a"}) {
            ShortTimeProfile profile;
            profile.name = QLatin1String(name);
            profiles.Set(profile);
        }
        const ShortTimeProfileModel names(&profiles);
        QCOMPARE(ModelFollower(names).lines(), QStringList({"B"_s, "a"_s, "b"_s}));
        QCOMPARE(names.headerData(0, Qt::Horizontal).toString(), "Name"_s);
        const QModelIndex first = names.index(0, 0);
        QCOMPARE(first.data(Qt::ToolTipRole).toString(),
                 ShortTimeProfile_TextAdapter::GetText4Tooltip(profiles.At("B"_s)));
        QCOMPARE(first.data(Model::ItemRole).value<ShortTimeProfile>().name, "B"_s);
        QCOMPARE(names.itemAt(first)->name, "B"_s);

        ShortTimeResultItemMap results; // numbers are not ordered as texts are
        for (const unsigned int id : {10U, 9U, 100U}) {
            ShortTimeResult result;
            result.id = id;
            result.ffpGuid = "ffp"_s;
            results.Set(result);
        }
        const ShortTimeResultModel byFfp(&results, resultsByFFP());
        const QModelIndex group = byFfp.index(0, 0);
        QCOMPARE(group.data().toString(), "ffp"_s);
        QVERIFY(!group.data(Model::KeyRole).isValid() && !byFfp.itemAt(group));
        QList<unsigned int> keys;
        for (int row = 0; row < byFfp.rowCount(group); ++row)
            keys << byFfp.index(row, 0, group).data(Model::KeyRole).toUInt();
        QCOMPARE(keys, QList<unsigned int>({9, 10, 100}));

        // A record's parts may hold what separates them in its text.
        ConvertProductionResultMap conversions;
        const ConvertProductionResultModel byState(&conversions, conversionsByState());
        const sorel::RecordIdentifier record("a/b"_s, "%"_s, "1"_s);
        ConvertProductionResultRequest request;
        request.record = record;
        conversions.Add(ConvertProductionResult(request));
        QCOMPARE(byState.index(0, 0).data().toString(), "not started"_s);
        const QPersistentModelIndex kept = byState.indexOf(record);
        conversions.setFinished(record, true, QString());
        QCOMPARE(kept.parent().data().toString(), "finished"_s);
        QCOMPARE(byState.rowCount(), 1);
        QCOMPARE(kept.data(Model::KeyRole).value<sorel::RecordIdentifier>(), record);
    }

    /// Rows that come, go or change together and stand together are told together.
    void changesAreNeighbourly()
    {
        values::Tree tree;
        auto* const map = tree.Emplace<Map>(path);
        std::list<ShortTimeFFPAssignment> items;
        for (int i = 10; i < 90; ++i)
            items.push_back(assignment(QString::number(i), 0));
        map->Set(items, true, true);
        Model table(map);
        Model grouped(map, layoutWith(true, false));
        QSignalSpy changed(&table, &Model::dataChanged);
        QSignalSpy removed(&table, &Model::rowsRemoved);
        QSignalSpy inserted(&table, &Model::rowsInserted);
        QSignalSpy groupsRemoved(&grouped, &Model::rowsRemoved);

        Map other(*map);
        for (int i = 20; i < 30; ++i)
            other.Set(assignment(QString::number(i), 7));
        other.EraseAt("40"_s);
        other.EraseAt("41"_s);
        other.Set(assignment("50a"_s, 0));
        map->Assign(other);
        map->Announce();
        QCOMPARE(changed.size(), 1);
        QCOMPARE(changed.at(0).at(0).toModelIndex().row(), 10);
        QCOMPARE(changed.at(0).at(1).toModelIndex().row(), 19);
        QCOMPARE(removed.size(), 1);
        QCOMPARE(inserted.size(), 1);

        groupsRemoved.clear();
        tree.Remove(path);
        QCOMPARE(removed.size(), 2);
        QCOMPARE(groupsRemoved.size(), 1);
    }

    /// Profiles equal nothing, so every comparison of all of them would look at all their layouts. The
    /// observer that changes the map before the model hears of it brings the model notifications without
    /// entries.
    void costsOfOneChange()
    {
        ShortTimeProfileItemMap map;
        ShortTimeProfile profile;
        bool nested = false;
        QStringList heard;
        Probe early(&heard);
        early.action = [&](Observable*, TChangeCode) {
            if (!std::exchange(nested, true))
                map.Set(profile);
            nested = false;
        };
        map.Attach(&early);
        int asked = 0;
        ShortTimeProfileModel::Layout layout;
        layout.groupOf = [&asked](const ShortTimeProfile& item) {
            ++asked;
            return item.name.left(1);
        };
        const ShortTimeProfileModel model(&map, layout);
        const auto transaction = map.CreateTransaction();
        for (int i = 0; i < 3000; ++i) {
            profile.name = QString::number(i);
            map.Set(profile);
        }
        for (int i = 0; i < 1000; ++i)
            map.EraseAt(QString::number(i));
        QVERIFY2(asked < 3 * 5000, qPrintable(QString::number(asked)));
        QCOMPARE(model.indexOf("2999"_s).isValid(), true);
        QVERIFY(!model.indexOf("998"_s).isValid());
    }

    /// In the first slot that hears of a change the model or the map is deleted, or the model leaves the map.
    void slotsInterfere()
    {
        const auto made = [](const char* guid, unsigned int radio, const char* profile) {
            return assignment(QLatin1String(guid), radio, {QLatin1String(profile)});
        };
        const std::function<void(Map&)> changes[] = {[made](Map& m) { m.Set(made("c", 9, "x")); },
                                                     [](Map& m) { m.EraseAt("a"_s); },
                                                     [](Map& m) { m.Clear(); },
                                                     [made](Map& m) { m.Set(made("a", 1, "y")); },
                                                     [made](Map& m) { m.Set(made("a", 9, "x")); },
                                                     [made](Map& m) { m.Set(made("a", 2, "x")); }};
        for (int i = 0; i < 3 * int(std::size(changes)); ++i) {
            auto map = std::make_unique<Map>();
            map->Set(made("a", 1, "x"));
            map->Set(made("b", 2, "x"));
            QPointer<Model> model = new Model(map.get(), layoutWith(true, true));
            int calls = 0;
            const auto interfere = [&] {
                if (calls++ > 0)
                    return;
                if (i % 3 == 0)
                    delete model.data();
                else if (i % 3 == 1)
                    map.reset();
                else
                    model->setMap(nullptr);
            };
            connect(model, &Model::rowsInserted, interfere);
            connect(model, &Model::rowsRemoved, interfere);
            connect(model, &Model::rowsMoved, interfere);
            connect(model, &Model::dataChanged, interfere);
            changes[i / 3](*map);
            QVERIFY(calls > 0);
            QCOMPARE(model.isNull(), i % 3 == 0);
            if (model)
                QCOMPARE(model->rowCount(), 0);
            delete model.data();
        }
    }

    /// A model follows one map at a time, and none that is destroyed.
    void anotherMap()
    {
        auto one = std::make_unique<Map>();
        auto two = std::make_unique<Map>();
        one->Set(assignment("a"_s, 1));
        two->Set(assignment("b"_s, 1));
        Model model(one.get());
        const ModelFollower follower(model);
        model.setMap(two.get());
        one->Set(assignment("c"_s, 1));
        QCOMPARE(follower.lines(), expectedLines(*two, false, false));
        two.reset();
        QVERIFY(!model.map());
        QCOMPARE(follower.lines(), QStringList());
        model.setMap(one.get());
        QCOMPARE(follower.lines(), expectedLines(*one, false, false));
        QCOMPARE(follower.resets, 0);
    }

    /// What is asked to keep its rows shows them as stale while the map is deleted or destroyed, and by their
    /// difference what the map holds when it is back.
    void keepsLastKnown()
    {
        values::Tree tree;
        const auto add = [&tree](std::initializer_list<const char*> guids) {
            auto map = std::make_unique<Map>();
            for (const char* const guid : guids)
                map->Set(assignment(QLatin1String(guid), 1));
            tree.Add(path, std::move(map));
            return tree.FindAs<Map>(path);
        };
        for (const bool isGrouped : {false, true}) {
            Model model(add({"a", "b"}), layoutWith(isGrouped, false));
            model.keepLastKnown();
            const ModelFollower follower(model);
            const QStringList before = follower.lines();
            QSignalSpy changed(&model, &Model::dataChanged);
            tree.Remove(path);
            QVERIFY(model.isLastKnown());
            QCOMPARE(follower.lines().filter(" (stale)"_s).size(), 2);
            QCOMPARE(follower.lines().replaceInStrings(" (stale)"_s, QString()), before);
            QCOMPARE(changed.takeLast().at(0).toModelIndex().parent().isValid(), isGrouped);
            QSignalSpy removed(&model, &Model::rowsRemoved);
            QSignalSpy inserted(&model, &Model::rowsInserted);
            const Map* const back = add({"b", "c"});
            QCOMPARE(follower.lines(), expectedLines(*back, isGrouped, false));
            QVERIFY(!model.isLastKnown());
            QCOMPARE(removed.size() * 10 + inserted.size(), 11);
            tree.Remove(path);
            model.setMap(nullptr);
            QCOMPARE(model.rowCount(), 0);
            QVERIFY(!model.isLastKnown());
        }
        auto other = std::make_unique<Map>();
        other->Set(assignment("d"_s, 1));
        Model model(other.get());
        model.keepLastKnown();
        other.reset();
        QVERIFY(!model.map() && model.isLastKnown());
        QCOMPARE(model.rowCount(), 1);
    }
};

KOLTA_TEST(TestItemMapModel);
#include "tst_itemmapmodel.moc"
