#pragma once

#include <resourcemodel/export.h>
#include <resourcemodel/rgobject.h>

#include <limits>
#include <memory>
#include <type_traits>

/// \file
/// The field tables behind the model classes; for the source files that define some.

namespace REPORTGENERATOR::Fields {

enum class Kind : quint8 { Text, Bool, Int, UInt, Double, Enum, Record, TextList, EnumList, RecordList };
enum class Presence : quint8 { Optional, Required };

/// The whole numbers that a field can hold.
struct NumberRange
{
    qint32 lowest;
    quint64 highest;
};

/// The operations on a list field whose element type only the table knows. Numbers serve enum lists, records
/// record lists; the other pair is null.
struct KOLTA_RESOURCEMODEL_EXPORT ListOperations
{
    int (*count)(const void* list);
    void (*reserve)(void* list, int count);
    void (*squeeze)(void* list);
    std::shared_ptr<const void> (*copy)(
        const void* list); ///< a list of its own that shares all with this one
    void (*clear)(void* list);
    void (*assign)(void* list, const void* other);
    bool (*equal)(const void* a, const void* b);
    const IRGObject& (*record)(const void* list, int index);
    IRGObject& (*appendRecord)(void* list);
    IRGObject& (*lastRecord)(void* list);
    void (*appendCopy)(void* list, const void* other, int index); ///< shares the other list's record
    void (*shareLast)(void* list, const void* other, int index);  ///< makes it the last record
    qint32 (*number)(const void* list, int index);
    void (*appendNumber)(void* list, qint32 value);
};

/// One field of a class. Its position in the table is the index of its bit.
struct KOLTA_RESOURCEMODEL_EXPORT Field
{
    const char* name;
    const char16_t* wideName; ///< the same for the writer, which appends it as it is
    int nameLength;
    Kind kind;
    Presence presence;
    const char* typeName;
    const char* about;
    /// The member as void*; for a record its IRGObject base.
    const void* (*member)(const IRGObject& object);
    void* (*edit)(IRGObject& object); ///< the same for changing
    const ListOperations* list;       ///< null for a field that is no list
    NumberRange range;                ///< of whole numbers, flags and enumerators; all zero for other kinds

    bool isRequired() const noexcept { return presence == Presence::Required; }
};

struct KOLTA_RESOURCEMODEL_EXPORT Table
{
    const char* name;
    const char16_t* wideName;
    int nameLength;
    const Field* fields;
    int count;
    void (*clear)(IRGObject& object); ///< the members only
    bool (*same)(const IRGObject& a,
                 const IRGObject& b); ///< whether both are of the class and share their members

    const Field* begin() const noexcept { return fields; }
    const Field* end() const noexcept { return fields + count; }
};

/// The only way from a table into an object.
struct KOLTA_RESOURCEMODEL_EXPORT Access
{
    static const Table& table(const IRGObject& object) noexcept { return object.GetFieldTable(); }
    static bool isMarked(const IRGObject& object, int index) noexcept
    {
        return object.IsFieldSet(static_cast<unsigned>(index));
    }
    static bool haveSameFieldsSet(const IRGObject& a, const IRGObject& b) noexcept
    {
        return a.HasSameFieldsSet(b);
    }
    static void mark(IRGObject& object, int index) noexcept
    {
        object.MarkField(static_cast<unsigned>(index));
    }
    static void unmark(IRGObject& object, int index) noexcept
    {
        object.UnmarkField(static_cast<unsigned>(index));
    }

    template<typename T>
    static const T& get(const IRGObject& object, const Field& field) noexcept
    {
        return *static_cast<const T*>(field.member(object));
    }
    template<typename T>
    static T& edit(IRGObject& object, const Field& field)
    {
        return *static_cast<T*>(field.edit(object));
    }
};

template<typename T>
constexpr NumberRange numberRange()
{
    if constexpr (std::is_enum_v<T>) {
        return numberRange<std::underlying_type_t<T>>();
    } else if constexpr (std::is_integral_v<T>) {
        using Limits = std::numeric_limits<T>;
        static_assert(std::is_unsigned_v<T> || sizeof(T) <= sizeof(qint32));
        return {static_cast<qint32>(Limits::lowest()), static_cast<quint64>(Limits::max())};
    } else {
        return {0, 0};
    }
}

template<Kind kind, typename Member>
auto memberAddress(Member& member) noexcept
{
    using Base = std::conditional_t<std::is_const_v<Member>, const IRGObject, IRGObject>;
    if constexpr (kind == Kind::Record)
        return static_cast<Base*>(&member);
    else
        return &member;
}

template<typename T>
struct ListOf
{
    using List = QVector<T>;
    static const List& get(const void* list) { return *static_cast<const List*>(list); }
    static List& edit(void* list) { return *static_cast<List*>(list); }

