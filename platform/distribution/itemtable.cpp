#include <distribution/itemtable.h>

#include <distribution/textdelta.h>

#include <utility>

namespace distribution {

ItemTable::Item* ItemTable::Find(quint32 id)
{
    const auto found = m_items.find(id);
    return found == m_items.end() ? nullptr : &found->second;
}

const ItemTable::Item* ItemTable::Find(const QString& path) const
{
    const auto found = m_items.find(IdOf(path));
    return found == m_items.end() ? nullptr : &found->second;
}

void ItemTable::Insert(quint32 id, Item item)
{
    Erase(id);
    Erase(IdOf(item.path));
    m_ids.insert(item.path, id);
    m_items.emplace(id, std::move(item));
}

void ItemTable::Erase(quint32 id)
{
    const auto found = m_items.find(id);
    if (found == m_items.end())
        return;
    m_ids.remove(found->second.path);
    m_items.erase(found);
}

void ItemTable::SetContent(quint32 id, const Content& content)
{
    Item* const item = Find(id);
    if (!item)
        return;
    item->content = content;
    item->checksum.reset();
}

Change ItemTable::Splice(const Change& delta, bool withPart)
{
    Item& item = *Find(delta.id);
    const values::TextSplice& splice = *delta.splice;
    const std::size_t bytes = item.content->size() - splice.removed.size() + splice.inserted.size();
    const bool isAlone = item.content.use_count() == 1 && bytes <= item.content->capacity();
    item.checksum = item.checksum->After(*item.content, splice);
    if (isAlone) // nobody else sees it, and large ones are not copied
        std::const_pointer_cast<Bytes>(item.content)
            ->replace(splice.offset, splice.removed.size(), splice.inserted);
    else
        item.content = MakeContent(Spliced(*item.content, splice));
    Change change = SetChange(delta.path, item.content);
    if (withPart)
        change.splice = delta.splice;
    return change;
}

void ItemTable::Clear()
{
    m_items.clear();
    m_ids.clear();
}

bool IsAtOrBelow(const QString& path, const QString& top)
{
    return path.startsWith(top) && (path.size() == top.size() || top == QLatin1String("/") ||
                                    path.at(top.size()) == QLatin1Char('/'));
}

namespace {

/// An item as the changes before have left it.
struct Known
{
    QString path; ///< empty once it is removed
    Content content;
    std::optional<std::size_t> spliced; ///< index of the change that replaces a part of the content
};

/// Whether the change only replaces a part of the item's content, which it names then.
bool resolveSplice(Change& change, const ItemTable::Item& item, std::size_t maximumBytes)
{
    const Bytes& content = BytesOf(item.content);
    auto splice = AsSplice(content, BytesOf(change.content), maximumBytes);
    if (!splice)
        return false;
    if (!item.checksum)
        item.checksum.emplace(content);
    if (item.checksum->After(content, *splice).Whole() != change.checksum)
        return false;
    change.content.reset();
    change.splice = std::make_shared<const values::TextSplice>(std::move(*splice));
    return true;
}

/// A part was replaced and something else follows: the whole is needed.
void makeWhole(Known& known, Changes& resolved)
{
    if (!known.spliced)
        return;
    Change& earlier = resolved[*std::exchange(known.spliced, std::nullopt)];
    earlier.operation = Operation::Set;
    earlier.content = known.content = MakeContent(Spliced(BytesOf(known.content), *earlier.splice));
    earlier.splice.reset();
}

bool resolveRuns(Change& change, const Content& former, std::size_t maximumBytes)
{
    auto content = ApplyRuns(BytesOf(former), BytesOf(change.content), maximumBytes);
    if (!content || Checksum(*content) != change.checksum)
        return false;
    change.operation = Operation::Set;
    change.content = MakeContent(std::move(*content));
    return true;
}

} // namespace

std::optional<Changes> Resolve(const Changes& changes, const ItemTable& items, std::size_t maximumBytes)
{
    std::map<quint32, Known> fresh;
    Changes resolved;
    for (Change change : changes) {
        const bool isMet = fresh.count(change.id) > 0;
        const auto item = items.All().find(change.id);
        Known& known = fresh[change.id];
        makeWhole(known, resolved);
        if (!isMet && item != items.All().end())
            known = {item->second.path, item->second.content, std::nullopt};
        if (change.operation == Operation::Add)
            known = {change.path, change.content, std::nullopt};
        if (known.path.isEmpty())
            return std::nullopt;
        change.path = known.path;
        if (change.operation == Operation::Delta) {
            if (!isMet && item != items.All().end() && resolveSplice(change, item->second, maximumBytes))
                known.spliced = resolved.size();
            else if (!resolveRuns(change, known.content, maximumBytes))
                return std::nullopt;
        }
        if (change.operation == Operation::Set)
            known.content = change.content;
        else if (change.operation == Operation::Remove)
            known.path.clear();
        resolved.push_back(std::move(change));
    }
    return resolved;
}

} // namespace distribution
