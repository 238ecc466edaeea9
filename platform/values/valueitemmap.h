#pragma once

#include <values/changelog.h>
#include <values/keytraits.h>
#include <values/value.h>
#include <values/valueitemmapcommands.h>

#include <QString>

#include <list>
#include <stdexcept>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace values {

namespace valueitemmap {

/// An item that knows its key. Items are copyable and have operator==.
template<class KeyType>
class IKeyItemTemplate
{
public:
    using Key = KeyType;

    virtual Key GetKey() const = 0;
    virtual ~IKeyItemTemplate() = default;

protected:
    IKeyItemTemplate() = default;
    IKeyItemTemplate(const IKeyItemTemplate&) = default;
    IKeyItemTemplate(IKeyItemTemplate&&) noexcept = default;
    IKeyItemTemplate& operator=(const IKeyItemTemplate&) = default;
    IKeyItemTemplate& operator=(IKeyItemTemplate&&) noexcept = default;
};

/// A value whose newest changes can be read.
template<class Kind, class Key>
class IHasChangeLogValueTemplate
{
public:
    virtual ~IHasChangeLogValueTemplate() = default;
    virtual const ChangeLogTemplate<Kind, Key>& GetChangeLog() const = 0;
    /// Number of changes since the value was made, modulo 2^32.
    virtual unsigned int GetChangeNumber() const = 0;
};

/// Kinds of entries in a collection's change log. Values add their own, as characters.
enum eChangeKind : char {
    eItemSet = 1,    ///< inserted or replaced
    eItemErased = 2, ///< the item is gone
    eMapCleared = 3  ///< all are gone; the entry has the invalid key
};

} // namespace valueitemmap

