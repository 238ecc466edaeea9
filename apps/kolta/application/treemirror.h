#pragma once

#include <kolta/cli/command.h>

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>

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
    /// Begins to mirror all branches at urlOf(). Null, and an error is printed, when the URL does not fit or
    /// a word of the command line has a password.
    static std::unique_ptr<TreeMirror> open(const CommandLine& line);
    /// The same, and waits as long as --tree-timeout allows until those that there are are live. Null, and an
    /// error with the states is printed, when that does not happen; the command then ends with eExitNoTree.
    static std::unique_ptr<TreeMirror> join(const CommandLine& line);

    /// The same, but takes the branches as they are when that time is over.
    static std::unique_ptr<TreeMirror> look(const CommandLine& line);

    /// Runs the event loop until all branches are live, and at least one; false when that takes longer.
    bool waitForLive(int milliseconds);
    /// Why there is no connection to the broker, in one line; empty while there is one.
    const QString& problem() const noexcept;
    bool isOnline() const;
    /// How often the connection to the broker was lost and came again.
    int reconnections() const noexcept;

    struct Branch
    {
        QString name;
        QString state;
        QString host;
        QString epoch;
        QString basePath; ///< of the server's administrative node; empty when it has none
        qint64 beatAgeMs = -1;
        QString numbers; ///< of the newest change of each of its channels
        int openWishes = 0;

        QJsonObject toJson() const;
    };
    /// All that have been heard of, by name.
    QVector<Branch> branches() const;

private:
    struct Private;
    explicit TreeMirror(std::unique_ptr<Private> parts);

    const std::unique_ptr<Private> d;
};

} // namespace KoltaCli
