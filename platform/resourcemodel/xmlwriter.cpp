#include "xmlwriter.h"

#include "fieldtable.h"

#include <xmltext/characters.h>
#include <xmltext/escapes.h>

#include <charconv>
#include <cmath>
#include <cstring>

namespace REPORTGENERATOR {

namespace {

using Fields::Access;
using Fields::Field;
using Fields::Kind;
using Fields::Table;

/// Appends UTF-16 to one string that grows by doubling, so that no text is copied twice.
class TextBuffer
{
public:
    /// Room for `count` more characters; the caller advances by what it used.
    char16_t* room(int count)
    {
        if (m_capacity - m_size < count)
            grow(count);
        return m_data + m_size;
    }
    void advance(int count) noexcept { m_size += count; }

    QString take()
    {
        m_text.resize(m_size);
        m_text.squeeze();
        return std::move(m_text);
    }

private:
    void grow(int count)
    {
        m_capacity = qMax(m_size + count, qMax(kFirst, m_capacity * 2));
        m_text.resize(m_capacity);
        m_data = reinterpret_cast<char16_t*>(m_text.data());
    }

    static constexpr int kFirst = 512;

    QString m_text;
    char16_t* m_data = nullptr;
    int m_size = 0;
    int m_capacity = 0;
};

char16_t* put(char16_t* out, const char16_t* text, int length) noexcept
{
    std::memcpy(out, text, static_cast<std::size_t>(length) * sizeof(char16_t));
    return out + length;
}

char16_t* putTag(char16_t* out, const char16_t* name, int length, bool closing) noexcept
{
    *out++ = u'<';
    if (closing)
        *out++ = u'/';
    out = put(out, name, length);
    *out++ = u'>';
    return out;
}

/// True when the text is written as it is: nothing to escape and nothing to refuse.
bool isPlain(const char16_t* text, int length) noexcept
{
    bool special = false;
    for (int i = 0; i < length; ++i) {
        const char16_t c = text[i];
        special |= c < 0x20 || c == u'&' || c == u'<' || c == u'>' || c >= 0xD800;
    }
    return !special;
}

/// Thrown for a value that XML cannot carry; the path grows on the way up.
struct Unwritable
{
    QString path;
    QString reason;
};

class Writer
{
public:
    QString write(const IRGObject& object)
    {
        const Table& table = Access::table(object);
        openTag(table.wideName, table.nameLength);
        writeFields(object, table);
        closeTag(table.wideName, table.nameLength);
        return m_buffer.take();
    }

private:
    static constexpr int kNumberLength = 32; ///< more than the longest number takes

    void openTag(const char16_t* name, int length) { tag(name, length, false); }
    void closeTag(const char16_t* name, int length) { tag(name, length, true); }
    void tag(const char16_t* name, int length, bool closing)
    {
        putTag(m_buffer.room(length + 3), name, length, closing);
        m_buffer.advance(length + (closing ? 3 : 2));
    }

    void writeFields(const IRGObject& object, const Table& table)
    {
        for (int i = 0; i < table.count; ++i) {
            const Field& field = table.fields[i];
            if (field.list)
                writeList(object, field);
            else if (Access::isMarked(object, i))
                writeSingle(object, field);
        }
    }

    void writeSingle(const IRGObject& object, const Field& field)
    {
        switch (field.kind) {
        case Kind::Text:
            return writeText(field, Access::get<QString>(object, field));
        case Kind::Bool:
            return Access::get<bool>(object, field) ? writeElement(field, "true", 4)
                                                    : writeElement(field, "false", 5);
        case Kind::UInt:
            return writeWhole(field, Access::get<quint64>(object, field));
        case Kind::Double:
            return writeDouble(field, Access::get<double>(object, field));
        case Kind::Record:
            return writeRecord(field, Access::get<IRGObject>(object, field), 0);
        default:
            return writeWhole(field, Access::get<qint32>(object, field));
        }
    }

    void writeList(const IRGObject& object, const Field& field)
    {
        const void* list = field.member(object);
        const int count = field.list->count(list);
        for (int i = 0; i < count; ++i) {
            if (field.kind == Kind::RecordList)
                writeRecord(field, field.list->record(list, i), i + 1);
            else if (field.kind == Kind::EnumList)
                writeWhole(field, field.list->number(list, i));
            else
                writeText(field, static_cast<const QVector<QString>*>(list)->at(i));
        }
    }

