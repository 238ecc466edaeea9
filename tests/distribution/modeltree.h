#pragma once

#include <distribution/branchmirror.h>
#include <distribution/branchowner.h>
#include <distribution/itemtable.h>
#include <distribution/textdelta.h>

#include <functional>
#include <map>
#include <vector>

namespace distribution {

/// The simplest tree that can be owned and mirrored: paths with contents, and collections as maps of texts. A
/// command is "S<key>=<item>;", "E<key>;" or "C;", and commands in a row are commands too.
class ModelTree final : public IOwnedTree, public IMirroredTree
{
public:
    static constexpr qint32 text = values::eTypeString;
    static constexpr qint32 collection = 109;

    struct Item
    {
        qint32 type = text;
        Bytes content;
        std::map<Bytes, Bytes> map;
    };
    std::map<QString, Item> items;
    std::vector<FailedWish> failed;
    std::vector<BranchState> states;
    std::vector<Change> heard; ///< what remote changes have told the observers, in its order
    /// Called after every remote change, as an observer would be; it may change the tree.
    std::function<void(const Change&)> observer;
    /// Called with each change of a wish that is executed here.
    std::function<void(const Writer&, const Change&)> executing;

    Bytes At(const QString& path) const
    {
        const auto found = items.find(path);
        return found == items.end() ? Bytes("none") : found->second.content;
    }
    Bytes At(const QString& path, const Bytes& key) const
    {
        const auto found = items.find(path);
        const bool known = found != items.end() && found->second.map.count(key) > 0;
        return known ? found->second.map.at(key) : Bytes("none");
    }

    /// What the program does. False, and nothing happens, when it cannot be done.
    bool Do(const Change& change)
    {
        const bool removes = change.operation == Operation::Remove;
        if (removes ? !removeAll(change.path, true) : !make(change))
            return false;
        if (!removes)
            m_local.push_back(change);
        return true;
    }
    /// Whether something was done that nobody has taken yet.
    bool HasChanges() const { return !m_local.empty(); }
    static Change Commands(const QString& path, const Bytes& commands)
    {
        values::CommandScope scope;
        forEachCommand(commands, [&scope](char kind, const Bytes& key, const Bytes&) {
            scope.everyKey = scope.everyKey || kind == 'C';
            if (kind != 'C')
                scope.keys.push_back(key);
        });
        return CommandsChange(path, MakeContent(commands), scope);
    }

    Changes TakeChanges() override { return std::exchange(m_local, {}); }

    Executed Execute(const Writer& writer, const Changes& changes) override
    {
        Executed result;
        for (std::size_t i = 0; i < changes.size(); ++i) {
            Change change = changes[i];
            change.byWish = change.operation == Operation::Announce;
            // To add what is there is to set it.
            if (change.operation == Operation::Add && change.type == text && items.count(change.path) > 0)
                change.operation = Operation::Set;
            if (!Do(change)) {
                result.failures.push_back({static_cast<quint32>(i), WishResult::Refused, change.path});
                continue;
            }
            if (executing)
                executing(writer, change);
        }
        result.changes = TakeChanges();
        return result;
    }
    Content ReadCollection(const QString& path) override
    {
        const auto found = items.find(path);
        return found == items.end() ? nullptr : MakeContent(stateOf(found->second.map));
    }

