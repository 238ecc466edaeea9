#pragma once

#include <resourcemodel/rgobject.h>

#include <QSharedData>

#include <utility>

/// \file
/// Declares the fields of a model class from one list.
///
/// The list is a macro RG_FIELDS_Class(F) that applies F to each field:
///
///     F(Text, QString, Type, Optional, "interface type")
///     F(Text, QString, Address, Optional, "where the interface is reached")
///
/// The columns are kind, C++ type, name, Required or Optional, and meaning with unit. The kinds:
///
/// | Kind       | C++ type       | Accessors                                                     |
/// |------------|----------------|---------------------------------------------------------------|
/// | Text       | QString        | `const QString& GetX() const`, `SetX(QString)`                |
/// | Bool, Double | bool, double | `T GetX() const`, `SetX(T)`                                   |
/// | Int        | qint32 or less | `T GetX() const`, `SetX(T)`                                   |
/// | UInt       | quint64 or less | `T GetX() const`, `SetX(T)`                                  |
/// | Enum       | nested enum    | `T GetX() const`, `SetX(T)`; any number of its width is carried |
/// | Record     | model class    | `const T& GetX() const`, `SetX(T)`, `T& EditX()` (sets it)    |
/// | TextList, EnumList, RecordList | element type | `const QVector<T>& GetX() const`, `SetX(QVector<T>)`,
/// `QVector<T>& EditX()` |
///
/// and for every kind `bool IsXSet() const` and `void ResetX()`. A list is set when it has elements.
/// `RG_OBJECT(Class)` at the end of the class body makes members and accessors of the list `RG_FIELDS_Class`;
/// `RG_OBJECT_TABLE(Class)` in the source file makes the table that reading, writing, checking, resetting and
/// comparing work from.
///
/// `RG_RECORD(Class)` in place of `RG_OBJECT` is for the records that overviews list by thousands: copies
/// share their members until one side is changed, so that a list of them is cheap to copy, and `IsSameAs()`
/// tells at once that nothing changed. `RG_RECORD_TYPE(Class)` behind the namespace lets lists move them in
/// memory.

namespace REPORTGENERATOR::Fields {

/// The members of a record, shared between its copies; a record that was never changed has none.
template<class Members>
class SharedMembers
{
public:
    const Members& read() const noexcept { return m_data ? m_data->members : none(); }
    Members& write()
    {
        if (!m_data)
            m_data = new Data;
        return m_data->members;
    }
    void clear() { m_data = nullptr; }
    bool isSameAs(const SharedMembers& other) const noexcept { return m_data == other.m_data; }

private:
    struct Data : QSharedData
    {
        Members members;
    };
    static const Members& none() noexcept
    {
        static const Members empty{};
        return empty;
    }

    QSharedDataPointer<Data> m_data;
};

} // namespace REPORTGENERATOR::Fields

// Types and members take no parentheses: NOLINTBEGIN(bugprone-macro-parentheses)
// clang-format off
#define RG_OBJECT(Class)                                                                                     \
private:                                                                                                     \
    RG_FIELDS_##Class(RG_FIELD_MEMBER)                                                                       \
    const Class& ReadMembers() const noexcept { return *this; }                                              \
    Class& WriteMembers() noexcept { return *this; }                                                         \
    void ClearMembers() { *this = Class(); }                                                                 \
    bool SharesMembersWith(const Class& other) const noexcept { return this == &other; }                     \
    RG_CLASS(Class)

#define RG_RECORD(Class)                                                                                     \
public:                                                                                                      \
    /** Whether both share their content, as copies do that nobody changed. Such records are equal; others   \
        may be. Costs nothing. */                                                                            \
    bool IsSameAs(const Class& other) const noexcept                                                         \
    {                                                                                                        \
        return HasSameFieldsSet(other) && SharesMembersWith(other);                                          \
    }                                                                                                        \
                                                                                                             \
