#include "xmlreader.h"

#include "fieldtable.h"
#include "xmltext.h"

#include <pugixml.hpp>

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>

namespace REPORTGENERATOR {

namespace {

using Fields::Access;
using Fields::Field;
using Fields::Kind;
using Fields::Table;

[[noreturn]] void fail(const QString& text)
{
    throw RGException(QStringLiteral("Invalid XML text"), text);
}

QString shortened(std::string_view text)
{
    constexpr int longest = 40;
    const QString all = QString::fromUtf8(text.data(), static_cast<int>(text.size()));
    return all.size() <= longest ? all : QString(all.left(longest) + QStringLiteral("..."));
}

/// Where in a text: line (from 1) and byte of the UTF-8 form (from 0).
QString placeOf(const QString& xml, std::ptrdiff_t byte)
{
    const QByteArray before = xml.toUtf8().left(static_cast<int>(byte));
    return QStringLiteral("line %1, byte %2").arg(before.count('\n') + 1).arg(before.size());
}

std::string_view trimmed(std::string_view text) noexcept
{
    constexpr std::string_view space = " \t\r\n";
    const auto first = text.find_first_not_of(space);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(space) - first + 1);
}

template<typename Number>
bool parseNumber(std::string_view text, Number& value) noexcept
{
    text = trimmed(text);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

bool parseBool(std::string_view text, bool& value) noexcept
{
    text = trimmed(text);
    value = text == "true" || text == "1";
    return value || text == "false" || text == "0";
}

void appendUtf8(std::string& out, quint32 code)
{
    const auto put = [&out](quint32 byte) { out.push_back(static_cast<char>(byte)); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xC0 | code >> 6);
        put(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        put(0xE0 | code >> 12);
        put(0x80 | (code >> 6 & 0x3F));
        put(0x80 | (code & 0x3F));
    } else {
        put(0xF0 | code >> 18);
        put(0x80 | (code >> 12 & 0x3F));
        put(0x80 | (code >> 6 & 0x3F));
        put(0x80 | (code & 0x3F));
    }
}

/// Appends what the reference between "&" and ";" stands for; false when XML knows no such reference.
bool appendReference(std::string_view name, std::string& out)
{
    constexpr std::pair<std::string_view, char> known[] = {
        {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto& [entity, character] : known) {
        if (name == entity) {
            out.push_back(character);
            return true;
        }
    }
    if (name.size() < 2 || name[0] != '#')
        return false;
    const bool hexadecimal = name[1] == 'x';
    name.remove_prefix(hexadecimal ? 2 : 1);
    quint32 code = 0;
    const auto result = std::from_chars(name.data(), name.data() + name.size(), code, hexadecimal ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != name.data() + name.size() || !isXmlCodePoint(code))
        return false;
    appendUtf8(out, code);
    return true;
}

/// Resolves the references of a text; returns the position of the first bad one, or npos.
std::size_t appendUnescaped(std::string_view raw, std::string& out)
{
    std::size_t from = 0;
    for (auto at = raw.find('&'); at != std::string_view::npos; at = raw.find('&', from)) {
        out.append(raw, from, at - from);
        const auto end = raw.find(';', at);
        if (end == std::string_view::npos || !appendReference(raw.substr(at + 1, end - at - 1), out))
            return at;
        from = end + 1;
    }
    out.append(raw, from);
    return std::string_view::npos;
}

/// Keeps one copy of texts that recur in a document (types, options, GUIDs of storages): later ones share it.
/// Direct-mapped, keyed by the raw bytes, which stay in the parse buffer; a miss costs a hash of at most 16
/// bytes.
class TextCache
{
public:
    struct Slot
    {
        std::string_view raw;
        QString text;
    };

    Slot& slotFor(std::string_view raw) noexcept
    {
        quint64 first = 0;
        quint64 last = 0;
        const std::size_t part = qMin(raw.size(), sizeof(quint64));
        std::memcpy(&first, raw.data(), part);
        std::memcpy(&last, raw.data() + raw.size() - part, part);
        const quint64 hash = (first * 0x9E3779B97F4A7C15u ^ last ^ raw.size()) * 0xC2B2AE3D27D4EB4Fu;
        return m_slots[hash >> (64 - bits)];
    }

private:
    static constexpr int bits = 9;
    std::array<Slot, 1u << bits> m_slots;
};

/// The way from the root to what is being read, for error texts.
struct Step
{
    const Step* parent;
    const char* name;
    int index; ///< position in a list, from 1; 0 outside lists
};

class Reader
{
public:
    explicit Reader(const QString& xml) : m_xml(xml), m_utf8(xml.toUtf8()) {}

    void read(IRGObject& object)
    {
        const Table& table = Access::table(object);
        const pugi::xml_node root = parse(table);
        readFields(object, table, root, {nullptr, table.name, 0});
    }

private:
    /// White space that is a whole text is kept, white space between elements is not; references are resolved
    /// when a text is taken, because the parser lets unknown ones pass. The parser works without recursion.
    static constexpr unsigned kParseOptions = pugi::parse_cdata | pugi::parse_eol |
                                              pugi::parse_ws_pcdata_single | pugi::parse_embed_pcdata |
                                              pugi::parse_doctype | pugi::parse_fragment;

    pugi::xml_node parse(const Table& table)
    {
        const QString expected = QStringLiteral("expected one element <%1>").arg(QLatin1String(table.name));
        if (m_xml.isEmpty())
            fail(QStringLiteral("the text is empty, %1").arg(expected));
        const int forbidden = findForbiddenCharacter(m_xml);
        if (forbidden >= 0)
            fail(QStringLiteral("%1: character U+%2 is not allowed in XML")
                     .arg(placeOf(m_xml, m_xml.left(forbidden).toUtf8().size()))
                     .arg(ushort(m_xml.at(forbidden).unicode()), 4, 16, QLatin1Char('0')));
        // The terminating zero is passed on too: the parser would take the last character for its own.
        const pugi::xml_parse_result result = m_document.load_buffer_inplace(
            m_utf8.data(), static_cast<std::size_t>(m_utf8.size()) + 1, kParseOptions, pugi::encoding_utf8);
        if (!result)
            fail(QStringLiteral("%1: not well-formed (%2), %3")
                     .arg(placeOf(m_xml, result.offset), QLatin1String(result.description()), expected));
        return rootElement(table, expected);
    }

    pugi::xml_node rootElement(const Table& table, const QString& expected)
    {
        pugi::xml_node root;
        for (const pugi::xml_node node : m_document.children()) {
            if (node.type() == pugi::node_doctype)
                fail(QStringLiteral("document type declarations are refused, %1").arg(expected));
            if (node.type() != pugi::node_element || root) {
                const char* what = node.type() == pugi::node_element ? node.name() : node.value();
                fail(QStringLiteral("%1: \"%2\" outside the root element, %3")
                         .arg(placeOf(m_xml, what - m_utf8.constData()), shortened(what), expected));
            }
            root = node;
        }
        if (!root)
            fail(QStringLiteral("there is no element, %1").arg(expected));
        if (std::strcmp(root.name(), table.name) != 0)
            fail(
                QStringLiteral("%1: the root element is <%2>, %3")
                    .arg(placeOf(m_xml, root.name() - m_utf8.constData()), shortened(root.name()), expected));
        return root;
    }

    [[noreturn]] void failAt(const Step& step, std::string_view where, const QString& text) const
    {
        QString path;
        for (const Step* at = &step; at; at = at->parent) {
            QString name = QLatin1String(at->name);
            if (at->index > 0)
                name += QStringLiteral("[%1]").arg(at->index);
            path = path.isEmpty() ? name : QString(name + QLatin1Char('/') + path);
        }
        fail(
            QStringLiteral("%1 (%2): %3").arg(path, placeOf(m_xml, where.data() - m_utf8.constData()), text));
    }

    [[noreturn]] void failValue(const Step& step, const pugi::xml_node& node, const QString& expected)
    {
        const QString found = shortened(contentOf(node, step));
        failAt(step, node.name(), QStringLiteral("expected %1, found \"%2\"").arg(expected, found));
    }

    /// Elements come in the order of the table as a rule, so the search starts where the last one was found.
    /// Returns null for an element that this version does not know.
    static const Field* findField(const Table& table, const Field* start, const char* name) noexcept
    {
        const Field* field = start;
        for (int i = 0; i < table.count; ++i) {
            if (field == table.end())
                field = table.begin();
            if (std::strcmp(field->name, name) == 0)
                return field;
            ++field;
        }
        return nullptr;
    }

    void readFields(IRGObject& object, const Table& table, const pugi::xml_node& parent, const Step& step)
    {
        const Field* next = table.begin();
        for (pugi::xml_node node = parent.first_child(); node; node = node.next_sibling()) {
            if (node.type() != pugi::node_element)
                continue;
            const Field* field = findField(table, next, node.name());
            if (!field)
                continue;
            if (field->list) {
                readListElement(object, *field, node, step);
                next = field;
            } else {
                readSingle(object, *field, static_cast<int>(field - table.begin()), node, step);
                next = field + 1;
            }
        }
    }

    /// Marks a record before it is read, so that a failure inside it leaves what was read; a value only when
    /// it is good.
    void readSingle(IRGObject& object, const Field& field, int index, const pugi::xml_node& node,
                    const Step& parent)
    {
        const Step step{&parent, field.name, 0};
        switch (field.kind) {
        case Kind::Text:
            Access::edit<QString>(object, field) = textOf(node, step);
            break;
        case Kind::Bool:
            Access::edit<bool>(object, field) = boolOf(node, step);
            break;
        case Kind::UInt:
            Access::edit<quint64>(object, field) = numberOf<quint64>(node, step, field);
            break;
        case Kind::Double:
            Access::edit<double>(object, field) = doubleOf(node, step);
            break;
        case Kind::Record: {
            Access::mark(object, index);
            auto& record = Access::edit<IRGObject>(object, field);
            record.Reset();
            return readFields(record, Access::table(record), node, step);
        }
        default:
            Access::edit<qint32>(object, field) = numberOf<qint32>(node, step, field);
        }
        Access::mark(object, index);
    }

    void readListElement(IRGObject& object, const Field& field, const pugi::xml_node& node,
                         const Step& parent)
    {
        void* list = Access::editList(object, field);
        const int count = field.list->count(list);
        const Step step{&parent, field.name, count + 1};
        if (count == 0)
            field.list->reserve(list, countFrom(node));
        if (field.kind == Kind::RecordList) {
            IRGObject& record = field.list->appendRecord(list);
            readFields(record, Access::table(record), node, step);
        } else if (field.kind == Kind::EnumList) {
            field.list->appendNumber(list, numberOf<qint32>(node, step, field));
        } else {
            static_cast<QVector<QString>*>(list)->append(textOf(node, step));
        }
    }

    static int countFrom(const pugi::xml_node& first) noexcept
    {
        int count = 0;
        for (pugi::xml_node node = first; node; node = node.next_sibling(first.name()))
            ++count;
        return count;
    }

    bool boolOf(const pugi::xml_node& node, const Step& step)
    {
        bool value = false;
        if (!parseBool(contentOf(node, step), value))
            failValue(step, node, QStringLiteral("true or false"));
        return value;
    }

    /// `Number` is what the field is stored as.
    template<typename Number>
    Number numberOf(const pugi::xml_node& node, const Step& step, const Field& field)
    {
        Number value = 0;
        const auto [lowest, highest] = field.range;
        const bool isNumber = parseNumber(contentOf(node, step), value);
        const bool fits =
            value < Number(1) ? static_cast<qint64>(value) >= lowest : static_cast<quint64>(value) <= highest;
        if (!isNumber || !fits)
            failValue(step, node, QStringLiteral("a whole number from %1 to %2").arg(lowest).arg(highest));
        return value;
    }

    double doubleOf(const pugi::xml_node& node, const Step& step)
    {
        double value = 0;
        if (!parseNumber(contentOf(node, step), value) || !std::isfinite(value))
            failValue(step, node, QStringLiteral("a number"));
        return value;
    }

    QString textOf(const pugi::xml_node& node, const Step& step)
    {
        if (node.first_child())
            return textFromUtf8(gather(node, step));
        const std::string_view raw = node.value();
        if (raw.empty())
            return QString();
        TextCache::Slot& slot = m_cache.slotFor(raw);
        if (slot.raw != raw) {
            slot.text = unescapedText(raw, step);
            slot.raw = raw;
        }
        return slot.text;
    }

    QString unescapedText(std::string_view raw, const Step& step)
    {
        if (raw.find('&') == std::string_view::npos)
            return textFromUtf8(raw);
        m_gathered.clear();
        unescape(raw, step);
        return textFromUtf8(m_gathered);
    }

    void unescape(std::string_view raw, const Step& step)
    {
        const std::size_t bad = appendUnescaped(raw, m_gathered);
        if (bad != std::string_view::npos)
            failAt(step, raw.substr(bad),
                   QStringLiteral("expected a reference such as &amp; or &#10;, found \"%1\"")
                       .arg(shortened(raw.substr(bad, 12))));
    }

    /// The content of an element that holds a number; valid until the next call.
    std::string_view contentOf(const pugi::xml_node& node, const Step& step)
    {
        const std::string_view raw = node.value();
        if (!node.first_child() && raw.find('&') == std::string_view::npos)
            return raw;
        return gather(node, step);
    }

    /// The text of an element that consists of pieces: references, CDATA sections, text around comments.
    std::string_view gather(const pugi::xml_node& node, const Step& step)
    {
        m_gathered.clear();
        unescape(node.value(), step);
        for (const pugi::xml_node piece : node.children()) {
            if (piece.type() == pugi::node_element)
                failAt(step, piece.name(),
                       QStringLiteral("expected text, found an element <%1>").arg(shortened(piece.name())));
            if (piece.type() == pugi::node_cdata)
                m_gathered += piece.value();
            else
                unescape(piece.value(), step);
        }
        return m_gathered;
    }

    const QString& m_xml;
    QByteArray m_utf8; ///< the parser works in it and its nodes point into it
    pugi::xml_document m_document;
    TextCache m_cache;
    std::string m_gathered;
};

} // namespace

void readXml(const QString& xml, IRGObject& object)
{
    Reader(xml).read(object);
}

} // namespace REPORTGENERATOR
