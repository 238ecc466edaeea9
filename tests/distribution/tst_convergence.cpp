#include "modelworld.h"

#include <support/test.h>

#include <atomic>
#include <mutex>
#include <random>
#include <set>
#include <thread>

using namespace distribution;

namespace {

QString pathOf(const char* name, int number = -1)
{
    const QString path = QStringLiteral("/r/") + QLatin1String(name);
    return number < 0 ? path : path + QString::number(number);
}

Bytes nameOf(const QUuid& session)
{
    return "<" + std::to_string(session.data1) + ">";
}

/// What became of every change that any program has wished for, by the number that the change carries.
struct Ledger
{
    struct Line
    {
        int executed = 0;
        std::vector<WishResult> failures;
        bool mayBeLost = false; ///< its program was killed
    };
    std::map<int, Line> lines;
    int last = 0;
    int lostUpdates = 0;

    int Next()
    {
        lines[++last];
        return last;
    }
    /// Empty when all is as it should be.
    QString Check() const
    {
        for (const auto& [number, line] : lines) {
            const auto says = [number = number](const char* what) {
                return QStringLiteral("wish %1 %2").arg(number).arg(QLatin1String(what));
            };
            if (line.executed > 1)
                return says("was executed twice");
            if (line.failures.size() > 1)
                return says("failed twice");
            const bool failed = !line.failures.empty();
            const bool unknown = failed && (line.failures[0] == WishResult::Unknown ||
                                            line.failures[0] == WishResult::Restarted);
            if (failed && !unknown && line.executed > 0)
                return says("was executed and reported as failed");
            if (!failed && !line.mayBeLost && line.executed == 0)
                return says("vanished");
        }
        return lostUpdates > 0 ? QStringLiteral("an update was lost") : QString();
    }
};

/// The number that a change carries: in its code, or behind the last "#" of its content.
int numberOf(const Change& change)
{
    if (change.operation == Operation::Announce)
        return change.code;
    const Bytes& content = BytesOf(change.content);
    const std::size_t mark = content.rfind('#');
    return mark == Bytes::npos ? 0 : std::atoi(content.c_str() + mark + 1);
}

/// One random history: an owner, writers and joiners under bad weather, restarts and cuts.
class History
{
public:
    explicit History(quint64 seed) : m_random(seed), m_world(seed) {}

    QString Run();
    /// Adds how often a wish had each result.
    void AddResults(std::map<WishResult, int>& results) const
    {
        for (const auto& line : m_ledger.lines) {
            const auto& failures = line.second.failures;
            ++results[failures.empty() ? WishResult::Executed : failures.front()];
        }
    }

private:
    quint64 roll(quint64 sides) { return m_random() % sides; }
    void startOwner();
    void startWriter(bool writes);
    void restartOwner();
    void killWriter();
    void ownerActs();
    void writerActs(std::size_t index);
    void disturb();
    void ownerReacts(const Change& change);
    void writerReacts(const QUuid& session, const Change& change);
    void noteExecuted(const Writer& writer, const Change& change);
    bool isSettled() const;
    QString compare();

    struct Writer
    {
        std::unique_ptr<MirrorPeer> peer;
        QUuid session;
        bool writes;
        std::size_t failuresSeen = 0;
        std::vector<int> made;
        std::set<int> announced;
    };

