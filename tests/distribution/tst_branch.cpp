#include "modelworld.h"

#include <distribution/nameprobe.h>

#include <support/rows.h>

#include <QTest>

#include <set>

using namespace distribution;

Q_DECLARE_METATYPE(distribution::Bytes)

namespace {

const QString root = QStringLiteral("/r");
const QString sentinel = QStringLiteral("/r/state");
const QString first = QStringLiteral("/r/a");
const QString second = QStringLiteral("/r/b");
const QString map = QStringLiteral("/r/map");

QUuid idOf(uint number)
{
    return QUuid(number, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10);
}

Change set(const QString& path, const Bytes& content, bool compare = false)
{
    return SetChange(path, MakeContent(content), compare);
}

Change add(const QString& path, const Bytes& content)
{
    return AddChange(path, ModelTree::text, MakeContent(content));
}

/// Lets everybody but one write.
class NoSuchUser final : public IWritePolicy
{
public:
    bool Allows(const Request& request) const override { return request.writer.user != "guest"; }
};

/// An owner and two mirrors of its branch.
struct Installation
{
    explicit Installation(std::size_t maximumPayload = 1U << 20U, qint64 delayMs = 0)
        : payload(maximumPayload)
    {
        world.broker.SetWeather({delayMs, 0, 0, false});
        StartOwner(1);
        for (uint i = 0; i < 2; ++i)
            StartMirror(i == 0 ? "operator" : "guest");
        world.Run(3000);
    }
    void StartOwner(uint epoch)
    {
        OwnerSettings settings;
        settings.epoch = idOf(epoch);
        settings.branch = QStringLiteral("S1");
        settings.host = QStringLiteral("host");
        settings.roots = QStringList{root};
        settings.sentinel = sentinel;
        settings.logBytes = logBytes;
        owner = std::make_unique<OwnerPeer>(
            world.broker, world.now, settings,
            [this](ModelTree& tree) {
                tree.items[first].content = "a";
                tree.items[second].content = "b";
                tree.items[sentinel].content = "ready";
                tree.items[map].type = ModelTree::collection;
                if (fill)
                    fill(tree);
            },
            std::make_unique<NoSuchUser>(), payload);
        world.Add(owner.get());
    }
    MirrorPeer& StartMirror(const Bytes& user)
    {
        MirrorSettings settings;
        settings.branch = QStringLiteral("S1");
        settings.user = user;
        settings.session = idOf(100 + uint(mirrors.size()));
        mirrors.push_back(std::make_unique<MirrorPeer>(world.broker, world.now, settings, payload));
        world.Add(mirrors.back().get());
        return *mirrors.back();
    }
    /// Without will: as when the host loses power. The broker notices it late.
    void KillOwner(bool noticed)
    {
        world.Remove(owner.get());
        if (!noticed)
            world.broker.Cut(owner->carrier, 1000000, 1000000);
        owner.reset();
    }
    /// Publishes what no owner has said.
    void Intrude(const Bytes& topic, const Bytes& message, bool retained = false)
    {
        if (!intruder) {
            intruder = std::make_unique<MemoryCarrier>(world.broker);
            intruder->Open({}, Bytes());
            world.Run(50);
        }
        intruder->Publish({topic, message, Delivery::AtLeastOnce, retained, 0});
    }
    MirrorPeer& A() { return *mirrors[0]; }
    MirrorPeer& B() { return *mirrors[1]; }
    BranchState StateOfA() { return A().mirror->GetState(); }
    bool Same() { return A().tree.Dump() == owner->tree.Dump() && B().tree.Dump() == owner->tree.Dump(); }

    World world;
    std::size_t payload;
    std::size_t logBytes = 8U << 20U;
    std::function<void(ModelTree&)> fill;
    std::unique_ptr<OwnerPeer> owner;
    std::vector<std::unique_ptr<MirrorPeer>> mirrors;
    std::unique_ptr<MemoryCarrier> intruder;
};

/// What has been heard since, one word each.
Bytes heardSince(const ModelTree& tree, std::size_t start)
{
    Bytes words;
    for (std::size_t i = start; i < tree.heard.size(); ++i) {
        const Change& change = tree.heard[i];
        words += (words.empty() ? "" : " ") + change.path.mid(3).toStdString();
        if (change.operation == Operation::Announce)
            words += '!' + std::to_string(change.code);
        else
            words += change.operation == Operation::Remove ? "-" : '=' + BytesOf(change.content);
    }
    return words;
}

} // namespace

