#include "run.h"

#include "ledger.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTimer>

#include <algorithm>
#include <csignal>

namespace Chaos {

using distribution::LocalBroker;

namespace {

constexpr int kSettleLimitMs = 45000;
constexpr int kStartLimitMs = 30000;
constexpr int kDumpLimitMs = 3000;
constexpr int kLookMs = 100;
constexpr int kNameIsTaken = 3;

/// How often in a hundred runs something happens, and how often at most in one.
struct Likelihood
{
    Event event;
    int percent;
    int most;
};
constexpr Likelihood kLikelihoods[] = {
    {Event::KillBroker, 50, 2},  {Event::FreezeBroker, 25, 1}, {Event::KillOwner, 40, 2},
    {Event::FreezeOwner, 25, 1}, {Event::TakeOver, 15, 1},     {Event::Rival, 10, 1},
    {Event::KillWriter, 40, 2},  {Event::FreezeMirror, 40, 2}, {Event::Join, 50, 2},
    {Event::Cut, 50, 3},         {Event::Flood, 10, 1},
};

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

/// The first lines in which the two differ.
QString differenceOf(const QByteArray& mine, const QByteArray& owners)
{
    const QList<QByteArray> left = mine.split('\n'), right = owners.split('\n');
    const int common = std::min(left.size(), right.size());
    int at = 0;
    while (at < common && left[at] == right[at])
        ++at;
    return QStringLiteral("line %1 is \"%2\" and at the owner \"%3\"")
        .arg(at + 1)
        .arg(QString::fromUtf8(left.value(at).left(100)), QString::fromUtf8(right.value(at).left(100)));
}

} // namespace

QString toText(Event event)
{
    switch (event) {
    case Event::KillBroker:
        return QStringLiteral("broker killed");
    case Event::FreezeBroker:
        return QStringLiteral("broker stopped for a while");
    case Event::KillOwner:
        return QStringLiteral("owner killed");
    case Event::FreezeOwner:
        return QStringLiteral("owner stopped for a while");
    case Event::TakeOver:
        return QStringLiteral("name taken over");
    case Event::Rival:
        return QStringLiteral("second owner of the name");
    case Event::KillWriter:
        return QStringLiteral("writer killed");
    case Event::FreezeMirror:
        return QStringLiteral("mirror stopped for a while");
    case Event::Join:
        return QStringLiteral("late joiner");
    case Event::Cut:
        return QStringLiteral("line cut");
    case Event::Flood:
        return QStringLiteral("2,500 messages at a mirror that does not read");
    }
    return QString();
}

QString Result::history() const
{
    QStringList all;
    for (const auto& [event, count] : events)
        all += QStringLiteral("%1 x %2").arg(count).arg(toText(event));
    if (hadSmallPackets)
        all += QStringLiteral("small packets");
    if (hadSmallQueue)
        all += QStringLiteral("messages lost by the broker");
    if (wasPersistent)
        all += QStringLiteral("persistence");
    return all.join(QStringLiteral(", "));
}

Run::Run(quint64 seed)
    : m_random(seed), m_folder(QDir::tempPath() + QStringLiteral("/kolta-chaos-%1-XXXXXX").arg(seed))
{
    m_result.seed = seed;
}

Run::~Run()
{
    for (const auto& member : m_members) {
        if (member->process)
            kill(*member);
    }
}

void Run::later(int milliseconds, const std::function<void()>& what)
{
    ++m_pending;
    QTimer::singleShot(milliseconds, this, [this, what] {
        --m_pending;
        if (!m_hasFinished)
            what();
    });
}

/// Brokers with little room (or as much as mosquitto gives unless it is told more) lose messages, those with
/// small packets make parts of states, and those that persist bring back what is long gone.
LocalBroker::Settings Run::settings()
{
    LocalBroker::Settings settings;
    m_result.hadSmallQueue = roll(5) == 0;
    m_result.hadSmallPackets = roll(4) == 0;
    m_result.wasPersistent = roll(4) == 0;
    if (m_result.hadSmallQueue)
        settings.furtherSettings += roll(2) ? "max_queued_messages 20\nmax_inflight_messages 5\n"
                                            : "max_queued_messages 1000\nmax_inflight_messages 20\n";
    if (m_result.hadSmallPackets)
        settings.furtherSettings += "max_packet_size 80000\n";
    if (m_result.wasPersistent)
        settings.furtherSettings += "persistence true\npersistence_location " +
                                    QFile::encodeName(m_folder.path()) +
                                    "/\nautosave_on_changes true\nautosave_interval 20\n";
    return settings;
}

void Run::start()
{
    m_broker = std::make_unique<LocalBroker>(settings());
    startBroker();
    if (m_hasFinished)
        return;
    startMember("owner");
    for (quint64 writers = 2 + roll(3); writers > 0; --writers)
        startMember("writer");
    QTimer::singleShot(kStartLimitMs, this, [this] {
        if (!m_isPlanned)
            finish(QStringLiteral("the owner does not come online"));
    });
}

void Run::startBroker()
{
    QString error;
    if (!m_broker->start(error))
        finish(error);
}

Run::Member& Run::startMember(const char* role)
{
    m_members.push_back(std::make_unique<Member>());
    Member& member = *m_members.back();
    member.part = {QLatin1String(role), m_broker->url(), m_random(), int(m_members.size()), m_folder.path()};
    member.isOwner =
        member.part.role == QLatin1String("owner") || member.part.role == QLatin1String("successor");
    member.process = std::make_unique<QProcess>();
    QProcess* const process = member.process.get();
    process->setStandardErrorFile(fileOf(member, "errors"));
    connect(process, &QProcess::readyReadStandardOutput, this, [this, &member] { read(member); });
    connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this, &member] { ended(member); });
    process->start(QCoreApplication::applicationFilePath(), member.part.toArguments());
    if (m_isSettling)
        member.tell("stop\n");
    return member;
}

