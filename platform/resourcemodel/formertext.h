#pragma once

#include "fieldtable.h"

#include <array>
#include <string_view>
#include <vector>

/// \file
/// What a TextReader keeps of a text, and how the records of the next one are found in it; private to this
/// folder.

namespace REPORTGENERATOR {

/// Keeps one copy of texts that recur (types, options, GUIDs of storages): later ones share it.
/// Direct-mapped; a miss costs a hash of at most 16 bytes.
class TextCache
{
public:
    const QString& shared(std::u16string_view text);

private:
    static constexpr int kBits = 9;
    std::array<QString, 1u << kBits> m_slots;
};

/// Where a record stands in a text.
struct Extent
{
    int begin;
    int length;
    uint hash;
};

/// The records of one list in one text: extents and list have the same order.
struct RecordTexts
{
    std::vector<Extent> extents;
    std::shared_ptr<const void> list; ///< what Field::list operates on
};

/// A text, and where the records of its lists stand in it.
struct FormerText
{
    const Fields::Table* table = nullptr; ///< of the root; null before the first text
    QString text;
    std::vector<RecordTexts> lists; ///< by field of the root; empty for one that is no list of records
};

/// Finds the records of one list of a new text among those of the former one.
class RecordFinder
{
public:
    RecordFinder(const QString& text, const QString& formerText, const RecordTexts* former);

    /// The former record whose text stands at `begin`, if it is one of the few that are expected there; else
    /// -1. Enters it as the next record of the new text.
    int findExpected(int begin);
    /// Enters the record from `begin` to `end`. The former record with the same text, wherever that stood, or
    /// -1.
    int find(int begin, int end);

    std::vector<Extent> takeExtents();
    const std::vector<int>& fresh() const
    {
        return m_fresh;
    } ///< places of the records that have no former one

private:
    bool standsAt(const Extent& former, int begin) const;
    void enter(const Extent& extent, int former);
    void makeTable();
    /// Where the table has the former record that reads as `sought` of `text`, or the free place for it.
    int& slotOf(const char16_t* text, const Extent& sought);

    const char16_t* m_text;
    int m_size;
    const char16_t* m_formerText;
    const std::vector<Extent>* m_former; ///< null for none
    int m_expected = 0;                  ///< the former record behind the one that was found last
    int m_freshRun = 0;                  ///< new records since then
    std::vector<Extent> m_extents;
    std::vector<int> m_fresh;
    std::vector<int> m_table; ///< of former records by hash, open addressing; made when first needed
};

} // namespace REPORTGENERATOR