/// Owner and mirrors step by step, with a clock driven by hand.
class TestBranch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void joinAndChange();
    void ownValueWhileUnderWay_data();
    void ownValueWhileUnderWay();
    void requestsReadAndRemoved();
    void announcementsOnce();
    void collectionKeepsOwnKeys();
    void refusedCommandsAreUndone();
    void manyWishesAreGathered();
    void ownerKilled_data();
    void ownerKilled();
    void ownerHangs();
    void brokerAway_data();
    void brokerAway();
    void oldClaimDoesNotTrap();
    void lostAndForeignMessages();
    void largeContents();
    void timeOutAndSleep();
    void goneWritersItems();
    void names();
    void withdraw();
    void manyJoin();
};

void TestBranch::joinAndChange()
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

void TestBranch::ownValueWhileUnderWay_data()
{
    QTest::addColumn<Bytes>("answer"); // what the owner's observer makes of it
    QTest::addColumn<bool>("guest");
    QTest::addColumn<Bytes>("meanwhile"); // what the owner had written just before
    QTest::addColumn<Bytes>("result");
    addRow("executed", Bytes(), false, Bytes(), Bytes("mine"));
    addRow("answered", Bytes("yours"), false, Bytes(), Bytes("yours"));
    addRow("after another's", Bytes(), false, Bytes("theirs"), Bytes("mine"));
    addRow("refused", Bytes(), true, Bytes(), Bytes("a"));
    addRow("refused after another's", Bytes(), true, Bytes("theirs"), Bytes("theirs"));
}

/// Until the owner has dealt with it the own content stays; then the owner's counts.
void TestBranch::ownValueWhileUnderWay()
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

void TestBranch::requestsReadAndRemoved()
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

void TestBranch::announcementsOnce()
{
    Installation all;
    all.world.broker.SetWeather({30, 0, 60, false});
    all.owner->tree.executing = [&](const Writer&, const Change& change) {
        if (change.operation == Operation::Announce)
            all.owner->tree.Do(AnnounceChange(second, 900 + change.code));
    };
    const std::size_t a = all.A().tree.heard.size();
    const std::size_t b = all.B().tree.heard.size();
    for (int code = 1; code <= 3; ++code) {
        all.A().Do(AnnounceChange(first, code));
        all.world.Run(1);
    }
    all.world.Run(20000);
    QCOMPARE(heardSince(all.A().tree, a), Bytes("b!901 b!902 b!903"));
    QCOMPARE(heardSince(all.B().tree, b), Bytes("a!1 b!901 a!2 b!902 a!3 b!903"));
}

void TestBranch::collectionKeepsOwnKeys()
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

void TestBranch::refusedCommandsAreUndone()
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

void TestBranch::manyWishesAreGathered()
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

void TestBranch::ownerKilled_data()
{
    QTest::addColumn<bool>("noticed");
    QTest::addColumn<int>("suspectMs");
    QTest::addColumn<int>("lostMs");
    addRow("the broker tells", true, 1, 2000);
    addRow("nobody tells", false, 12501, 22501);
}

void TestBranch::ownerKilled()
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

void TestBranch::ownerHangs()
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

void TestBranch::brokerAway_data()
{
    QTest::addColumn<bool>("keeps");
    QTest::addColumn<int>("awayMs");
    QTest::addColumn<bool>("lost");
    addRow("short", false, 5000, false);
    addRow("long", false, 30000, true);
    addRow("long, and it remembers", true, 30000, true);
}

