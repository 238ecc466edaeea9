#pragma once

#include <distribution/treelink.h>

#include <values/tree.h>

#include <QFile>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <random>

namespace Chaos {

/// The one branch of a run, and what is in it.
const QString kBranch = QStringLiteral("S1");
const QString kRoot = QStringLiteral("/r");
QString pathOf(const char* name, int number = -1);

/// Milliseconds; short, so that a run takes seconds.
constexpr int kBeatMs = 200;
constexpr int kGraceMs = 800;
constexpr int kDeathGraceMs = 200;
constexpr int kWishTimeoutMs = 2500;

/// How a process of a run is told what it is.
struct Part
{
    QString role;   ///< "owner", "successor" (an owner that takes the name over), "writer" or "reader"
    QString url;    ///< of the broker
    quint64 seed;   ///< of what it does
    int id;         ///< within the run, from 1
    QString folder; ///< of the run's files

    QStringList toArguments() const;
    static Part fromArguments(const QStringList& arguments);
};

/// One process of a run: a tree, its link, and somebody who changes the tree at random. The run tells it by
/// words on standard input, one a line: "stop" (change nothing more), "dump" (write the tree to a file),
/// "cut" (break the line to the broker), "flood". It answers by lines on standard output. What it has done is
/// written down as it happens, so that it is known after a kill.
class Player : public QObject, protected values::ITreeListener
{
    Q_OBJECT

public:
    ~Player() override;

protected:
    explicit Player(const Part& part);

    quint64 roll(quint64 sides) { return m_random() % sides; }
    static void say(const QString& line);
    /// One line of the journal.
    void note(const QString& line);
    /// One random change, or none.
    virtual void act() = 0;
    /// What the run is to know of this process; told when it has changed.
    virtual QString status() const = 0;
    virtual void flood() {}
    /// Writes down what the run is to know of the tree that is dumped now.
    virtual void noteContent() {}
    /// Begins to change things, if that is still wanted.
    void begin()
    {
        if (!m_isStopped)
            m_acting.start(1);
    }

    void OnItemAdded(values::TreeItem& /*item*/) override {}
    void OnItemRemoved(values::TreeItem& /*item*/) override {}
    void OnItemChanged(values::TreeItem& /*item*/, TChangeCode /*code*/, IObserver* /*by*/) override {}

    const Part m_part;
    values::Tree m_tree;
    distribution::LinkOptions m_options;
    std::unique_ptr<distribution::TreeLink> m_link;

private:
    /// Whether anything has happened to the tree.
    struct Change : values::ITreeListener
    {
        void OnItemAdded(values::TreeItem& /*item*/) override { hasHappened = true; }
        void OnItemRemoved(values::TreeItem& /*item*/) override { hasHappened = true; }
        void OnItemChanged(values::TreeItem& /*item*/, TChangeCode /*code*/, IObserver* /*by*/) override
        {
            hasHappened = true;
        }
        bool hasHappened = true;
    };

    void obey();
    void dump();
    void tellStatus();

    std::mt19937_64 m_random;
    QFile m_journal;
    QSocketNotifier m_orders;
    QByteArray m_order;
    QTimer m_acting;
    QTimer m_telling;
    Change m_change; ///< since the digest was made
    QByteArray m_digest;
    QString m_told;
    bool m_isStopped = false;
};

/// Plays a part until it is killed or its run has ended. Exit code 3: the name belongs to another process.
int play(const Part& part);

} // namespace Chaos
