#pragma once
// A sectioned configuration text in memory: section names and an ordered list of items, each
// with a full key (section name, backslash, key name) and a text value. Request tables,
// old-style settings files and display configurations are all read through it. Look-ups are
// case-insensitive; keys and values are kept exactly as they stood.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "config/MessageSink.h"

namespace tesselex {

class CfgRecord {
  public:
    std::u16string Value;
    std::u16string Key;
    // The value as a yes/no switch: non-zero numbers and texts beginning with Y, J or T (either
    // case) are true; empty, zero and everything else are false.
    bool IsTrue() const;
};
using CfgRecordPtr = std::shared_ptr<CfgRecord>;

class CfgClass {
  public:
    // The sink shows what loading reports (a key given twice); stderr when none is given.
    explicit CfgClass(MessageSink messages = {}) : messages_(std::move(messages)) {}

    // Section names in the order of their headers.
    const std::vector<std::u16string>& Sections() const { return sections_; }

    // Counts are 16-bit: more than 32,767 entries raise the overflow error.
    std::int16_t Itemcount() const;
    std::int16_t SectionCount() const;
    // The section name at a 1-based position; "" outside 1..SectionCount.
    std::u16string Section(int which) const;
    // The value of the first item of a section whose key name occurs inside `what` (both
    // compared upper-cased; the section is a plain prefix of the full key); "" when none.
    std::u16string Locate(std::u16string_view what, std::u16string_view section) const;

    // Never fails: an unknown key or position gives a fresh empty record. A text that is
    // numeric selects by position; a text without a backslash gets one in front, so a bare key
    // name finds the item read before any header. The stored record is returned: a change to
    // its Value changes the configuration.
    CfgRecordPtr Item(int which) const;
    CfgRecordPtr Item(std::u16string_view which) const;

    // Appends one item; a full key that exists already is reported through the message sink
    // (title "Error in configuration") and the first item stays.
    void Add(std::u16string_view value, std::u16string_view keyName,
             std::u16string_view sectionName);
    // Unknown keys and positions are ignored. No backslash is put in front of a bare key.
    void Remove(int which);
    void Remove(std::u16string_view which);
    void Change(int which, std::u16string_view toWhat);
    void Change(std::u16string_view which, std::u16string_view toWhat);

    // Reads a configuration text held in memory (line ends normalised to CR LF as described in
    // the header of CfgClass.cpp), adding to what is held.
    void LoadFromString(std::u16string_view cfgString);
    // Reads a file (Windows-1252 text) or the reply of an http:// or https:// address, adding
    // to what is held. A missing file or failed fetch adds nothing and reports nothing.
    // A duplicate section header raises the duplicate-key error; the items read before stay.
    void Load(std::u16string_view fromFile);
    // Writes every item as "full key=value" CR LF, in item order, as Windows-1252.
    // An empty name writes nothing; a file that cannot be written raises.
    void Save(std::u16string_view toFile) const;

    // Element 0 empty, then the key names of the items whose full key begins with the section.
    std::vector<std::u16string> SectionItems(std::u16string_view section) const;
    bool SectionExists(std::u16string_view section) const;

  private:
    // Position of an item (items_.size() when there is none).
    std::size_t IndexOf(std::u16string_view fullKey) const;
    std::size_t IndexOf(int position) const;
    void RemoveAt(std::size_t index);
    void AddSection(const std::u16string& name);
    void ReadLine(std::u16string_view line, std::u16string& currentSection);
    void ReadText(std::u16string_view text);

    MessageSink messages_;
    std::vector<std::u16string> sections_;
    std::vector<CfgRecordPtr> items_;
    // Full keys and section names folded to lower case, for the case-insensitive look-ups.
    std::unordered_map<std::u16string, std::size_t> itemIndex_;
    std::unordered_map<std::u16string, std::size_t> sectionIndex_;
    std::u16string rememberedFile_;
};

}  // namespace tesselex