void Run::read(Member& member)
{
    while (member.process && member.process->canReadLine()) {
        const QString line = QString::fromUtf8(member.process->readLine()).trimmed();
        if (line == QLatin1String("online")) {
            member.isOnline = true;
            if (member.isOwner && !m_isPlanned)
                plan();
        } else if (line == QLatin1String("dumped")) {
            member.hasDumped = true;
            if (m_isComparing)
                compare();
        } else if (line.startsWith(QLatin1String("status "))) {
            member.status = line.section(QLatin1Char(' '), 1);
        }
    }
}

/// By itself only an owner ends whose name belongs to another one.
void Run::ended(Member& member)
{
    const QProcess& process = *member.process;
    const bool isRefused =
        member.isOwner && process.exitStatus() == QProcess::NormalExit && process.exitCode() == kNameIsTaken;
    const QString what =
        QStringLiteral("process %1 has ended by itself, code %2").arg(member.part.id).arg(process.exitCode());
    member.process.release()->deleteLater();
    if (isRefused)
        ++m_result.refusedOwners;
    else
        finish(what);
}

void Run::kill(Member& member)
{
    member.process->disconnect(this);
    member.process->kill();
    member.process->waitForFinished();
    member.process.reset();
    member.wasKilled = true;
}

void Run::freeze(qint64 pid, int milliseconds)
{
    ::kill(static_cast<pid_t>(pid), SIGSTOP);
    // It may be dead by then; its number is not given to another one so soon.
    later(milliseconds, [pid] { ::kill(static_cast<pid_t>(pid), SIGCONT); });
}

/// The newest one; null when there is none.
Run::Member* Run::owner() const
{
    const auto found = std::find_if(m_members.rbegin(), m_members.rend(), [](const auto& member) {
        return member->isOwner && member->isRunning() && member->isOnline;
    });
    return found == m_members.rend() ? nullptr : found->get();
}

Run::Member* Run::someMirror(bool writer)
{
    std::vector<Member*> mirrors;
    for (const auto& member : m_members) {
        if (!member->isOwner && member->isRunning() &&
            (!writer || member->part.role == QLatin1String("writer")))
            mirrors.push_back(member.get());
    }
    return mirrors.empty() ? nullptr : mirrors[roll(mirrors.size())];
}

void Run::plan()
{
    m_isPlanned = true;
    const int spanMs = int(400 + roll(800));
    for (const Likelihood& likelihood : kLikelihoods) {
        if (int(roll(100)) >= likelihood.percent)
            continue;
        for (quint64 i = 1 + roll(quint64(likelihood.most)); i > 0; --i)
            later(int(roll(quint64(spanMs))), [this, event = likelihood.event] { happen(event); });
    }
    later(spanMs, [] {});
    // Whatever happens may make further things happen, a restart for instance.
    auto* const watch = new QTimer(this);
    connect(watch, &QTimer::timeout, this, [this, watch] {
        if (m_pending == 0) {
            watch->stop();
            settle();
        }
    });
    watch->start(20);
}

void Run::happen(Event event)
{
    ++m_result.events[event];
    Member* const present = owner();
    Member* const mirror = someMirror(false);
    switch (event) {
    case Event::KillBroker:
        return killBroker();
    case Event::FreezeBroker:
        if (m_broker->isRunning())
            freeze(m_broker->pid(), int(20 + roll(900)));
        return;
    case Event::KillOwner:
        return killOwner();
    case Event::FreezeOwner:
        if (present)
            freeze(present->process->processId(), int(20 + roll(1500)));
        return;
    case Event::TakeOver:
        startMember("successor");
        return;
    case Event::Rival:
        startMember("owner");
        return;
    case Event::KillWriter:
        return killWriter();
    case Event::FreezeMirror:
        if (mirror)
            freeze(mirror->process->processId(), int(20 + roll(1200)));
        return;
    case Event::Join:
        startMember(roll(2) ? "reader" : "writer");
        return;
    case Event::Cut:
        if (Member* const member = roll(3) == 0 && present ? present : mirror)
            member->tell("cut\n");
        return;
    case Event::Flood:
        return flood();
    }
}

void Run::killBroker()
{
    if (m_isBrokerDue)
        return;
    m_isBrokerDue = true;
    m_broker->kill();
    later(int(5 + roll(roll(3) == 0 ? 1500 : 200)), [this] {
        m_isBrokerDue = false;
        startBroker();
    });
}

