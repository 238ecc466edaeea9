#include "modelfollower.h"
#include "randomlife.h"
#include <support/simulated.h>
#include <support/test.h>

#include <koltacommon/processormodel.h>
#include <koltacommon/servermodel.h>
#include <koltacommon/shorttimeprofilemodel.h>
#include <koltacommon/tunerclassmodel.h>
#include <koltacommon/tunermodel.h>
#include <koltacommon/viewroles.h>
#include <startup/clock.h>

#include <QAbstractItemModelTester>

#include <algorithm>
#include <random>

using namespace Kolta;
using ProcessorSamples::guid;
using RandomHistory::RandomLife;
using RandomHistory::registry;
using RandomHistory::Server;

namespace {

using ptrModel = std::unique_ptr<ServersModel>;

struct Kind
{
    const char* name;
    int since; ///< column of times
    std::function<ptrModel()> make;
};

const std::vector<Kind>& kinds()
{
    using Grouping = TunerModel::Grouping;
    const auto tuners = [](Grouping grouping) {
        return [grouping]() -> ptrModel { return std::make_unique<TunerModel>(nullptr, grouping); };
    };
    static const std::vector<Kind> all{
        {"tuners", TunerModel::eSinceColumn, tuners(Grouping::None)},
        {"tuners by class", TunerModel::eSinceColumn, tuners(Grouping::ByClass)},
        {"tuners by type", TunerModel::eSinceColumn, tuners(Grouping::ByType)},
        {"classes", -1, [] { return std::make_unique<TunerClassModel>(); }},
        {"processors", ProcessorModel::eSinceColumn, [] { return std::make_unique<ProcessorModel>(); }},
        {"servers", ServerModel::eSinceColumn, [] { return std::make_unique<ServerModel>(); }}};
    return all;
}

using RowsByKey = QHash<QString, QPersistentModelIndex>;

void collect(const QAbstractItemModel& model, const QModelIndex& parent, RowsByKey& rows)
{
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        rows.insert(index.data(ViewRoles::KeyRole).toString(), index);
        collect(model, index, rows);
    }
}

RowsByKey rowsByKey(const QAbstractItemModel& model)
{
    RowsByKey rows;
    collect(model, QModelIndex(), rows);
    return rows;
}

struct TestClock : Startup::ManualClock
{
    Replacement replacement{*this};
};

} // namespace

