#include "xmlreader.h"

#include "checking.h"
#include "fieldtable.h"

#include <xmltext/characters.h>
#include <xmltext/meaning.h>
#include <xmltext/scanner.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>

namespace REPORTGENERATOR {

namespace {

using Fields::Access;
using Fields::Field;
using Fields::Kind;
using Fields::Table;
using Scanner = XmlText::Scanner<char16_t>;
using XmlText::Token;

const char16_t* unitsOf(const QString& text) noexcept
{
    return reinterpret_cast<const char16_t*>(text.utf16());
}

bool equals(Scanner::Part part, const char16_t* text, int length) noexcept
{
    return part.length == length &&
           !std::memcmp(part.begin, text, static_cast<std::size_t>(length) * sizeof *text);
}

QString toText(Scanner::Part part)
{
    return QString(reinterpret_cast<const QChar*>(part.begin), part.length);
}

/// A number or a truth value without the white space around it, in ASCII; empty when it cannot be one.
class Word
{
public:
    explicit Word(Scanner::Part part)
    {
        const char16_t* begin = part.begin;
        const char16_t* end = begin + part.length;
        while (begin < end && XmlText::isSpace(*begin))
            ++begin;
        while (end > begin && XmlText::isSpace(end[-1]))
            --end;
        if (end - begin > kLongest)
            return;
        for (; begin < end && *begin < 0x80; ++begin)
            m_text[m_length++] = static_cast<char>(*begin);
        if (begin < end)
            m_length = 0;
    }
    std::string_view text() const noexcept { return {m_text, m_length}; }

    template<typename Number>
    bool toNumber(Number& value) const noexcept
    {
        std::string_view digits = text();
        if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-')
            digits.remove_prefix(1);
        const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        return result.ec == std::errc() && result.ptr == digits.data() + digits.size();
    }
    bool toBool(bool& value) const noexcept
    {
        value = text() == "true" || text() == "1";
        return value || text() == "false" || text() == "0";
    }

private:
    static constexpr int kLongest = 1024; ///< digits of a double that mean something, and more
    char m_text[kLongest];
    std::size_t m_length = 0;
};

/// An element on the way from the root to what is being read.
struct Step
{
    const Step* parent;
    const char* name;
    int index;    ///< position in a list, from 1; 0 outside lists
    int position; ///< of its start tag
};

class Reader
{
public:
    /// `former` is null when the reading is not to be remembered.
    Reader(const QString& xml, TextCache& texts, const FormerText* former)
        : m_xml(xml)
        , m_scanner(unitsOf(xml), xml.size(), XmlText::Rules())
        , m_texts(texts)
        , m_former(former)
        , m_remembers(former)
    {
        m_gathered.reserve(256); // so that resizing it leaves it its room
    }

    void read(IRGObject& object)
    {
        const Table& table = Access::table(object);
        if (m_former && m_former->table != &table)
            m_former = nullptr;
        m_finders.resize(static_cast<std::size_t>(table.count));
        const Step root = rootElement(table);
        readFields(object, table, root);
        next(nullptr); // what follows the root must be well-formed, too
        for (const Field& field : table) {
            if (field.list)
                field.list->squeeze(field.edit(object));
        }
    }

    /// What the next reading needs to know of this one.
    FormerText remembered(const IRGObject& object)
    {
        const Table& table = Access::table(object);
        FormerText result{&table, m_xml, std::vector<RecordTexts>(m_finders.size())};
        for (std::size_t i = 0; i < m_finders.size(); ++i) {
            const Field& field = table.fields[i];
            if (m_finders[i])
                result.lists[i] = {m_finders[i]->takeExtents(), field.list->copy(field.member(object))};
        }
        return result;
    }

    /// The records that were read, by field of the root.
    RecordPlaces freshRecords() const
    {
        RecordPlaces places(m_finders.size());
        for (std::size_t i = 0; i < m_finders.size(); ++i) {
            if (m_finders[i])
                places[i] = m_finders[i]->fresh();
        }
        return places;
    }

private:
    [[noreturn]] void fail(int position, const Step* step, const QString& text) const
    {
        QString path;
        for (const Step* at = step; at; at = at->parent) {
            QString name = QLatin1String(at->name);
            if (at->index > 0)
                name += QStringLiteral("[%1]").arg(at->index);
            path = path.isEmpty() ? name : QString(name + QLatin1Char('/') + path);
        }
        if (!path.isEmpty())
            path += QStringLiteral(": ");
        throw RGException(
            QStringLiteral("Invalid XML text"),
            QStringLiteral("%1: %2%3").arg(XmlText::placeOf(unitsOf(m_xml), position), path, text));
    }