    std::mt19937_64 m_random;
    World m_world;
    Ledger m_ledger;
    std::unique_ptr<OwnerPeer> m_owner;
    std::vector<Writer> m_writers;
    std::map<Bytes, Bytes> m_lines; ///< of the owner's text that all write
    std::map<QUuid, int> m_lastKey; ///< newest value of the key that a session has for itself, as executed
    quint32 m_ids = 0;
};

void History::startOwner()
{
    OwnerSettings settings;
    settings.epoch = QUuid(quint32(m_random()), 1, 2, 3, 4, 5, 6, 7, 8, 9, 10);
    settings.branch = QStringLiteral("S1");
    settings.roots = QStringList{QStringLiteral("/r")};
    settings.sentinel = pathOf("state");
    settings.logBytes = 500 + roll(4000);
    const std::size_t payload = roll(4) == 0 ? 3000 : 100000;
    m_owner = std::make_unique<OwnerPeer>(
        m_world.broker, m_world.now, settings,
        [this](ModelTree& tree) {
            tree.items[pathOf("state")].content = "ready";
            tree.items[pathOf("whole")].content = Bytes(1500, '.') + "\n";
            tree.items[pathOf("c1")].type = tree.items[pathOf("c2")].type = ModelTree::collection;
            for (quint64 i = roll(5); i > 0; --i)
                tree.items[pathOf("v", int(roll(6)))].content = Bytes(roll(3000), char('a' + roll(20)));
        },
        std::make_unique<OpenPolicy>(), payload);
    m_owner->tree.executing = [this](const distribution::Writer& writer, const Change& change) {
        noteExecuted(writer, change);
        ownerReacts(change);
    };
    m_lines.clear();
    m_world.Add(m_owner.get());
}

void History::startWriter(bool writes)
{
    MirrorSettings settings;
    settings.branch = QStringLiteral("S1");
    settings.user = "u";
    settings.session = QUuid(++m_ids, 7, 7, 1, 2, 3, 4, 5, 6, 7, 8);
    Writer writer;
    writer.session = settings.session;
    writer.writes = writes;
    writer.peer = std::make_unique<MirrorPeer>(m_world.broker, m_world.now, settings);
    writer.peer->tree.observer = [this, session = writer.session](const Change& change) {
        if (roll(12) == 0)
            writerReacts(session, change);
    };
    m_world.Add(writer.peer.get());
    m_writers.push_back(std::move(writer));
}

/// The lines of the text that all writers write as a whole: one number each, by writer.
std::map<Bytes, Bytes> linesOf(const Bytes& whole)
{
    std::map<Bytes, Bytes> lines;
    for (std::size_t at = whole.find('<'); at != Bytes::npos; at = whole.find('<', at + 1)) {
        const std::size_t mark = whole.find('#', at);
        lines[whole.substr(at, mark - at)] = whole.substr(mark, whole.find('\n', mark) - mark);
    }
    return lines;
}

/// Whoever changes the line of another in the text that all write has lost an update.
void History::noteExecuted(const distribution::Writer& writer, const Change& change)
{
    const int number = numberOf(change);
    if (number == 0)
        return;
    ++m_ledger.lines[number].executed;
    if (change.path == pathOf("own") + QString::fromLatin1(writer.session.toByteArray().mid(1, 8)))
        m_lastKey[writer.session] = number;
    if (change.path != pathOf("whole"))
        return;
    auto lines = linesOf(BytesOf(change.content));
    for (const auto& line : m_lines)
        m_ledger.lostUpdates +=
            line.first != nameOf(writer.session) && lines[line.first] != line.second ? 1 : 0;
    m_lines = std::move(lines);
}

void History::ownerReacts(const Change& change)
{
    ModelTree& tree = m_owner->tree;
    if (change.path.startsWith(pathOf("q")))
        tree.Do(RemoveChange(change.path)); // read and removed, as requests are
    else if (change.operation == Operation::Set && change.path.startsWith(pathOf("v")) && roll(6) == 0)
        tree.Do(SetChange(change.path, MakeContent("answer" + std::to_string(roll(1000)))));
    else if (change.operation == Operation::Commands && roll(8) == 0)
        tree.Do(ModelTree::Commands(change.path, "E" + std::to_string(roll(6)) + ";"));
}

/// An observer that writes in the middle of what it is told, where the owner has just written or will next.
void History::writerReacts(const QUuid& session, const Change& change)
{
    const auto writer = std::find_if(m_writers.begin(), m_writers.end(),
                                     [&session](const Writer& other) { return other.session == session; });
    if (writer == m_writers.end() || change.operation == Operation::Announce)
        return;
    const int number = m_ledger.Next();
    const Bytes mark = "#" + std::to_string(number);
    const bool commands = change.operation == Operation::Commands;
    const QString path = commands || roll(2) ? change.path : pathOf("v", int(roll(6)));
    const Change reaction = commands
                                ? ModelTree::Commands(path, "S" + std::to_string(roll(6)) + "=" + mark + ";")
                                : SetChange(path, MakeContent("re" + mark));
    if (path.startsWith(pathOf(commands ? "c" : "v")) && writer->peer->tree.Do(reaction))
        writer->made.push_back(number);
    else
        m_ledger.lines.erase(number);
}

void History::ownerActs()
{
    const QString path = pathOf("v", int(roll(6)));
    switch (roll(8)) {
    case 0:
        m_owner->Do(RemoveChange(path));
        break;
    case 1:
        m_owner->Do(
            ModelTree::Commands(pathOf("c1"), roll(3) == 0 ? "C;" : "S" + std::to_string(roll(6)) + "=o;"));
        break;
    case 2:
        m_owner->Do(AnnounceChange(path, -int(roll(1000)) - 1));
        break;
    default: {
        Bytes content = m_owner->tree.At(path);
        if (content.size() > 1100)
            content.replace(roll(1000), 5, "owner" + std::to_string(roll(100)));
        else
            content = "o" + std::to_string(roll(1000)) + Bytes(roll(2) * 1200, 'x');
        if (!m_owner->Do(SetChange(path, MakeContent(content))))
            m_owner->Do(AddChange(path, ModelTree::text, MakeContent(content)));
    }
    }
}

void History::writerActs(std::size_t index)
{
    Writer& writer = m_writers[index];
    for (quint64 i = 1 + roll(3); i > 0; --i) {
        const int number = m_ledger.Next();
        const Bytes mark = "#" + std::to_string(number);
        Change change;
        QString path = pathOf("v", int(roll(6)));
        const quint64 kind = roll(16);
        if (kind < 4) {
            change = SetChange(path, MakeContent("w" + Bytes(roll(3) == 0 ? 1300 : 3, 'w') + mark));
        } else if (kind < 6) {
            change = AddChange(pathOf("v", int(roll(6))), ModelTree::text, MakeContent("new" + mark));
        } else if (kind < 7) {
            change = AddChange(pathOf("q", number), ModelTree::text, MakeContent("please" + mark));
        } else if (kind < 9) {
            change = AnnounceChange(path, number);
            writer.announced.insert(number);
        } else if (kind < 12) {
            change = ModelTree::Commands(pathOf(roll(2) ? "c1" : "c2"),
                                         "S" + std::to_string(roll(6)) + "=" + mark + ";");
        } else if (kind < 13) {
            path = pathOf("own") + QString::fromLatin1(writer.session.toByteArray().mid(1, 8));
            change = writer.peer->tree.items.count(path) > 0
                         ? SetChange(path, MakeContent("mine" + mark))
                         : AddChange(path, ModelTree::text, MakeContent("mine" + mark));
        } else {
            // Its line is taken out of the text that it sees, and put behind it anew.
            Bytes whole = writer.peer->tree.At(pathOf("whole"));
            const Bytes name = nameOf(writer.session);
            const std::size_t start = whole.find(name);
            if (start != Bytes::npos)
                whole.erase(start, whole.find('\n', start) + 1 - start);
            change = SetChange(pathOf("whole"), MakeContent(whole + name + mark + "\n"), true);
        }
        if (writer.peer->Do(change))
            writer.made.push_back(number);
        else
            m_ledger.lines.erase(number);
    }
}

void History::restartOwner()
{
    m_world.Remove(m_owner.get());
    m_owner.reset();
    m_world.Run(qint64(roll(3) == 0 ? roll(20000) : roll(300)));
    startOwner();
}

void History::killWriter()
{
    const std::size_t index = roll(m_writers.size());
    Writer& writer = m_writers[index];
    for (const int number : writer.made)
        m_ledger.lines[number].mayBeLost = true;
    m_world.Remove(writer.peer.get());
    m_writers.erase(m_writers.begin() + std::ptrdiff_t(index));
    startWriter(true);
}

void History::disturb()
{
    switch (roll(8)) {
    case 0:
        m_world.broker.Restart(roll(2) == 0, qint64(roll(roll(3) == 0 ? 15000 : 500)));
        break;
    case 1:
        restartOwner();
        break;
    case 2:
        killWriter();
        break;
    case 3:
        startWriter(roll(2) == 0);
        break;
    case 4:
        m_world.broker.Cut(m_owner->carrier, qint64(roll(500)), qint64(roll(800)));
        break;
    default:
        m_world.broker.Cut(m_writers[roll(m_writers.size())].peer->carrier,
                           qint64(roll(4) == 0 ? 12000 : roll(500)));
    }
}

bool History::isSettled() const
{
    return std::all_of(m_writers.begin(), m_writers.end(), [&](const Writer& writer) {
        const BranchMirror& mirror = *writer.peer->mirror;
        return mirror.GetState() == BranchState::Live && mirror.GetEpoch() == m_owner->owner->GetEpoch() &&
               mirror.GetOpenWishes() == 0 && mirror.CountJoinedParts() == mirror.CountParts() &&
               NumbersOf(mirror) == NumbersOf(*m_owner->owner);
    });
}

QString History::compare()
{
    const QStringList truth = m_owner->tree.Dump();
    for (const Writer& writer : m_writers) {
        const QStringList dump = writer.peer->tree.Dump();
        for (int i = 0; i < std::max(truth.size(), dump.size()); ++i) {
            if (truth.value(i) != dump.value(i))
                return QStringLiteral("mirror %1 has \"%2\" and the owner \"%3\"")
                    .arg(writer.session.data1)
                    .arg(dump.value(i), truth.value(i));
        }
        const Bytes snapshot = EncodeSnapshot(writer.peer->mirror->GetSnapshot());
        Snapshot owners = m_owner->owner->GetSnapshot(0);
        owners.sessions.clear();
        if (snapshot != EncodeSnapshot(owners))
            return QStringLiteral("snapshots differ");
        std::set<int> heard;
        for (const Change& change : writer.peer->tree.heard) {
            if (change.operation != Operation::Announce || change.code < 0)
                continue;
            if (writer.announced.count(change.code) > 0)
                return QStringLiteral("announcement %1 came back to its writer").arg(change.code);
            if (!heard.insert(change.code).second)
                return QStringLiteral("announcement %1 was heard twice").arg(change.code);
        }
        for (const FailedWish& wish : writer.peer->tree.failed)
            m_ledger.lines[numberOf(wish.change)].failures.push_back(wish.result);
        const QString own = pathOf("own") + QString::fromLatin1(writer.session.toByteArray().mid(1, 8));
        const auto last = m_lastKey.find(writer.session);
        if (m_owner->tree.items.count(own) > 0 && last != m_lastKey.end() &&
            m_owner->tree.At(own) != "mine#" + std::to_string(last->second))
            return QStringLiteral("an update of a writer's own value was lost");
    }
    return m_ledger.Check();
}

QString History::Run()
{
    MemoryBroker::Weather weather;
    weather.maximumDelayMs = qint64(roll(2) ? roll(40) : roll(1500));
    weather.lossPercent = int(roll(2) * roll(15));
    weather.loseAny = roll(2) == 0;
    weather.duplicatePercent = int(roll(3) * 10);
    m_world.broker.SetWeather(weather);
    startOwner();
    for (quint64 i = 2 + roll(4); i > 0; --i)
        startWriter(true);
    m_world.Run(qint64(roll(2000)));
    for (quint64 i = 25 + roll(30); i > 0; --i) {
        const quint64 what = roll(20);
        const std::size_t index = roll(m_writers.size());
        const BranchState state = m_writers[index].peer->mirror->GetState();
        if (what == 0)
            disturb();
        else if (what < 5)
            ownerActs();
        else if (m_writers[index].writes && (state == BranchState::Live || state == BranchState::Suspect))
            writerActs(index);
        m_world.Run(qint64(roll(4) == 0 ? roll(2000) : roll(20)));
    }
    m_world.broker.SetWeather({});
    for (int i = 0; i < 60 && (i < 10 || !isSettled()); ++i)
        m_world.Run(1000);
    if (!isSettled()) {
        QString states;
        for (const Writer& writer : m_writers)
            states += QStringLiteral(" %1/%2")
                          .arg(int(writer.peer->mirror->GetState()))
                          .arg(writer.peer->mirror->GetOpenWishes());
        return QStringLiteral("not settled:") + states;
    }
    return compare();
}

} // namespace

