#pragma once

#include <values/valueitemmap.h>

/// \file
/// The definitions of valueitemmap.h, which includes this.

namespace values {

template<class Item, class ItemFormat, class TextAdapter>
auto ValueItemMapBase<Item, ItemFormat, TextAdapter>::SetAt(Key key, const Item& item, IObserver* observer)
    -> Key
{
    if (IsDeleted())
        return GetInvalidKey();
    if (key == GetInvalidKey())
        key = CreateNewUniqueKey();
    const bool replacesEqual = std::exchange(m_replacesEqual, false);
    const auto [stored, inserted] = m_items.try_emplace(key, item);
    if (!inserted) {
        if (stored->second == item && !replacesEqual)
            return key;
        stored->second = item;
    }
    AddChange(valueitemmap::eItemSet, Traits::ToText(key));
    if (Record())
        RecordCommand(new CommandMapSetAt<Item, ItemFormat, TextAdapter>(*this, key, item, observer));
    Changed(eChangeValue, observer);
    return key;
}

template<class Item, class ItemFormat, class TextAdapter>
void ValueItemMapBase<Item, ItemFormat, TextAdapter>::Set(const std::list<Item>& items, bool replace,
                                                          bool difference, IObserver* observer)
{
    AnnounceBulkUpdate(observer, replace, difference);
    const auto itemOf = [](const Item& item) -> const Item& { return item; };
    setAll(
        items, [](const Item& item) { return item.GetKey(); }, itemOf, replace, difference, observer);
}

template<class Item, class ItemFormat, class TextAdapter>
void ValueItemMapBase<Item, ItemFormat, TextAdapter>::Set(const Map& items, bool replace, bool difference,
                                                          IObserver* observer)
{
    if (&items == &m_items) {
        Set(Map(items), replace, difference, observer);
        return;
    }
    AnnounceBulkUpdate(observer, replace, difference);
    setAll(
        items, [](const auto& entry) { return entry.second.GetKey(); },
        [](const auto& entry) -> const Item& { return entry.second; }, replace, difference, observer);
}

template<class Item, class ItemFormat, class TextAdapter>
void ValueItemMapBase<Item, ItemFormat, TextAdapter>::SetMap(const Map& items, IObserver* observer)
{
    if (&items == &m_items)
        return;
    AnnounceBulkUpdate(observer, true, true);
    setAll(
        items, [](const auto& entry) { return entry.first; },
        [](const auto& entry) -> const Item& { return entry.second; }, true, true, observer);
}

/// After every change map and originator may be gone.
template<class Item, class ItemFormat, class TextAdapter>
template<class Items, class KeyOf, class ItemOf>
void ValueItemMapBase<Item, ItemFormat, TextAdapter>::setAll(const Items& items, const KeyOf& keyOf,
                                                             const ItemOf& itemOf, bool replace,
                                                             bool difference, IObserver* observer)
{
    const Weak<ValueBase> alive(this);
    const Weak<IObserver> originator(observer);
    const auto transaction = CreateTransaction();
    const bool eraseOthers = replace && difference;
    std::unordered_set<Key> held;
    if (replace && !difference)
        Clear(observer);
    for (auto entry = items.begin(); alive && entry != items.end(); ++entry) {
        Key key = SetAt(keyOf(*entry), itemOf(*entry), originator.Get());
        if (eraseOthers)
            held.insert(std::move(key));
    }
    if (!alive || !eraseOthers)
        return;
    std::vector<Key> others;
    for (const auto& entry : m_items) {
        if (held.count(entry.first) == 0)
            others.push_back(entry.first);
    }
    for (std::size_t i = 0; alive && i < others.size(); ++i)
        EraseAt(others[i], originator.Get());
}

template<class Item, class ItemFormat, class TextAdapter>
void ValueItemMapBase<Item, ItemFormat, TextAdapter>::EraseAt(Key key, IObserver* observer)
{
    if (m_items.erase(key) == 0)
        return;
    AddChange(valueitemmap::eItemErased, Traits::ToText(key));
    if (Record())
        RecordCommand(new CommandMapEraseAt<Item, ItemFormat, TextAdapter>(*this, std::move(key), observer));
    Changed(eChangeValue, observer);
}

template<class Item, class ItemFormat, class TextAdapter>
void ValueItemMapBase<Item, ItemFormat, TextAdapter>::Clear(IObserver* observer)
{
    if (m_items.empty())
        return;
    m_items.clear();
    AddChange(valueitemmap::eMapCleared, Traits::ToText(GetInvalidKey()));
    if (Record())
        RecordCommand(new CommandMapClear<Item, ItemFormat, TextAdapter>(*this, observer));
    Changed(eChangeValue, observer);
}

template<class Item, class ItemFormat, class TextAdapter>
const Item& ValueItemMapBase<Item, ItemFormat, TextAdapter>::At(const Key& key) const
{
    const auto found = m_items.find(key);
    if (found == m_items.end())
        throw std::out_of_range("invalid unordered_map<K, T> key");
    return found->second;
}

template<class Item, class ItemFormat, class TextAdapter>
auto ValueItemMapBase<Item, ItemFormat, TextAdapter>::IndexVector() const -> std::vector<Key>
{
    std::vector<Key> keys;
    keys.reserve(m_items.size());
    for (const auto& entry : m_items)
        keys.push_back(entry.first);
    return keys;
}

template<class Item, class ItemFormat, class TextAdapter>
auto ValueItemMapBase<Item, ItemFormat, TextAdapter>::find(const Item& item) const -> Key
{
    for (const auto& entry : m_items) {
        if (entry.second == item)
            return entry.first;
    }
    return GetInvalidKey();
}

template<class Item, class ItemFormat, class TextAdapter>
QString ValueItemMapBase<Item, ItemFormat, TextAdapter>::GetStringValue() const
{
    if (m_items.empty())
        return QString();
    return ItemFormat::GetString(m_items.begin()->second) + QStringLiteral(" - ") +
           QStringLiteral("%1 more items...").arg(m_items.size() - 1);
}

template<class Item, class ItemFormat, class TextAdapter>
bool ValueItemMapBase<Item, ItemFormat, TextAdapter>::Compare(const ValueBase* other) const
{
    const auto* const same = dynamic_cast<const ValueItemMapBase*>(other);
    return same && *this == *same;
}

template<class Item, class ItemFormat, class TextAdapter>
bool ValueItemMapBase<Item, ItemFormat, TextAdapter>::operator==(const ValueItemMapBase& other) const
{
    return m_items == other.m_items && m_filename == other.m_filename && ValueBase::operator==(other);
}

template<class Item, class ItemFormat, class TextAdapter>
void ValueItemMapBase<Item, ItemFormat, TextAdapter>::AddObjectStateStringForTransmission(std::string& out,
                                                                                          unsigned int flags)
{
    ValueBase::AddObjectStateStringForTransmission(out, flags);
    const int commandFlags = static_cast<int>(flags);
    CommandMapClear<Item, ItemFormat, TextAdapter>(*this, nullptr).AddCommandString(out, commandFlags);
    constexpr std::size_t sample = 16;
    const std::size_t start = out.size();
    std::size_t written = 0;
    for (const auto& [key, item] : m_items) {
        CommandMapSetAt<Item, ItemFormat, TextAdapter>::AddCommandString(out, commandFlags, this, key, item);
        // Room for all once the size of some is known, so that a long state is not moved while it grows.
        if (++written == sample)
            out.reserve(start + (out.size() - start) / sample * m_items.size());
    }
}

template<class Item, class ItemFormat, class TextAdapter>
Command* ValueItemMapBase<Item, ItemFormat, TextAdapter>::CreateNextCommand(int id, const char** stream,
                                                                            IObserver* observer,
                                                                            int available)
{
    if (available < 0)
        return nullptr;
    ByteReader in(*stream, static_cast<std::size_t>(available));
    std::unique_ptr<Command> command;
    switch (id) {
    case eCommandMapSetAt:
        command = CommandMapSetAt<Item, ItemFormat, TextAdapter>::Read(*this, in, observer);
        break;
    case eCommandMapEraseAt:
        command = CommandMapEraseAt<Item, ItemFormat, TextAdapter>::Read(*this, in, observer);
        break;
    case eCommandMapClear:
        command = std::make_unique<CommandMapClear<Item, ItemFormat, TextAdapter>>(*this, observer);
        break;
    default:
        return ValueBase::CreateNextCommand(id, stream, observer, available);
    }
    if (command)
        *stream = in.Position();
    return command.release();
}

template<class Item, class ItemFormat, class TextAdapter>
void ValueItemMapBase<Item, ItemFormat, TextAdapter>::EraseKeys(const KeyFilter& filter, IObserver* observer)
{
    std::vector<Key> keys;
    std::string field;
    for (const auto& entry : m_items) {
        field.clear();
        Traits::AppendField(field, entry.first);
        if (filter(field))
            keys.push_back(entry.first);
    }
    ForEachWhileAlive(keys, observer,
                      [this](const Key& key, IObserver* originator) { EraseAt(key, originator); });
}

template<class Item, class ItemFormat, class TextAdapter>
auto ValueItemMapBase<Item, ItemFormat, TextAdapter>::CreateNewUniqueKey() -> Key
{
    if constexpr (std::is_same_v<Key, unsigned int>) {
        auto key = static_cast<unsigned int>(m_items.size());
        while (key == GetInvalidKey() || Contains(key))
            ++key;
        return key;
    } else {
        // The name in the text is misspelt on purpose: it is matched on.
        throw std::logic_error(
            "Cannot create unique key for this KeyType. Override CreateNewUnqiqueKey() method "
            "in your item map specialization");
    }
}

template<class Item, class ItemFormat, class TextAdapter>
void ValueItemMapBase<Item, ItemFormat, TextAdapter>::AddChange(char kind, const QString& key)
{
    m_changeLog.Append(kind, key, m_changeNumber);
    ++m_changeNumber;
}

template<class Item, class ItemFormat, class TextAdapter>
void ValueItemMapBase<Item, ItemFormat, TextAdapter>::AssignMap(const ValueItemMapBase& other)
{
    m_items = other.m_items;
    m_filename = other.m_filename;
    ContentReplaced();
}

template<class Item, class ItemFormat, class TextAdapter>
void ValueItemMapBase<Item, ItemFormat, TextAdapter>::ClearContent()
{
    m_items.clear();
    m_filename.clear();
    ContentReplaced();
}

} // namespace values
