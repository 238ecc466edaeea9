#include <values/utf8.h>

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace values {

namespace {

constexpr bool isSurrogate(uint unit)
{
    return (unit & 0xf800U) == 0xd800U;
}

constexpr bool isHighSurrogate(uint unit)
{
    return (unit & 0xfc00U) == 0xd800U;
}

constexpr bool isLowSurrogate(uint unit)
{
    return (unit & 0xfc00U) == 0xdc00U;
}

/// Without a branch for each unit, so that compilers take many at a time.
bool hasSurrogate(const ushort* begin, const ushort* end)
{
    uint found = 0;
    for (const ushort* unit = begin; unit != end; ++unit)
        found |= static_cast<uint>((*unit & 0xf800U) == 0xd800U);
    return found != 0;
}

/// Whether all surrogates stand in pairs, so that the text is plain UTF-8.
bool isPaired(const QString& text)
{
    const auto* const begin = text.utf16();
    const auto* const end = begin + text.size();
    if (!hasSurrogate(begin, end))
        return true;
    for (auto at = std::find_if(begin, end, isSurrogate); at != end;
         at = std::find_if(at + 2, end, isSurrogate)) {
        if (!isHighSurrogate(*at) || at + 1 == end || !isLowSurrogate(at[1]))
            return false;
    }
    return true;
}

/// The bytes of one character, lone surrogates included.
void appendCharacter(std::string& out, uint character)
{
    const auto tail = [&out, character](int shift) {
        out += static_cast<char>(0x80U | ((character >> shift) & 0x3fU));
    };
    if (character < 0x80U) {
        out += static_cast<char>(character);
    } else if (character < 0x800U) {
        out += static_cast<char>(0xc0U | (character >> 6U));
        tail(0);
    } else if (character < 0x10000U) {
        out += static_cast<char>(0xe0U | (character >> 12U));
        tail(6);
        tail(0);
    } else {
        out += static_cast<char>(0xf0U | (character >> 18U));
        tail(12);
        tail(6);
        tail(0);
    }
}

/// One character, in the one form that it has; false when there is none.
bool readCharacter(ByteReader& in, uint& character)
{
    quint8 first = 0;
    if (!in.ReadInteger(first))
        return false;
    int tail = 0;
    if (first < 0x80U) {
        character = first;
    } else if (first >= 0xc2U && first < 0xe0U) {
        tail = 1;
        character = first & 0x1fU;
    } else if (first >= 0xe0U && first < 0xf0U) {
        tail = 2;
        character = first & 0x0fU;
    } else if (first >= 0xf0U && first < 0xf5U) {
        tail = 3;
        character = first & 0x07U;
    } else {
        return false;
    }
    for (int i = 0; i < tail; ++i) {
        quint8 next = 0;
        if (!in.ReadInteger(next) || (next & 0xc0U) != 0x80U)
            return false;
        character = (character << 6U) | (next & 0x3fU);
    }
    constexpr uint kSmallest[] = {0, 0x80U, 0x800U, 0x10000U};
    return character >= kSmallest[tail] && character <= QChar::LastValidCodePoint;
}

bool readStrictly(ByteReader in, QString& text)
{
    QString read;
    while (!in.AtEnd()) {
        uint character = 0;
        if (!readCharacter(in, character))
            return false;
        if (QChar::requiresSurrogates(character)) {
            read += QChar(QChar::highSurrogate(character));
            read += QChar(QChar::lowSurrogate(character));
            continue;
        }
        // Two halves of one character have a form of their own.
        if (isLowSurrogate(character) && !read.isEmpty() &&
            read.constData()[read.size() - 1].isHighSurrogate())
            return false;
        read += QChar(static_cast<ushort>(character));
    }
    text = read;
    return true;
}

/// Where in the text so many bytes behind `begin` are; -1 when that is no place between two characters. Known
/// at once where the text, of so many bytes in all, is ASCII.
int unitAt(const QString& text, int begin, std::size_t bytes, std::size_t allBytes)
{
    const auto units = static_cast<std::size_t>(text.size());
    if (allBytes == units)
        return bytes <= units - static_cast<std::size_t>(begin) ? begin + static_cast<int>(bytes) : -1;
    const ushort* const unit = text.utf16();
    int at = begin;
    std::size_t passed = 0;
    while (passed < bytes && at < text.size()) {
        const bool isPair = isHighSurrogate(unit[at]) && at + 1 < text.size() && isLowSurrogate(unit[at + 1]);
        passed += isPair ? 4U : unit[at] < 0x80U ? 1U : unit[at] < 0x800U ? 2U : 3U;
        at += isPair ? 2 : 1;
    }
    return passed == bytes ? at : -1;
}

void appendBlock(std::string& out, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    const auto size = static_cast<std::size_t>(bytes.size());
    // Which Qt writes for what has no form in UTF-8.
    const bool hasQuestionMark = std::memchr(bytes.constData(), '?', size) != nullptr;
    if (!hasQuestionMark || isPaired(text)) {
        out.append(bytes.constData(), size);
        return;
    }
    for (int i = 0; i < text.size(); ++i) {
        const QChar unit = text.at(i);
        const bool pair = unit.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        appendCharacter(out, pair ? QChar::surrogateToUcs4(unit, text.at(i + 1)) : unit.unicode());
        i += pair ? 1 : 0;
    }
}

/// From so many bytes on a text is taken for one that stays and is changed in places.
constexpr std::size_t kLargeText = std::size_t(4) << 20U;

/// Room for a large text in large pages, where the system has them for who asks: each of its changes moves
/// half of it, and there is some space for these.
QString makeRoom(std::size_t units)
{
    QString text(static_cast<int>(units + units / 64), Qt::Uninitialized);
#ifdef MADV_HUGEPAGE
    constexpr std::uintptr_t pageBytes = std::uintptr_t(2) << 20U;
    const std::size_t bytes = static_cast<std::size_t>(text.size()) * sizeof(QChar);
    const std::size_t skipped =
        (pageBytes - reinterpret_cast<std::uintptr_t>(text.data()) % pageBytes) % pageBytes;
    if (bytes >= skipped + pageBytes)
        madvise(reinterpret_cast<char*>(text.data()) + skipped, (bytes - skipped) / pageBytes * pageBytes,
                MADV_HUGEPAGE); // a mere hint
#endif
    text.resize(static_cast<int>(units));
    return text;
}

/// Null, but for texts that are large and have characters of one byte alone.
QString readLargeAscii(const char* bytes, std::size_t count)
{
    if (count < kLargeText)
        return QString();
    const auto isWide = [](char byte) { return (static_cast<unsigned char>(byte) & 0x80U) != 0; };
    if (std::any_of(bytes, bytes + count, isWide))
        return QString();
    QString text = makeRoom(count);
    std::copy(bytes, bytes + count, reinterpret_cast<ushort*>(text.data()));
    return text;
}

/// Whether it might make one character with its neighbour.
bool hasLooseEnd(const QString& text)
{
    return !text.isEmpty() && (text.at(0).isLowSurrogate() || text.at(text.size() - 1).isHighSurrogate());
}

} // namespace

/// In blocks, which stay in the cache from one step to the next.
void AppendUtf8(std::string& out, const QString& text)
{
    constexpr int kBlock = 16384;
    out.reserve(out.size() + static_cast<std::size_t>(text.size()));
    for (int at = 0, count = 0; at < text.size(); at += count) {
        count = std::min(kBlock, text.size() - at);
        const bool cutsPair = at + count < text.size() && text.at(at + count - 1).isHighSurrogate() &&
                              text.at(at + count).isLowSurrogate();
        count += cutsPair ? 1 : 0;
        appendBlock(out, QString::fromRawData(text.constData() + at, count));
    }
}

bool ReadUtf8(ByteReader& in, QString& text)
{
    constexpr std::size_t kLongest = std::size_t(1) << 29U; // what a QString can hold
    if (in.Remaining() > kLongest)
        return false;
    if (QString large = readLargeAscii(in.Position(), in.Remaining()); !large.isNull()) {
        text = std::move(large);
        return in.Skip(in.Remaining());
    }
    // Qt reads fast, but leaves a leading mark of the byte order out and puts U+FFFD for whatever is wrong.
    const QString fast = QString::fromUtf8(in.Position(), static_cast<int>(in.Remaining()));
    const bool marked = in.Remaining() >= 3 && std::equal(in.Position(), in.Position() + 3, "\xef\xbb\xbf");
    if (!marked && !fast.contains(QChar(QChar::ReplacementCharacter)))
        text = fast;
    else if (!readStrictly(in, text))
        return false;
    return in.Skip(in.Remaining());
}

bool SpliceUtf8(QString& text, const TextSplice& splice, bool& isChanged)
{
    const int begin = unitAt(text, 0, splice.offset, splice.formerBytes);
    const int end = begin < 0 ? -1 : unitAt(text, begin, splice.removed.size(), splice.formerBytes);
    QString removed, inserted;
    ByteReader removedBytes(splice.removed.data(), splice.removed.size());
    ByteReader insertedBytes(splice.inserted.data(), splice.inserted.size());
    if (end < 0 || !ReadUtf8(removedBytes, removed) || !ReadUtf8(insertedBytes, inserted) ||
        text.midRef(begin, end - begin) != removed || hasLooseEnd(inserted))
        return false;
    isChanged = inserted != removed;
    if (isChanged)
        text.replace(begin, end - begin, inserted);
    return true;
}

void AppendShortText(std::string& out, const QString& text)
{
    const std::size_t size = out.size();
    AppendInteger(out, quint32(0));
    AppendUtf8(out, text);
    PatchUInt32(out, size, static_cast<quint32>(out.size() - size - sizeof(quint32)));
}

bool ReadShortText(ByteReader& in, QString& text)
{
    ByteReader at = in, part = in;
    quint32 size = 0;
    if (!at.ReadInteger(size) || !at.Split(size, part) || !ReadUtf8(part, text))
        return false;
    in = at;
    return true;
}

} // namespace values
