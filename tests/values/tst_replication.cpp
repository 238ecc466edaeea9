#include "testmap.h"
#include <support/probe.h>
#include <support/random.h>
#include <support/testprogram.h>

#include <values/localreplicapair.h>
#include <values/tree.h>

#include <QtTest>

#include <array>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>

using namespace values;

namespace {

QString textOf(const TestMap& map)
{
    QStringList parts;
    for (const auto& [key, item] : map.data())
        parts << key + "="_s + QString::number(item.number);
    parts.sort();
    return parts.join(QLatin1Char(' '));
}

/// Two ends and what is between them.
struct Wire
{
    Wire(Replica& upper, Replica& lower, ConflictPolicy policy = {}, ConflictPolicy lowerPolicy = {})
        : primary(upper, LinkRole::Primary, std::move(policy))
        , secondary(lower, LinkRole::Secondary, std::move(lowerPolicy))
    {
    }
    /// Carries one message; its kind, 0 when there was none, -1 when it was refused.
    int carry(bool up)
    {
        const std::string message = (up ? secondary : primary).TakeOutgoing();
        if (message.empty())
            return 0;
        return (up ? primary : secondary).Receive(message) ? message[0] : -1;
    }
    /// The kinds of all messages that are left, "^" before those that go up.
    QString settle()
    {
        QString kinds;
        while (primary.HasOutgoing() || secondary.HasOutgoing()) {
            for (const bool up : {true, false}) {
                if (const int kind = carry(up))
                    kinds += (up ? "^"_s : QString()) + QString::number(kind);
            }
        }
        return kinds;
    }
    ReplicaLink primary;
    ReplicaLink secondary;
};

struct Side
{
    explicit Side(const QUuid& id = QUuid::createUuid()) : replica(std::make_unique<Replica>(*map, id)) {}
    void set(const QString& key, int number) { map->Add({key, number}); }
    std::unique_ptr<TestMap> map = std::make_unique<TestMap>("m"_s);
    std::unique_ptr<Replica> replica;
};

/// Four replicas: 0 above 1 and 2, 1 above 3.
struct Installation
{
    Installation()
    {
        for (const auto& [upper, lower] : {std::pair<std::size_t, std::size_t>{0, 1}, {0, 2}, {1, 3}})
            wires.push_back(std::make_unique<Wire>(*sides[upper].replica, *sides[lower].replica));
    }
    void settle()
    {
        for (QString kinds = "?"_s; !kinds.isEmpty();) {
            kinds.clear();
            for (const auto& wire : wires)
                kinds += wire->settle();
        }
    }
    std::array<Side, 4> sides;
    std::vector<std::unique_ptr<Wire>> wires;
};

const QUuid upperId(0x00112233, 0x4455, 0x6677, 0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff);
const QUuid lowerId(0xffffffff, 0x4455, 0x6677, 0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0x01);

} // namespace

