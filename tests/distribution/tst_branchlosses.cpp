#include "modelinstallation.h"

#include <distribution/nameprobe.h>

#include <startup/errorhandler.h>

using namespace distribution;

/// Owner and mirrors step by step: what happens when somebody or something is lost, or foreign.
class TestBranchLosses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ownerKilled_data()
    {
        const Rows<bool, int, int> row("noticed suspectMs lostMs");
        row("the broker tells", true, 1, 2000);
        row("nobody tells", false, 12501, 22501);
    }

    void ownerKilled()
    {
        QFETCH(bool, noticed);
        QFETCH(int, suspectMs);
        QFETCH(int, lostMs);
        Installation all;
        all.world.RunTo(5000 + 2); // right behind a beat
        all.A().Do(set(first, "before"));
        all.world.Run(1);
        all.KillOwner(noticed);
        const qint64 killed = noticed ? all.world.now : all.A().mirror->GetLastBeatMs();
        if (!noticed) {
            all.world.RunTo(killed + suspectMs - 1);
            QCOMPARE(all.StateOfA(), BranchState::Live);
        }
        all.world.RunTo(killed + suspectMs);
        QCOMPARE(all.StateOfA(), BranchState::Suspect);
        QVERIFY(all.A().Do(set(second, "waiting")));
        all.world.RunTo(killed + lostMs - 1);
        QCOMPARE(all.StateOfA(), BranchState::Suspect);
        QCOMPARE(all.A().tree.At(sentinel), Bytes("ready"));
        all.world.RunTo(killed + lostMs + 1);
        QCOMPARE(all.StateOfA(), BranchState::Lost);
        QCOMPARE(all.A().tree.At(sentinel), Bytes("none"));
        QCOMPARE(all.A().tree.At(first), Bytes("before"));
        // Writing is refused at once, and the sentinel's end here is no wish.
        all.A().Do(set(first, "too late"));
        all.world.Run(1);
        QCOMPARE(all.A().tree.At(first), Bytes("before"));
        QCOMPARE(all.A().tree.failed.back().result, WishResult::Refused);
        // A joiner finds what the broker has kept, without the sentinel.
        MirrorPeer& late = all.StartMirror("late");
        all.world.Run(noticed ? 12000 : 40000);
        QCOMPARE(late.mirror->GetState(), BranchState::Lost);
        QCOMPARE(late.tree.At(second), Bytes("b"));
        QCOMPARE(late.tree.At(sentinel), Bytes("none"));
        // The next life: only what differs is told, the sentinel last.
        const std::size_t start = all.A().tree.heard.size();
        all.A().tree.states.clear();
        all.StartOwner(2);
        all.world.Run(8000);
        QCOMPARE(all.A().tree.states, (std::vector<BranchState>{BranchState::Joining, BranchState::Live}));
        QCOMPARE(heardSince(all.A().tree, start), Bytes("a=a map= state=ready"));
        QVERIFY(all.Same());
        QCOMPARE(all.A().tree.failed.size(), std::size_t(2));
    }

    void ownerHangs()
    {
        Installation all;
        all.world.Remove(all.owner.get());
        all.world.Run(30000);
        QCOMPARE(all.StateOfA(), BranchState::Lost);
        all.world.Add(all.owner.get());
        const int states = all.owner->published[TopicKind::State];
        all.world.Run(10);
        QCOMPARE(all.StateOfA(), BranchState::Live);
        QVERIFY(all.Same());
        QCOMPARE(all.owner->published[TopicKind::State], states);
    }

    void brokerAway_data()
    {
        const Rows<bool, int, bool> row("keeps awayMs lost");
        row("short", false, 5000, false);
        row("long", false, 30000, true);
        row("long, and it remembers", true, 30000, true);
    }

    void brokerAway()
    {
        QFETCH(bool, keeps);
        QFETCH(int, awayMs);
        Installation all;
        int executed = 0;
        all.owner->tree.executing = [&](const Writer&, const Change&) { ++executed; };
        const int states = all.owner->published[TopicKind::State];
        all.A().tree.states.clear();
        all.world.broker.Restart(keeps, awayMs);
        all.world.Run(1);
        all.A().Do(set(first, "while away"));
        all.world.Run(awayMs + 10000);
        QTEST(std::count(all.A().tree.states.begin(), all.A().tree.states.end(), BranchState::Lost) > 0,
              "lost");
        QCOMPARE(all.StateOfA(), BranchState::Live);
        QVERIFY(all.Same());
        QCOMPARE(executed, awayMs < 10000 ? 1 : 0);
        QCOMPARE(all.A().tree.failed.size(), std::size_t(1 - executed));
        QCOMPARE(all.owner->published[TopicKind::State], states);
    }

    /// A broker or a bridge may bring the claim of a dead life at any time, and for ever.
    void oldClaimDoesNotTrap()
    {
        Installation all;
        const auto claim = [&](uint epoch, LiveState state) {
            LiveMessage live;
            live.epoch = idOf(epoch);
            live.state = state;
            live.roots = QStringList{root};
            all.Intrude(Topics().Live(QStringLiteral("S1")), Encode(live), true);
        };
        // Beside an owner that lives: nobody follows, and the owner says its claim again.
        all.A().tree.states.clear();
        claim(7, LiveState::Alive);
        all.world.Run(1500);
        claim(1, LiveState::Dead);
        all.world.Run(20000);
        QCOMPARE(all.A().mirror->GetEpoch(), idOf(1));
        QVERIFY(std::count(all.A().tree.states.begin(), all.A().tree.states.end(), BranchState::Lost) == 0);
        QVERIFY(all.Same());
        // Before the owner of a next life: it is followed, is never taken for alive, and is left for the one
        // that beats.
        all.KillOwner(true);
        all.world.Run(1);
        claim(7, LiveState::Alive);
        all.world.Run(40000);
        QCOMPARE(all.A().mirror->GetEpoch(), idOf(7));
        QCOMPARE(all.StateOfA(), BranchState::Lost);
        all.StartOwner(2);
        all.world.Run(10);
        claim(7, LiveState::Alive);
        all.world.Run(10000);
        QCOMPARE(all.StateOfA(), BranchState::Live);
        QVERIFY(all.Same());
        // In the place of one that hangs. When that one returns it knows the numbers that its writers have
        // used, and what it had announced is not heard again.
        all.A().Do(set(first, "numbered"));
        all.owner->Do(AnnounceChange(first, 77));
        all.world.Run(10);
        const auto heard = all.A().tree.heard.size();
        QVERIFY(heardSince(all.A().tree, 0).find("!77") != Bytes::npos);
        all.world.Remove(all.owner.get());
        all.world.Run(20000);
        claim(8, LiveState::Alive);
        all.world.Run(10);
        QCOMPARE(all.A().mirror->GetEpoch(), idOf(8));
        all.world.Add(all.owner.get());
        all.world.Run(20000);
        all.A().Do(set(second, "numbered, too"));
        all.world.Run(2000);
        QCOMPARE(all.owner->tree.At(second), Bytes("numbered, too"));
        QCOMPARE(heardSince(all.A().tree, heard).find("!77"), Bytes::npos);
        QVERIFY(all.Same());
    }

    void lostMessages()
    {
        Installation all;
        // A gap is filled by a replay, a lost tail by the beat; both without a state.
        const int states = all.owner->published[TopicKind::State];
        all.world.broker.SetWeather({0, 100, 0, true});
        all.owner->Do(set(first, "lost"));
        all.world.Run(1);
        all.world.broker.SetWeather({});
        all.owner->Do(set(second, "after the gap"));
        all.world.Run(1);
        QCOMPARE(all.A().tree.At(second), Bytes("b"));
        all.world.Run(300);
        QVERIFY(all.Same());
        all.world.broker.SetWeather({0, 100, 0, true});
        all.owner->Do(set(first, "lost too"));
        all.world.Run(1);
        all.world.broker.SetWeather({});
        all.world.Run(8000);
        QVERIFY(all.Same());
        QCOMPARE(all.owner->published[TopicKind::State], states);
    }

    void refusedMessages_data()
    {
        const QString branch = QStringLiteral("S1");
        const Topics topics;
        const Bytes up = topics.Up(branch, "mallory", idOf(300));
        Change pathless = add(QStringLiteral("/r//x"), "x");
        pathless.id = 90;
        Change known = set(first, "half"), unknown = set(second, "wrong"), delta = unknown;
        known.id = 1;
        unknown.id = 4000;
        delta.id = 2;
        delta.operation = Operation::Delta;
        delta.content = MakeContent(Bytes("\1\1\0\0\0x", 6)); // runs that fit, but make another text
        const auto log = [&known](const Change& change) {
            return EncodeLogHead(idOf(1), 4, 1) + EncodeEntry({QUuid(), 0, {}, {known, change}});
        };
        const auto wish = [](const QString& path) {
            return Encode(WishMessage{idOf(1), 0, 1, {set(second, "half"), RemoveChange(path)}});
        };
        const Rows<Bytes, Bytes, QString, int> row("topic message told lines");
        row("another version", "kolta/2/b/S1/beat", Encode(BeatMessage{idOf(7), {}}), "malformed", 0);
        row("live", topics.Live(branch), "\1\0garbage", "malformed", 2); // by both mirrors
        row("beat", topics.Beat(branch), "garbage", "malformed", 2);
        row("log", topics.Log(branch, 0), "garbage", "malformed", 2);
        row("state", topics.State(branch, 0) + "/0", "garbage", "malformed", 0); // nobody has asked
        row("an entry's path", topics.Log(branch, 0), log(pathless), "does not fit", 2);
        row("an entry's item", topics.Log(branch, 0), log(unknown), "does not fit", 2);
        row("an entry's delta", topics.Log(branch, 0), log(delta), "does not fit", 2);
        row("wish", up, "\5garbage", "a malformed message of mallory", 1);
        row("a wish's path", up, wish(QStringLiteral("no path")), "a malformed message of mallory", 1);
        row("a wish of very many changes", up,
            Encode(WishMessage{idOf(1), 0, 1, Changes(Limits::kWishChanges + 1, set(second, "half"))}),
            "a malformed message of mallory", 1);
        row("leave in another's name", topics.Presence("mallory", idOf(100)), "",
            "user mallory speaks under the session of another", 1);
    }

    /// What does not fit is told once, changes nothing, and holds nobody up.
    void refusedMessages()
    {
        QFETCH(Bytes, topic);
        QFETCH(Bytes, message);
        QFETCH(QString, told);
        QFETCH(int, lines);
        Installation all;
        all.A().Do(add(root + QStringLiteral("/own"), "lives as long as its writer"));
        all.A().Do(set(first, "mine"));
        all.world.Run(100);
        QCOMPARE(all.A().mirror->GetNumbers()[0].number, quint64(2));
        all.owner->Do(set(first, "theirs"));
        all.world.Run(100);
        const QStringList before = all.owner->tree.Dump();
        const Startup::TraceRecorder traces;
        for (int i = 0; i < 3; ++i) {
            all.Intrude(topic, message);
            all.world.Run(50);
            QCOMPARE(all.A().tree.Dump(), before);
        }
        QCOMPARE(traces.count(told), lines);
        all.world.Run(20000);
        QCOMPARE(all.owner->tree.Dump(), before);
        all.A().Do(set(second, "right"));
        all.world.Run(20000);
        QCOMPARE(all.owner->tree.At(second), Bytes("right"));
        QCOMPARE(all.StateOfA(), BranchState::Live);
        QVERIFY(all.Same());
    }

    /// An owner that writes into another branch's place changes nothing there, whatever it says.
    void outsideTheRoots()
    {
        Installation all;
        const QString theirs = QStringLiteral("/s/x"), list = QStringLiteral("/s/list");
        all.A().tree.items[theirs].content = "theirs";
        all.A().tree.items[list] = {ModelTree::collection, Bytes(), {{"k", "theirs"}}};
        const Startup::TraceRecorder traces;
        all.owner->Do(add(theirs, "mine"));
        all.owner->Do(AddChange(list, ModelTree::collection, nullptr));
        all.world.Run(10);
        all.owner->Do(set(theirs, "changed"));
        all.owner->Do(ModelTree::Commands(list, "Sk=mine;"));
        all.world.Run(10);
        all.owner->Do(RemoveChange(theirs));
        all.owner->Do(RemoveChange(list));
        all.world.Run(10);
        LiveMessage live;
        live.epoch = idOf(1);
        live.roots = QStringList{root};
        live.sentinel = theirs;
        all.Intrude(Topics().Live(QStringLiteral("S1")), Encode(live));
        all.KillOwner(true);
        all.world.Run(20000);
        QCOMPARE(all.StateOfA(), BranchState::Lost);
        QCOMPARE(all.A().tree.At(theirs), Bytes("theirs"));
        QCOMPARE(all.A().tree.At(list, "k"), Bytes("theirs"));
        QVERIFY(traces.count(QStringLiteral("outside its roots")) > 0);
    }

    /// What is heard of lives that come and go is taken for what it proves.
    void livesHeardOf()
    {
        Installation all;
        const Bytes topic = Topics().Live(QStringLiteral("S1"));
        LiveMessage live;
        live.epoch = idOf(1);
        live.roots = QStringList{root};
        live.sentinel = sentinel;
        all.KillOwner(true);
        all.world.Run(4000);
        QCOMPARE(all.StateOfA(), BranchState::Lost);
        all.Intrude(topic, Encode(live));
        all.world.Run(100);
        QCOMPARE(all.StateOfA(), BranchState::Lost); // without a beat
        // A whole life, while A was away.
        all.world.broker.Cut(all.A().carrier, 60000);
        all.StartOwner(2);
        all.world.Run(20000);
        all.owner->Withdraw(all.world.now);
        all.world.Remove(all.owner.get());
        all.world.Run(60000);
        QCOMPARE(all.StateOfA(), BranchState::Withdrawn);
        QVERIFY(all.A().tree.items.empty());
    }

    void timeOutAndSleep()
    {
        Installation all;
        int executed = 0;
        all.owner->tree.executing = [&](const Writer&, const Change&) { ++executed; };
        // The owner does not hear: the way up is broken.
        all.owner->carrier.Unsubscribe(Topics().OwnerFilters(QStringLiteral("S1"))[2]);
        all.A().Do(set(first, "mine"));
        all.world.Run(9999);
        QCOMPARE(all.A().tree.At(first), Bytes("mine"));
        QVERIFY(all.A().expiryMs <= 1000); // what is sent again does not live longer
        all.world.Run(2);
        QCOMPARE(all.A().tree.failed.back().result, WishResult::Unknown);
        QCOMPARE(all.A().tree.At(first), Bytes("a"));
        // It hears again: the number is taken without the change, and the next wish is executed.
        all.owner->carrier.Subscribe(Topics().OwnerFilters(QStringLiteral("S1"))[2]);
        all.A().Do(set(second, "next"));
        all.world.Run(2000);
        QCOMPARE(executed, 1);
        QVERIFY(all.Same());
        // The machine sleeps with a wish that has not left: it never leaves.
        all.world.broker.Cut(all.A().carrier, 5000);
        all.world.Run(1);
        all.A().Do(set(first, "before sleep"));
        all.A().OnTime(all.world.now);
        all.world.now += 3600000;
        all.world.Run(20000);
        QCOMPARE(all.A().tree.failed.back().result, WishResult::TooLate);
        QCOMPARE(executed, 1);
        QVERIFY(all.Same());
        // Longer asleep than its owner keeps what is its own, though back on the line at once: what follows
        // the sentinel begins anew.
        all.A().tree.states.clear();
        all.world.now += 60000;
        all.world.broker.Cut(all.A().carrier, 200);
        all.world.Run(10000);
        QVERIFY(std::count(all.A().tree.states.begin(), all.A().tree.states.end(), BranchState::Lost) == 1);
        QCOMPARE(all.A().tree.states.back(), BranchState::Live);
        QVERIFY(all.Same());
    }

    void goneWritersItems()
    {
        Installation all;
        all.world.Remove(&all.B());
        all.mirrors.pop_back();
        all.StartMirror("another");
        const QString request = root + QStringLiteral("/Clients/a");
        all.A().Do(add(request, "here"));
        all.A().Do(add(request + QStringLiteral("/below"), "too"));
        all.A().Do(set(first, "stays"));
        all.world.Run(10);
        // A cut line is mended before it counts, also when the broker has forgotten everything.
        all.world.broker.Cut(all.A().carrier, 3000);
        all.world.Run(15000);
        all.world.broker.Restart(false, 1000);
        all.world.Run(30000);
        QCOMPARE(all.owner->tree.At(request), Bytes("here"));
        all.world.Remove(&all.A());
        all.mirrors.erase(all.mirrors.begin());
        all.world.Run(9990);
        QCOMPARE(all.owner->tree.At(request), Bytes("here"));
        all.world.Run(1000);
        QCOMPARE(all.owner->tree.At(request), Bytes("none"));
        QCOMPARE(all.owner->tree.At(first), Bytes("stays"));
        QCOMPARE(all.A().tree.Dump(), all.owner->tree.Dump()); // the other one
        // It dies with the broker, which then knows of nobody.
        all.A().Do(add(request, "last"));
        all.world.Run(10);
        all.world.broker.Restart(false, 1000);
        all.world.Remove(&all.A());
        all.mirrors.clear();
        all.world.Run(30000);
        QCOMPARE(all.owner->tree.At(request), Bytes("none"));
    }

    void names()
    {
        Installation all;
        // A second owner that looks first sees that the name is taken, and free once the owner is dead for a
        // while.
        for (const bool taken : {true, false}) {
            if (!taken)
                all.KillOwner(false);
            NameProbe probe(QStringLiteral("S1"), Topics(), "anonymous");
            MemoryCarrier carrier(all.world.broker);
            carrier.onMessage = [&](const Bytes& topic, const Bytes& payload) {
                probe.OnMessage(*Topics().Parse(topic), payload, all.world.now);
            };
            carrier.Open({}, Bytes());
            all.world.Run(1);
            const Output out = probe.OnUp(all.world.now);
            for (const Bytes& filter : out.subscribe)
                carrier.Subscribe(filter);
            for (const Publication& publication : out.publish)
                carrier.Publish(publication);
            all.world.Run(12600);
            probe.OnTime(all.world.now);
            QCOMPARE(probe.GetResult(), taken ? NameProbe::Result::Taken : NameProbe::Result::Free);
            QCOMPARE(probe.GetHost(), QStringLiteral("host"));
        }
        // On a slow line what the broker keeps comes late.
        for (const bool taken : {true, false}) {
            const Topics topics;
            NameProbe probe(QStringLiteral("S1"), topics, "anonymous");
            const Bytes echo = probe.OnUp(0).publish.front().topic;
            probe.OnTime(2900);
            LiveMessage live;
            live.epoch = QUuid::createUuid();
            if (taken) {
                const Output out =
                    probe.OnMessage(*topics.Parse(topics.Live(QStringLiteral("S1"))), Encode(live), 3000);
                QCOMPARE(DecodeAsk(out.publish.front().payload)->epoch, live.epoch);
            }
            probe.OnMessage(*topics.Parse(echo), Bytes(), 3000);
            QCOMPARE(probe.GetResult(), NameProbe::Result::Waiting);
            probe.OnTime(taken ? 8999 : 3600);
            QCOMPARE(probe.GetResult(), taken ? NameProbe::Result::Waiting : NameProbe::Result::Free);
            if (taken)
                probe.OnMessage(*topics.Parse(topics.Beat(QStringLiteral("S1"))),
                                Encode(BeatMessage{live.epoch, {}}), 9000);
            QCOMPARE(probe.GetResult(), taken ? NameProbe::Result::Taken : NameProbe::Result::Free);
        }
        // One that takes over displaces the first, which stays silent.
        all.StartOwner(2);
        all.world.Run(100);
        const std::unique_ptr<OwnerPeer> former = std::move(all.owner);
        int displaced = 0;
        former->owner->SetEvents({[&displaced] { ++displaced; }, {}});
        // Its end is told by the other one, who does not know where the tree's changes concern its mirrors.
        LiveMessage dead;
        dead.epoch = idOf(2);
        dead.state = LiveState::Dead;
        all.Intrude(Topics().Live(QStringLiteral("S1")), Encode(dead), true);
        all.world.Run(10);
        QCOMPARE(all.StateOfA(), BranchState::Suspect);
        QCOMPARE(all.A().mirror->GetRoots(), QStringList{root});
        all.StartOwner(3);
        all.world.Run(30000);
        QCOMPARE(displaced, 1);
        QVERIFY(former->owner->IsDisplaced() && !all.owner->owner->IsDisplaced());
        QVERIFY(all.Same());
        // Two that bridged brokers let beat beside each other: the greater epoch yields.
        for (int i = 0; i < 4; ++i) {
            all.world.Run(4000);
            all.Intrude(Topics().Beat(QStringLiteral("S1")), Encode(BeatMessage{idOf(2), {}}));
        }
        all.world.Run(10);
        QVERIFY(all.owner->owner->IsDisplaced());
        all.world.Remove(former.get());
    }

    void withdraw()
    {
        Installation all;
        all.A().Do(set(first, "under way"));
        all.A().OnTime(all.world.now);
        const std::size_t start = all.A().tree.heard.size();
        all.owner->Withdraw(all.world.now);
        all.world.Run(5000);
        QCOMPARE(all.StateOfA(), BranchState::Withdrawn);
        QVERIFY(all.A().tree.items.empty());
        QCOMPARE(heardSince(all.A().tree, start).substr(0, 6), Bytes("state-"));
        QCOMPARE(all.A().tree.failed.size(), std::size_t(1));
        QCOMPARE(all.world.broker.GetRetainedCount(), std::size_t(3)); // the withdrawal, and two who are here
        all.world.Remove(all.owner.get());
        all.StartOwner(2);
        all.world.Run(3000);
        QVERIFY(all.Same());
    }
};

KOLTA_TEST(TestBranchLosses);
#include "tst_branchlosses.moc"
