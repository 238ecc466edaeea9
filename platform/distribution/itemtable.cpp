#include <distribution/itemtable.h>

#include <distribution/textdelta.h>

#include <utility>

namespace distribution {

Bytes ItemTable::Item::Range(std::size_t offset, std::size_t count) const
{
    return parts ? parts->Range(offset, count) : BytesOf(content).substr(offset, count);
}

bool ItemTable::Item::Holds(std::size_t offset, std::string_view bytes) const
{
    if (parts)
        return parts->Holds(offset, bytes);
    const Bytes& all = BytesOf(content);
    return offset <= all.size() && all.compare(offset, bytes.size(), bytes) == 0;
}

TextEdit ItemTable::Item::Prepare(values::TextSplice splice)
{
    if (!parts)
        parts.emplace(BytesOf(std::exchange(content, nullptr)));
    return parts->Prepare(std::move(splice));
}

ItemTable::Item* ItemTable::Find(quint32 id)
{
    const auto found = m_items.find(id);
    return found == m_items.end() ? nullptr : &found->second;
}

const ItemTable::Item* ItemTable::Find(quint32 id) const
{
    const auto found = m_items.find(id);
    return found == m_items.end() ? nullptr : &found->second;
}

const ItemTable::Item* ItemTable::Find(const QString& path) const
{
    return Find(IdOf(path));
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
    item->parts.reset();
}

void ItemTable::Apply(quint32 id, TextEdit& edit)
{
    Item* const item = Find(id);
    if (item && item->parts)
        item->parts->Apply(edit);
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

bool IsAtOrBelow(const QString& path, const QStringList& tops)
{
    return std::any_of(tops.begin(), tops.end(),
                       [&path](const QString& top) { return IsAtOrBelow(path, top); });
}

namespace {

/// An item as the changes before have left it.
struct Known
{
    QString path; ///< empty once it is removed
    Content content;
    ItemTable::Item* item = nullptr;   ///< whose content it still is
    std::optional<std::size_t> edited; ///< index of the change that replaces a part of it

    Content Whole() const { return item ? item->Whole() : content; }
    void Set(const Content& replaced)
    {
        content = replaced;
        item = nullptr;
    }
};

/// Whether the change only replaces a part of the item's content, which it names then.
bool resolveEdit(Change& change, ItemTable::Item& item, std::size_t maximumBytes)
{
    const auto partOf = [&item](std::size_t offset, std::size_t count) { return item.Range(offset, count); };
    auto splice = AsSplice(item.Size(), partOf, BytesOf(change.content), maximumBytes);
    if (!splice)
        return false;
    auto edit = std::make_shared<TextEdit>(item.Prepare(std::move(*splice)));
    if (item.parts->SumAfter(*edit) != change.checksum)
        return false;
    change.content.reset();
    change.edit = std::move(edit);
    return true;
}

/// A part was replaced and something else follows: the whole is needed.
void makeWhole(Known& known, Changes& resolved)
{
    if (!known.edited)
        return;
    Change& earlier = resolved[*std::exchange(known.edited, std::nullopt)];
    earlier.operation = Operation::Set;
    earlier.content = MakeContent(Spliced(BytesOf(known.Whole()), earlier.edit->splice));
    earlier.edit.reset();
    known.Set(earlier.content);
}

/// What is added has an identifier and a path of its own.
bool isNew(const Change& added, const ItemTable& items, const std::map<quint32, Known>& fresh,
           const QHash<QString, quint32>& places)
{
    const auto known = fresh.find(added.id);
    const bool hasItem =
        known != fresh.end() ? !known->second.path.isEmpty() : items.Find(added.id) != nullptr;
    return !hasItem && places.value(added.path, items.IdOf(added.path)) == 0;
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

std::optional<Changes> Resolve(const Changes& changes, ItemTable& items, std::size_t maximumBytes)
{
    std::map<quint32, Known> fresh;
    QHash<QString, quint32> places; // identifier of what has come there, 0 when it has gone
    Changes resolved;
    for (Change change : changes) {
        if (change.operation == Operation::Add && !isNew(change, items, fresh, places))
            return std::nullopt;
        const bool isMet = fresh.count(change.id) > 0;
        ItemTable::Item* const item = items.Find(change.id);
        Known& known = fresh[change.id];
        makeWhole(known, resolved);
        if (!isMet && item)
            known = {item->path, nullptr, item, std::nullopt};
        if (change.operation == Operation::Add)
            known = {change.path, change.content, nullptr, std::nullopt};
        if (known.path.isEmpty())
            return std::nullopt;
        change.path = known.path;
        if (change.operation == Operation::Add || change.operation == Operation::Remove)
            places[change.path] = change.operation == Operation::Add ? change.id : 0;
        if (change.operation == Operation::Delta) {
            if (!isMet && item && resolveEdit(change, *item, maximumBytes))
                known.edited = resolved.size();
            else if (!resolveRuns(change, known.Whole(), maximumBytes))
                return std::nullopt;
        }
        if (change.operation == Operation::Set)
            known.Set(change.content);
        else if (change.operation == Operation::Remove)
            known.path.clear();
        resolved.push_back(std::move(change));
    }
    return resolved;
}

} // namespace distribution
