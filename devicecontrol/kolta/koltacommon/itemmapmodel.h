#pragma once

#include <koltacommon/abstractitemmapmodel.h>
#include <koltacommon/export.h>
#include <koltacommon/viewroles.h>

#include <recording/recordidentifier.h>
#include <values/destruction.h>
#include <values/valueitemmap.h>

#include <QPointer>
#include <QVariant>

#include <algorithm>
#include <functional>
#include <memory>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Kolta {

/// How keys are ordered and read from the change log. Texts are ordered code unit by code unit.
template<class Key>
struct ItemMapKey;

template<>
struct ItemMapKey<QString>
{
    static bool IsLess(const QString& a, const QString& b) { return a < b; }
    static QString FromText(const QString& text) { return text; }
};

template<>
struct ItemMapKey<unsigned int>
{
    static bool IsLess(unsigned int a, unsigned int b) { return a < b; }
    static unsigned int FromText(const QString& text) { return text.toUInt(); }
};

/// By sub-system, then device, then record.
template<>
struct ItemMapKey<sorel::RecordIdentifier>
{
    static bool IsLess(const sorel::RecordIdentifier& a, const sorel::RecordIdentifier& b)
    {
        return std::tie(a.subSystem(), a.deviceID(), a.recordID()) <
               std::tie(b.subSystem(), b.deviceID(), b.recordID());
    }
    static sorel::RecordIdentifier FromText(const QString& text)
    {
        return sorel::RecordIdentifier::fromString(text);
    }
};

/// Whether a text adapter has values to sort by.
template<class Adapter, class Item, class = void>
struct HasSortValues : std::false_type
{
};
template<class Adapter, class Item>
struct HasSortValues<Adapter, Item,
                     std::void_t<decltype(Adapter::GetSortValue4Column(0, std::declval<const Item&>()))>>
    : std::true_type
{
};

/// What a model makes of the items besides rows. The functions are called once for every change of an item
/// and change nothing.
template<class Item>
struct ItemMapLayout
{
    std::function<QString(const Item&)> groupOf;     ///< name of the item's group; unset: no groups
    std::function<QStringList(const Item&)> linesOf; ///< what stands below the item; unset: nothing

    /// Grouped by the text in a column.
    template<class Adapter>
    static ItemMapLayout byColumn(int column)
    {
        return {[column](const Item& item) { return Adapter::GetText4Column(column, item); }, {}};
    }
};

/// The reader's side of a collection's notifications: which items may have changed since it was last asked.
///
/// Each change but the second entry of an erasing is told once. A notification that brings no entry means
/// that the content was replaced, or that the notification comes late: an observer that was called before
/// changed the collection again, and the entries of both changes came with the second notification. Those
/// that are still to come are counted, so that they cost nothing.
class KOLTA_COMMON_EXPORT ItemMapChanges
{
public:
    /// From here on, with everything to be compared.
    void restart(unsigned int changeNumber)
    {
        m_number = changeNumber;
        compareAll();
    }
    void compareAll()
    {
        m_all = true;
        m_late = 0;
        m_keys.clear();
    }
    template<class Log>
    void notice(const Log& log, unsigned int changeNumber)
    {
        using namespace values::valueitemmap;
        unsigned int told = 0;
        const bool isLogged = log.ForEachSince(m_number, [&](const auto& entry) {
            told += entry.kind == eItemSet || entry.kind == eItemErased || entry.kind == eMapCleared;
            if (entry.kind == eMapCleared)
                m_all = true;
            else if (!m_all && (entry.kind == eItemSet || entry.kind == eItemErased))
                m_keys.push_back(entry.key);
        });
        const bool isNew = m_number != changeNumber;
        m_number = changeNumber;
        if (!isLogged || (!isNew && m_late == 0))
            compareAll();
        else if (m_late + told > 0)
            m_late += told - 1;
    }
    bool isEmpty() const { return !m_all && m_keys.empty(); }
    /// True when all items are to be compared, else `keys` are the texts of the keys to look at, each once.
    bool take(std::vector<QString>& keys)
    {
        keys = std::exchange(m_keys, {});
        std::sort(keys.begin(), keys.end());
        keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
        return std::exchange(m_all, false);
    }

private:
    std::vector<QString> m_keys;
    unsigned int m_number = 0; ///< change number up to which the log was read
    unsigned int m_late = 0;   ///< notifications to come of entries that were read
    bool m_all = false;
};

/// A value item map as a model for lists, tables and trees.
///
/// The texts are those of the map's text adapter; where that has no columns, one shows the key. The rows
/// follow the map (see AbstractItemMapModel) and go when it is deleted from the tree or destroyed, unless
/// keepLastKnown() was asked for; they come back when it comes back in the tree. The model holds shared
/// copies of the items: what it shows is whole also while the map has changed again, which it hears of in the
/// middle of a notification only after the signals of the change before. Map and model belong to one thread;
/// neither needs to outlive the other.
///
/// A change of one item costs a search in the rows of its group and the shift of what follows there. All
/// items are compared when changes are not in the change log any more, when the content is replaced, and when
/// it is cleared. Item is declared as a metatype.
///
/// Another adapter than the map's may show the items; with a function GetSortValue4Column() it answers
/// ViewRoles::SortRole, too.
template<class Map, class TextAdapter = typename Map::Adapter>
class ItemMapModel : public AbstractItemMapModel
{
public:
    using Key = typename Map::Key;
    using Item = typename Map::Map::mapped_type;
    using Layout = ItemMapLayout<Item>;

