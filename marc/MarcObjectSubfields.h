#pragma once
// The subfields of one field, in order, with a per-code index so that occurrence n of a code
// is found without scanning. Subfields are shared: Field() returns the stored object, so a
// change through it changes the field; a missing code or occurrence gives a new detached
// subfield whose change alters nothing.
//
// Limits: a field indexes at most 128 subfields, and codes must have a character value below
// 256 ("§" and "½" included, which local rules use as placeholder codes). Breaking either raises
// Error(SubscriptOutOfRange) when the subfield is indexed (after it has been placed), as lookups
// by code do for a code of 256 or more.
//
// Appending keeps the index up to date in constant time; only changes that move subfields
// rebuild it, in one pass. A code changed directly through a subfield's Fieldname is therefore
// indexed at the next Refresh or reordering change, not at the next append.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "marc/MarcObjectSubfield.h"

namespace tesselex {

class MarcObjectSubfields {
  public:
    using Item = std::shared_ptr<MarcObjectSubfield>;
    using const_iterator = std::vector<Item>::const_iterator;

    static constexpr int MaxIndexed = 128;

    MarcObjectSubfields();

    // Occurrence `occ` (1-based) of the code; a new detached subfield when it is missing.
    Item Field(char16_t code, int occ = 1) const;
    // The subfield at a 1-based position; outside 1..Count() raises Error(SubscriptOutOfRange).
    Item FieldByNum(int pos) const;
    int Count() const noexcept { return static_cast<int>(items_.size()); }
    // Number of subfields with the code.
    int SubfieldOcc(char16_t code) const;

    // Adds a subfield and returns it.
    // - order: when it holds the code, the new subfield goes before the first subfield whose code
    //   occurs behind the code in `order` (the codes that must follow it); position is ignored.
    // - otherwise a position within 1..Count() inserts before it; any other position appends.
    // - ifNotExists: when a subfield with the same code and the same (trimmed) value is already
    //   there, nothing is added and that subfield is returned.
    Item Add(char16_t code, std::u16string_view value, int position = 0, bool ifNotExists = false,
             std::u16string_view order = {});
    // Removes occurrence `occ` of the code; a missing one changes nothing.
    void Delete(char16_t code, int occ = 1);
    void DeleteAll(char16_t code);

    // Stable reorder: subfields whose codes occur in `order` come first, in the order of their
    // codes there; the others follow in their present order. An empty order sorts by code value.
    void Sort(std::u16string_view order = {});
    // Rearranges only the subfields whose codes occur in `order` among the places they already
    // hold, so the others ($6, local codes...) keep their positions. Stable for equal codes.
    void ReOrder(std::u16string_view order);

    // The neighbours of the subfield at a position, or of occurrence `occ` of a code; a new
    // detached subfield when there is none.
    Item PreviousSubfield(int pos) const;
    Item PreviousSubfield(char16_t code, int occ = 1) const;
    Item NextSubfield(int pos) const;
    Item NextSubfield(char16_t code, int occ = 1) const;

    // Rebuilds the index from the present order.
    void Refresh();
    // A new collection holding copies of these subfields (codes, values as stored, attributes).
    std::shared_ptr<MarcObjectSubfields> Clone() const;

    // What the field uses: discard everything, and rebuild from a text form (character 31, code,
    // value per subfield; text before the first delimiter is ignored, values are trimmed).
    void Clear();
    void Parse(std::u16string_view text);

    // Iteration in order (NewEnum).
    const_iterator begin() const noexcept { return items_.begin(); }
    const_iterator end() const noexcept { return items_.end(); }

  private:
    int PositionOf(char16_t code, int occ) const;
    void IndexAppended();
    void IndexOne(const MarcObjectSubfield& item);
    void Rebuild();
    void Insert(std::size_t at, Item item);

    std::vector<Item> items_;
    // Per code (0..255): count, first and last 1-based position; positions fit in a byte
    // because at most 128 subfields are indexed.
    std::array<std::uint8_t, 256> count_{};
    std::array<std::uint8_t, 256> first_{};
    std::array<std::uint8_t, 256> last_{};
    // Next position with the same code, by position (index 0 unused); 0 ends a chain.
    std::vector<std::uint8_t> next_;
    int indexed_ =
        0;  // leading subfields the index covers (fewer than Count() after a limit error)
};

}  // namespace tesselex
