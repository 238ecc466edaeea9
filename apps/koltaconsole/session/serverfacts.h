#pragma once

#include <koltacommon/viewtexts.h>
#include <koltaconsole/widgets/marks.h>

#include <QDateTime>
#include <QString>

namespace Kolta {
class ServerModel;
}

namespace KoltaConsole {

/// How a server is, worst first.
enum class Condition { Vanished, Attention, Silent, Joining, Starting, Operational, Withdrawn, Forbidden };

/// What the link knows of a server's branch beside what the server says.
enum class BranchCondition { Normal, Joining, Silent, Withdrawn, Forbidden };
struct SeenBranch
{
    BranchCondition condition = BranchCondition::Normal;
    qint64 beatAgeMs = -1; ///< since its last beat; -1: none yet
    int parts = 0;         ///< of its content; 0: not known yet
    int joinedParts = 0;   ///< that are here
};

/// A server as overview, tree and attention list show it. A value.
struct ServerFacts
{
    QString address;
    QString sortText; ///< of the address
    QString host;
    Condition condition = Condition::Operational;
    QString stateText; ///< the server's own word
    int progress = -1; ///< of its start, percent; -1: not told
    TunerCounts tuners;
    int productions = 0;
    QString units; ///< "9 of 10"
    bool areUnitsMissing = false;
    QString errors; ///< of its start-up: "3 start-up errors: the first"; empty for none
    QString message;
    QDateTime since;   ///< that it is so; invalid: nobody here saw it begin
    QDateTime noticed; ///< that it is so was seen first; invalid: not yet
    QDateTime lastKnown;
    SeenBranch branch;         ///< of the link that shows it
    bool isOutOfSight = false; ///< the link that shows it is down

    bool needsAttention() const { return condition <= Condition::Silent; }
    /// It may be well soon.
    bool isOnItsWay() const { return condition == Condition::Joining || condition == Condition::Starting; }
    bool isStale() const
    {
        return isOutOfSight || condition == Condition::Vanished || condition == Condition::Joining ||
               condition >= Condition::Withdrawn;
    }
    /// It has left by itself: neither missed nor counted.
    bool hasLeft() const { return condition == Condition::Withdrawn; }
    /// Its reason has a number that goes on by itself.
    bool isCounting() const
    {
        return !isOutOfSight && (condition == Condition::Silent || condition == Condition::Joining);
    }
    /// Dim while nobody can see it.
    Look look() const;
    /// Why it is so and since when, in a few words.
    QString reason() const;
    /// "since 12:03:10", "since before 12:03:10" for what was so when it was looked at first.
    QString sinceText() const;
    /// While it needs attention: what it lacks, or the state that it is in.
    QString whatIsWrong() const;
};

/// Of that row of the model.
ServerFacts readFacts(const Kolta::ServerModel& model, int row, const SeenBranch& branch);
inline QString lastKnownText(const QDateTime& time)
{
    return Kolta::ViewTexts::lastKnown(time);
}
inline QString timeText(const QDateTime& time)
{
    return Kolta::ViewTexts::time(time);
}
/// Why the broker is not there, without its address, which such a reason begins with: for where it stands
/// beside that.
QString withoutAddress(const QString& reason, const QString& address);

} // namespace KoltaConsole
