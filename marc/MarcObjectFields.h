#pragma once
// The fields of one record in record order, the leader always at position 1, with a per-tag
// index so that occurrence n of tag t is found without a scan. Fields are shared: Field()
// returns the stored object (a change through it changes the record); a missing tag or
// occurrence gives a new detached field. Tags are numbers 0..999; a digit text is read by its
// numeric value, so "004", "4" and 4 are one tag. Positions and occurrences are 1-based.
//
// Only tags 1..999 are indexed (the leader is reached by position); at most 1500 fields are
// indexed, and the field that would be the 1501st raises Error(SubscriptOutOfRange) when it is
// indexed (it stays in the collection, unindexed).
//
// Appending indexes the new field in constant time (a last position per tag), and a deep
// occurrence of a much repeated tag is found through a table of that tag's positions, so
// building a record and reading all of it are linear. Changes that move fields rebuild the
// index in one pass.

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "marc/MarcObjectField.h"

namespace tesselex {

class MarcObjectFields {
  public:
    using Item = std::shared_ptr<MarcObjectField>;
    using const_iterator = std::vector<Item>::const_iterator;

    static constexpr int MaxIndexed = 1500;
    static constexpr int MaxTag = 999;

    MarcObjectFields();
    ~MarcObjectFields();
    MarcObjectFields(const MarcObjectFields&) = delete;
    MarcObjectFields& operator=(const MarcObjectFields&) = delete;

    // The main-entry tag worked out by Add: the last 1XX added, otherwise the first 223 or 245;
    // 0 when none.
    int MainEntryTag() const noexcept { return mainEntryTag_; }

    // True when another occurrence of the tag has the same text (trimmed) as occurrence `occ`;
    // with includeIndicators the indicators are part of the text.
    bool Duplicate(int tag, int occ, bool includeIndicators);
    bool Duplicate(std::u16string_view tag, int occ, bool includeIndicators);

    // Adds a field and returns it; null when nothing is added:
    // - a tag above 999 adds nothing;
    // - tag 0 stores a 24-character value into the leader and returns the leader;
    // - fixed: the field's FixedLength is the value's length (an empty value adds nothing);
    // - a backslash in the value becomes the delimiter 31;
    // - sorted: the field goes before the first field with a greater tag, otherwise at the end.
    Item Add(int tag, std::u16string_view ind1, std::u16string_view ind2, std::u16string_view value,
             bool fixed = false, bool sorted = false);
    Item Add(std::u16string_view tag, std::u16string_view ind1, std::u16string_view ind2,
             std::u16string_view value, bool fixed = false, bool sorted = false);

    // Removes one occurrence / every field with the tag. A tag outside 0..999 raises
    // Error(SubscriptOutOfRange); a missing occurrence changes nothing.
    void Delete(int tag, int occ = 1);
    void Delete(std::u16string_view tag, int occ = 1);
    void DeleteAll(int tag);
    void DeleteAll(std::u16string_view tag);

    // The field at a 1-based position; outside 1..Count() raises Error(SubscriptOutOfRange).
    Item FieldByNum(int pos) const;
    // Occurrence `occ` of the tag (tag 0: the leader); never null.
    Item Field(int tag, int occ = 1) const;
    Item Field(std::u16string_view tag, int occ = 1) const;

    // True when the tag has at least `occ` fields; for a list, when any of its tags exists.
    bool TagExists(int tag, int occ = 1) const;
    bool TagExists(std::u16string_view tag, int occ = 1) const;
    bool TagExists(const std::vector<int>& tags) const;
    // Number of fields with the tag (the leader is not counted); outside 0..999 raises
    // Error(SubscriptOutOfRange).
    int TagOcc(int tag) const;
    int TagOcc(std::u16string_view tag) const;

    int Count() const noexcept { return static_cast<int>(items_.size()); }
    // Back to a fresh leader only (24 blanks, FixedLength 24, tag "000"); the main-entry tag
    // starts again at 0, so a reused record does not keep the last record's.
    void Clear();
    // Leader first, then the other fields by ascending tag, equal tags in their present order.
    // The fields are replaced by copies (FixedLength, indicators, subfields and their attributes
    // kept), so field objects held before are detached afterwards.
    void Sort();
    // Rebuilds the index from the present order.
    void Refresh();

    // Iteration in order, leader first (NewEnum).
    const_iterator begin() const noexcept { return items_.begin(); }
    const_iterator end() const noexcept { return items_.end(); }

    // The numeric tag of a digit text (its leading number; 0 when it has none).
    static int TagNumber(std::u16string_view tag) noexcept;

  private:
    void AddLeader();
    void IndexAppended();
    void IndexOne(int pos, int tag);
    void Rebuild();
    void ResetIndex();
    void RemoveAt(std::size_t index);
    int PositionOf(int tag, int occ) const;
    static Item Detached();

    friend class MarcObjectField;

    std::vector<Item> items_;
    std::array<int, MaxTag + 1> count_{};
    std::array<int, MaxTag + 1> first_{};
    std::array<int, MaxTag + 1> last_{};
    std::vector<int> next_;  // by 1-based position (index 0 unused); 0 ends a chain
    int indexed_ = 0;        // fields the index covers
    int indexable_ = 0;      // fields with a tag of 1..999 (more than indexed_ after a limit error)
    int mainEntryTag_ = 0;
    // A held field changed its tag: the next Add re-indexes from scratch, as lookups until then
    // still answer from the index as it was.
    bool stale_ = false;
    // Positions of every occurrence of one tag, made when a lookup would walk a long chain, so
    // looking up all occurrences of a much repeated tag, in any order, stays linear.
    mutable std::vector<int> occurrences_;
    mutable int occurrencesTag_ = -1;
};

}  // namespace tesselex