private:                                                                                                     \
    struct Members { RG_FIELDS_##Class(RG_FIELD_MEMBER) };                                                   \
    REPORTGENERATOR::Fields::SharedMembers<Members> m_members;                                               \
    const Members& ReadMembers() const noexcept { return m_members.read(); }                                 \
    Members& WriteMembers() { return m_members.write(); }                                                    \
    void ClearMembers() { m_members.clear(); }                                                               \
    bool SharesMembersWith(const Class& other) const noexcept { return m_members.isSameAs(other.m_members); } \
    RG_CLASS(Class)

#define RG_RECORD_TYPE(Class) Q_DECLARE_TYPEINFO(Class, Q_MOVABLE_TYPE)

#define RG_CLASS(Class)                                                                                      \
    enum RgFieldIndex : unsigned { RG_FIELDS_##Class(RG_FIELD_INDEX) RgFieldTotal };                         \
    static_assert(RgFieldTotal <= 32, "one bit per field");                                                  \
    const REPORTGENERATOR::Fields::Table& GetFieldTable() const noexcept override;                           \
                                                                                                             \
public:                                                                                                      \
    RG_FIELDS_##Class(RG_FIELD_ACCESSORS)
// clang-format on

#define RG_FIELD_INDEX(Kind, Type, Name, Presence, About) RgField##Name,
#define RG_FIELD_ACCESSORS(Kind, Type, Name, Presence, About) RG_ACCESSORS_##Kind(Type, Name)
#define RG_FIELD_MEMBER(Kind, Type, Name, Presence, About) RG_MEMBER_##Kind(Type, Name)

#define RG_MEMBER_Text(Type, Name) QString m_##Name;
#define RG_MEMBER_Bool(Type, Name) bool m_##Name = false;
#define RG_MEMBER_Int(Type, Name) qint32 m_##Name = 0;
#define RG_MEMBER_UInt(Type, Name) quint64 m_##Name = 0;
#define RG_MEMBER_Double(Type, Name) double m_##Name = 0.0;
#define RG_MEMBER_Enum(Type, Name) qint32 m_##Name = 0;
#define RG_MEMBER_Record(Type, Name) Type m_##Name;
#define RG_MEMBER_TextList(Type, Name) QVector<Type> m_##Name;
#define RG_MEMBER_EnumList(Type, Name) QVector<Type> m_##Name;
#define RG_MEMBER_RecordList(Type, Name) QVector<Type> m_##Name;

#define RG_ACCESSORS_SINGLE(Name, Empty)                                                                     \
    bool Is##Name##Set() const noexcept                                                                      \
    {                                                                                                        \
        return IsFieldSet(RgField##Name);                                                                    \
    }                                                                                                        \
    void Reset##Name()                                                                                       \
    {                                                                                                        \
        WriteMembers().m_##Name = Empty;                                                                     \
        UnmarkField(RgField##Name);                                                                          \
    }

#define RG_ACCESSORS_NUMBER(Type, Stored, Name)                                                              \
    Type Get##Name() const noexcept                                                                          \
    {                                                                                                        \
        return static_cast<Type>(ReadMembers().m_##Name);                                                    \
    }                                                                                                        \
    void Set##Name(Type value)                                                                               \
    {                                                                                                        \
        WriteMembers().m_##Name = static_cast<Stored>(value);                                                \
        MarkField(RgField##Name);                                                                            \
    }                                                                                                        \
    RG_ACCESSORS_SINGLE(Name, Stored())

#define RG_ACCESSORS_OBJECT(Type, Name)                                                                      \
    const Type& Get##Name() const noexcept                                                                   \
    {                                                                                                        \
        return ReadMembers().m_##Name;                                                                       \
    }                                                                                                        \
    void Set##Name(Type value)                                                                               \
    {                                                                                                        \
        WriteMembers().m_##Name = std::move(value);                                                          \
        MarkField(RgField##Name);                                                                            \
    }                                                                                                        \
    RG_ACCESSORS_SINGLE(Name, Type())

#define RG_ACCESSORS_LIST(Type, Name)                                                                        \
    const QVector<Type>& Get##Name() const noexcept                                                          \
    {                                                                                                        \
        return ReadMembers().m_##Name;                                                                       \
    }                                                                                                        \
    QVector<Type>& Edit##Name()                                                                              \
    {                                                                                                        \
        return WriteMembers().m_##Name;                                                                      \
    }                                                                                                        \
    void Set##Name(QVector<Type> value)                                                                      \
    {                                                                                                        \
        WriteMembers().m_##Name = std::move(value);                                                          \
    }                                                                                                        \
    bool Is##Name##Set() const noexcept                                                                      \
    {                                                                                                        \
        return !ReadMembers().m_##Name.isEmpty();                                                            \
    }                                                                                                        \
    void Reset##Name()                                                                                       \
    {                                                                                                        \
        WriteMembers().m_##Name = QVector<Type>();                                                           \
    }

#define RG_ACCESSORS_Text(Type, Name) RG_ACCESSORS_OBJECT(QString, Name)
#define RG_ACCESSORS_Bool(Type, Name) RG_ACCESSORS_NUMBER(bool, bool, Name)
#define RG_ACCESSORS_Int(Type, Name) RG_ACCESSORS_NUMBER(Type, qint32, Name)
#define RG_ACCESSORS_UInt(Type, Name) RG_ACCESSORS_NUMBER(Type, quint64, Name)
#define RG_ACCESSORS_Double(Type, Name) RG_ACCESSORS_NUMBER(double, double, Name)
#define RG_ACCESSORS_Enum(Type, Name) RG_ACCESSORS_NUMBER(Type, qint32, Name)
#define RG_ACCESSORS_Record(Type, Name)                                                                      \
    RG_ACCESSORS_OBJECT(Type, Name)                                                                          \
    Type& Edit##Name()                                                                                       \
    {                                                                                                        \
        MarkField(RgField##Name);                                                                            \
        return WriteMembers().m_##Name;                                                                      \
    }
// NOLINTEND(bugprone-macro-parentheses)
#define RG_ACCESSORS_TextList(Type, Name) RG_ACCESSORS_LIST(Type, Name)
#define RG_ACCESSORS_EnumList(Type, Name) RG_ACCESSORS_LIST(Type, Name)
#define RG_ACCESSORS_RecordList(Type, Name) RG_ACCESSORS_LIST(Type, Name)
