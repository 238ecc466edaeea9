#pragma once

#include <distribution/messages.h>

#include <values/command.h>
#include <values/lifetime.h>
#include <values/pendingchanges.h>
#include <values/tree.h>

#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace distribution {

class ChangeCollector;

/// What this process changes below the roots of one branch, in its order. Records the commands of all
/// collections there.
class ChangeRegion final : private values::ICommandRecorder
{
public:
    ~ChangeRegion() override;

    /// From now on the region is what is at and below these. Collections that are there already are recorded.
    void SetRoots(const QStringList& roots);
    const QStringList& GetRoots() const noexcept { return m_roots; }
    /// What is changed here is a wish: authors are told of theirs (values::IWishAuthor).
    void MakeWishes() { m_makesWishes = true; }
    /// Records a collection that was made without the collector hearing of it.
    void Record(values::ValueBase& collection);

    /// What has been collected since the last call. A removed item has a Remove of its own, those below
    /// first.
    Changes Take();
    bool IsEmpty() const noexcept { return m_changes.empty(); }
    /// Of a collection, what of that is in commands; nothing before MakeWishes().
    const values::PendingChanges& Untaken(const QString& path) const;

    /// Commands that have changed anything here so far, whoever made them.
    quint64 GetCommandCount() const noexcept { return m_commands; }
    /// The last set command on a key of a collection that was made here, as it was sent; null when there is
    /// none, or after Forget().
    const Bytes* FindOwnSet(const QString& path, const std::string& key) const;
    void ForgetOwnSet(const QString& path, const std::string& key);
    /// Whether these bytes are what was done here with that request: then they would only tell of it
    /// again. Forgets it.
    bool TakeOwnRequest(const QString& path, const std::string& request, std::string_view command);
    /// All sets and requests that are not under way.
    void ForgetOwn(const QString& path, const values::PendingChanges& underWay);

    ChangeRegion(const ChangeRegion&) = delete;
    ChangeRegion& operator=(const ChangeRegion&) = delete;

private:
    friend class ChangeCollector;
    ChangeRegion(ChangeCollector& collector, std::function<void()> changed);

    void OnCommand(values::ValueBase& value, std::unique_ptr<values::Command> command) override;
    void OnContentReplaced(values::ValueBase& value) override;
    void add(Change change);
    void release();
    void rememberOwnSet(const QString& path, const values::Command& part);
    void noteRequests(const QString& path, const values::Command& part, bool own);

    ChangeCollector& m_collector;
    std::function<void()> m_changed;
    QStringList m_roots;
    Changes m_changes;
    std::map<QString, values::PendingChanges> m_untaken;
    quint64 m_commands = 0;
    bool m_makesWishes = false;
    std::vector<values::Weak<values::ValueBase>> m_recorded;
    template<class T>
    using ByPathAndName = std::map<QString, std::unordered_map<std::string, T>>;
    ByPathAndName<Bytes> m_ownSets;                  ///< by key
    ByPathAndName<std::vector<Bytes>> m_ownRequests; ///< all commands that were made about each
};

/// Hears of everything that happens in a tree and sorts it by branches. What is done with GetLink() as the
/// originator is not collected: so a link repeats what came from elsewhere. On the tree's thread.
class ChangeCollector final : private values::ITreeListener
{
public:
    explicit ChangeCollector(values::Tree& tree);
    /// Regions go before.
    ~ChangeCollector() override;

    values::Tree& GetTree() noexcept { return m_tree; }
    /// The originator of what a link repeats.
    IObserver* GetLink() noexcept { return &m_link; }
    /// The originator of what an owner does for a writer: it is collected like any change, announcements with
    /// Change::byWish.
    IObserver* GetWriter() noexcept { return &m_writer; }

    /// Values whose texts programs write as a whole after reading them, by the ends of their paths: changes
    /// of them are made by comparison (Change::compare).
    void SetCompared(const QStringList& pathEnds) { m_compared = pathEnds; }

    /// `changed` is called, in the middle of a change, when the first change after a Take() has been
    /// collected.
    std::unique_ptr<ChangeRegion> MakeRegion(std::function<void()> changed);

private:
    friend class ChangeRegion;
    class Originator final : public IObserver
    {
        void Update(Observable* /*source*/, TChangeCode /*code*/) override {}
    };

    void OnItemAdded(values::TreeItem& item) override;
    void OnItemRemoved(values::TreeItem& item) override;
    void OnItemChanged(values::TreeItem& item, TChangeCode code, IObserver* originator) override;
    void OnItemAnnounced(values::TreeItem& item, TChangeCode code, IObserver* originator) override;
    void OnItemOrdered(values::TreeItem& item, bool isNew, IObserver* originator) override;

    ChangeRegion* regionOf(const QString& path) const;
    bool isCompared(const QString& path) const;
    void index();

    values::Tree& m_tree;
    Originator m_link;
    Originator m_writer;
    QStringList m_compared;
    std::vector<ChangeRegion*> m_regions;
    QHash<QString, ChangeRegion*> m_roots;
    std::vector<int> m_depths; ///< how many levels the roots have
};

} // namespace distribution
