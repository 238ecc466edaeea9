#include <distribution/textsearch.h>

#include <values/utf8.h>

#include <algorithm>

namespace distribution {

namespace {

/// So many characters are turned into bytes at once, which stay in the cache until they are compared.
constexpr int kBlock = 16384;
constexpr int kLargestMiddle = 3 * kBlock;
constexpr std::size_t kBytesOfCharacter = 3; // at most; of two halves 4

bool cutsPair(const QString& text, int at)
{
    return at > 0 && at < text.size() && text.at(at - 1).isHighSurrogate() && text.at(at).isLowSurrogate();
}

int blockEnd(const QString& text, int begin)
{
    const int end = std::min(begin + kBlock, text.size());
    return cutsPair(text, end) ? end + 1 : end;
}

int blockBegin(const QString& text, int end, int limit)
{
    const int begin = std::max(end - kBlock, limit);
    return cutsPair(text, begin) ? begin + 1 : begin;
}

void encode(Bytes& bytes, const QString& text, int begin, int end)
{
    bytes.clear();
    values::AppendUtf8(bytes, QString::fromRawData(text.constData() + begin, end - begin));
}

} // namespace

std::optional<values::TextSplice> FindSplice(const ItemTable::Item& former, const QString& text)
{
    if (text.size() < kLeastSearched)
        return std::nullopt;
    values::TextSplice splice;
    splice.formerBytes = former.Size();
    int begin = 0;
    for (int end = 0; begin < text.size(); begin = end) {
        end = blockEnd(text, begin);
        encode(splice.inserted, text, begin, end);
        if (!former.Holds(splice.offset, splice.inserted))
            break;
        splice.offset += splice.inserted.size();
    }
    std::size_t middle = splice.formerBytes - splice.offset;
    int end = text.size();
    for (int next = 0; end > begin; end = next) {
        next = blockBegin(text, end, begin);
        encode(splice.inserted, text, next, end);
        const std::size_t count = splice.inserted.size();
        if (count > middle || !former.Holds(splice.offset + middle - count, splice.inserted))
            break;
        middle -= count;
    }
    if (middle > kBytesOfCharacter * kLargestMiddle || end - begin > kLargestMiddle)
        return std::nullopt;
    encode(splice.inserted, text, begin, end);
    splice.removed = former.Range(splice.offset, middle);
    return splice;
}

} // namespace distribution