/// A keyed collection that is a value of the tree.
///
/// Every change is made by the virtual SetAt(), EraseAt() or Clear(), here or by a command that repeats it,
/// and has the same steps: content, change log, recorded command, observers. An observer may change or delete
/// the map while it is called, so these operations touch nothing after that. A tombstone is empty and ignores
/// changes.
///
/// Item derives from IKeyItemTemplate<Key>. ItemFormat has static `QString GetString(const Item&)`,
/// `std::string toStandardString(const Item&)` (the item field, its length first) and
/// `bool fromCharStream(const char**, Item&)` (reads a field whose length was checked and moves behind it).
/// TextAdapter has the static texts for views and is not used here. Observer arguments name the originator,
/// who is not called back; null for nobody.
template<class Item, class ItemFormat, class TextAdapter>
class ValueItemMapBase : public virtual ValueBase,
                         public valueitemmap::IHasChangeLogValueTemplate<char, QString>
{
public:
    using Key = typename Item::Key;
    using Traits = valueitemmap::KeyTraits<Key>;
    using Map = std::unordered_map<Key, Item>;
    using Format = ItemFormat;
    using Adapter = TextAdapter;

    /// The key under which nothing is stored.
    static const Key& GetInvalidKey() { return Traits::Invalid(); }

    /// Inserts or replaces and returns the key, a new one for the invalid key (see CreateNewUniqueKey()). An
    /// item equal to the stored one changes nothing and tells nobody. A tombstone gives the invalid key.
    virtual Key SetAt(Key key, const Item& item, IObserver* observer = nullptr);
    Key InsertAt(Key key, const Item& item, IObserver* observer = nullptr)
    {
        return SetAt(std::move(key), item, observer);
    }
    /// SetAt() under the item's own key; so do Add() and PushBack().
    Key Set(const Item& item, IObserver* observer = nullptr) { return SetAt(item.GetKey(), item, observer); }
    Key Add(const Item& item, IObserver* observer = nullptr) { return SetAt(item.GetKey(), item, observer); }
    Key PushBack(const Item& item, IObserver* observer = nullptr) { return Add(item, observer); }
    /// Sets all items under their own keys, as one transaction. With `replace` nothing else is left: without
    /// `difference` the map is cleared first, with it the other items are erased one by one in the end, and
    /// equal ones are not touched.
    void Set(const std::list<Item>& items, bool replace, bool difference, IObserver* observer = nullptr);
    void Set(const Map& items, bool replace, bool difference, IObserver* observer = nullptr);
    /// Makes the content equal to `items`, under the keys given there; equal items are not touched.
    void SetMap(const Map& items, IObserver* observer = nullptr);
    /// A key that is not stored changes nothing.
    virtual void EraseAt(Key key, IObserver* observer = nullptr);
    /// An empty map stays as it is.
    virtual void Clear(IObserver* observer = nullptr);

    /// Throws std::out_of_range when the key is not stored.
    const Item& At(const Key& key) const;
    bool Contains(const Key& key) const { return m_items.find(key) != m_items.end(); }
    std::size_t Size() const noexcept { return m_items.size(); }
    bool Empty() const noexcept { return m_items.empty(); }
    /// All keys in the order of iteration, which means nothing.
    std::vector<Key> IndexVector() const;
    /// Key of the first item in the order of iteration that equals `item`, or the invalid key. Linear.
    Key find(const Item& item) const;
    const Map& data() const noexcept { return m_items; }

    const ChangeLogTemplate<char, QString>& GetChangeLog() const override { return m_changeLog; }
    unsigned int GetChangeNumber() const override { return m_changeNumber; }
    /// How many entries the change log keeps, ChangeLogTemplate::kDefaultSize at first.
    void SetChangeLogSize(unsigned int size) { m_changeLog.SetChangeLogSize(size); }

    /// Where the content comes from; not transmitted. Setting it tells nobody.
    const QString& GetFilename() const noexcept { return m_filename; }
    void SetFilename(const QString& filename) { m_filename = filename; }

    /// The first item and how many more there are, also when there are none more; empty for an empty map.
    QString GetStringValue() const override;
    bool Compare(const ValueBase* other) const override;
    bool operator==(const ValueItemMapBase& other) const;
    bool operator!=(const ValueItemMapBase& other) const { return !(*this == other); }
    ValueBase* GetValueBase() noexcept { return this; }

    void AddObjectStateStringForTransmission(std::string& out, unsigned int flags) override;
    void ExpectItems(std::size_t count) override { m_items.reserve(m_items.size() + count); }
    Command* CreateNextCommand(int id, const char** stream, IObserver* observer, int available) override;
    void EraseKeys(const KeyFilter& filter, IObserver* observer) override;
    void ReplaceNextEqual() override { m_replacesEqual = true; }

protected:
    ValueItemMapBase() = default;
    ValueItemMapBase(const QString& name, TValueState state) { SetIdentity(name, state); }
    /// Takes over content and file name.
    ValueItemMapBase(const ValueItemMapBase& other)
        : ValueBase(other), m_items(other.m_items), m_filename(other.m_filename)
    {
    }

    /// A key that is not stored. For numbers the first free one from the element count on; for other keys it
    /// throws std::logic_error unless the map overrides it.
    virtual Key CreateNewUniqueKey();
    /// Writes one entry into the change log and counts it.
    void AddChange(char kind, const QString& key);
    /// Takes over content and file name of an equal kind of map, telling only the recorder.
    void AssignMap(const ValueItemMapBase& other);
    void ClearContent() override;

private:
    template<class Items, class KeyOf, class ItemOf>
    void setAll(const Items& items, const KeyOf& keyOf, const ItemOf& itemOf, bool replace, bool difference,
                IObserver* observer);

    /// With half of the buckets empty, an insertion seldom meets another item and so seldom waits for memory,
    /// and the order of iteration follows that of memory: large maps are filled and read faster.
    static Map sparseMap()
    {
        Map map;
        map.max_load_factor(0.5F);
        return map;
    }

    Map m_items = sparseMap();
    ChangeLogTemplate<char, QString> m_changeLog;
    unsigned int m_changeNumber = 0;
    bool m_replacesEqual = false;
    QString m_filename;
};

/// What a named collection derives from; that class overrides GetType() and GetTypeName().
template<class Item, class ItemFormat, class TextAdapter>
class ValueItemMap : public ValueItemMapBase<Item, ItemFormat, TextAdapter>
{
    using Base = ValueItemMapBase<Item, ItemFormat, TextAdapter>;

public:
    ValueItemMap() = default;
    explicit ValueItemMap(const QString& name, TValueState state = eValueValid) : Base(name, state) {}
    ValueItemMap(const ValueItemMap& other) : ValueBase(other), Base(other) {}
    ValueItemMap& operator=(const ValueItemMap&) = delete;

    /// Takes over content and file name of another map of this kind, not its change log; tells nobody.
    bool Assign(const ValueBase& other) override
    {
        const auto* const same = dynamic_cast<const ValueItemMap*>(&other);
        if (same && same != this)
            this->AssignMap(*same);
        return same != nullptr;
    }
};

} // namespace values

#include <values/valueitemmap_impl.h>
