#pragma once

#include <distribution/branchmirror.h>
#include <distribution/changecollector.h>

#include <values/wishauthor.h>

#include <QSet>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace distribution {

struct CommandPiece;

/// What a mirror says to those who use the tree.
struct MirrorEvents
{
    std::function<void()> treeChanged; ///< see ChangeCollector::MakeRegion()
    std::function<void(BranchState)> stateChanged;
    std::function<void(const QString& path, const QString& reason)> wishFailed;
};

/// A branch of a value tree for the mirror that repeats it. Of values whose type nobody has registered each
/// type is traced once, and they are missing.
class MirroredTree final : public IMirroredTree
{
public:
    MirroredTree(ChangeCollector& collector, MirrorEvents events);

    /// Where the program's changes concern this branch.
    void SetRoots(const QStringList& roots) { m_region->SetRoots(roots); }

    Changes TakeChanges() override { return m_region->Take(); }
    void Apply(const Change& change) override;
    bool ApplySplice(const QString& path, const values::TextSplice& splice) override;
    bool ApplyCommands(const QString& path, const Bytes& commands,
                       const values::PendingChanges& own) override;
    void ApplyState(const QString& path, qint32 type, const Bytes& state,
                    const std::vector<Content>& own) override;
    void OnWishFailed(const FailedWish& wish) override;
    void OnAuthorsWish(const Change& change, WishResult result) override;
    void OnStateChanged(BranchState state) override { m_events.stateChanged(state); }

private:
    /// By key, or by request.
    using Pieces = std::unordered_map<std::string_view, const CommandPiece*>;

    bool tellAuthor(const Change& change, values::IWishAuthor::WishEnd end, const Content& valid);
    values::ValueBase* livingValue(const QString& path) const;
    void add(const Change& change);
    void addValue(const QString& path, qint32 type, const Bytes& content);
    bool isOwnKey(const QString& path, const std::string& key, const values::PendingChanges& own) const;
    bool execute(const CommandPiece& piece);
    void executeExactly(values::ValueBase& value, const CommandPiece& piece);
    void clear(values::ValueBase& value, const QString& path, const CommandPiece& piece,
               const values::PendingChanges& own);
    void executeSet(values::ValueBase& value, const QString& path, const CommandPiece& piece,
                    bool mayBeOwn = false);
    void catchUp(values::ValueBase& value, const QString& path, const values::PendingChanges& own);
    void passOver(values::ValueBase& value, const QString& path, const Bytes& state,
                  const std::vector<Content>& own);
    void applyDifference(values::ValueBase& value, values::ValueBase& wanted);
    void applyPiece(values::ValueBase& value, const CommandPiece& piece, Pieces& items, Pieces& open);
    void eraseRest(values::ValueBase& value, const std::vector<CommandPiece>& present, const Pieces& items);
    static void traceUnusable(const QString& path, const QString& why);

    ChangeCollector& m_collector;
    MirrorEvents m_events;
    std::unique_ptr<ChangeRegion> m_region;
    QSet<qint32> m_unknownTypes;
    /// Items that the owner has set while own changes of them were on their way: by path and key the
    /// last command. The owner may keep such an item, when what is set here only counts as equal to it.
    std::map<QString, std::map<std::string, Bytes>> m_passedOver;
};

} // namespace distribution