void TestBranch::brokerAway()
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
    QTEST(std::count(all.A().tree.states.begin(), all.A().tree.states.end(), BranchState::Lost) > 0, "lost");
    QCOMPARE(all.StateOfA(), BranchState::Live);
    QVERIFY(all.Same());
    QCOMPARE(executed, awayMs < 10000 ? 1 : 0);
    QCOMPARE(all.A().tree.failed.size(), std::size_t(1 - executed));
    QCOMPARE(all.owner->published[TopicKind::State], states);
}

/// A broker or a bridge may bring the claim of a dead life at any time, and for ever.
void TestBranch::oldClaimDoesNotTrap()
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
    // Before the owner of a next life: it is followed, is never taken for alive, and is left for the one that
    // beats.
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
}

void TestBranch::lostAndForeignMessages()
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
    // What does not fit changes nothing, and the state mends it.
    const auto log = [&](const Entry& entry) {
        const quint64 next = all.A().mirror->GetNumbers()[0].number + 1;
        all.Intrude(Topics().Log(QStringLiteral("S1"), 0),
                    EncodeLogHead(idOf(1), next, 1) + EncodeEntry(entry));
    };
    const QStringList before = all.A().tree.Dump();
    Change known = set(first, "half");
    known.id = 1;
    Change wrong = set(second, "wrong");
    wrong.id = 4000;
    log({QUuid(), 0, {}, {known, wrong}});
    wrong.id = 2;
    wrong.operation = Operation::Delta;
    wrong.content = MakeContent(Bytes("\1\1\0\0\0x", 6)); // runs that fit, but make another text
    log({QUuid(), 0, {}, {known, wrong}});
    all.Intrude(Topics().Log(QStringLiteral("S1"), 0), "garbage");
    all.world.Run(1);
    QCOMPARE(all.A().tree.Dump(), before);
    all.owner->Do(set(first, "right"));
    all.world.Run(12000);
    QVERIFY(all.Same());
    QCOMPARE(all.A().tree.At(first), Bytes("right"));
}

void TestBranch::largeContents()
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
    // A writer's text is not cut into parts.
    all.A().Do(set(first, Bytes(100000, 'x')));
    all.world.Run(10);
    QCOMPARE(all.A().tree.failed.back().result, WishResult::Refused);
    QVERIFY(all.Same());
}

void TestBranch::timeOutAndSleep()
{
    Installation all;
    int executed = 0;
    all.owner->tree.executing = [&](const Writer&, const Change&) { ++executed; };
    // The owner does not hear: the way up is broken.
    all.owner->carrier.Unsubscribe(Topics().OwnerFilters(QStringLiteral("S1"))[2]);
    all.A().Do(set(first, "mine"));
    all.world.Run(9999);
    QCOMPARE(all.A().tree.At(first), Bytes("mine"));
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
}

void TestBranch::goneWritersItems()
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

void TestBranch::names()
{
    Installation all;
    // A second owner that looks first sees that the name is taken, and free once the owner is dead for a
    // while.
    for (const bool taken : {true, false}) {
        if (!taken)
            all.KillOwner(false);
        NameProbe probe(QStringLiteral("S1"), Topics());
        MemoryCarrier carrier(all.world.broker);
        carrier.onMessage = [&](const Bytes& topic, const Bytes& payload) {
            probe.OnMessage(*Topics().Parse(topic), payload, all.world.now);
        };
        carrier.Open({}, Bytes());
        all.world.Run(1);
        for (const Bytes& filter : probe.OnUp(all.world.now).subscribe)
            carrier.Subscribe(filter);
        all.world.Run(12600);
        probe.OnTime(all.world.now);
        QCOMPARE(probe.GetResult(), taken ? NameProbe::Result::Taken : NameProbe::Result::Free);
        QCOMPARE(probe.GetHost(), QStringLiteral("host"));
    }
    // One that takes over displaces the first, which stays silent.
    all.StartOwner(2);
    all.world.Run(100);
    const std::unique_ptr<OwnerPeer> former = std::move(all.owner);
    int displaced = 0;
    former->owner->SetEvents({[&displaced] { ++displaced; }});
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

void TestBranch::withdraw()
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

void TestBranch::manyJoin()
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

QTEST_GUILESS_MAIN(TestBranch)
#include "tst_branch.moc"
