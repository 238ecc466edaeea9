#pragma once

#include <kolta/cli/command.h>

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>
#include <memory>

namespace distribution {
class Replay;
}

namespace KoltaCli {

class CommandLine;

/// The value tree of an installation whose servers are processes of their own, mirrored in this process.
class TreeMirror
{
public:
    ~TreeMirror();
    TreeMirror(const TreeMirror&) = delete;
    TreeMirror& operator=(const TreeMirror&) = delete;

    /// --tree and --tree-timeout.
    static QVector<Option> options();
    /// The tree that a command is to look at: that of --tree, else of the environment's KOLTA_TREE, else of
    /// the configuration's Distribution/Url; empty for none.
    static QString urlOf(const CommandLine& line);
    /// Begins to mirror all branches at urlOf(), or in the recording that it names. Null, and an error is
    /// printed, when the URL does not fit, a word of the command line has a password or the recording cannot
    /// be played.
    static std::unique_ptr<TreeMirror> open(const CommandLine& line);
    /// The same, and admit()s them; the command ends with eExitNoTree when that fails.
    static std::unique_ptr<TreeMirror> join(const CommandLine& line, const QStringList& wanted);
    /// The same, but takes the branches as they are when that time is over; null, and an error is printed,
    /// only when there are none.
    static std::unique_ptr<TreeMirror> reach(const CommandLine& line, const QStringList& wanted);
    /// The same, but does without any.
    static std::unique_ptr<TreeMirror> look(const CommandLine& line, const QStringList& wanted);

    /// Waits as long as --tree-timeout allows until the branches `wanted` are live, or, when none is named,
    /// at least one and all that are not known to be gone. Tells in one line which are not then. False when
    /// none is. A recording is taken as it is, so that one can look at servers that were not there.
    bool admit(const CommandLine& line, const QStringList& wanted);
    /// Runs the event loop until these branches are live, or, when none is named, at least one and all that
    /// are not known to be gone, or the time is over. In a recording, whose time stands still meanwhile,
    /// until all is told: who is not live then is not live at that time of it.
    void waitForLive(const QStringList& wanted, int milliseconds);
    /// What is played here; null when the messages come from a broker.
    distribution::Replay* replay() const;
    /// The time of day in what is played, while this lives; null for that of the machine.
    std::function<QDateTime()> timeSource() const;
    /// Runs the event loop until what was recorded up to the time that was wanted has been told.
    bool waitForReplay(int milliseconds) const;
    /// Why there is no connection to the broker, in one line; empty while there is one.
    const QString& problem() const noexcept;
    bool isOnline() const;
    /// Called with the same when that changes, and once the connection is back; not before the first one.
    void setLinkListener(std::function<void(bool isUp, const QString& problem)> listener);
    /// How often the connection to the broker was lost and came again.
    int reconnections() const noexcept;

    /// Runs the event loop until the owners have dealt with all that was changed here, or the time is over.
    /// Empty when all of it lasts; else one line that says what did not since the last call.
    QString settle(int milliseconds);

    /// How a branch's owner stands to this process.
    enum class Standing { Live, OnItsWay, Left, Gone };
    struct Branch
    {
        QString name;
        QString state; ///< the word for it: "live", "lost" and so on
        Standing standing = Standing::Gone;
        QString host;
        QString epoch;
        QString basePath; ///< of the server's administrative node; empty when it has none
        qint64 beatAgeMs = -1;
        QVector<QPair<int, quint64>> numbers; ///< each of its channels, and its newest change
        int openWishes = 0;
        int parts = 0; ///< of its content: the plain values and each collection; 0: not known yet
        int joinedParts = 0;
        bool isJoining = false;

        bool isLive() const { return standing == Standing::Live; }
        /// By itself.
        bool hasLeft() const { return standing == Standing::Left; }
        /// The state, and how far it is on the way: "joining, 3 of 7 parts".
        QString stateText() const;
        QJsonObject toJson() const;
    };
    /// All that have been heard of, by name.
    QVector<Branch> branches() const;

private:
    struct Private;
    explicit TreeMirror(std::unique_ptr<Private> parts);
    struct RollCall
    {
        bool isAnyLive = false;
        QStringList missing; ///< "S1 is lost"
    };
    RollCall callRoll(const QStringList& wanted) const;
    bool fail(const QString& unlessProblem) const;

    const std::unique_ptr<Private> d;
};

} // namespace KoltaCli
