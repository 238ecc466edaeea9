#include "modelworld.h"

#include <support/test.h>

#include <distribution/guard.h>
#include <distribution/mirroredtree.h>
#include <distribution/ownedtree.h>
#include <distribution/treecontent.h>

#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>
#include <koltacommon/shorttimevalues.h>

#include <stdexcept>

using namespace Kolta;
using namespace distribution;

namespace {

const QString root = "/r"_s;
const QString mapPath = "/r/m"_s;

/// A process's value tree, and whether something was done in it that nobody has taken yet.
struct RealTree
{
    bool HasChanges() const { return changed; }

    values::Tree tree;
    ChangeCollector collector{tree};
    bool changed = false;
};

class OwnedSide final : public RealTree, public IOwnedTree
{
public:
    Changes Initial() { return ContentBelow(tree, {root}); }
    Changes TakeChanges() override
    {
        changed = false;
        return m_owned.TakeChanges();
    }
    Executed Execute(const Writer& writer, const Changes& changes) override
    {
        return m_owned.Execute(writer, changes);
    }
    Content ReadCollection(const QString& path) override { return m_owned.ReadCollection(path); }

private:
    OwnedTree m_owned{collector, {root}, [this] { changed = true; }};
};

class MirroredSide final : public RealTree, public IMirroredTree
{
public:
    MirroredSide() { m_mirrored.SetRoots({root}); }
    Changes TakeChanges() override
    {
        changed = false;
        return m_mirrored.TakeChanges();
    }
    void Apply(const Change& change) override { m_mirrored.Apply(change); }
    bool ApplySplice(const QString& path, const values::TextSplice& splice) override
    {
        return m_mirrored.ApplySplice(path, splice);
    }
    bool ApplyCommands(const QString& path, const Bytes& commands, const values::PendingChanges& own) override
    {
        return m_mirrored.ApplyCommands(path, commands, own);
    }
    void ApplyState(const QString& path, qint32 type, const Bytes& state,
                    const std::vector<Content>& own) override
    {
        m_mirrored.ApplyState(path, type, state, own);
    }
    void OnWishFailed(const FailedWish& wish) override { m_mirrored.OnWishFailed(wish); }
    void OnStateChanged(BranchState /*state*/) override {}

private:
    MirroredTree m_mirrored{
        collector, {[this] { changed = true; }, [](BranchState) {}, [](const QString&, const QString&) {}}};
};

void addRequests(...) {}
template<class Protocol>
void addRequests(std::map<QString, std::string>* content, const ItemMapWithRequests<Protocol>* map)
{
    for (const auto& [id, request] : map->GetPendingRequests())
        Protocol::AppendRequest((*content)[QLatin1Char('?') + id.toString()], request);
}
/// Items and open requests as bytes: profiles need not be equal to themselves.
template<class Map>
std::map<QString, std::string> contentOf(const Map& map)
{
    std::map<QString, std::string> content;
    for (const auto& [key, item] : map.data())
        content[Map::Traits::ToText(key)] = Map::Format::toStandardString(item);
    addRequests(&content, &map);
    return content;
}

/// Makes random changes of one kind of collection, out of few keys so that they meet.
class RandomWriter
{
public:
    explicit RandomWriter(quint32 seed) : m_random(seed) {}

    void change(ShortTimeProfileItemMap& map)
    {
        ShortTimeProfile profile;
        profile.name = text();
        profile.useHopRate = profile.useSymbolRate = below(2) == 0;
        profile.frequencyMax = below(3);
        const quint32 what = below(8);
        if (what == 0)
            map.EraseAt(profile.name);
        else if (what == 1)
            below(10) == 0 ? map.Clear() : void();
        else if (what == 2)
            map.RequestTypeChange(profile.name, eShortTimeProfileHopper);
        else if (what == 3)
            reply(map, [&](const QUuid& id) { map.ReplyTypeChange(id, text()); });
        else if (what == 4)
            map.Set(std::list<ShortTimeProfile>{profile}, below(8) == 0, below(2) == 0);
        else
            map.Add(profile);
    }
    void change(ShortTimeFFPAssignmentItemMap& map)
    {
        ShortTimeFFPAssignment assignment;
        assignment.ffpGuid = below(5) ? text() : QString();
        for (quint32 i = below(3); i > 0; --i) // a null text counts as equal to an empty one
            assignment.profiles << (below(3) ? text() : below(2) ? QString() : QString(""_s));
        const quint32 what = below(5);
        if (what == 0)
            map.EraseAt(assignment.ffpGuid);
        else if (what == 1)
            map.RequestAssignmentChange(assignment);
        else if (what == 2)
            reply(map, [&](const QUuid& id) { map.ReplyAssignmentChange(id, text()); });
        else
            map.Add(assignment);
    }
    void change(ShortTimeResultItemMap& map)
    {
        ShortTimeResult result;
        result.id = below(8);
        result.profileName = text();
        const quint32 what = below(4);
        if (what == 0)
            map.EraseAt(result.id);
        else
            what == 1 ? map.AddNew(result) : map.Add(result);
    }
    quint32 below(quint32 bound) { return m_random.bounded(bound); }

private:
    QString text() { return QString(1 + static_cast<int>(below(2)), QChar(0xD800 + below(3))); }
    template<class Map, class Reply>
    void reply(Map& map, const Reply& answer)
    {
        if (!map.GetPendingRequests().empty())
            answer(QUuid(map.GetPendingRequests().begin()->first));
    }