class TestViewModels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_clock = std::make_unique<TestClock>(); }
    void cleanup()
    {
        registry().removeAllServers();
        turnOnce();
        m_clock.reset();
    }

    /// The steps lead from the one list to the other, and no more rows move than must.
    void differences()
    {
        std::mt19937 random(testSeed());
        const auto number = [&random](int bound) {
            return static_cast<int>(random() % static_cast<unsigned>(bound));
        };
        for (int round = 0; round < 2000; ++round) {
            std::vector<QString> all(static_cast<std::size_t>(number(round % 50 ? 30 : 400)));
            for (std::size_t i = 0; i < all.size(); ++i)
                all[i] = QString::number(i);
            const auto some = [&](int moved) {
                std::vector<QString> list;
                std::copy_if(all.begin(), all.end(), std::back_inserter(list),
                             [&](const auto&) { return number(8); });
                for (; moved > 0 && !list.empty(); --moved)
                    std::swap(list[random() % list.size()], list[random() % list.size()]);
                return list;
            };
            const std::vector<QString> before = some(0);
            const std::vector<QString> after = some(number(2) ? number(3) : 200);
            const RowDifference difference(before, after);
            std::vector<QString> list = before;
            for (const RowRange& range : difference.removals)
                list.erase(list.begin() + range.first, list.begin() + range.last + 1);
            for (const auto& move : difference.moves) {
                const QString moved = list.at(static_cast<std::size_t>(move.from));
                list.erase(list.begin() + move.from);
                list.insert(list.begin() + move.to, moved);
            }
            const std::vector<QString> unordered = list;
            for (std::size_t i = 0; i < difference.order.size(); ++i)
                list.at(i) = unordered.at(static_cast<std::size_t>(difference.order[i]));
            for (const RowRange& range : difference.insertions)
                list.insert(list.begin() + range.first, after.begin() + range.first,
                            after.begin() + range.last + 1);
            QCOMPARE(list, after);
            QVERIFY(difference.moves.empty() || difference.order.empty());
            QVERIFY(difference.moves.size() <= RowDifference::kMostMoves);
        }
        QCOMPARE(RowDifference({"a"_s, "b"_s, "c"_s, "d"_s}, {"d"_s, "a"_s, "b"_s, "c"_s}).moves.size(), 1U);
    }

    /// After every change, those included that slots make, a view that heard of nothing but the signals shows
    /// what a fresh model shows, and what was selected is still that.
    void follow_data()
    {
        QTest::addColumn<int>("kind");
        for (std::size_t kind = 0; kind < kinds().size(); ++kind)
            QTest::newRow(kinds()[kind].name) << static_cast<int>(kind);
    }
    void follow()
    {
        QFETCH(int, kind);
        const Kind& tested = kinds()[static_cast<std::size_t>(kind)];
        RandomLife life(testSeed());
        Server servers[] = {Server("S1"_s), Server("S2"_s)};
        for (Server& server : servers) {
            server.setTuners(10);
            server.come();
            server.enter();
        }
        const ptrModel model = tested.make();
        const QAbstractItemModelTester tester(model.get(),
                                              QAbstractItemModelTester::FailureReportingMode::Fatal);
        ModelFollower follower(*model, tested.since);
        model->followRegistry(registry());
        int meddling = 0;
        const auto meddle = [&] {
            if (meddling-- > 0)
                life.any(servers[life.number(2)]);
        };
        connect(model.get(), &QAbstractItemModel::rowsInserted, meddle);
        connect(model.get(), &QAbstractItemModel::rowsRemoved, meddle);
        connect(model.get(), &QAbstractItemModel::dataChanged, meddle);
        for (int i = 0; i < 150; ++i) {
            const auto kept = rowsByKey(*model);
            meddling = life.number(5) == 0 ? life.number(3) : 0;
            const bool isMeddled = meddling > 0;
            life.any(servers[life.number(2)]);
            meddling = 0;
            turnOnce();
            m_clock->advance(10000);
            QCOMPARE(follower.lines(), follower.modelLines());
            const auto now = rowsByKey(*model);
            for (auto row = kept.begin(); row != kept.end(); ++row) {
                if (row.value().isValid())
                    QCOMPARE(QModelIndex(row.value()), QModelIndex(now.value(row.key())));
                else if (kind == 0 && !isMeddled) // rows of a table that stay are the same rows
                    QVERIFY(!now.contains(row.key()));
            }
            const auto isAway = [](Server& server) {
                return server.enter()->getState() == SERVER_STATES::eDisconnected;
            };
            if (std::any_of(std::begin(servers), std::end(servers), isAway))
                continue;
            const ptrModel fresh = tested.make();
            fresh->followRegistry(registry());
            QCOMPARE(follower.lines(), ModelFollower(*fresh, tested.since).lines());
        }
        QCOMPARE(follower.resets, 0);
    }

    /// What a server showed last stays while it is away, and is the same rows when it is back.
    void staleLife()
    {
        Server server("S1"_s);
        server.setTuners(4);
        server.running = ProcessorSamples::overviewOf("M1=x(f2) S3"_s);
        server.running.EditMCP().first().EditDataSource().SetTunerGUID(guid(100));
        server.resources.EditTuner().first().SetIdle(false);
        server.come();
        server.enter();
        TunerModel tuners;
        ProcessorModel processors;
        ServerModel list;
        for (ServersModel* const model :
             {static_cast<ServersModel*>(&tuners), static_cast<ServersModel*>(&processors),
              static_cast<ServersModel*>(&list)})
            model->followRegistry(registry());
        const ModelFollower tunerView(tuners, TunerModel::eSinceColumn);
        const QStringList before = tunerView.lines();
        const QPersistentModelIndex used = tuners.index(0, 0);
        const QPersistentModelIndex ffp = processors.index(0, 0, processors.index(1, 0));
        QCOMPARE(used.sibling(0, TunerModel::eUserColumn).data().toString(), "x"_s);
        QVERIFY(ffp.data(ViewRoles::GuidRole).toString() == guid(2));
        QSignalSpy removed(&tuners, &QAbstractItemModel::rowsRemoved);
        QSignalSpy inserted(&tuners, &QAbstractItemModel::rowsInserted);

        server.go();
        turnOnce();
        m_clock->advance(60000);
        QCOMPARE(tunerView.lines(),
                 QStringList(before).replaceInStrings(QRegularExpression("$"_s), " (stale)"_s));
        QVERIFY(used.data(ViewRoles::LastKnownRole).toDateTime().isValid());
        QVERIFY(used.data(Qt::ToolTipRole).toString().contains("last known"_s));
        const QModelIndex since = used.sibling(0, TunerModel::eSinceColumn);
        QVERIFY(since.data().toString().startsWith("last known "_s));
        QVERIFY(used.data(ViewRoles::SearchRole).toString().contains("last known "_s));
        QVERIFY(ffp.isValid() && ffp.data(ViewRoles::StaleRole).toBool());
        QVERIFY(list.index(0, 0).data(ViewRoles::StaleRole).toBool());
        QCOMPARE(list.index(0, ServerModel::eRunningColumn).data().toInt(), 2);

        server.resources.EditTuner().first().SetIdle(true);
        server.resources.EditTuner()[1].SetIdle(false);
        server.running = ProcessorSamples::overviewOf("M7=y(f2)"_s);
        server.running.EditMCP().first().EditDataSource().SetTunerGUID(guid(101));
        server.come();
        QVERIFY(!used.data(ViewRoles::StaleRole).toBool() && !ffp.data(ViewRoles::StaleRole).toBool());
        QVERIFY(!since.data().toString().startsWith("last known "_s));
        QCOMPARE(used.sibling(0, TunerModel::eStateColumn).data().toString(), "free"_s);
        QCOMPARE(used.sibling(1, TunerModel::eUserColumn).data().toString(), "y"_s);
        QVERIFY(!used.sibling(1, 0).data(ViewRoles::SinceRole).isValid()); // nobody here saw that begin
        QCOMPARE(ffp.parent().data().toString(), "y"_s);
        QCOMPARE(processors.rowCount(), 1);
        QCOMPARE(removed.size() + inserted.size(), 0);
        server.setTunerIdle(guid(103), false);
        server.show();
        QVERIFY(used.sibling(3, 0).data(ViewRoles::SinceRole).toDateTime().isValid());

        // One that returns with nothing may only not have shown it yet.
        server.go();
        server.running.Reset();
        server.come();
        m_clock->advance(2900);
        QVERIFY(ffp.isValid() && ffp.data(ViewRoles::StaleRole).toBool());
        QVERIFY(!used.data(ViewRoles::StaleRole).toBool());
        m_clock->advance(100);
        QCOMPARE(processors.rowCount(), 0);

        registry().removeServer(server.name());
        QCOMPARE(tuners.rowCount() + list.rowCount(), 0);
    }

    void planning()
    {
        Server server("S1"_s);
        server.setTuners(4);
        server.come();
        KoltaServerInterface& interface = *server.enter();
        TunerModel tuners;
        TunerClassModel classes;
        ServerModel list;
        tuners.addServer(interface);
        classes.addServer(interface);
        list.addServer(interface);
        QVERIFY(!list.addServer(interface));
        const auto shown = [&] {
            const QModelIndex all = classes.index(0, 0);
            const QModelIndex lastClass = classes.index(classes.rowCount(all) - 1, 0, all);
            QStringList texts;
            for (const QModelIndex& index :
                 {tuners.index(2, TunerModel::eStateColumn), tuners.index(2, TunerModel::eUserColumn),
                  all.sibling(0, TunerClassModel::eFreeColumn),
                  lastClass.sibling(lastClass.row(), TunerClassModel::eFreeColumn),
                  list.index(0, ServerModel::eFreeColumn), list.index(0, ServerModel::ePlannedColumn)})
                texts << index.data().toString();
            return texts;
        };
        QString problem;
        QVERIFY(interface.getBookingManager().planTuner(guid(102), problem));
        QCOMPARE(shown(),
                 QStringList({"planned here"_s, "planned here"_s, "3 of 4"_s, "1 of 2"_s, "3"_s, "1"_s}));
        QVERIFY(tuners.index(2, 0).data(ViewRoles::PlannedRole).toBool());
        interface.getBookingManager().clearPlanning();
        QCOMPARE(shown(), QStringList({"free"_s, QString(), "4 of 4"_s, "2 of 2"_s, "4"_s, "0"_s}));
    }

    /// In the first slot that hears of a change the model, the server or its entry go.
    void slotsInterfere()
    {
        const std::function<void(Server&)> changes[] = {
            [](Server& s) {
                s.resources.EditTuner()[1].SetIdle(false);
                s.running.EditMCP().first().SetFrequency(1e6);
            },
            [](Server& s) {
                s.resources.EditTuner().removeAt(1);
                s.running.EditMCP().removeFirst();
            },
            [](Server& s) {
                s.setTuners(2);
                s.running.EditMCP().append(s.running.GetMCP().first());
            },
            [](Server& s) {
                std::swap(s.resources.EditTuner()[0], s.resources.EditTuner()[2]);
                s.running.EditMCP().move(0, 1);
            },
            [](Server& s) { s.go(); }};
        for (std::size_t i = 0; i < 4 * std::size(changes) * kinds().size(); ++i) {
            Server server("S1"_s);
            server.setTuners(4);
            server.running = ProcessorSamples::overviewOf("M1=x(f2) M3(f4)"_s);
            server.come();
            QPointer<KoltaServerInterface> interface = server.enter();
            QPointer<ServersModel> model = kinds()[i / 4 % kinds().size()].make().release();
            const QAbstractItemModelTester tester(model,
                                                  QAbstractItemModelTester::FailureReportingMode::Fatal);
            model->followRegistry(registry());
            int calls = 0;
            const auto interfere = [&] {
                if (calls++ > 0)
                    return;
                if (i % 4 == 0)
                    delete model.data();
                else if (i % 4 == 1)
                    delete interface.data();
                else if (i % 4 == 2)
                    registry().removeServer(server.name());
                else
                    model->removeServer(server.name());
            };
            connect(model, &QAbstractItemModel::rowsInserted, interfere);
            connect(model, &QAbstractItemModel::rowsRemoved, interfere);
            connect(model, &QAbstractItemModel::rowsMoved, interfere);
            connect(model, &QAbstractItemModel::dataChanged, interfere);
            changes[i / 4 / kinds().size()](server);
            if (server.isThere)
                server.show();
            turnOnce();
            QCOMPARE(model.isNull(), calls > 0 && i % 4 == 0);
            if (model && calls > 0)
                QCOMPARE(model->rowCount(), 0);
            delete model.data();
            registry().removeAllServers();
            turnOnce();
        }
    }

    void rolesAndOrder()
    {
        QStringList names{"S10"_s, "s2"_s, "S1"_s, "S02b"_s, "S9"_s};
        std::sort(names.begin(), names.end(), [](const QString& a, const QString& b) {
            return ViewRoles::sortText(a) < ViewRoles::sortText(b);
        });
        QCOMPARE(names, QStringList({"S1"_s, "s2"_s, "S02b"_s, "S9"_s, "S10"_s}));

        ShortTimeProfileItemMap map;
        ShortTimeProfile profile;
        profile.name = "P10"_s;
        profile.useFrequency = profile.useBandwidth = true;
        profile.frequencyMin = 30000000;
        profile.frequencyMax = 88000000;
        profile.bandwidthMax = 25000;
        profile.type = eShortTimeProfileHopper;
        map.Set(profile);
        profile.name = "P9"_s;
        profile.frequencyMin = 4000;
        profile.useBandwidth = false;
        map.Set(profile);
        ShortTimeProfileTableModel model(&map);
        QSortFilterProxyModel sorted;
        sorted.setSourceModel(&model);
        sorted.setSortRole(ViewRoles::SortRole);
        sorted.sort(2);
        QCOMPARE(ModelFollower(sorted).lines(), QStringList({"P9|hopper|4 kHz – 88 MHz||||||"_s,
                                                             "P10|hopper|30 – 88 MHz|0 Hz – 25 kHz|||||"_s}));
        QCOMPARE(model.headerData(8, Qt::Horizontal).toString(), "Symbol rate"_s);
    }

private:
    std::unique_ptr<TestClock> m_clock;
};

KOLTA_TEST(TestViewModels);
#include "tst_viewmodels.moc"
