#include "modelinstallation.h"

#include <support/rows.h>

#include <set>

using namespace distribution;

/// Owner and mirrors step by step, with a clock driven by hand: joining and changing.
class TestBranch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void joinAndChange()
    {
        Installation all;
        QCOMPARE(all.A().tree.states, (std::vector<BranchState>{BranchState::Joining, BranchState::Live}));
        QVERIFY(all.Same());
        QCOMPARE(all.A().tree.heard.back().path, sentinel);
        const std::size_t start = all.A().tree.heard.size();
        all.owner->Do(set(second, "1"));
        all.owner->Do(add(root + QStringLiteral("/c"), "2"));
        all.owner->Do(set(first, "3"));
        all.owner->Do(RemoveChange(second));
        all.owner->Do(ModelTree::Commands(map, "Sk=1;"));
        all.world.Run(10);
        QCOMPARE(heardSince(all.A().tree, start).substr(0, 14), Bytes("b=1 c=2 a=3 b-"));
        QVERIFY(all.Same());
        QCOMPARE(all.A().tree.At(map, "k"), Bytes("1"));
        QCOMPARE(all.owner->published[TopicKind::Log], 2);
    }

    /// How far a mirror has come: plain values are waited for, a collection that is too large is not.
    void partsOfTheContent()
    {
        Installation all;
        all.owner->Do(set(first, Bytes(5000, 'x')));
        all.owner->Do(ModelTree::Commands(map, "Sk=" + Bytes(5000, 'x') + ';'));
        all.world.Run(70000); // until what the broker keeps has been renewed
        MirrorSettings settings;
        settings.branch = QStringLiteral("S1");
        settings.user = "small";
        settings.session = idOf(200);
        settings.stateBytes = 1000;
        MirrorPeer peer(all.world.broker, all.world.now, settings);
        QCOMPARE(peer.mirror->CountParts(), 0);
        all.world.Add(&peer);
        all.world.Run(3000);
        QCOMPARE(peer.mirror->GetState(), BranchState::Joining);
        QCOMPARE(peer.mirror->CountParts(), 2);
        QCOMPARE(peer.mirror->CountJoinedParts(), 1);
        QCOMPARE(all.A().mirror->CountJoinedParts(), 2);
        all.world.Remove(&peer);
    }

    void ownValueWhileUnderWay_data()
    {
        const Rows<Bytes, bool, Bytes, Bytes> row("answer guest meanwhile result");
        row("executed", Bytes(), false, Bytes(), Bytes("mine"));
        row("answered", Bytes("yours"), false, Bytes(), Bytes("yours"));
        row("after another's", Bytes(), false, Bytes("theirs"), Bytes("mine"));
        row("refused", Bytes(), true, Bytes(), Bytes("a"));
        row("refused after another's", Bytes(), true, Bytes("theirs"), Bytes("theirs"));
    }

    /// Until the owner has dealt with it the own content stays; then the owner's counts.
    void ownValueWhileUnderWay()
    {
        QFETCH(Bytes, answer);
        QFETCH(Bytes, meanwhile);
        QFETCH(bool, guest);
        Installation all;
        MirrorPeer& writer = guest ? all.B() : all.A();
        all.owner->tree.executing = [&](const Writer&, const Change& change) {
            if (!answer.empty())
                all.owner->tree.Do(set(change.path, answer));
        };
        if (!meanwhile.empty())
            all.owner->Do(set(first, meanwhile));
        writer.Do(set(first, "mine"));
        // The owner's log comes before the owner has the wish.
        all.owner->OnTime(all.world.now);
        all.world.broker.Advance(all.world.now);
        QCOMPARE(writer.tree.At(first), Bytes("mine"));
        all.world.Run(10);
        QTEST(writer.tree.At(first), "result");
        QCOMPARE(writer.tree.failed.size(), std::size_t(guest));
        QCOMPARE(writer.mirror->GetOpenWishes(), std::size_t(0));
        QVERIFY(all.Same());
    }

    void requestsReadAndRemoved()
    {
        Installation all;
        all.owner->tree.executing = [&](const Writer&, const Change& change) {
            all.owner->tree.Do(RemoveChange(change.path));
            all.owner->tree.Do(set(second, "started"));
            all.owner->tree.Do(set(first, "accepted"));
        };
        const std::size_t start = all.A().tree.heard.size();
        all.A().Do(add(root + QStringLiteral("/q1"), "please"));
        all.world.Run(10);
        QVERIFY(all.Same());
        QCOMPARE(heardSince(all.A().tree, start), Bytes("q1=please q1- b=started a=accepted"));
    }

    void collectionKeepsOwnKeys()
    {
        Installation all(1U << 20U, 40);
        all.owner->Do(ModelTree::Commands(map, "Sx=1;Sy=1;"));
        all.world.Run(200);
        all.owner->Do(ModelTree::Commands(map, "Sx=2;C;Sz=2;"));
        all.owner->OnTime(all.world.now);
        all.A().Do(ModelTree::Commands(map, "Sx=mine;"));
        all.A().OnTime(all.world.now);
        std::set<Bytes> seen;
        for (int i = 0; i < 100; ++i) {
            all.world.Run(1);
            seen.insert(all.A().tree.At(map, "x"));
        }
        QCOMPARE(seen, std::set<Bytes>{"mine"});
        all.world.Run(1000);
        QVERIFY(all.Same());
        QCOMPARE(all.owner->tree.At(map, "x"), Bytes("mine"));
        QCOMPARE(all.owner->tree.At(map, "y"), Bytes("none"));
        // Nor does a state hide them, which is fetched because an entry did not fit.
        const QString branch = QStringLiteral("S1");
        const quint64 next = all.A().mirror->GetNumbers()[1].number + 1;
        Change unknown = ModelTree::Commands(map, "C;");
        unknown.id = 4000;
        all.Intrude(Topics().Log(branch, 1),
                    EncodeLogHead(idOf(1), next, 1) + EncodeEntry({QUuid(), 0, {}, {unknown}}));
        all.world.Run(45);
        StateCut cut{idOf(1), next, all.owner->owner->GetSnapshot(1), Topics().State(branch, 1), 1000, 0};
        cut.snapshot.items[0].content = MakeContent("Sx=2;Sw=2;");
        all.A().Do(ModelTree::Commands(map, "Sx=again;"));
        all.A().OnTime(all.world.now);
        all.A().carrier.onMessage(Topics().State(branch, 1) + "/0", Pack(cut)[0].payload);
        QCOMPARE(all.A().tree.At(map, "w"), Bytes("2"));
        QCOMPARE(all.A().tree.At(map, "x"), Bytes("again"));
    }

    void refusedCommandsAreUndone()
    {
        Installation all;
        all.owner->Do(ModelTree::Commands(map, "Sx=1;Sy=1;"));
        all.world.Run(100);
        all.B().Do(ModelTree::Commands(map, "C;Sx=mine;"));
        all.world.Run(2000);
        QVERIFY(all.Same());
        QCOMPARE(all.B().tree.failed.size(), std::size_t(1));
        QVERIFY(all.B().tree.failed[0].change.scope.everyKey);
        // Nobody but the owner makes collections.
        const QString other = root + QStringLiteral("/other");
        all.A().Do(AddChange(other, ModelTree::collection, nullptr));
        all.world.Run(2000);
        QCOMPARE(all.A().tree.items.count(other), std::size_t(0));
        QVERIFY(all.Same());
    }

    void manyWishesAreGathered()
    {
        Installation all;
        int executed = 0;
        all.owner->tree.executing = [&](const Writer&, const Change& change) {
            executed += BytesOf(change.content) == std::to_string(executed) ? 1 : 1000000;
        };
        all.owner->published.clear();
        for (int i = 0; i < 2500; ++i) {
            all.A().Do(set(first, std::to_string(i)));
            all.A().OnTime(all.world.now);
        }
        QCOMPARE(all.A().published[TopicKind::Up], 1000 + 3); // with the asks for a beat and two states
        all.world.Run(15);
        QCOMPARE(executed, 2500);
        QVERIFY(all.owner->published[TopicKind::Log] < 10);
        QVERIFY(all.Same());
        // What nobody takes away must not pile up for ever.
        all.world.broker.Restart(true, 100000);
        all.world.Run(1);
        for (int i = 0; i < 22; ++i) {
            all.A().Do(set(first, Bytes(900000, 'x')));
            all.A().OnTime(all.world.now);
        }
        QCOMPARE(all.A().tree.failed.front().result, WishResult::Overflow);
        all.world.Run(11000);
        QCOMPARE(all.A().tree.failed.back().result, WishResult::TooLate);
        QCOMPARE(all.A().tree.failed.size(), std::size_t(22));
        QCOMPARE(all.A().tree.At(first), Bytes("2499"));
    }

    void largeContents()
    {
        Bytes tuners;
        for (int i = 0; i < 10000; ++i)
            tuners += "<Tuner id=\"" + std::to_string(i * 7919) + "\" state=\"free\" level=\"" +
                      std::to_string(i % 97) + "\"/>\n";
        Installation all(100000);
        all.owner->Do(add(root + QStringLiteral("/tuners"), tuners));
        all.world.Run(5000);
        QVERIFY(all.Same()); // by a state, since no entry of that size can be sent
        QVERIFY(all.owner->published[TopicKind::State] >= 2);
        all.owner->largest.clear();
        tuners.replace(tuners.find("free", tuners.size() / 2), 4, "busy");
        all.owner->Do(set(root + QStringLiteral("/tuners"), tuners));
        all.world.Run(10);
        QVERIFY(all.Same());
        QVERIFY2(all.owner->largest[TopicKind::Log] <= 256,
                 std::to_string(all.owner->largest[TopicKind::Log]).c_str());
        // Who has missed a few of its changes hears each in a message of its own, who has missed many a
        // state.
        for (const int missed : {5, 200}) {
            all.world.Run(70000); // until the state has been renewed
            all.world.broker.Cut(all.A().carrier, 1000);
            for (int i = 0; i < missed; ++i) {
                tuners.replace(tuners.find("free", tuners.size() / 3), 4, "busy");
                all.owner->Do(set(root + QStringLiteral("/tuners"), tuners));
                all.world.Run(1);
            }
            const int logs = all.owner->published[TopicKind::Log];
            const int states = all.owner->published[TopicKind::State];
            all.world.Run(5000);
            QVERIFY(all.Same());
            QCOMPARE(all.owner->published[TopicKind::State] == states, missed == 5);
            QCOMPARE(all.owner->published[TopicKind::Log] - logs, missed == 5 ? 3 : 1);
        }
        // Many small ones go in as many wishes as the broker takes.
        for (int i = 0; i < 20; ++i)
            all.A().Do(add(root + QStringLiteral("/many%1").arg(i), Bytes(9000, 'm')));
        all.world.Run(100);
        QVERIFY(all.A().largest[TopicKind::Up] < 100000);
        QCOMPARE(all.owner->tree.At(root + QStringLiteral("/many19")).size(), std::size_t(9000));
        // A writer's text is not cut into parts.
        all.A().Do(set(first, Bytes(100000, 'x')));
        all.world.Run(10);
        QCOMPARE(all.A().tree.failed.back().result, WishResult::Refused);
        QVERIFY(all.Same());
    }

    void manyJoin()
    {
        Installation all;
        all.owner->Do(set(first, "newer"));
        all.world.Run(2000);
        all.world.broker.SetWeather({100, 0, 0, false});
        const int states = all.owner->published[TopicKind::State];
        for (int i = 0; i < 50; ++i)
            all.StartMirror("many");
        all.world.Run(5000);
        for (const auto& mirror : all.mirrors)
            QCOMPARE(mirror->tree.Dump(), all.owner->tree.Dump());
        QVERIFY(all.owner->published[TopicKind::State] - states <= 2 * 2);
    }

    /// What writers do costs an owner only so much, and its state can be read by who joins then.
    void manyWriters()
    {
        Installation all;
        const Topics topics;
        const auto wish = [&](uint session, const Bytes& user, quint64 number, const Changes& changes) {
            all.Intrude(topics.Up(QStringLiteral("S1"), user, idOf(session)),
                        Encode(WishMessage{idOf(1), 0, number, changes}));
        };
        const auto join = [&] {
            MirrorPeer& late = all.StartMirror("late");
            all.world.Run(5000);
            return late.mirror->GetState() == BranchState::Live && late.tree.Dump() == all.owner->tree.Dump();
        };
        all.A().Do(set(first, "known"));
        all.world.Run(10);
        all.world.broker.Cut(all.A().carrier, 60000);
        for (quint64 number = 1; number <= 20; ++number)
            wish(5000, "guest", number, Changes(Limits::kWishChanges, set(first, "no")));
        QVERIFY(join());
        for (uint session = 0; session < 100; ++session)
            wish(6000 + session, "guest", 1, Changes(Limits::kWishChanges, set(first, "no")));
        all.world.Run(10);
        QVERIFY(SizeBound(all.owner->owner->GetSnapshot(0)) < 2 * Limits::kTableFailureBytes);
        QVERIFY(join());
        for (uint session = 0; session < Limits::kSessions - 100; ++session)
            wish(10000 + session, "u", 1, {set(first, std::to_string(session).c_str())});
        all.world.Run(10);
        QCOMPARE(all.owner->tree.At(first), Bytes(std::to_string(Limits::kSessions - 103)));
        all.world.Run(30000);
        wish(20000, "u", 1, {set(first, "one more")});
        all.world.Run(10);
        QCOMPARE(all.owner->tree.At(first), Bytes("one more"));
        const auto sessions = all.owner->owner->GetSnapshot(0).sessions;
        QCOMPARE(sessions.size(), Limits::kSessions);
        for (const SessionNumber& session : sessions)
            QVERIFY(session.failures.size() < 10000);
        QVERIFY(join());
        // Who was forgotten while he was away may be told of one wish that nobody knows what became of it.
        QVERIFY(std::none_of(sessions.begin(), sessions.end(),
                             [&](const SessionNumber& each) { return each.session == idOf(100); }));
        for (const char* const text : {"perhaps", "back"}) {
            all.world.Run(30000);
            all.A().Do(set(first, text));
        }
        all.world.Run(10000);
        QCOMPARE(all.owner->tree.At(first), Bytes("back"));
        QVERIFY(all.A().tree.failed.size() <= 1);
    }

    /// Whom the broker forbids to write is not asked again and again, and nothing piles up.
    void refusedByTheBroker()
    {
        Installation all;
        all.owner->carrier.Unsubscribe(Topics().OwnerFilters(QStringLiteral("S1"))[2]);
        all.A().Do(set(first, "mine"));
        all.A().OnTime(all.world.now);
        all.A().mirror->OnRefused(QStringLiteral("not you"), all.world.now);
        const int sent = all.A().published[TopicKind::Up];
        for (int i = 0; i < 1500; ++i) {
            all.A().Do(set(first, "again"));
            all.A().OnTime(all.world.now);
        }
        QCOMPARE(all.A().tree.failed.size(), std::size_t(1501));
        QVERIFY(all.A().tree.failed.back().reason.endsWith(QStringLiteral("not you")));
        QCOMPARE(all.A().tree.At(first), Bytes("a"));
        all.world.Run(29000);
        QCOMPARE(all.A().published[TopicKind::Up], sent);
        // Rights may have come.
        all.owner->carrier.Subscribe(Topics().OwnerFilters(QStringLiteral("S1"))[2]);
        all.world.Run(1000);
        all.A().Do(set(first, "now"));
        all.world.Run(1000);
        QCOMPARE(all.owner->tree.At(first), Bytes("now"));
        QVERIFY(all.Same());
    }

    /// What is open when a link ends does not look as if it had been taken.
    void abandoned()
    {
        Installation all(1U << 20U, 1000);
        all.A().Do(ModelTree::Commands(map, "Sx=1;"));
        all.A().OnTime(all.world.now);
        all.A().Do(set(first, "mine"));
        all.A().mirror->Abandon();
        QCOMPARE(all.A().tree.failed.size(), std::size_t(2));
        QCOMPARE(all.A().tree.failed[0].result, WishResult::TooLate);
        QCOMPARE(all.A().tree.failed[1].result, WishResult::Unknown);
        QCOMPARE(all.A().tree.failed[1].change.scope.keys.size(), std::size_t(1));
    }

    /// A name that is too long, and more collections than a will has room for, stand in nobody's way.
    void longNames()
    {
        Installation all;
        const QString name(5000, QLatin1Char('x')), longName = root + QLatin1Char('/') + name;
        all.A().Do(add(longName, "1"));
        all.A().Do(set(first, "2"));
        all.owner->Do(AddChange(longName, ModelTree::collection, nullptr));
        for (int i = 0; i < 1000; ++i)
            all.owner->Do(AddChange(root + QStringLiteral("/%1%2").arg(name.left(100)).arg(i),
                                    ModelTree::collection, nullptr));
        all.world.Run(10);
        QCOMPARE(all.A().tree.failed.size(), std::size_t(1));
        QCOMPARE(all.owner->tree.At(first), Bytes("2"));
        QVERIFY(all.owner->owner->GetWill().payload.size() <= 65535);
        MirrorPeer& late = all.StartMirror("late");
        all.world.Run(5000);
        QCOMPARE(late.mirror->GetState(), BranchState::Live);
        QCOMPARE(late.mirror->GetNumbers().size(), std::size_t(1002));
    }

    /// Sessions stand in the log: who was there before counts, also for an owner that has just begun.
    void foreignSession()
    {
        Installation all;
        const Topics topics;
        const QString branch = QStringLiteral("S1");
        all.Intrude(topics.Presence("other", idOf(100)), Encode(PresenceMessage{}));
        all.Intrude(topics.Up(branch, "other", idOf(100)),
                    Encode(WishMessage{idOf(1), 0, 1, {set(first, "x")}}));
        all.Intrude(topics.Presence("other", idOf(100)), Bytes());
        all.world.Run(10);
        QCOMPARE(all.owner->tree.At(first), Bytes("a"));
        all.A().Do(add(root + QStringLiteral("/mine"), "y"));
        all.world.Run(60000);
        QCOMPARE(all.owner->tree.At(root + QStringLiteral("/mine")), Bytes("y"));
    }

    /// Whose an item is.
    void ownItems()
    {
        Installation all;
        const QString mine = root + QStringLiteral("/shelf/mine"),
                      owners = root + QStringLiteral("/shelf/own");
        const auto wish = [&](const Bytes& user, uint session, quint64 number, const Change& change) {
            all.Intrude(Topics().Up(QStringLiteral("S1"), user, idOf(session)),
                        Encode(WishMessage{idOf(1), 0, number, {change}}));
            all.world.Run(10);
        };
        all.owner->Do(add(owners, "owner's"));
        all.A().Do(add(mine, "1"));
        all.A().Do(set(mine, "2"));
        all.world.Run(10);
        QCOMPARE(all.owner->tree.At(mine), Bytes("2"));
        QVERIFY(all.A().tree.failed.empty());
        wish("another", 300, 1, add(mine, "3"));
        wish("another", 300, 2, add(owners, "3"));
        QCOMPARE(all.owner->tree.At(mine), Bytes("2"));
        QCOMPARE(all.owner->tree.At(owners), Bytes("owner's"));
        wish("operator", 301, 1, add(mine, "4")); // the next life of that program
        QCOMPARE(all.owner->tree.At(mine), Bytes("4"));
        all.world.Run(60000);
        QCOMPARE(all.owner->tree.At(mine), Bytes("none"));
        QCOMPARE(all.owner->tree.At(owners), Bytes("owner's"));
    }
};

KOLTA_TEST(TestBranch);
#include "tst_branch.moc"