    void Apply(const Change& change) override
    {
        if (change.operation == Operation::Remove)
            removeAll(change.path, false);
        else if (change.operation == Operation::Announce || change.operation == Operation::Set)
            make(change);
        else
            items[change.path] = {change.type, BytesOf(change.content), {}};
        tell(change);
    }
    bool ApplySplice(const QString& path, const values::TextSplice& splice) override
    {
        const auto found = items.find(path);
        if (found == items.end())
            return true;
        Bytes& content = found->second.content;
        if (content.size() != splice.formerBytes ||
            content.compare(splice.offset, splice.removed.size(), splice.removed) != 0)
            return false;
        content.replace(splice.offset, splice.removed.size(), splice.inserted);
        tell(SetChange(path, MakeContent(content)));
        return true;
    }
    bool ApplyCommands(const QString& path, const Bytes& commands, const values::PendingChanges& own) override
    {
        const auto found = items.find(path);
        if (found == items.end())
            return true;
        auto& map = found->second.map;
        forEachCommand(commands, [&](char kind, const Bytes& key, const Bytes& item) {
            if (kind == 'C') {
                for (auto entry = map.begin(); entry != map.end();)
                    entry = own.ContainsKey(entry->first) ? std::next(entry) : map.erase(entry);
            } else if (!own.ContainsKey(key)) {
                execute(map, kind, key, item);
            }
        });
        tell(Commands(path, commands));
        return true;
    }
    void ApplyState(const QString& path, qint32 type, const Bytes& state,
                    const std::vector<Content>& own) override
    {
        Item item{type, Bytes(), {}};
        executeAll(item.map, state);
        for (const Content& commands : own)
            executeAll(item.map, BytesOf(commands));
        items[path] = item;
        tell(AddChange(path, type, MakeContent(state)));
    }
    void OnWishFailed(const FailedWish& wish) override { failed.push_back(wish); }
    void OnStateChanged(BranchState state) override { states.push_back(state); }

    /// Everything, an item a line, to be compared; of long contents both ends and the checksum.
    QStringList Dump() const
    {
        QStringList lines;
        for (const auto& [path, item] : items) {
            Bytes content = item.content + stateOf(item.map);
            if (content.size() > 100)
                content = content.substr(0, 40) + "..." + std::to_string(Checksum(content)) + "..." +
                          content.substr(content.size() - 40);
            lines += QStringLiteral("%1 %2 %3").arg(path).arg(item.type).arg(QString::fromStdString(content));
        }
        return lines;
    }
    /// What a branch begins with.
    Changes Initial() const
    {
        Changes changes;
        for (const auto& [path, item] : items)
            changes.push_back(AddChange(path, item.type, MakeContent(item.content)));
        return changes;
    }

private:
    template<class Call>
    static void forEachCommand(const Bytes& commands, const Call& call)
    {
        for (std::size_t at = 0; at < commands.size();) {
            const std::size_t end = commands.find(';', at);
            const std::size_t equals = std::min(commands.find('=', at), end);
            call(commands[at], commands.substr(at + 1, equals - at - 1),
                 equals == end ? Bytes() : commands.substr(equals + 1, end - equals - 1));
            at = end + 1;
        }
    }
    static void execute(std::map<Bytes, Bytes>& map, char kind, const Bytes& key, const Bytes& item)
    {
        if (kind == 'S')
            map[key] = item;
        else if (kind == 'E')
            map.erase(key);
        else
            map.clear();
    }
    static void executeAll(std::map<Bytes, Bytes>& map, const Bytes& commands)
    {
        forEachCommand(commands, [&map](char kind, const Bytes& key, const Bytes& item) {
            execute(map, kind, key, item);
        });
    }
    static Bytes stateOf(const std::map<Bytes, Bytes>& map)
    {
        Bytes commands;
        for (const auto& [key, item] : map)
            commands += 'S' + key + '=' + item + ';';
        return commands;
    }
    bool make(const Change& change)
    {
        const auto found = items.find(change.path);
        const bool exists = found != items.end();
        if (exists == (change.operation == Operation::Add))
            return false;
        if (!exists)
            items[change.path] = {change.type, BytesOf(change.content), {}};
        else if (change.operation == Operation::Set)
            found->second.content = BytesOf(change.content);
        else if (change.operation == Operation::Commands)
            executeAll(found->second.map, BytesOf(change.content));
        return true;
    }
    bool removeAll(const QString& top, bool record)
    {
        std::vector<QString> paths;
        for (const auto& item : items) {
            if (IsAtOrBelow(item.first, top))
                paths.push_back(item.first);
        }
        for (auto path = paths.rbegin(); path != paths.rend(); ++path) {
            items.erase(*path);
            if (record)
                m_local.push_back(RemoveChange(*path));
        }
        return !paths.empty();
    }
    void tell(const Change& change)
    {
        heard.push_back(change);
        if (observer)
            observer(change);
    }

    Changes m_local;
};

} // namespace distribution
