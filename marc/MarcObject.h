#pragma once
// One MARC record: its fields (the leader is the field with tag 0), reading and writing the
// ISO 2709 exchange form, typed leader access, and the display forms driven by a display
// configuration (full display, brief display, sort key).
//
// Record text in memory never holds a backslash: Import stores it as character 20 and Export
// writes it back, because the configuration texts use the backslash as their path separator.

#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "config/MessageSink.h"

namespace tesselex {

class MarcObjectFields;
class CharacterClass;
class CfgClass;

// The rows of a display: column 0 the caption, column 1 the text.
using DisplayRow = std::array<std::u16string, 2>;
using DisplayTable = std::vector<DisplayRow>;

class MarcObject {
  public:
    // The default leader of a new record; positions 21-24 are deliberately "45" and two blanks.
    static constexpr std::u16string_view DefaultLeader = u"00000naa  2200000 u 45  ";

    MarcObject();
    ~MarcObject();
    MarcObject(const MarcObject&) = delete;
    MarcObject& operator=(const MarcObject&) = delete;

    // When true, Import decodes the text of data fields from UTF-8.
    bool SourceIsUTF8 = false;

    // The leader field's value. A value that is not exactly 24 characters is ignored.
    std::u16string Leader() const;
    void SetLeader(std::u16string_view value);
    // 1-based leader positions, through the leader field's SetFieldValue / GetFieldValue.
    void SetLeaderValue(int position, std::u16string_view toValue);
    std::u16string GetLeaderValue(int position, int length) const;

    // Leader positions 7, 8 and 10. A write takes the first character of a non-empty value
    // and ignores an empty one.
    std::u16string RecordType() const;
    void SetRecordType(std::u16string_view value);
    std::u16string BibLevel() const;
    void SetBibLevel(std::u16string_view value);
    std::u16string CharacterSet() const;
    void SetCharacterSet(std::u16string_view value);

    // The last non-empty name given. Setting always starts a fresh converter, so an earlier map
    // is gone even when the new name is empty (the stored name then stays). A name without a
    // path separator is taken from the program folder.
    std::u16string CharacterMap() const { return characterMap_; }
    void SetCharacterMap(std::u16string_view charmap);
    // Kept as an empty member for callers that still use it.
    void GetCharacterMap(std::u16string_view argument);

    // The fields collection itself (shared, not a copy).
    std::shared_ptr<MarcObjectFields> MarcFields() const { return fields_; }
    int FieldCount() const;

    // Replaces the whole record by the parsed 8-bit ISO 2709 string. Never raises for malformed
    // input: missing parts read as empty.
    void Import(std::u16string_view iso2709);
    // Fields of the last Import that the collection refused: past the 1500 indexed fields (kept
    // and exported, but no lookup by tag finds them), or with subfields a field cannot index
    // (more than 128, or a code of 256 or more after UTF-8 decoding: not kept at all), or
    // directory entries past the data whose repeated text would outgrow the record's own
    // length (not kept). Callers report these so that no loss goes unnoticed.
    int RefusedFields() const noexcept { return refusedFields_; }
    // The record as an 8-bit ISO 2709 string. Encoding: 0 and 1 clean, 2 as held, 3 UTF-8 (with
    // the normalization), 4 narrow, 5 clean then VRLIN. Lengths and offsets that outgrow their
    // width are written with more digits, never clipped.
    std::u16string Export(int encoding, int normalization) const;

    // Characters 8-15 of the first 008 (the two dates) when it is longer than 16; else "".
    std::u16string PubDate() const;

    // Where loading a display configuration reports a fault (stderr when not set).
    void SetMessageSink(MessageSink messages) { messages_ = std::move(messages); }
    // The display configurations. A name without a path separator is taken from the program
    // folder. The path is kept; a missing file loads nothing.
    void OPACConfigFile(std::u16string_view fileName);
    void OPACConfigFileBrief(std::u16string_view fileName);
    std::u16string OPACConfigFilePath() const { return opacConfigPath_; }
    std::u16string OPACConfigFileBriefPath() const { return briefConfigPath_; }

    // The full display: one row per shown line, or nothing when there is no configuration or
    // no row. A tag's first row carries its caption (a blank spacer row for BlankBefore comes
    // before every tag that has it except at the very top).
    std::optional<DisplayTable> OPACDisplay() const;
    // The same display as an HTML table ("" when there is no configuration).
    std::u16string OPACDisplayHTML() const;
    // One line per record for lists: the texts of the brief configuration's rows (same rules as
    // the full display) joined with ". " (only a blank after a text that ends in ".", "?" or
    // "!"); without a brief configuration the main entry and the title (245 $a $b) so joined.
    std::u16string ShortDisplay() const;
    // The sort key from the "Sort" section of the display configuration.
    std::u16string SortString() const;
    // The main-entry field (the collection's MainEntryTag: the last 1XX, else the first 223 or 245)
    // with its subfield texts joined by blanks; "" when there is none.
    std::u16string MainEntry() const;

  private:
    std::shared_ptr<MarcObjectFields> fields_;
    std::shared_ptr<CharacterClass> charClass_;
    std::u16string characterMap_;
    int refusedFields_ = 0;
    std::shared_ptr<CfgClass> opacConfig_;
    std::u16string opacConfigPath_;
    std::shared_ptr<CfgClass> briefConfig_;
    std::u16string briefConfigPath_;
    MessageSink messages_;
};

}  // namespace tesselex
