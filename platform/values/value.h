#pragma once

#include <values/tree.h>

#include <QMap>
#include <QString>

#include <utility>

namespace values {

/// Type numbers of the values; they travel, so they never change.
enum TValueType : int { eTypeString = 1, eTypeSelection = 2 };

/// A value of the tree.
///
/// Every change of every value ends in Changed(), the one place from which tree listeners and observers hear
/// of it.
class ValueBase : public TreeItem
{
public:
    /// Type number (TValueType or a collection's own) and its name, "StringValue" for instance.
    virtual int GetType() const = 0;
    virtual QString GetTypeName() const = 0;
    /// The value as one line of text.
    virtual QString GetStringValue() const = 0;
    /// Takes over the content (not name, path, state, observers) of a value of the same type and tells
    /// nobody; false, and nothing happens, for another type.
    virtual bool Assign(const ValueBase& other) = 0;
    /// Same type and equal content.
    virtual bool Compare(const ValueBase* other) const = 0;

    /// Tells observers and listeners again although nothing changed, so that a reader processes the same
    /// content once more. Does nothing for a tombstone. An observer may delete the value meanwhile.
    void Announce(TChangeCode code = eChangeValue, IObserver* originator = nullptr);

protected:
    explicit ValueBase(const QString& name = QString(), TValueState state = eValueValid);
    /// To be called after every change of the content, as the last step: an observer may delete the value.
    /// Does nothing for a tombstone.
    void Changed(TChangeCode code, IObserver* originator);
    /// Empties the content when the value becomes a tombstone. Tells nobody.
    void ClearContent() override = 0;
};

/// How a Value<T> is named and printed.
template<class T>
struct ValueTraits;

template<>
struct ValueTraits<QString>
{
    static constexpr int type = eTypeString;
    static QString typeName() { return QStringLiteral("StringValue"); }
    static QString toText(const QString& value) { return value; }
};

/// A value of one plain type.
template<class T, class Traits = ValueTraits<T>>
class Value : public ValueBase
{
public:
    Value() = default;
    explicit Value(T value) : m_value(std::move(value)) {}

    const T& GetValue() const noexcept { return m_value; }
    /// Sets the content and tells everybody but `originator`; false, and nothing happens, when it holds it
    /// already or is a tombstone.
    bool SetValue(const T& value, IObserver* originator = nullptr)
    {
        if (IsDeleted() || m_value == value)
            return false;
        m_value = value;
        Changed(eChangeValue, originator);
        return true;
    }

    int GetType() const override { return Traits::type; }
    QString GetTypeName() const override { return Traits::typeName(); }
    QString GetStringValue() const override { return Traits::toText(m_value); }
    bool Assign(const ValueBase& other) override
    {
        const auto* same = dynamic_cast<const Value*>(&other);
        if (!same)
            return false;
        m_value = same->m_value;
        return true;
    }
    bool Compare(const ValueBase* other) const override
    {
        const auto* same = dynamic_cast<const Value*>(other);
        return same && same->m_value == m_value;
    }

protected:
    void ClearContent() override { m_value = T(); }

private:
    T m_value{};
};

/// The string value: every overview, request and reply of an installation is one.
using StringValue = Value<QString>;

/// A choice of named items, each with an integer key; exactly one or none is selected.
class SelectionValue : public ValueBase
{
public:
    SelectionValue() = default;
    explicit SelectionValue(const QMap<int, QString>& items, int selectedKey = -1);

    const QMap<int, QString>& GetItems() const noexcept { return m_items; }
    /// Replaces the items, with code eChangeContent; the selected key stays. False, and nothing happens, when
    /// they are the same or the value is a tombstone.
    bool SetItems(const QMap<int, QString>& items, IObserver* originator = nullptr);
    bool HasItem(int key) const { return m_items.contains(key); }
    /// Name of the item with `key`, or an empty text.
    QString GetItemName(int key) const { return m_items.value(key); }
    /// Key of the selected item, -1 for none. The key need not be among the items: a newer server may know
    /// more.
    int GetSelectedKey() const noexcept { return m_selected; }
    /// Selects, with code eChangeValue. False, and nothing happens, when it is selected already or the value
    /// is a tombstone.
    bool SetSelectedKey(int key, IObserver* originator = nullptr);

    int GetType() const override { return eTypeSelection; }
    QString GetTypeName() const override { return QStringLiteral("SelectionValue"); }
    /// Name of the selected item.
    QString GetStringValue() const override { return GetItemName(m_selected); }
    bool Assign(const ValueBase& other) override;
    bool Compare(const ValueBase* other) const override;

protected:
    void ClearContent() override;

private:
    QMap<int, QString> m_items;
    int m_selected = -1;
};

/// The one way to write a request into a string value: when it already holds `text` the value is announced
/// again with code eChangeValue, so that the reader processes the identical request once more; otherwise the
/// text is set. False when there is no living string value at `path`. `originator` is not called back.
bool WriteOrAnnounce(const QString& path, const QString& text, IObserver* originator = nullptr);

} // namespace values