    QRandomGenerator m_random;
};

/// An owner and three mirrors of one collection; `Map` is its kind.
template<class Map>
class History
{
public:
    /// With `isWild` everybody writes, observers answer, throw and take the collection away, lines break and
    /// the owner begins anew. Otherwise one writes, and each change is to be made once in every process.
    History(quint32 seed, bool isWild) : m_writer(seed), m_world(seed), m_isWild(isWild)
    {
        MemoryBroker::Weather weather;
        weather.maximumDelayMs = below(2) ? 30 : 800;
        weather.duplicatePercent = 10;
        weather.lossPercent = isWild ? 5 : 0;
        weather.loseAny = true;
        m_world.broker.SetWeather(weather);
        startOwner();
        for (quint32 i = 1; i <= 3; ++i) {
            MirrorSettings settings;
            settings.branch = "S1"_s;
            settings.user = "u";
            settings.session = QUuid(i, 7, 7, 1, 2, 3, 4, 5, 6, 7, 8);
            m_mirrors.push_back(
                std::make_unique<MirrorPeerOf<MirroredSide>>(m_world.broker, m_world.now, settings));
            m_world.Add(m_mirrors.back().get());
        }
        m_world.Run(10000);
    }
    /// What is wrong in the end; empty: nothing.
    QString Run()
    {
        const quint32 only = m_only = below(4);
        for (int step = 0; step < 300; ++step) {
            const quint32 who = m_isWild ? below(4) : only;
            Guarded([&] {
                if (Map* const map = living(treeOf(who)))
                    act(treeOf(who), *map);
            });
            if (m_isWild && below(60) == 0)
                Guarded([&] { disturb(); });
            m_world.Run(below(4) ? below(10) : below(400));
        }
        m_reactions = -1;
        m_world.broker.SetWeather({});
        for (int i = 0; i < 60 && (i < 5 || !isSettled()); ++i)
            m_world.Run(1000);
        return isSettled() ? compare() : notSettled();
    }

private:
    /// Does what it likes while somebody else's change is told.
    struct Reactor : IObserver
    {
        void Update(Observable* /*source*/, TChangeCode /*code*/) override { history->react(*side); }
        History* history;
        RealTree* side;
    };