    /// `map` may be null.
    explicit ItemMapModel(Map* map = nullptr, Layout layout = {}, QObject* parent = nullptr)
        : AbstractItemMapModel(static_cast<bool>(layout.groupOf), parent), m_layout(std::move(layout))
    {
        setMap(map);
    }

    /// Follows another map, or none, from now on; the rows become those of that map.
    void setMap(Map* map)
    {
        m_known.clear();
        listenTo(map);
        followAnew();
    }
    /// From now on the rows stay, and are stale by ViewRoles::StaleRole, while their map is deleted from the
    /// tree or destroyed; setMap() ends that.
    void keepLastKnown() { m_keeps = true; }
    /// Follows none from now on; the rows become these, which a map had that is away. For models that were
    /// told keepLastKnown().
    void showLastKnown(const typename Map::Map& items)
    {
        m_known = items;
        listenTo(nullptr);
        if (follow())
            setLastKnown(true);
    }
    /// Whether the rows are those of a map that is away. In the signals of what has changed when it is back
    /// it is still so.
    bool isLastKnown() const noexcept { return m_isLastKnown; }
    /// Null when none is followed, and once it is destroyed.
    Map* map() const noexcept { return m_map.Get(); }
    /// The shown item at an index or the one that the line there belongs to, until the next change; null for
    /// a group.
    const Item* itemAt(const QModelIndex& index) const
    {
        const auto* const row = static_cast<const Entry*>(rowAt(index));
        return row ? &row->item : nullptr;
    }
    /// Invalid when no item with the key is shown.
    QModelIndex indexOf(const Key& key, int column = 0) const
    {
        const auto found = m_entries.find(key);
        return found == m_entries.end() ? QModelIndex() : indexOfRow(found->second.get(), column);
    }

protected:
    bool isLess(const Row& a, const Row& b) const override
    {
        return ItemMapKey<Key>::IsLess(static_cast<const Entry&>(a).key, static_cast<const Entry&>(b).key);
    }
    int adapterColumns() const override { return Adapter::ColumnCount(); }
    QString columnTitle(int column) const override { return Adapter::GetColumnTitle(column); }
    QVariant itemData(const Row& row, int column, int role) const override;

private:
    using Adapter = TextAdapter;
    static constexpr int kIconSize = 16;
    struct Entry : Row
    {
        Entry(const Key& itemKey, const Item& shown) : key(itemKey), item(shown) {}
        const Key key;
        Item item;
    };
    using Entries = std::unordered_map<Key, std::unique_ptr<Entry>>;
    struct Difference
    {
        std::vector<Change> came;
        std::vector<Change> changed;
        std::vector<std::unique_ptr<Entry>> gone;
    };
    class Listener final : public IObserver, public values::IDestructionObserver
    {
    public:
        explicit Listener(ItemMapModel& model) : m_model(model) {}
        void Update(Observable*, TChangeCode code) override { m_model.notice(code); }
        void OnDestroyed(const Observable*) override { m_model.lose(); }

    private:
        ItemMapModel& m_model;
    };

    void notice(TChangeCode code);
    void listenTo(Map* map)
    {
        Map* const old = m_map.Get();
        m_map = values::Weak<Map>(map);
        if (map)
            map->Attach(&m_listener);
        if (old && old != map)
            old->Detach(&m_listener);
        m_changes.restart(map ? map->GetChangeNumber() : 0);
    }
    void lose()
    {
        if (m_keeps)
            setLastKnown(true);
        else
            setMap(nullptr);
    }
    void setLastKnown(bool isLastKnown);
    bool follow();
    void followAnew()
    {
        if (follow())
            setLastKnown(false);
    }
    bool show(const Difference& difference);
    Difference differenceToMap();
    void compare(const Key& key, const Item* item, Difference& difference);
    Change changeOf(Entry& entry) const
    {
        return {&entry, m_layout.groupOf ? m_layout.groupOf(entry.item) : QString(),
                m_layout.linesOf ? m_layout.linesOf(entry.item) : QStringList()};
    }

    Layout m_layout;
    Entries m_entries;
    values::Weak<Map> m_map;
    typename Map::Map m_known; ///< while there is no map
    ItemMapChanges m_changes;
    bool m_following = false;
    bool m_keeps = false;
    bool m_isLastKnown = false;
    Listener m_listener{*this};
};

