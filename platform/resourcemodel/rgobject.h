#pragma once

#include <resourcemodel/export.h>

#include <QLatin1String>
#include <QString>
#include <QVector>

#include <exception>

namespace REPORTGENERATOR {

namespace Fields {
struct Table;
struct Access;
} // namespace Fields

/// Why an object could not be read, or must not be published.
class KOLTA_RESOURCEMODEL_EXPORT RGException : public std::exception
{
public:
    RGException(const QString& title, const QString& text);

    /// What kind of failure it is, in a few words: "Invalid XML text" or "Invalid object".
    const QString& GetTitle() const noexcept { return m_title; }
    /// What is wrong, where, and what was expected instead; one line.
    const QString& GetText() const noexcept { return m_text; }
    /// GetText() in UTF-8.
    const char* what() const noexcept override { return m_what.constData(); }

private:
    QString m_title;
    QString m_text;
    QByteArray m_what;
};

/// One field of a class, for tools that show or document the model.
struct FieldInfo
{
    QLatin1String name; ///< XML element name, and the X of GetX, SetX, IsXSet and ResetX
    QLatin1String
        type; ///< "text", "bool", "int", "uint", "uint64", "double", "enum", or the class name of a record
    QLatin1String about; ///< meaning and unit, a few words
    bool list;           ///< any number of elements
    bool required;       ///< Check() fails without it
};

/// Base of every object of the model.
///
/// An object is a value: it copies, moves and compares by content, and its lists are implicitly shared, so a
/// copy of a large overview costs nothing until one side is edited. A field is unset until it is given; GetX
/// of an unset field yields the empty text, 0, false, an empty list or an empty record. Only EditX hands out
/// non-const references. Objects may be used from any thread, one thread at a time.
class KOLTA_RESOURCEMODEL_EXPORT IRGObject
{
public:
    virtual ~IRGObject() = default;

    /// Class name, which is also the name of the XML root element.
    QString GetObjectName() const;

    /// Replaces the content by what `xml` says; calls Check() at the end when `check` is set. Returns true.
    /// Throws RGException when the text is empty or not well-formed, has another root element, holds a
    /// document type declaration or an unreadable number; the object then holds as much as was read.
    bool SetXmlString(const QString& xml, bool check);
    /// The XML text, without declaration and without added white space; what reads it back is equal.
    /// Throws RGException when Check() does, or when XML cannot carry a text (control characters, lone
    /// surrogates) or a number (infinite, not a number).
    QString GetXmlString() const;

    /// Throws RGException naming the first required field that is not set, with its path; list elements are
    /// counted from 1: "ResourceOverview/Tuner[3]/TavikResource is missing".
    void Check() const;
    /// The same without throwing: false, and `error` holds the text.
    bool Check(QString& error) const;

    /// Unsets every field.
    void Reset();

    /// The fields in the order in which they are written.
    QVector<FieldInfo> DescribeFields() const;

protected:
    IRGObject() noexcept = default;
    IRGObject(const IRGObject&) noexcept = default;
    IRGObject(IRGObject&&) noexcept = default;
    IRGObject& operator=(const IRGObject&) noexcept = default;
    IRGObject& operator=(IRGObject&&) noexcept = default;

    bool IsFieldSet(unsigned index) const noexcept { return (m_set >> index & 1u) != 0; }
    void MarkField(unsigned index) noexcept { m_set |= 1u << index; }
    void UnmarkField(unsigned index) noexcept { m_set &= ~(1u << index); }
    bool HasSameFieldsSet(const IRGObject& other) const noexcept { return m_set == other.m_set; }

private:
    friend struct Fields::Access;
    virtual const Fields::Table& GetFieldTable() const noexcept = 0;

    quint32 m_set = 0; ///< one bit per field that is no list; a list is set when it has elements
};

/// Same class and equal content; an unset field differs from one that is set to its default.
KOLTA_RESOURCEMODEL_EXPORT bool operator==(const IRGObject& a, const IRGObject& b);
inline bool operator!=(const IRGObject& a, const IRGObject& b)
{
    return !(a == b);
}

} // namespace REPORTGENERATOR
