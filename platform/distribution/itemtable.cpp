#include <distribution/itemtable.h>

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

} // namespace distribution
