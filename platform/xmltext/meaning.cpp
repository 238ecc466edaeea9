#include "meaning.h"

#include "references.h"

#include <cstring>

namespace XmlText {

namespace {

void append(QString& out, char32_t code)
{
    out += textOfCharacter(code);
}

void append(std::string& out, char32_t code)
{
    if (code < 0x80)
        out += static_cast<char>(code);
    else
        out += textOfCharacter(code).toStdString();
}

void append(QString& out, const char16_t* begin, const char16_t* end)
{
    out.append(reinterpret_cast<const QChar*>(begin), static_cast<int>(end - begin));
}

void append(std::string& out, const uchar* begin, const uchar* end)
{
    out.append(reinterpret_cast<const char*>(begin), static_cast<std::size_t>(end - begin));
}

/// Whether what stands at `at` means something else.
template<class Unit>
bool isReplaced(Unit unit, Meaning meaning)
{
    return unit == '\r' || (unit == '&' && meaning != Meaning::Section) ||
           (isSpace(unit) && meaning == Meaning::Attribute);
}

template<class Unit, class Out>
void appendMeaningOf(const Unit* at, const Unit* end, Meaning meaning, Out& out)
{
    while (at < end) {
        const Unit* const run = at;
        while (at < end && !isReplaced(*at, meaning))
            ++at;
        append(out, run, at);
        if (at == end)
            return;
        char32_t code = meaning == Meaning::Attribute ? ' ' : '\n';
        if (*at != '&') {
            at += *at == '\r' && at + 1 < end && at[1] == '\n' ? 2 : 1;
        } else if (at[1] == '#') {
            at = readCharacterReference(at, code);
        } else {
            const Entity* entity = kEntities;
            while (!equals(at, entity->reference))
                ++entity;
            code = static_cast<uchar>(entity->character);
            at += std::strlen(entity->reference);
        }
        append(out, code);
    }
}

} // namespace

void appendMeaning(Scanner<char16_t>::Part part, Meaning meaning, QString& out)
{
    appendMeaningOf(part.begin, part.begin + part.length, meaning, out);
}

void appendMeaning(Scanner<uchar>::Part part, Meaning meaning, std::string& out)
{
    appendMeaningOf(part.begin, part.begin + part.length, meaning, out);
}

} // namespace XmlText