void Run::killOwner()
{
    Member* const present = owner();
    if (!present)
        return;
    kill(*present);
    later(int(5 + roll(roll(3) == 0 ? 1500 : 200)), [this] { startMember("owner"); });
}

void Run::killWriter()
{
    if (Member* const writer = someMirror(true)) {
        kill(*writer);
        startMember("writer");
    }
}

void Run::flood()
{
    Member* const present = owner();
    Member* const mirror = someMirror(false);
    if (!present || !mirror)
        return;
    present->tell("flood\n");
    freeze(mirror->process->processId(), 1500);
}

void Run::settle()
{
    m_isSettling = true;
    m_settling.start();
    for (const auto& member : m_members) {
        if (member->isRunning())
            member->tell("stop\n");
    }
    auto* const watch = new QTimer(this);
    connect(watch, &QTimer::timeout, this, [this] { look(); });
    watch->start(kLookMs);
}

void Run::look()
{
    if (m_hasFinished)
        return;
    // Late ones are compared as well, to see where they differ.
    const bool isLate = m_settling.hasExpired(kSettleLimitMs);
    if (m_settling.hasExpired(kSettleLimitMs + kDumpLimitMs))
        finish(QStringLiteral("the processes do not become alike:%1").arg(statusOfAll()));
    if (m_isComparing || m_hasFinished || !(isLate || areAlike()))
        return;
    m_isComparing = true;
    for (const auto& member : m_members) {
        member->hasDumped = !member->isRunning();
        if (member->isRunning())
            member->tell("dump\n");
    }
}

/// As far as they say themselves: "1 EPOCH DIGEST" when all is dealt with.
bool Run::areAlike() const
{
    int owners = 0;
    QString common;
    for (const auto& member : m_members) {
        if (!member->isRunning())
            continue;
        owners += member->isOwner ? 1 : 0;
        if (common.isEmpty())
            common = member->status;
        if (!member->status.startsWith(QLatin1String("1 ")) || member->status != common)
            return false;
    }
    return owners == 1;
}

/// Once all have written down what they have. Leases may end even now, and a last wish may have its reaction:
/// then there is another look.
void Run::compare()
{
    if (m_hasFinished || std::any_of(m_members.begin(), m_members.end(),
                                     [](const auto& member) { return !member->hasDumped; }))
        return;
    const QString fault = judge();
    m_isComparing = false;
    if (fault.isEmpty() && areAlike())
        finish(QString());
    else if (m_settling.hasExpired(kSettleLimitMs / 2))
        finish(fault + statusOfAll());
}

QString Run::judge()
{
    const Member* const present = owner();
    if (!present)
        return QStringLiteral("there is no owner");
    const QByteArray truth = contentOf(fileOf(*present, "dump"));
    Ledger ledger;
    QSet<int> dead;
    for (const auto& member : m_members) {
        const QString journal = fileOf(*member, "journal");
        const int id = member->part.id;
        if (member->isOwner)
            ledger.readOwner(journal, member.get() == present);
        else
            ledger.readWriter(journal, id, member->wasKilled);
        if (!member->isOwner && member->wasKilled)
            dead.insert(id);
        const QByteArray dump = member->isRunning() ? contentOf(fileOf(*member, "dump")) : truth;
        if (dump.isEmpty() || dump != truth)
            return QStringLiteral("process %1: %2").arg(id).arg(differenceOf(dump, truth));
    }
    m_result.made = ledger.made();
    m_result.executed = ledger.executed();
    m_result.failed = ledger.failed();
    // An owner that has lost its line waits longer for writers that it has not seen since.
    const bool wasQuiet = m_result.events.count(Event::KillBroker) == 0 &&
                          m_result.events.count(Event::FreezeBroker) == 0 &&
                          m_result.events.count(Event::Cut) == 0;
    if (wasQuiet && !ledger.leasesOf(dead).isEmpty())
        return QStringLiteral("what a dead writer had added is still there");
    return ledger.check();
}

void Run::finish(const QString& fault)
{
    if (std::exchange(m_hasFinished, true))
        return;
    m_result.fault = fault;
    m_result.settledMs = m_settling.isValid() ? int(m_settling.elapsed()) : 0;
    if (!fault.isEmpty()) {
        m_folder.setAutoRemove(false);
        m_result.folder = m_folder.path();
    }
    for (const auto& member : m_members) {
        if (member->isRunning())
            kill(*member);
    }
    m_broker->kill();
    QMetaObject::invokeMethod(this, &Run::finished, Qt::QueuedConnection);
}

QString Run::statusOfAll() const
{
    QString all;
    for (const auto& member : m_members) {
        if (member->isRunning())
            all += QStringLiteral(" [%1 %2 %3]").arg(member->part.id).arg(member->part.role, member->status);
    }
    return all;
}

QString Run::fileOf(const Member& member, const char* kind) const
{
    return QStringLiteral("%1/%2.%3").arg(m_folder.path()).arg(member.part.id).arg(QLatin1String(kind));
}

} // namespace Chaos