    /// `index` is the position in a list, from 1; 0 outside lists.
    void writeRecord(const Field& field, const IRGObject& record, int index)
    {
        openTag(field.wideName, field.nameLength);
        try {
            writeFields(record, Access::table(record));
        } catch (Unwritable& failure) {
            QString step = QLatin1String(field.name);
            if (index > 0)
                step += QStringLiteral("[%1]").arg(index);
            failure.path.prepend(step + QLatin1Char('/'));
            throw;
        }
        closeTag(field.wideName, field.nameLength);
    }

    template<typename Number>
    void writeWhole(const Field& field, Number value)
    {
        char digits[kNumberLength];
        const auto end = std::to_chars(digits, digits + kNumberLength, value).ptr;
        writeElement(field, digits, static_cast<int>(end - digits));
    }

    /// Whole numbers, which most frequencies are, as plain digits; everything else in the shortest form that
    /// reads back equal.
    void writeDouble(const Field& field, double value)
    {
        constexpr double kPlainLimit = 1e15;
        if (!std::isfinite(value))
            throw Unwritable{QLatin1String(field.name), QStringLiteral("is not a finite number")};
        if (std::fabs(value) < kPlainLimit && std::trunc(value) == value && !std::signbit(value))
            return writeWhole(field, static_cast<qint64>(value));
        char digits[kNumberLength];
        const auto end = std::to_chars(digits, digits + kNumberLength, value).ptr;
        writeElement(field, digits, static_cast<int>(end - digits));
    }

    /// An element whose content is ASCII and needs no escape.
    void writeElement(const Field& field, const char* content, int length)
    {
        const int total = 2 * field.nameLength + 5 + length;
        char16_t* out = putTag(m_buffer.room(total), field.wideName, field.nameLength, false);
        for (int i = 0; i < length; ++i)
            *out++ = static_cast<char16_t>(content[i]);
        putTag(out, field.wideName, field.nameLength, true);
        m_buffer.advance(total);
    }

    void writeText(const Field& field, const QString& text)
    {
        const auto* chars = reinterpret_cast<const char16_t*>(text.utf16());
        if (!isPlain(chars, text.size()))
            return writeEscaped(field, text);
        const int total = 2 * field.nameLength + 5 + text.size();
        char16_t* out = putTag(m_buffer.room(total), field.wideName, field.nameLength, false);
        out = put(out, chars, text.size());
        putTag(out, field.wideName, field.nameLength, true);
        m_buffer.advance(total);
    }

    void writeEscaped(const Field& field, const QString& text)
    {
        const int forbidden = XmlText::findForbidden(text);
        if (forbidden >= 0)
            throw Unwritable{QLatin1String(field.name),
                             QStringLiteral("holds a character that XML cannot carry (U+%1 at position %2)")
                                 .arg(ushort(text.at(forbidden).unicode()), 4, 16, QLatin1Char('0'))
                                 .arg(forbidden)};
        constexpr int kLongest = 5; // of the escapes in character data
        openTag(field.wideName, field.nameLength);
        char16_t* const start = m_buffer.room(kLongest * text.size());
        char16_t* out = start;
        for (const QChar c : text) {
            if (!XmlText::isEscaped(c.unicode(), XmlText::eCharacterData)) {
                *out++ = c.unicode();
                continue;
            }
            for (const char sign : XmlText::escapeOf(c.unicode()))
                *out++ = static_cast<char16_t>(sign);
        }
        m_buffer.advance(static_cast<int>(out - start));
        closeTag(field.wideName, field.nameLength);
    }

    TextBuffer m_buffer;
};

} // namespace

QString writeXml(const IRGObject& object)
{
    try {
        return Writer().write(object);
    } catch (const Unwritable& failure) {
        throw RGException(
            QStringLiteral("Invalid object"),
            QStringLiteral("%1/%2 %3").arg(object.GetObjectName(), failure.path, failure.reason));
    }
}

} // namespace REPORTGENERATOR