class TestReplication : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void messages()
    {
        const QString upper = "33221100554477668899aabbccddeeff"_s,
                      lower = "ffffffff554477668899aabbccddee01"_s;
        const QString set = "170000001400000000000100000061003b0b00000001000000020061000000073b"_s;
        Side top(upperId), bottom(lowerId);
        Wire wire(*top.replica, *bottom.replica);
        std::string message = wire.secondary.TakeOutgoing();
        QCOMPARE(hex(message), "0101"_s + lower);
        QVERIFY(wire.primary.Receive(message));
        message = wire.primary.TakeOutgoing();
        QCOMPARE(hex(message), "02"_s + QString(32, QLatin1Char('0')) + upper + "1a000000"_s +
                                   "0c00000001c900000000010000006d0000000000160000000000"_s);
        QVERIFY(wire.secondary.Receive(message) && wire.secondary.GetPeer() == upperId);
        bottom.set("a"_s, 7);
        message = wire.secondary.TakeOutgoing();
        QCOMPARE(hex(message), "030100000000000000000000000000000031000000"_s + lower + set);
        QVERIFY(wire.primary.Receive(message) && wire.secondary.GetUnacknowledged() == 1);
        message = wire.primary.TakeOutgoing();
        QCOMPARE(hex(message), "040100000000000000"_s);
        QVERIFY(wire.secondary.Receive(message) && wire.secondary.GetUnacknowledged() == 0);
        QVERIFY(!wire.primary.HasOutgoing() && !wire.secondary.HasOutgoing());
        QCOMPARE(textOf(*top.map), "a=7"_s);
    }

    void nothingComesBack()
    {
        Installation all;
        all.settle();
        all.sides[1].set("a"_s, 1);
        QCOMPARE(all.wires[0]->settle(), "^34"_s); // up, and acknowledged
        QCOMPARE(all.wires[1]->settle(), "3^4"_s);
        QCOMPARE(all.wires[2]->settle(), "3^4"_s);
        {
            const auto transaction = all.sides[3].map->CreateTransaction();
            all.sides[3].set("b"_s, 1);
            all.sides[3].map->Clear();
        }
        QCOMPARE(all.wires[2]->settle(), "^34"_s); // the transaction is one group
        QCOMPARE(all.wires[0]->settle(), "^34"_s);
        QCOMPARE(all.wires[1]->settle(), "3^4"_s);
        for (int i = 0; i < 20; ++i) { // one writer: the others repeat each of its changes
            all.sides[3].set(QString::number(i % 7), i);
            all.sides[3].map->EraseAt(QString::number(i % 5));
            all.wires[i % 3]->carry(i % 2);
        }
        all.settle();
        for (const Side& side : all.sides)
            QCOMPARE(side.map->GetChangeNumber(), all.sides[3].map->GetChangeNumber());
        all.sides[3].map->Clear();
        all.settle();
        // Carried twice by an untidy carrier, then one lost.
        all.sides[0].set("c"_s, 1);
        const std::string message = all.wires[0]->primary.TakeOutgoing();
        ReplicaLink& lower = all.wires[0]->secondary;
        const unsigned int number = all.sides[1].map->GetChangeNumber();
        QVERIFY(lower.Receive(message) && lower.Receive(message));
        QCOMPARE(all.sides[1].map->GetChangeNumber(), number + 1);
        all.sides[0].set("c"_s, 2);
        all.wires[0]->primary.TakeOutgoing();
        all.sides[0].set("c"_s, 3);
        QVERIFY(!lower.Receive(all.wires[0]->primary.TakeOutgoing()) && lower.IsBroken());
        QCOMPARE(textOf(*all.sides[1].map), "c=1"_s);
    }

    void concurrentWriters_data()
    {
        QTest::addColumn<bool>("custom"); // both ends have the policy opposite to the default one
        QTest::addColumn<QByteArray>("upper");
        QTest::addColumn<QByteArray>("lower");
        QTest::addColumn<QString>("result");
        const auto row = [](const char* upper, const char* lower, const char* byDefault, const char* custom) {
            const QByteArray name(QByteArray(upper) + " | " + lower);
            QTest::newRow(name.constData())
                << false << QByteArray(upper) << QByteArray(lower) << QString::fromLatin1(byDefault);
            QTest::newRow(QByteArray(name + " (custom)").constData())
                << true << QByteArray(upper) << QByteArray(lower) << QString::fromLatin1(custom);
        };
        row("a1", "a2", "a=2 z=0", "a=1 z=0");
        row("a1 b1", "a2 c2", "a=2 b=1 c=2 z=0", "a=1 b=1 c=2 z=0");
        row("!", "a2", "a=2", "");
        row("a1", "!", "", "a=1");
        row("! b1", "! a2", "a=2", "b=1");
        row("-z", "z5", "z=5", "");
    }
    void concurrentWriters()
    {
        QFETCH(bool, custom);
        QSet<QUuid> origins;
        const auto always = [&origins](RemoteChange choice) {
            return [&origins, choice](const Conflict& conflict) {
                origins.insert(conflict.origin);
                return choice;
            };
        };
        Side top(upperId), bottom(lowerId);
        top.set("z"_s, 0);
        Wire wire(*top.replica, *bottom.replica, custom ? always(RemoteChange::Drop) : ConflictPolicy(),
                  custom ? always(RemoteChange::Apply) : ConflictPolicy());
        wire.settle();
        for (const auto& [column, side] :
             {std::pair<const char*, Side*>{"upper", &top}, {"lower", &bottom}}) {
            const QByteArray script = *static_cast<QByteArray*>(QTest::qData(column, QMetaType::QByteArray));
            for (const QByteArray& step : script.split(' ')) {
                if (step == "!")
                    side->map->Clear();
                else if (step[0] == '-')
                    side->map->EraseAt(QString(QLatin1Char(step[1])));
                else
                    side->set(QString(QLatin1Char(step[0])), step[1] - '0');
            }
        }
        wire.settle();
        QTEST(textOf(*top.map), "result");
        QTEST(textOf(*bottom.map), "result");
        QVERIFY(!custom || origins.contains(upperId) || origins.contains(lowerId));
    }

    /// Whatever four replicas do, in whatever order the messages go, they end alike.
    void randomWriters()
    {
        std::mt19937 random(testSeed());
        for (int round = 0; round < 300; ++round) {
            Installation all;
            QStringList log;
            std::vector<std::unique_ptr<Probe>> probes;
            int reactions = round % 2 ? 10 : 0;
            const std::function<void(TestMap&)> change = [&](TestMap& map) {
                const auto key = QString(QLatin1Char(char('a' + random() % 5)));
                const int number = int(random() % 4);
                const auto kind = random() % 16;
                if (kind < 9) {
                    map.Add({key, number});
                } else if (kind < 12) {
                    map.EraseAt(key);
                } else if (kind == 12) {
                    map.Clear();
                } else if (kind == 13) {
                    map.Set({{key, number}, {"x"_s, number}}, random() % 2, random() % 2);
                } else if (kind == 14) {
                    TestMap other;
                    other.Add({key, number});
                    if (round % 3 == 0)
                        map.Assign(other);
                } else {
                    const auto transaction = map.CreateTransaction();
                    for (int i = 0; i < 3; ++i)
                        change(map);
                    all.wires[random() % all.wires.size()]->carry(random() % 2);
                    change(map);
                }
            };
            for (Side& side : all.sides) {
                probes.push_back(std::make_unique<Probe>(&log));
                side.map->Attach(probes.back().get());
                probes.back()->action = [&](Observable*, TChangeCode) {
                    if (reactions > 0 && random() % 4 == 0) {
                        --reactions;
                        change(*side.map);
                    }
                };
            }
            for (int step = 0; step < 80; ++step) {
                if (random() % 2)
                    change(*all.sides[random() % all.sides.size()].map);
                else
                    QVERIFY(all.wires[random() % all.wires.size()]->carry(random() % 2) >= 0);
            }
            all.settle();
            for (std::size_t i = 1; i < all.sides.size(); ++i)
                QCOMPARE(textOf(*all.sides[i].map), textOf(*all.sides[0].map));
        }
    }

    void lateJoinersAndReplacedContent()
    {
        Tree tree;
        auto* const map = tree.Emplace<TestMap>("/s/m"_s);
        auto* const mirror = tree.Emplace<TestMap>("/t/m"_s);
        QStringList log;
        Probe probe(&log);
        map->Attach(&probe);
        map->Add({"a"_s, 1});
        mirror->Add({"stale"_s, 1});
        Replica upper(*map), lower(*mirror);
        auto pair = std::make_unique<LocalReplicaPair>(upper, lower);
        map->Add({"b"_s, 1});
        mirror->Add({"c"_s, 1});
        QTRY_COMPARE(textOf(*mirror), "a=1 b=1 c=1"_s); // the event loop delivers
        QTRY_COMPARE(textOf(*map), "a=1 b=1 c=1"_s);
        QVERIFY(pair->GetPrimary().GetUnacknowledged() == 0 && pair->GetSecondary().IsActive());

        tree.Remove("/s"_s);
        QVERIFY(pair->Deliver() && mirror->Size() == 3);
        auto fresh = std::make_unique<TestMap>();
        fresh->Add({"d"_s, 1});
        QCOMPARE(tree.Add("/s/m"_s, std::move(fresh)), map);
        QVERIFY(pair->Deliver());
        QCOMPARE(textOf(*mirror), "d=1"_s);
        mirror->Assign(TestMap());
        map->Add({"e"_s, 1});
        QVERIFY(pair->Deliver());
        QCOMPARE(textOf(*mirror), "d=1 e=1"_s);

        Replica second(*map);
        const LocalReplicaPair refused(second, lower);
        QVERIFY(refused.GetLife().Watch().lock() && !map->Record() == false);
        pair.reset();
        QVERIFY(!map->Record());
    }

    /// Observers that throw at every change keep nothing from being done.
    void throwingObservers()
    {
        Side top, bottom;
        top.map->Set({{"a"_s, 1}, {"b"_s, 1}, {"c"_s, 1}}, false, false);
        Wire wire(*top.replica, *bottom.replica);
        wire.settle();
        bottom.set("own"_s, 1); // on its way, so that the clear erases the others one by one
        QStringList log;
        Probe probe(&log);
        probe.action = [](Observable*, TChangeCode) { throw std::runtime_error("observer"); };
        bottom.map->Attach(&probe);
        top.map->Clear();
        QVERIFY(wire.carry(false) == 3 && !wire.secondary.IsBroken());
        QCOMPARE(textOf(*bottom.map), "own=1"_s);
    }

    /// An observer that replaces the content in the middle of a peer's group, and has the state carried
    /// there.
    void replacedWhileReceiving()
    {
        Side top, bottom;
        Wire wire(*top.replica, *bottom.replica);
        wire.settle();
        QStringList log;
        Probe probe(&log);
        probe.action = [&](Observable*, TChangeCode) {
            top.map->Assign(TestMap());
            wire.carry(false);
        };
        top.map->Attach(&probe);
        bottom.set("a"_s, 1);
        wire.settle();
        QCOMPARE(textOf(*bottom.map), textOf(*top.map));
        QCOMPARE(textOf(*top.map), QString());
    }

    /// More origins than a link remembers: still nothing of their changes goes back.
    void manyOrigins()
    {
        Side top, bottom;
        Wire wire(*top.replica, *bottom.replica);
        wire.settle();
        std::string body;
        for (int i = 0; i < 1500; ++i) {
            AppendUuid(body, QUuid::createUuid());
            CommandMapClear<TextItem, TestFormat, TestAdapter>(*top.map, nullptr)
                .AddCommandString(body, eTransmitPlain);
            AppendUuid(body, QUuid::createUuid());
            const TextItem item("a"_s, i);
            CommandMapSetAt<TextItem, TestFormat, TestAdapter>(*top.map, item.key, item, nullptr)
                .AddCommandString(body, eTransmitPlain);
        }
        std::string message(1, '\3');
        AppendInteger(message, quint64(1));
        AppendInteger(message, quint64(0));
        AppendInteger(message, static_cast<quint32>(body.size()));
        QVERIFY(wire.secondary.Receive(message + body));
        QCOMPARE(textOf(*bottom.map), "a=1499"_s);
        QCOMPARE(int(wire.secondary.TakeOutgoing()[0]), 4);
    }

    void deathsDuringANotification_data()
    {
        QTest::addColumn<QByteArray>("victim");
        for (const char* const victim : {"map", "mirror", "upper", "lower", "pair", "everything"})
            QTest::newRow(victim) << QByteArray(victim);
    }
    /// The victim dies in the first notification of a remote transaction, at either end, told at once or by
    /// the event loop. What lives gets the transaction whole.
    void deathsDuringANotification()
    {
        QFETCH(QByteArray, victim);
        for (int way = 0; way < 4; ++way) {
            Side top, bottom;
            auto pair = std::make_unique<LocalReplicaPair>(*top.replica, *bottom.replica);
            QVERIFY(pair->Deliver());
            QStringList log;
            Probe probe(&log);
            Side& source = way % 2 ? bottom : top;
            Side& target = way % 2 ? top : bottom;
            target.map->Attach(&probe);
            bool done = false;
            probe.action = [&](Observable*, TChangeCode) {
                if (std::exchange(done, true))
                    return;
                const bool all = victim == "everything";
                if (all || victim == "upper")
                    top.replica.reset();
                if (all || victim == "map")
                    top.map.reset();
                if (all || victim == "pair")
                    pair.reset();
                if (all || victim == "mirror")
                    bottom.map.reset();
                if (all || victim == "lower")
                    bottom.replica.reset();
            };
            source.map->Set({{"a"_s, 1}, {"b"_s, 1}, {"c"_s, 1}}, false, false);
            if (way < 2)
                pair->Deliver();
            QTRY_VERIFY(done);
            if (target.map)
                QCOMPARE(target.map->Size(), std::size_t(3));
            if (source.map)
                source.set("later"_s, 1);
            if (target.map)
                target.set("later"_s, 2);
            QCoreApplication::processEvents();
        }
    }
};

KOLTA_TEST(TestReplication);
#include "tst_replication.moc"
