#pragma once
// One field of a record: a three-digit tag, two indicators, and either a fixed-length text
// (FixedLength > 0) or subfields held in the field's own MarcObjectSubfields.
//
// Characters with a meaning inside the contents: 31 delimits subfields (31, code, value), 20
// stands for a backslash (shown as one by Value(), never converted back), and "_" given as an
// indicator means a blank. Set FixedLength before Tag and Value: both look at it.
//
// The subfields of a text given to SetValue are parsed when they are first needed; every result
// (including the limit errors SetValue raises) is the same as parsing at once.

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marc/MarcObjectSubfields.h"

namespace tesselex {

class MarcObjectFields;

class MarcObjectField {
  public:
    MarcObjectField();

    // The character DisplayValue shows in place of each delimiter; 0 until set. Negative
    // numbers are ignored.
    int SubfieldCharacter4Display() const noexcept { return displayChar_; }
    void SetSubfieldCharacter4Display(int characterCode);

    // The field's own subfield collection, made on first use.
    std::shared_ptr<MarcObjectSubfields> Subfields();

    // Tag as three digits ("008"); empty until set. Setting reads the leading number of a text;
    // 0 is ignored unless the field has a FixedLength (so only fixed fields can be "000").
    const std::u16string& Tag() const noexcept { return tag_; }
    void SetTag(int tag);
    void SetTag(std::u16string_view tag);
    // The tag's numeric value (0 for an empty tag).
    int TagNumber() const noexcept { return tagNumber_; }

    int FixedLength() const noexcept { return fixedLength_; }
    // Rounded to the nearest integer (halves to even); beyond 32 bits raises Error(Overflow).
    void SetFixedLength(double length);

    // The text form: for a field with subfields, rebuilt from them (empty subfields left out);
    // otherwise the contents. Character 20 is shown as a backslash.
    std::u16string Value();
    // A field with subfields stores the text and rebuilds its subfields from it; a fixed field
    // stores it left-aligned, padded or cut to FixedLength.
    void SetValue(std::u16string_view value);
    // Value() with each delimiter shown as SubfieldCharacter4Display.
    std::u16string DisplayValue();

    // Indicator 1 or 2 (0 reads as 1, anything above 2 as 2). A fixed-length field answers an
    // empty text. Setting keeps one character; empty text and "_" become a blank.
    std::u16string Indicator(int whatInd) const;
    void SetIndicator(int whatInd, std::u16string_view value);
    static int NormaliseIndicator(int whatInd) noexcept;

    // True when the code (first character, compared in lower case) occurs at least `count`
    // times; an empty code gives false.
    bool SubfieldExists(std::u16string_view subfield, int count = 1);
    // Writes the first of the codes that occurs to subfieldFound. Answers true whenever codes
    // were given, found or not (callers read subfieldFound); false only for empty codes.
    bool SubfieldsExist(std::u16string_view subfields, std::u16string& subfieldFound);

    // Empties the subfields and the contents.
    void Clear();
    // Removes every occurrence of the characters (ignoring letter case) from the text form and
    // rebuilds the subfields from what is left.
    void RemoveChars(std::u16string_view chars2Remove);

    // Fixed-length fields only: overwrite from a 1-based position / read a part. When the part
    // would end beyond FixedLength nothing changes / nothing is given; otherwise a position
    // below 1 (or a negative length) raises Error(InvalidArgument).
    void SetFieldValue(int position, std::u16string_view text);
    std::optional<std::u16string> GetFieldValue(int position, int length) const;
    // The values of all subfields joined by one blank, trimmed.
    std::u16string GetFieldContents();

    // On the stored contents, ignoring letter case: the 1-based position of the text or 0; for a
    // list, the position of the first of its texts that occurs, or nothing.
    int Substring(std::u16string_view whatStr) const;
    std::optional<int> Substring(const std::vector<std::u16string>& whatStr) const;
    // True when the stored contents begin with the text, ignoring letter case.
    bool LeftString(std::u16string_view text) const;

    // The field as ISBD text. isbdDef lists "code=punctuation" entries split at `separator`;
    // each subfield with a value is written behind its code's punctuation (the first one
    // without it), a punctuation mark the text already ends with is not doubled, and codes
    // without an entry are written behind a blank or, with onlyListed, left out.
    std::u16string ISBD(std::u16string_view isbdDef, std::u16string_view separator = u"|",
                        bool onlyListed = false);
    // The values of the subfields whose codes are listed, in field order, joined by a blank and
    // trimmed (empty ones left out). A leading "@" inverts the list ("@" alone selects every
    // subfield, "@68" all but $6 and $8).
    std::u16string SelectFieldsFrom(std::u16string_view codes);
    // True when some subfield contains one of the characters: entries "codes=characters" are
    // split at "|"; codes "*", empty codes or an entry without "=" mean every subfield.
    bool CharInSubfields(std::u16string_view entries);

  private:
    friend class MarcObjectFields;

    // The contents as Value() reads them, before character 20 is shown as a backslash.
    const std::u16string& RefreshContents();
    void StoreSubfieldText(std::u16string&& text);
    void ScanPending();
    void Materialise();
    std::shared_ptr<MarcObjectField> Clone() const;

    // The collection holding the field (null when detached): told when the tag changes.
    MarcObjectFields* owner_ = nullptr;
    std::u16string tag_;
    int tagNumber_ = 0;
    char16_t indicators_[2] = {u' ', u' '};
    int fixedLength_ = 0;
    int displayChar_ = 0;
    std::u16string contents_;
    std::shared_ptr<MarcObjectSubfields> subfields_;
    // contents_ holds a text whose subfields (at least one) are not yet made, which only
    // happens while subfields_ is null; canonical: rebuilding from them gives back contents_.
    bool pending_ = false;
    bool pendingCanonical_ = false;
};

}  // namespace tesselex
