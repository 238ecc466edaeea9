#pragma once

#include <values/export.h>
#include <values/tree.h>
#include <values/utf8.h>

#include <QMap>
#include <QString>

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace values {

class ByteReader;
class Command;
class ICommandRecorder;

/// Type numbers of the values; they travel, so they never change.
enum TValueType : int { eTypeString = 1, eTypeSelection = 2 };

/// A value of the tree.
///
/// Every change of every value ends in Changed(), the one place from which tree listeners and observers hear
/// of it. A value that has a recorder also says each change of its content as a command, which repeats the
/// change when it is executed on an equal value; the recorder gets it before anybody else hears of the
/// change.
class KOLTA_VALUES_EXPORT ValueBase : public TreeItem
{
public:
    class CommandOnValue;
    class Transaction;

    ~ValueBase() override;

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

    /// What values of all types compare: type and existence. Where a value stands and who is attached to it
    /// is no part of it.
    bool operator==(const ValueBase& other) const;
    bool operator!=(const ValueBase& other) const { return !(*this == other); }

    /// From now on `recorder`, which is not owned, gets the commands; RemoveRecorder() before it dies. False,
    /// and nothing changes, when the value has another recorder.
    bool InstallRecorder(ICommandRecorder* recorder);
    /// Ignores a recorder that is not installed. Commands of a running transaction are lost.
    void RemoveRecorder(const ICommandRecorder* recorder);
    /// Whether changes are recorded at present; never those of a tombstone.
    bool Record() const noexcept;
    /// Takes ownership and gives the command to the recorder, at once or with the running transaction.
    void RecordCommand(Command* command);
    /// Until the result (and every other one of this value) is gone, commands are kept; then they reach the
    /// recorder as one, also when an exception unwinds. They are lost when the value dies or its content is
    /// replaced silently before. May outlive the value.
    [[nodiscard]] Transaction CreateTransaction();

    /// Appends what another process needs to make an equal value: here the header (type, state, path), in
    /// values that record also the commands that fill an empty one. `flags`: eTransmissionFlag, for the
    /// commands.
    virtual void AddObjectStateStringForTransmission(std::string& out, unsigned int flags);
    /// Appends the content of a plain value; false, and nothing is appended, where it travels as commands.
    virtual bool AppendContent(std::string& out) const;
    /// Takes over such a content, which ends where `in` does, and tells everybody but `originator` what
    /// differs. False, and nothing happens, when it does not fit, for a tombstone, and where content travels
    /// as commands. An observer may delete the value.
    virtual bool ReadContent(ByteReader& in, IObserver* originator);
    /// Takes over such a content as an order, see Value::Order().
    virtual bool OrderContent(ByteReader& /*in*/, IObserver* /*originator*/) { return false; }
    /// ReadContent() of the present content with one part replaced, without reading the whole. False, and
    /// nothing happens, where it cannot be done.
    virtual bool SpliceContent(const TextSplice& /*splice*/, IObserver* /*originator*/) { return false; }
    /// About as many more items are to come: room for them may be made at once.
    virtual void ExpectItems(std::size_t /*count*/) {}
    /// Decodes the payload of a command on this value, of which `available` bytes may be read, and moves
    /// `*stream` behind it. Null, and `*stream` unchanged, when the identifier is unknown or the payload does
    /// not fit. The result is the caller's; `originator` is whom it names when it is executed.
    virtual Command* CreateNextCommand(int id, const char** stream, IObserver* originator, int available);
    /// Chooses among the keys or requests that commands name in their scopes. It is asked for all of them
    /// before anything is changed.
    using KeyFilter = std::function<bool(const std::string& key)>;
    /// Erases items one by one, where the value is a keyed collection; otherwise does nothing.
    virtual void EraseKeys(const KeyFilter& filter, IObserver* originator);
    /// The next item that is set takes the place of the stored one also when both count as equal, so that it
    /// has the same bytes everywhere; where the value is a keyed collection.
    virtual void ReplaceNextEqual() {}
    /// Called before a received state is executed, which adds the open requests of its sender but ends none.
    /// A value with requests ends those that `isStale` names; others have nothing to do. Who made one is told
    /// `error`, or, when that is empty, that nobody knows what became of it.
    virtual void EndRequests(const KeyFilter& isStale, IObserver* originator,
                             const QString& error = QString());

    /// For values::Weak.
    const Life& GetLife() const noexcept { return m_life; }

protected:
    explicit ValueBase(const QString& name = QString(), TValueState state = eValueValid);
    /// Takes over name and state; the copy is in no tree, and neither observed nor recorded.
    ValueBase(const ValueBase& other);
    ValueBase& operator=(const ValueBase&) = delete;
    /// Tells the recorder that many changes follow, which make the value equal to a given content: with
    /// `replace` wholly, else they add to it; with `difference` only what differs is written, else all.
    void AnnounceBulkUpdate(IObserver* originator, bool replace, bool difference);
    /// To be called after the content was replaced without commands (Assign, ClearContent): commands that
    /// still wait in a transaction mean the former content and are dropped, and the recorder is told.
    void ContentReplaced();
    /// To be called after every change of the content, as the last step: an observer may delete the value.
    /// Does nothing for a tombstone.
    void Changed(TChangeCode code, IObserver* originator);
    /// Instead of it where the content is an order; `isNew`: it has changed.
    void Ordered(bool isNew, IObserver* originator);
    /// Empties the content when the value becomes a tombstone. Tells nobody.
    void ClearContent() override = 0;
    /// For a series of changes: calls `change(element, originator)` for every element while the value lives,
    /// with null once the originator has died. All have their turn even if an observer throws; the first
    /// exception is passed on at the end.
    template<class Elements, class Change>
    void ForEachWhileAlive(const Elements& elements, IObserver* originator, const Change& change)
    {
        const Weak<ValueBase> alive(this);
        const Weak<IObserver> origin(originator);
        std::exception_ptr thrown;
        for (auto element = elements.begin(); alive && element != elements.end(); ++element) {
            try {
                change(*element, origin.Get());
            } catch (...) {
                if (!thrown)
                    thrown = std::current_exception();
            }
        }
        if (thrown)
            std::rethrow_exception(thrown);
    }

private:
    struct Recording;
    Recording& recording();
    void endTransaction() noexcept;
    void tell(Tree::Event event, TChangeCode code, IObserver* originator);

    std::unique_ptr<Recording> m_recording; ///< null until somebody records or opens a transaction
    Life m_life;
};

/// Keeps a transaction of a value open; see ValueBase::CreateTransaction().
class KOLTA_VALUES_EXPORT ValueBase::Transaction
{
public:
    Transaction(Transaction&& other) noexcept : m_value(std::exchange(other.m_value, {})) {}
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    Transaction& operator=(Transaction&&) = delete;

private:
    friend class ValueBase;
    explicit Transaction(ValueBase& value);

    Weak<ValueBase> m_value;
};

/// How a Value<T> is named, printed and transmitted.
template<class T>
struct ValueTraits;

template<>
struct ValueTraits<QString>
{
    static constexpr int type = eTypeString;
    static QString typeName() { return QStringLiteral("StringValue"); }
    static QString toText(const QString& value) { return value; }
    static void appendContent(std::string& out, const QString& value) { AppendUtf8(out, value); }
    static bool readContent(ByteReader& in, QString& value) { return ReadUtf8(in, value); }
};

/// A value of one plain type.
template<class T, class Traits = ValueTraits<T>>
class Value : public ValueBase
{
public:
    Value() = default;
    explicit Value(T value) : m_value(std::move(value)) {}
    /// An empty one; see DefaultValueCreator.
    Value(const QString& name, TValueState state) : ValueBase(name, state) {}

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

    /// Sets the content as something that its reader is to do: where it is there already it is announced with
    /// code eChangeValue. In a tree that other processes share, whether it is there already is decided where
    /// the reader is. False, and nothing happens, for a tombstone.
    bool Order(const T& value, IObserver* originator = nullptr)
    {
        if (IsDeleted())
            return false;
        const bool isNew = !(m_value == value);
        m_value = value;
        Ordered(isNew, originator);
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
    bool AppendContent(std::string& out) const override
    {
        Traits::appendContent(out, m_value);
        return true;
    }
    bool ReadContent(ByteReader& in, IObserver* originator) override
    {
        T value{};
        if (IsDeleted() || !Traits::readContent(in, value))
            return false;
        SetValue(value, originator);
        return true;
    }
    bool OrderContent(ByteReader& in, IObserver* originator) override
    {
        T value{};
        return !IsDeleted() && Traits::readContent(in, value) && Order(value, originator);
    }
    bool SpliceContent(const TextSplice& splice, IObserver* originator) override
    {
        bool isChanged = false;
        if constexpr (std::is_same_v<T, QString>) {
            if (IsDeleted() || !SpliceUtf8(m_value, splice, isChanged))
                return false;
            if (isChanged)
                Changed(eChangeValue, originator);
            return true;
        }
        return isChanged;
    }

protected:
    void ClearContent() override { m_value = T(); }

private:
    T m_value{};
};

/// The string value: every overview, request and reply of an installation is one.
using StringValue = Value<QString>;

/// A choice of named items, each with an integer key; exactly one or none is selected.
class KOLTA_VALUES_EXPORT SelectionValue : public ValueBase
{
public:
    SelectionValue() = default;
    explicit SelectionValue(const QMap<int, QString>& items, int selectedKey = -1);
    /// An empty one; see DefaultValueCreator.
    SelectionValue(const QString& name, TValueState state) : ValueBase(name, state) {}

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
    bool AppendContent(std::string& out) const override;
    bool ReadContent(ByteReader& in, IObserver* originator) override;

protected:
    void ClearContent() override;

private:
    QMap<int, QString> m_items;
    int m_selected = -1;
};

/// The one way to write a request into a string value: when it already holds `text` the value is announced
/// again with code eChangeValue, so that the reader processes the identical request once more; otherwise the
/// text is set. False when there is no living string value at `path`. `originator` is not called back.
KOLTA_VALUES_EXPORT bool WriteOrAnnounce(const QString& path, const QString& text,
                                         IObserver* originator = nullptr);

} // namespace values
