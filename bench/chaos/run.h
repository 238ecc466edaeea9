#pragma once

#include "player.h"

#include <distribution/localbroker.h>

#include <QElapsedTimer>
#include <QObject>
#include <QProcess>
#include <QTemporaryDir>

#include <functional>
#include <map>
#include <memory>
#include <random>
#include <vector>

namespace Chaos {

/// What can happen to a run.
enum class Event {
    KillBroker,
    FreezeBroker,
    KillOwner,
    FreezeOwner,
    TakeOver, ///< another owner displaces the present one
    Rival,    ///< another owner wants the name and is refused
    KillWriter,
    FreezeMirror,
    Join,
    Cut,  ///< some process loses its line
    Flood ///< a mirror does not read while thousands of messages wait for it
};
QString toText(Event event);

/// What came of a run.
struct Result
{
    quint64 seed = 0;
    QString fault;  ///< empty: none
    QString folder; ///< of the files to look at, where there is a fault
    std::map<Event, int> events;
    int refusedOwners = 0;
    int made = 0;
    int executed = 0;
    int failed = 0;
    int settledMs = 0; ///< from the last event until all were alike
    bool hadSmallPackets = false;
    bool hadSmallQueue = false;
    bool wasPersistent = false;

    /// What happened, in one line.
    QString history() const;
};

/// One installation of a broker, an owner and some mirrors, each a process, for a second or so of random
/// events, and until all its processes have come to rest. Given one seed the same happens at the same times,
/// as far as the machine keeps to them.
class Run : public QObject
{
    Q_OBJECT

public:
    /// `number` tells runs apart that go on at the same time.
    explicit Run(quint64 seed);
    /// Ends all processes and removes the files, unless there is a fault.
    ~Run() override;

    void start();
    const Result& result() const noexcept { return m_result; }

Q_SIGNALS:
    void finished();

private:
    /// One process, or what it has left.
    struct Member
    {
        Part part;
        std::unique_ptr<QProcess> process; ///< null once it has ended
        QString status;
        bool isOwner = false;
        bool isOnline = false;
        bool wasKilled = false;
        bool hasDumped = false;

        bool isRunning() const { return process != nullptr; }
        void tell(const char* order) const { process->write(order); }
    };
    using Members = std::vector<std::unique_ptr<Member>>;

    quint64 roll(quint64 sides) { return m_random() % sides; }
    void later(int milliseconds, const std::function<void()>& what);
    distribution::LocalBroker::Settings settings();
    void startBroker();
    Member& startMember(const char* role);
    void read(Member& member);
    void ended(Member& member);
    void kill(Member& member);
    void freeze(qint64 pid, int milliseconds);
    Member* owner() const;
    Member* someMirror(bool writer);
    void plan();
    void happen(Event event);
    void killBroker();
    void killOwner();
    void killWriter();
    void flood();

    void settle();
    void look();
    void compare();
    bool areAlike() const;
    QString judge();
    void finish(const QString& fault);
    QString statusOfAll() const;
    QString fileOf(const Member& member, const char* kind) const;

    Result m_result;
    std::mt19937_64 m_random;
    QTemporaryDir m_folder;
    std::unique_ptr<distribution::LocalBroker> m_broker;
    Members m_members;
    QElapsedTimer m_settling;
    int m_pending = 0; ///< things that are still to happen
    bool m_isPlanned = false;
    bool m_isBrokerDue = false; ///< it is dead and will be started again
    bool m_isSettling = false;
    bool m_isComparing = false;
    bool m_hasFinished = false;
};

} // namespace Chaos
