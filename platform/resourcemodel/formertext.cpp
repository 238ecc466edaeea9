#include "formertext.h"

#include <QHash>

#include <cstring>

namespace REPORTGENERATOR {

namespace {

constexpr int kNone = -1;
constexpr uint kSeed = 1; // with none, the processor's instructions for hashes are not used

const char16_t* unitsOf(const QString& text) noexcept
{
    return reinterpret_cast<const char16_t*>(text.constData());
}

bool equal(const char16_t* a, const char16_t* b, int length) noexcept
{
    return std::memcmp(a, b, static_cast<std::size_t>(length) * sizeof *a) == 0;
}

} // namespace

const QString& TextCache::shared(std::u16string_view text)
{
    quint64 first = 0;
    quint64 last = 0;
    const std::size_t bytes = text.size() * sizeof(char16_t);
    const std::size_t part = qMin(bytes, sizeof(quint64));
    std::memcpy(&first, text.data(), part);
    std::memcpy(&last, reinterpret_cast<const char*>(text.data()) + bytes - part, part);
    const quint64 hash = (first * 0x9E3779B97F4A7C15u ^ last ^ bytes) * 0xC2B2AE3D27D4EB4Fu;
    QString& slot = m_slots[hash >> (64 - kBits)];
    const auto size = static_cast<int>(text.size());
    if (slot.size() != size || !equal(unitsOf(slot), text.data(), size))
        slot = QString(reinterpret_cast<const QChar*>(text.data()), size);
    return slot;
}

std::vector<Extent> RecordFinder::takeExtents()
{
    m_extents.shrink_to_fit();
    return std::move(m_extents);
}

RecordFinder::RecordFinder(const QString& text, const QString& formerText, const RecordTexts* former)
    : m_text(unitsOf(text))
    , m_size(text.size())
    , m_formerText(unitsOf(formerText))
    , m_former(former && !former->extents.empty() ? &former->extents : nullptr)
{
    if (m_former)
        m_extents.reserve(m_former->size());
}

bool RecordFinder::standsAt(const Extent& former, int begin) const
{
    return former.length <= m_size - begin &&
           equal(m_text + begin, m_formerText + former.begin, former.length);
}

/// Behind records that were changed in their places, or were inserted, or behind one that was removed.
int RecordFinder::findExpected(int begin)
{
    const int count = m_former ? static_cast<int>(m_former->size()) : 0;
    for (const int skipped : {m_freshRun, 0, m_freshRun + 1}) {
        const int former = m_expected + skipped;
        if (former >= count)
            continue;
        const Extent& extent = (*m_former)[static_cast<std::size_t>(former)];
        if (standsAt(extent, begin)) {
            enter({begin, extent.length, extent.hash}, former);
            return former;
        }
    }
    return kNone;
}

int RecordFinder::find(int begin, int end)
{
    const int length = end - begin;
    const uint hash = qHashBits(m_text + begin, static_cast<std::size_t>(length) * sizeof *m_text, kSeed);
    int found = kNone;
    if (m_former) {
        if (m_table.empty())
            makeTable();
        found = slotOf(m_text, {begin, length, hash});
    }
    enter({begin, length, hash}, found);
    return found;
}

void RecordFinder::enter(const Extent& extent, int former)
{
    if (former == kNone) {
        m_fresh.push_back(static_cast<int>(m_extents.size()));
        ++m_freshRun;
    } else {
        m_expected = former + 1;
        m_freshRun = 0;
    }
    m_extents.push_back(extent);
}

/// Of equal texts only the first is entered: which of their records is found makes no difference.
void RecordFinder::makeTable()
{
    std::size_t size = 4;
    while (size < 2 * m_former->size())
        size *= 2;
    m_table.assign(size, kNone);
    for (std::size_t i = 0; i < m_former->size(); ++i) {
        const Extent& extent = (*m_former)[i];
        int& slot = slotOf(m_formerText, extent);
        if (slot == kNone)
            slot = static_cast<int>(i);
    }
}

int& RecordFinder::slotOf(const char16_t* text, const Extent& sought)
{
    for (std::size_t slot = sought.hash;; ++slot) {
        int& former = m_table[slot & (m_table.size() - 1)];
        const Extent* const other =
            former == kNone ? nullptr : &(*m_former)[static_cast<std::size_t>(former)];
        if (!other || (other->hash == sought.hash && other->length == sought.length &&
                       equal(m_formerText + other->begin, text + sought.begin, sought.length)))
            return former;
    }
}

} // namespace REPORTGENERATOR