    static int count(const void* list) { return get(list).size(); }
    static void reserve(void* list, int count) { edit(list).reserve(count); }
    static void squeeze(void* list) { edit(list).squeeze(); }
    static std::shared_ptr<const void> copy(const void* list) { return std::make_shared<List>(get(list)); }
    static void clear(void* list) { edit(list).clear(); }
    static void assign(void* list, const void* other) { edit(list) = get(other); }
    static bool equal(const void* a, const void* b) { return get(a) == get(b); }
    static const IRGObject& record(const void* list, int index) { return get(list).at(index); }
    static IRGObject& appendRecord(void* list)
    {
        edit(list).append(T());
        return edit(list).last();
    }
    static IRGObject& lastRecord(void* list) { return edit(list).last(); }
    static void appendCopy(void* list, const void* other, int index)
    {
        edit(list).append(get(other).at(index));
    }
    static void shareLast(void* list, const void* other, int index)
    {
        edit(list).last() = get(other).at(index);
    }
    static qint32 number(const void* list, int index) { return get(list).at(index); }
    static void appendNumber(void* list, qint32 value) { edit(list).append(static_cast<T>(value)); }

    static constexpr ListOperations operations()
    {
        ListOperations result{};
        result.count = count;
        result.reserve = reserve;
        result.squeeze = squeeze;
        result.copy = copy;
        result.clear = clear;
        result.assign = assign;
        result.equal = equal;
        if constexpr (std::is_base_of_v<IRGObject, T>) {
            result.record = record;
            result.appendRecord = appendRecord;
            result.lastRecord = lastRecord;
            result.appendCopy = appendCopy;
            result.shareLast = shareLast;
        } else if constexpr (std::is_enum_v<T>) {
            result.number = number;
            result.appendNumber = appendNumber;
        }
        return result;
    }
};

template<typename T>
inline constexpr ListOperations listOperationsOf = ListOf<T>::operations();

template<Kind kind, typename T>
constexpr const ListOperations* listOperations()
{
    if constexpr (kind == Kind::TextList || kind == Kind::EnumList || kind == Kind::RecordList)
        return &listOperationsOf<T>;
    else
        return nullptr;
}

} // namespace REPORTGENERATOR::Fields

#define RG_TABLE_ROW(FieldKind, Type, Name, FieldPresence, About)                                            \
    {#Name,                                                                                                  \
     u"" #Name,                                                                                              \
     sizeof(#Name) - 1,                                                                                      \
     Kind::FieldKind,                                                                                        \
     Presence::FieldPresence,                                                                                \
     #Type,                                                                                                  \
     About,                                                                                                  \
     [](const IRGObject& object) noexcept -> const void* {                                                   \
         return memberAddress<Kind::FieldKind>(static_cast<const Self&>(object).ReadMembers().m_##Name);     \
     },                                                                                                      \
     [](IRGObject& object) -> void* {                                                                        \
         return memberAddress<Kind::FieldKind>(static_cast<Self&>(object).WriteMembers().m_##Name);          \
     },                                                                                                      \
     listOperations<Kind::FieldKind, Type>(),                                                                \
     numberRange<Type>()},

/// Defines the field table of a class that is declared with RG_OBJECT.
#define RG_OBJECT_TABLE(Class)                                                                               \
    const REPORTGENERATOR::Fields::Table& Class::GetFieldTable() const noexcept                              \
    {                                                                                                        \
        using namespace REPORTGENERATOR::Fields;                                                             \
        using REPORTGENERATOR::IRGObject;                                                                    \
        using Self = Class;                                                                                  \
        static constexpr Field fields[] = {RG_FIELDS_##Class(RG_TABLE_ROW)};                                 \
        static constexpr Table table{#Class,                                                                 \
                                     u"" #Class,                                                             \
                                     sizeof(#Class) - 1,                                                     \
                                     fields,                                                                 \
                                     RgFieldTotal,                                                           \
                                     [](IRGObject& object) { static_cast<Self&>(object).ClearMembers(); },   \
                                     [](const IRGObject& a, const IRGObject& b) {                            \
                                         return static_cast<const Self&>(a).SharesMembersWith(               \
                                             static_cast<const Self&>(b));                                   \
                                     }};                                                                     \
        return table;                                                                                        \
    }
