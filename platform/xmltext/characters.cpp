#include "characters.h"

#include <QStringList>
#include <QVector>

#include <algorithm>
#include <iterator>

namespace XmlText {

namespace {

struct Range
{
    char32_t first;
    char32_t last;
};

constexpr Range kNameStarts[] = {{':', ':'},       {'A', 'Z'},       {'_', '_'},       {'a', 'z'},
                                 {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
                                 {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
                                 {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF}};
constexpr Range kOtherNameCharacters[] = {
    {'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

template<std::size_t count>
bool isIn(const Range (&ranges)[count], char32_t code) noexcept
{
    const auto range = std::lower_bound(std::begin(ranges), std::end(ranges), code,
                                        [](const Range& r, char32_t c) { return r.last < c; });
    return range != std::end(ranges) && range->first <= code;
}

constexpr Character kNoCharacter{0, 0};

const char16_t* unitsOf(const QString& text) noexcept
{
    return reinterpret_cast<const char16_t*>(text.constData());
}

} // namespace

bool isNameStart(char32_t code) noexcept
{
    return isIn(kNameStarts, code);
}

bool isNameCharacter(char32_t code) noexcept
{
    return isNameStart(code) || isIn(kOtherNameCharacters, code);
}

Character characterAt(const uchar* at, const uchar* end) noexcept
{
    const uchar lead = *at;
    if (lead < 0x80)
        return {lead, 1};
    const int length = lead >= 0xC2 && lead < 0xE0   ? 2
                       : lead >= 0xE0 && lead < 0xF0 ? 3
                       : lead >= 0xF0 && lead < 0xF5 ? 4
                                                     : 0;
    if (length == 0 || end - at < length)
        return kNoCharacter;
    char32_t code = lead & (0x7FU >> length);
    for (int i = 1; i < length; ++i) {
        if ((at[i] & 0xC0) != 0x80)
            return kNoCharacter;
        code = code << 6 | (at[i] & 0x3FU);
    }
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool shortest = code >= kSmallest[length];
    const bool scalar = code <= 0x10FFFF && !QChar::isSurrogate(code);
    return shortest && scalar ? Character{code, length} : kNoCharacter;
}

Character characterAt(const char16_t* at, const char16_t* end) noexcept
{
    if (!QChar::isSurrogate(*at))
        return {*at, 1};
    if (!QChar::isHighSurrogate(*at) || end - at < 2 || !QChar::isLowSurrogate(at[1]))
        return kNoCharacter;
    return {QChar::surrogateToUcs4(at[0], at[1]), 2};
}

QString textOfCharacter(char32_t code)
{
    if (!QChar::requiresSurrogates(code))
        return QString(QChar(static_cast<ushort>(code)));
    return QString(QChar(QChar::highSurrogate(code))) + QChar(QChar::lowSurrogate(code));
}

QString textFromUtf8(std::string_view bytes)
{
    QString text = QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF")
        text.prepend(QChar(QChar::ByteOrderMark));
    return text;
}

QByteArray toUtf8(const QString& text)
{
    int forbidden = findForbidden(text);
    if (forbidden < 0)
        return text.toUtf8();
    QString clean = text;
    for (; forbidden >= 0; forbidden = findForbidden(clean))
        clean[forbidden] = QChar(QChar::ReplacementCharacter);
    return clean.toUtf8();
}

/// Blocks of ordinary characters are passed over without looking at each.
int findForbidden(const QString& text) noexcept
{
    constexpr int kBlock = 64;
    const char16_t* const begin = unitsOf(text);
    const char16_t* const end = begin + text.size();
    const auto isOrdinary = [](const char16_t* from) {
        bool special = false;
        for (int i = 0; i < kBlock; ++i)
            special |= from[i] < 0x20 || from[i] >= 0xD800;
        return !special;
    };
    for (const char16_t* at = begin; at < end;) {
        while (end - at > kBlock && isOrdinary(at))
            at += kBlock;
        const Character character = characterAt(at, end);
        if (character.units == 0 || !isCharacter(character.code))
            return static_cast<int>(at - begin);
        at += character.units;
    }
    return -1;
}

QByteArray toName(const QByteArray& name)
{
    const QVector<uint> characters =
        textFromUtf8({name.constData(), static_cast<std::size_t>(name.size())}).toUcs4();
    QString result;
    for (const uint code : characters) {
        const bool fits = result.isEmpty() ? isNameStart(code) : isNameCharacter(code);
        result += fits ? textOfCharacter(code) : QStringLiteral("_");
    }
    return result.isEmpty() ? QByteArrayLiteral("_") : result.toUtf8();
}

QString quotable(const QString& text)
{
    constexpr int kLongest = 40;
    QString line = text.left(kLongest);
    if (text.size() > kLongest && line.at(kLongest - 1).isHighSurrogate())
        line.chop(1);
    for (QChar& c : line) {
        const QChar::Category category = c.category();
        if (isSpace(c.unicode()))
            c = QLatin1Char(' ');
        else if (category == QChar::Other_Control || category == QChar::Other_Format ||
                 category == QChar::Separator_Line || category == QChar::Separator_Paragraph)
            c = QChar(QChar::ReplacementCharacter);
    }
    return text.size() <= kLongest ? line : QString(line + QStringLiteral("..."));
}

} // namespace XmlText