    quint32 below(quint32 bound) { return m_writer.below(bound); }
    RealTree& treeOf(quint32 who)
    {
        return who == 0 ? static_cast<RealTree&>(m_owner->tree) : m_mirrors[who - 1]->tree;
    }
    Map* living(RealTree& side)
    {
        auto* const map = side.tree.FindAs<Map>(mapPath);
        return map && !map->IsDeleted() ? map : nullptr;
    }
    void startOwner()
    {
        OwnerSettings settings;
        settings.epoch = QUuid(++m_lives, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10);
        settings.branch = "S1"_s;
        settings.roots = QStringList{root};
        settings.logBytes = m_isWild ? 3000 : 1U << 20U;
        const auto fill = [this](OwnedSide& side) {
            auto* const map = side.tree.Emplace<Map>(mapPath);
            for (quint32 i = m_lives > 1 ? 20 : 0; i > 0; --i)
                m_writer.change(*map); // its former lives are forgotten
        };
        m_owner = std::make_unique<OwnerPeerOf<OwnedSide>>(m_world.broker, m_world.now, settings, fill);
        m_world.Add(m_owner.get());
    }
    void act(RealTree& side, Map& map)
    {
        if (below(20) > 0) {
            m_writer.change(map);
            return;
        }
        const values::Weak<Map> alive(&map);
        const auto transaction = map.CreateTransaction();
        for (int i = 0; i < 3 && alive && !map.IsDeleted(); ++i)
            m_writer.change(map);
        if (m_isWild && alive && below(3) == 0)
            replace(side, map);
    }
    /// Without commands. Not where requests may be open in a mirror: that would not end them.
    void replace(RealTree& side, Map& map)
    {
        if (std::is_same_v<Map, ShortTimeResultItemMap> && &side == &m_owner->tree)
            map.Assign(Map());
    }
    void disturb()
    {
        const quint32 what = below(7);
        if (what == 0) {
            m_world.Remove(m_owner.get());
            m_reactors.erase(&m_owner->tree);
            m_owner.reset();
            m_world.Run(below(4000));
            startOwner();
        } else if (what == 1) {
            m_owner->tree.tree.Remove(mapPath);
            m_world.Run(below(2) * 500);
            m_owner->tree.tree.template Emplace<Map>(mapPath);
        } else if (what == 2) {
            m_world.broker.Restart(below(2) == 0, below(3000));
        } else if (what == 3) {
            m_world.broker.Cut(m_mirrors[below(3)]->carrier, below(below(2) ? 500 : 15000));
        } else {
            RealTree& side = treeOf(below(4));
            Map* const map = living(side);
            if (map && m_reactors.count(&side) == 0) {
                Reactor& reactor = m_reactors[&side];
                reactor.history = this;
                reactor.side = &side;
                map->Attach(&reactor);
            }
        }
    }
    void react(RealTree& side)
    {
        Map* const map = living(side);
        if (!map || m_reactions < 0 || m_reactions > 20 || below(4) > 0)
            return;
        ++m_reactions;
        const quint32 what = below(12);
        if (what == 0)
            side.tree.Remove(mapPath);
        else if (what == 1)
            replace(side, *map);
        else if (what < 9)
            m_writer.change(*map);
        if (what < 3)
            throw std::runtime_error("observer");
    }
    bool isSettled() const
    {
        return std::all_of(m_mirrors.begin(), m_mirrors.end(), [&](const auto& peer) {
            const BranchMirror& mirror = *peer->mirror;
            return mirror.GetState() == BranchState::Live && mirror.GetOpenWishes() == 0 &&
                   mirror.GetEpoch() == m_owner->owner->GetEpoch() &&
                   NumbersOf(mirror) == NumbersOf(*m_owner->owner);
        });
    }
    QString notSettled() const
    {
        QString states;
        for (const auto& peer : m_mirrors)
            states +=
                " %1/%2"_s.arg(static_cast<int>(peer->mirror->GetState())).arg(peer->mirror->GetOpenWishes());
        return "not settled:"_s + states;
    }
    QString compare()
    {
        const Map* const truth = living(m_owner->tree);
        for (quint32 who = 1; who <= 3; ++who) {
            const Map* const map = living(treeOf(who));
            if (!map != !truth)
                return "mirror %1: the collection is there or it is not"_s.arg(who);
            if (map && contentOf(*map) != contentOf(*truth))
                return "mirror %1 differs"_s.arg(who);
            if (!m_isWild && who != m_only && map->GetChangeNumber() != truth->GetChangeNumber())
                return "mirror %1 has made another number of changes"_s.arg(who);
        }
        return QString();
    }

    RandomWriter m_writer;
    World m_world;
    bool m_isWild;
    quint32 m_only = 0;
    quint32 m_lives = 0;
    int m_reactions = 0;
    std::unique_ptr<OwnerPeerOf<OwnedSide>> m_owner;
    std::vector<std::unique_ptr<MirrorPeerOf<MirroredSide>>> m_mirrors;
    std::map<RealTree*, Reactor> m_reactors; ///< the first to go
};

template<class Map>
QString run(quint32 seed, bool isWild)
{
    return History<Map>(seed, isWild).Run();
}

} // namespace

/// Real collections, of which the model of the other tests knows nothing: their commands, requests and
/// observers.
class TestCollections : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        registerShortTimeValues();
        Startup::ErrorHandler::Instance().setMask(0);
    }
    void endAlike_data()
    {
        const Rows<int, bool> row("kind isWild");
        const char* const kinds[] = {"profiles", "assignments", "results"};
        for (int kind = 0; kind < 3; ++kind) {
            row(qPrintable(QLatin1String(kinds[kind]) + ", one writer"_s), kind, false);
            row(qPrintable(QLatin1String(kinds[kind]) + ", everybody"_s), kind, true);
        }
    }
    void endAlike()
    {
        QFETCH(int, kind);
        QFETCH(bool, isWild);
        using Runner = QString (*)(quint32, bool);
        constexpr Runner runners[] = {run<ShortTimeProfileItemMap>, run<ShortTimeFFPAssignmentItemMap>,
                                      run<ShortTimeResultItemMap>};
        const quint32 first = testSeed();
        for (quint32 seed = first; seed < first + (isWild ? 15 : 5); ++seed) {
            const QString fault = runners[kind](seed, isWild);
            QVERIFY2(fault.isEmpty(), qPrintable("%1 with KOLTA_TEST_SEED=%2"_s.arg(fault).arg(seed)));
        }
    }
};

KOLTA_TEST(TestCollections);
#include "tst_collections.moc"