    Token next(const Step* step)
    {
        const Token token = m_scanner.next();
        if (token == Token::Failure) {
            const XmlText::Complaint& complaint = m_scanner.complaint();
            fail(complaint.position, step,
                 complaint.what + QStringLiteral(", expected ") + complaint.expected);
        }
        return token;
    }

    Step rootElement(const Table& table)
    {
        next(nullptr);
        const int position = m_scanner.tokenBegin();
        if (!equals(m_scanner.name(), table.wideName, table.nameLength))
            fail(position, nullptr,
                 QStringLiteral("the root element is <%1>, expected <%2>")
                     .arg(XmlText::quotable(toText(m_scanner.name())), QLatin1String(table.name)));
        return {nullptr, table.name, 0, position};
    }

    /// Elements come in the order of the table as a rule, so the search starts where the last one was found.
    /// Returns null for an element that this version does not know.
    static const Field* findField(const Table& table, const Field* start, Scanner::Part name) noexcept
    {
        const Field* field = start;
        for (int i = 0; i < table.count; ++i) {
            if (field == table.end())
                field = table.begin();
            if (equals(name, field->wideName, field->nameLength))
                return field;
            ++field;
        }
        return nullptr;
    }

    /// Reads what is in the element whose start tag was the last token, up to its end.
    void readFields(IRGObject& object, const Table& table, const Step& step)
    {
        const Field* following = table.begin();
        for (Token token = next(&step); token != Token::End; token = next(&step)) {
            if (token != Token::Start)
                continue;
            const Field* const field = findField(table, following, m_scanner.name());
            if (!field) {
                passOver(step);
            } else if (field->list) {
                readListElement(object, *field, static_cast<int>(field - table.begin()), step);
                following = field;
            } else {
                readSingle(object, *field, static_cast<int>(field - table.begin()), step);
                following = field + 1;
            }
        }
    }

    void passOver(const Step& step)
    {
        for (const int outer = m_scanner.depth() - 1; m_scanner.depth() > outer;)
            next(&step);
    }

    /// Marks a record before it is read, so that a failure inside it leaves what was read; a value only when
    /// it is good.
    void readSingle(IRGObject& object, const Field& field, int index, const Step& parent)
    {
        const Step step{&parent, field.name, 0, m_scanner.tokenBegin()};
        switch (field.kind) {
        case Kind::Text:
            Access::edit<QString>(object, field) = readText(step);
            break;
        case Kind::Bool:
            Access::edit<bool>(object, field) = readBool(step);
            break;
        case Kind::UInt:
            Access::edit<quint64>(object, field) = readNumber<quint64>(step, field);
            break;
        case Kind::Double:
            Access::edit<double>(object, field) = readDouble(step);
            break;
        case Kind::Record: {
            Access::mark(object, index);
            auto& record = Access::edit<IRGObject>(object, field);
            record.Reset();
            return readFields(record, Access::table(record), step);
        }
        default:
            Access::edit<qint32>(object, field) = readNumber<qint32>(step, field);
        }
        Access::mark(object, index);
    }

    void readListElement(IRGObject& object, const Field& field, int index, const Step& parent)
    {
        void* const list = field.edit(object);
        const Step step{&parent, field.name, field.list->count(list) + 1, m_scanner.tokenBegin()};
        if (field.kind == Kind::EnumList)
            field.list->appendNumber(list, readNumber<qint32>(step, field));
        else if (field.kind == Kind::TextList)
            static_cast<QVector<QString>*>(list)->append(readText(step));
        else if (parent.parent || !m_remembers)
            readRecord(field.list->appendRecord(list), step);
        else
            readOrShareRecord(list, field, static_cast<std::size_t>(index), step);
    }

    void readRecord(IRGObject& record, const Step& step) { readFields(record, Access::table(record), step); }

