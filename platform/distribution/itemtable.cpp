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

std::optional<Changes> Resolve(const Changes& changes, const ItemTable& items, std::size_t maximumBytes)
{
    struct Known
    {
        QString path; ///< empty once it is removed
        Content content;
    };
    std::map<quint32, Known> fresh; ///< as the changes before have left it
    Changes resolved;
    for (Change change : changes) {
        const auto met = fresh.find(change.id);
        const auto item = items.All().find(change.id);
        Known& known = fresh[change.id];
        if (met == fresh.end() && item != items.All().end())
            known = {item->second.path, item->second.content};
        if (change.operation == Operation::Add)
            known = {change.path, change.content};
        if (known.path.isEmpty())
            return std::nullopt;
        change.path = known.path;
        if (change.operation == Operation::Delta) {
            auto content = ApplyRuns(BytesOf(known.content), BytesOf(change.content), maximumBytes);
            if (!content || Checksum(*content) != change.checksum)
                return std::nullopt;
            change.operation = Operation::Set;
            change.content = MakeContent(std::move(*content));
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
