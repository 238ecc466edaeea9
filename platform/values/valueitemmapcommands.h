#pragma once

#include <values/command.h>
#include <values/keytraits.h>

#include <memory>
#include <string>
#include <utility>

/// \file
/// The commands of valueitemmap.h, which includes this.

namespace values {

template<class Item, class ItemFormat, class TextAdapter>
class ValueItemMapBase;

/// "Set this item under this key."
template<class Item, class ItemFormat, class TextAdapter>
class CommandMapSetAt : public ValueBase::CommandOnValue
{
public:
    using Map = ValueItemMapBase<Item, ItemFormat, TextAdapter>;
    using Key = typename Map::Key;
    using Traits = valueitemmap::KeyTraits<Key>;

    CommandMapSetAt(Map& map, Key key, Item item, IObserver* originator)
        : CommandOnValue(eCommandMapSetAt, map, originator)
        , m_map(&map)
        , m_key(std::move(key))
        , m_item(std::move(item))
    {
    }
    /// Reads the payload; null when it does not fit, or when its key is the invalid one, which no writer
    /// sends.
    static std::unique_ptr<Command> Read(Map& map, ByteReader& in, IObserver* originator)
    {
        Key key{};
        Item item;
        if (!Traits::ReadField(in, key) || key == Map::GetInvalidKey() || !eatSemicolon(in) ||
            !readItem(in, item) || !eatSemicolon(in))
            return nullptr;
        return std::make_unique<CommandMapSetAt>(map, std::move(key), std::move(item), originator);
    }
    /// What AddCommandString() appends, without the need to copy the item into a command.
    static void AddCommandString(std::string& out, int flags, const ValueBase* map, const Key& key,
                                 const Item& item)
    {
        const CommandFrame frame(out, eCommandMapSetAt, map, flags);
        Traits::AppendField(out, key);
        out += ';';
        out += ItemFormat::toStandardString(item);
        out += ';';
    }

    const Key& GetKey() const noexcept { return m_key; }
    const Item& GetItem() const noexcept { return m_item; }

    void Execute() override
    {
        if (GetTarget())
            m_map->SetAt(m_key, m_item, GetOriginator());
    }
    void AddScope(CommandScope& scope) const override
    {
        Traits::AppendField(scope.keys.emplace_back(), m_key);
    }
    void AddCommandString(std::string& out, int flags) const override
    {
        AddCommandString(out, flags, GetTarget(), m_key, m_item);
    }
    std::unique_ptr<Command> Clone() const override { return std::make_unique<CommandMapSetAt>(*this); }

private:
    static bool eatSemicolon(ByteReader& in)
    {
        return EatSemicolon(in.Cursor(), static_cast<int>(in.Remaining()));
    }
    /// The item format trusts the field's length, so it is checked here.
    static bool readItem(ByteReader& in, Item& item)
    {
        quint32 size = 0;
        if (!in.PeekInteger(size) || size > in.Remaining() - sizeof size)
            return false;
        const char* const end = in.Position() + sizeof size + size;
        return ItemFormat::fromCharStream(in.Cursor(), item) && in.Position() == end;
    }

    Map* m_map; ///< lives as long as the target: it is the target
    Key m_key;
    Item m_item;
};

/// "Erase what is stored under this key."
template<class Item, class ItemFormat, class TextAdapter>
class CommandMapEraseAt : public ValueBase::CommandOnValue
{
public:
    using Map = ValueItemMapBase<Item, ItemFormat, TextAdapter>;
    using Key = typename Map::Key;
    using Traits = valueitemmap::KeyTraits<Key>;

    CommandMapEraseAt(Map& map, Key key, IObserver* originator)
        : CommandOnValue(eCommandMapEraseAt, map, originator), m_map(&map), m_key(std::move(key))
    {
    }
    /// Reads the payload; null when it does not fit.
    static std::unique_ptr<Command> Read(Map& map, ByteReader& in, IObserver* originator)
    {
        Key key{};
        if (!Traits::ReadField(in, key) || !EatSemicolon(in.Cursor(), static_cast<int>(in.Remaining())))
            return nullptr;
        return std::make_unique<CommandMapEraseAt>(map, std::move(key), originator);
    }

    const Key& GetKey() const noexcept { return m_key; }

    void Execute() override
    {
        if (GetTarget())
            m_map->EraseAt(m_key, GetOriginator());
    }
    void AddScope(CommandScope& scope) const override
    {
        Traits::AppendField(scope.keys.emplace_back(), m_key);
    }
    void AddCommandString(std::string& out, int flags) const override
    {
        const CommandFrame frame(out, GetCommandId(), GetTarget(), flags);
        Traits::AppendField(out, m_key);
        out += ';';
    }
    std::unique_ptr<Command> Clone() const override { return std::make_unique<CommandMapEraseAt>(*this); }

private:
    Map* m_map;
    Key m_key;
};

/// "Erase everything."
template<class Item, class ItemFormat, class TextAdapter>
class CommandMapClear : public ValueBase::CommandOnValue
{
public:
    using Map = ValueItemMapBase<Item, ItemFormat, TextAdapter>;

    CommandMapClear(Map& map, IObserver* originator)
        : CommandOnValue(eCommandMapClear, map, originator), m_map(&map)
    {
    }

    void Execute() override
    {
        if (GetTarget())
            m_map->Clear(GetOriginator());
    }
    void AddScope(CommandScope& scope) const override { scope.everyKey = true; }
    std::unique_ptr<Command> Clone() const override { return std::make_unique<CommandMapClear>(*this); }

private:
    Map* m_map;
};

} // namespace values
