#pragma once

#include <resourcemodel/rgobject.h>

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

// clang-format off
#define RG_OBJECT(Class)                                                                                     \
public:                                                                                                      \
    RG_FIELDS_##Class(RG_FIELD_ACCESSORS)                                                                    \
                                                                                                             \
private:                                                                                                     \
    enum RgFieldIndex : unsigned { RG_FIELDS_##Class(RG_FIELD_INDEX) RgFieldTotal };                         \
    static_assert(RgFieldTotal <= 32, "one bit per field");                                                  \
    const REPORTGENERATOR::Fields::Table& GetFieldTable() const noexcept override;                           \
    RG_FIELDS_##Class(RG_FIELD_MEMBER)
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
        m_##Name = Empty;                                                                                    \
        UnmarkField(RgField##Name);                                                                          \
    }

#define RG_ACCESSORS_NUMBER(Type, Stored, Name)                                                              \
    Type Get##Name() const noexcept                                                                          \
    {                                                                                                        \
        return static_cast<Type>(m_##Name);                                                                  \
    }                                                                                                        \
    void Set##Name(Type value) noexcept                                                                      \
    {                                                                                                        \
        m_##Name = static_cast<Stored>(value);                                                               \
        MarkField(RgField##Name);                                                                            \
    }                                                                                                        \
    RG_ACCESSORS_SINGLE(Name, Stored())

#define RG_ACCESSORS_OBJECT(Type, Name)                                                                      \
    const Type& Get##Name() const noexcept                                                                   \
    {                                                                                                        \
        return m_##Name;                                                                                     \
    }                                                                                                        \
    void Set##Name(Type value)                                                                               \
    {                                                                                                        \
        m_##Name = std::move(value);                                                                         \
        MarkField(RgField##Name);                                                                            \
    }                                                                                                        \
    RG_ACCESSORS_SINGLE(Name, Type())

#define RG_ACCESSORS_LIST(Type, Name)                                                                        \
    const QVector<Type>& Get##Name() const noexcept                                                          \
    {                                                                                                        \
        return m_##Name;                                                                                     \
    }                                                                                                        \
    QVector<Type>& Edit##Name() noexcept                                                                     \
    {                                                                                                        \
        return m_##Name;                                                                                     \
    }                                                                                                        \
    void Set##Name(QVector<Type> value)                                                                      \
    {                                                                                                        \
        m_##Name = std::move(value);                                                                         \
    }                                                                                                        \
    bool Is##Name##Set() const noexcept                                                                      \
    {                                                                                                        \
        return !m_##Name.isEmpty();                                                                          \
    }                                                                                                        \
    void Reset##Name()                                                                                       \
    {                                                                                                        \
        m_##Name = QVector<Type>();                                                                          \
    }

#define RG_ACCESSORS_Text(Type, Name) RG_ACCESSORS_OBJECT(QString, Name)
#define RG_ACCESSORS_Bool(Type, Name) RG_ACCESSORS_NUMBER(bool, bool, Name)
#define RG_ACCESSORS_Int(Type, Name) RG_ACCESSORS_NUMBER(Type, qint32, Name)
#define RG_ACCESSORS_UInt(Type, Name) RG_ACCESSORS_NUMBER(Type, quint64, Name)
#define RG_ACCESSORS_Double(Type, Name) RG_ACCESSORS_NUMBER(double, double, Name)
#define RG_ACCESSORS_Enum(Type, Name) RG_ACCESSORS_NUMBER(Type, qint32, Name)
// Type is a type and takes no parentheses: NOLINTBEGIN(bugprone-macro-parentheses)
#define RG_ACCESSORS_Record(Type, Name)                                                                      \
    RG_ACCESSORS_OBJECT(Type, Name)                                                                          \
    Type& Edit##Name() noexcept                                                                              \
    {                                                                                                        \
        MarkField(RgField##Name);                                                                            \
        return m_##Name;                                                                                     \
    }
// NOLINTEND(bugprone-macro-parentheses)
#define RG_ACCESSORS_TextList(Type, Name) RG_ACCESSORS_LIST(Type, Name)
#define RG_ACCESSORS_EnumList(Type, Name) RG_ACCESSORS_LIST(Type, Name)
#define RG_ACCESSORS_RecordList(Type, Name) RG_ACCESSORS_LIST(Type, Name)