template<class Map, class TextAdapter>
QVariant ItemMapModel<Map, TextAdapter>::itemData(const Row& row, int column, int role) const
{
    const auto& entry = static_cast<const Entry&>(row);
    switch (role) {
    case Qt::DisplayRole:
        return Adapter::ColumnCount() > 0 ? Adapter::GetText4Column(column, entry.item)
                                          : Map::Traits::ToText(entry.key);
    case Qt::DecorationRole:
        return Adapter::GetIcon4Column(column, entry.item, kIconSize, kIconSize);
    case Qt::ToolTipRole:
        return Adapter::GetText4Tooltip(entry.item);
    case ViewRoles::StaleRole:
        return m_keeps ? QVariant(m_isLastKnown) : QVariant();
    case KeyRole:
        return QVariant::fromValue(entry.key);
    case ItemRole:
        return QVariant::fromValue(entry.item);
    case ViewRoles::SortRole:
        if constexpr (HasSortValues<Adapter, Item>::value)
            return Adapter::GetSortValue4Column(column, entry.item);
        return QVariant();
    default:
        return QVariant();
    }
}

template<class Map, class TextAdapter>
void ItemMapModel<Map, TextAdapter>::notice(TChangeCode code)
{
    const Map* const map = m_map.Get();
    if (!map)
        return;
    if (m_keeps && map->IsDeleted()) {
        setLastKnown(true);
        return;
    }
    const bool isContent = code == eChangeValue || code == eChangeContent;
    if (m_isLastKnown && isContent) {
        m_changes.restart(map->GetChangeNumber());
        followAnew();
        return;
    }
    // A value that comes back announces its content next.
    if (code == eChangeState && map->IsDeleted())
        m_changes.restart(map->GetChangeNumber());
    else if (isContent)
        m_changes.notice(map->GetChangeLog(), map->GetChangeNumber());
    follow();
}

/// The rows hold other data then.
template<class Map, class TextAdapter>
void ItemMapModel<Map, TextAdapter>::setLastKnown(bool isLastKnown)
{
    if (m_isLastKnown == isLastKnown)
        return;
    m_isLastKnown = isLastKnown;
    std::vector<QPersistentModelIndex> parents{QPersistentModelIndex()};
    for (int row = 0; m_layout.groupOf && row < rowCount(); ++row)
        parents.emplace_back(index(row, 0));
    const QPointer<QObject> alive(this);
    for (const QPersistentModelIndex& parent : parents) {
        if (alive && rowCount(parent) > 0)
            Q_EMIT dataChanged(index(0, 0, parent), index(rowCount(parent) - 1, columnCount() - 1, parent));
    }
}

/// One at a time: what a slot changes is followed after the signals of the change before. False when a slot
/// has deleted the model.
template<class Map, class TextAdapter>
bool ItemMapModel<Map, TextAdapter>::follow()
{
    if (m_following)
        return true;
    m_following = true;
    while (!m_changes.isEmpty()) {
        if (!show(differenceToMap()))
            return false;
    }
    m_following = false;
    return true;
}

/// False when a slot has deleted the model; `difference` keeps the rows that go until all are gone.
template<class Map, class TextAdapter>
bool ItemMapModel<Map, TextAdapter>::show(const Difference& difference)
{
    Rows gone;
    for (const auto& entry : difference.gone)
        gone.push_back(entry.get());
    return removeItems(gone) && updateItems(difference.changed) && insertItems(difference.came);
}

template<class Map, class TextAdapter>
auto ItemMapModel<Map, TextAdapter>::differenceToMap() -> Difference
{
    const Map* const map = m_map.Get();
    const auto& items = map ? map->data() : m_known;
    const auto stored = [&items](const Key& key) {
        const auto found = items.find(key);
        return found == items.end() ? nullptr : &found->second;
    };
    Difference difference;
    std::vector<QString> texts;
    std::vector<Key> keys;
    const bool isAll = m_changes.take(texts);
    if (m_keeps && map && map->IsDeleted())
        return difference; // all is compared when it is back
    if (isAll) {
        for (const auto& entry : m_entries) {
            if (!stored(entry.first))
                keys.push_back(entry.first);
        }
        for (const auto& [key, item] : items)
            compare(key, &item, difference);
    } else {
        std::transform(texts.cbegin(), texts.cend(), std::back_inserter(keys), ItemMapKey<Key>::FromText);
    }
    for (const Key& key : keys)
        compare(key, stored(key), difference);
    return difference;
}

template<class Map, class TextAdapter>
void ItemMapModel<Map, TextAdapter>::compare(const Key& key, const Item* item, Difference& difference)
{
    const auto shown = m_entries.find(key);
    if (shown == m_entries.end()) {
        if (item) {
            auto& entry = m_entries.emplace(key, std::make_unique<Entry>(key, *item)).first->second;
            difference.came.push_back(changeOf(*entry));
        }
    } else if (!item) {
        difference.gone.push_back(std::move(shown->second));
        m_entries.erase(shown);
    } else if (!(shown->second->item == *item)) {
        shown->second->item = *item;
        difference.changed.push_back(changeOf(*shown->second));
    }
}

} // namespace Kolta