/// Whatever happens, all ends alike and every wish has one end. KOLTA_CONVERGENCE_SEED and _RUNS repeat a
/// part.
class TestConvergence : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomHistories();
};

void TestConvergence::randomHistories()
{
    const bool chosen = qEnvironmentVariableIsSet("KOLTA_CONVERGENCE_RUNS");
#ifdef __SANITIZE_ADDRESS__
    constexpr int all = 1000;
#else
    constexpr int all = 10000;
#endif
    const int runs = chosen ? qEnvironmentVariableIntValue("KOLTA_CONVERGENCE_RUNS") : all;
    const quint64 first = qEnvironmentVariableIsSet("KOLTA_CONVERGENCE_SEED")
                              ? qgetenv("KOLTA_CONVERGENCE_SEED").toULongLong()
                              : 1;
    std::map<WishResult, int> results;
    std::map<quint64, QString> faults;
    std::mutex mutex;
    std::atomic<quint64> next{first};
    const auto play = [&] {
        for (quint64 seed = next++; seed < first + quint64(runs); seed = next++) {
            History history(seed);
            const QString fault = history.Run();
            const std::lock_guard<std::mutex> lock(mutex);
            history.AddResults(results);
            if (!fault.isEmpty())
                faults[seed] = fault;
        }
    };
    QElapsedTimer timer;
    timer.start();
    std::vector<std::thread> threads(std::max(1U, std::min(4U, std::thread::hardware_concurrency())));
    for (std::thread& thread : threads)
        thread = std::thread(play);
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& [seed, fault] : faults)
        QFAIL(qPrintable(QStringLiteral("seed %1: %2").arg(seed).arg(fault)));
    qInfo("seeds %llu to %llu in %lld ms", first, first + quint64(runs) - 1, timer.elapsed());
    qInfo("wishes executed %d, refused %d, in conflict %d, too late %d, unanswered %d, of a former life %d",
          results[WishResult::Executed], results[WishResult::Refused], results[WishResult::Conflict],
          results[WishResult::TooLate], results[WishResult::Unknown], results[WishResult::Restarted]);
    if (!chosen)
        QVERIFY(results.size() >= 6);
}

KOLTA_TEST(TestConvergence);
#include "tst_convergence.moc"