    /// A record in a list of the root.
    void readOrShareRecord(void* list, const Field& field, std::size_t index, const Step& step)
    {
        const RecordTexts* const former = m_former ? &m_former->lists[index] : nullptr;
        std::optional<RecordFinder>& finder = m_finders[index];
        if (!finder) {
            finder.emplace(m_xml, m_former ? m_former->text : QString(), former);
            if (former && former->list)
                field.list->reserve(list, field.list->count(former->list.get()));
        }
        int same = finder->findExpected(step.position);
        if (same >= 0) {
            field.list->appendCopy(list, former->list.get(), same);
            m_scanner.skipElement(step.position + former->extents[static_cast<std::size_t>(same)].length);
            return;
        }
        readRecord(field.list->appendRecord(list), step);
        same = finder->find(step.position, m_scanner.position());
        if (same >= 0)
            field.list->shareLast(list, former->list.get(), same);
    }

    bool readBool(const Step& step)
    {
        bool value = false;
        const Scanner::Part content = readContent(step);
        if (!Word(content).toBool(value))
            failValue(step, content, QStringLiteral("true or false"));
        return value;
    }

    /// `Number` is what the field is stored as.
    template<typename Number>
    Number readNumber(const Step& step, const Field& field)
    {
        Number value = 0;
        const auto [lowest, highest] = field.range;
        const Scanner::Part content = readContent(step);
        const bool isNumber = Word(content).toNumber(value);
        const bool fits =
            value < Number(1) ? static_cast<qint64>(value) >= lowest : static_cast<quint64>(value) <= highest;
        if (!isNumber || !fits)
            failValue(step, content, QStringLiteral("a whole number from %1 to %2").arg(lowest).arg(highest));
        return value;
    }

    double readDouble(const Step& step)
    {
        double value = 0;
        const Scanner::Part content = readContent(step);
        if (!Word(content).toNumber(value) || !std::isfinite(value))
            failValue(step, content, QStringLiteral("a number"));
        return value;
    }

    [[noreturn]] void failValue(const Step& step, Scanner::Part content, const QString& expected) const
    {
        fail(step.position, &step,
             QStringLiteral("expected %1, found \"%2\"").arg(expected, XmlText::quotable(toText(content))));
    }

    QString readText(const Step& step)
    {
        const Scanner::Part content = readContent(step);
        if (content.length == 0)
            return QString();
        return m_isGathered ? toText(content) // without the room that gathering left
                            : m_texts.shared({content.begin, static_cast<std::size_t>(content.length)});
    }

    /// The text of the element whose start tag was the last token, which it reads up to its end. Valid until
    /// the next call. Most are one piece that means what it is, and stand in the text itself.
    Scanner::Part readContent(const Step& step)
    {
        Scanner::Part content{m_scanner.begin(), 0};
        m_isGathered = false;
        for (Token token = next(&step); token != Token::End; token = next(&step)) {
            if (token == Token::Start)
                fail(m_scanner.tokenBegin(), &step,
                     QStringLiteral("expected text, found an element <%1>")
                         .arg(XmlText::quotable(toText(m_scanner.name()))));
            if (content.length == 0 && !m_isGathered && m_scanner.isPlain()) {
                content = m_scanner.text();
                continue;
            }
            if (!m_isGathered) {
                m_gathered.resize(0);
                m_gathered.append(reinterpret_cast<const QChar*>(content.begin), content.length);
            }
            m_isGathered = true;
            XmlText::appendMeaning(m_scanner.text(),
                                   token == Token::Text ? XmlText::Meaning::Text : XmlText::Meaning::Section,
                                   m_gathered);
        }
        return m_isGathered ? Scanner::Part{unitsOf(m_gathered), m_gathered.size()} : content;
    }

    const QString& m_xml;
    Scanner m_scanner;
    TextCache& m_texts;
    const FormerText* m_former; ///< null when there is none of the class
    const bool m_remembers;
    std::vector<std::optional<RecordFinder>> m_finders; ///< by field of the root
    QString m_gathered; ///< the text that consists of pieces: references, sections, text around comments
    bool m_isGathered = false;
};

} // namespace

void readXml(const QString& xml, IRGObject& object)
{
    TextCache texts;
    Reader(xml, texts, nullptr).read(object);
}

void readXml(const QString& xml, IRGObject& object, TextReader::Memory& memory)
{
    Reader reader(xml, memory.texts, &memory.former);
    reader.read(object);
    QString error;
    if (!check(object, reader.freshRecords(), error))
        throw RGException(QStringLiteral("Invalid object"), error);
    memory.former = reader.remembered(object);
}

} // namespace REPORTGENERATOR
