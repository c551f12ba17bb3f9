// The configuration text. Reading rules, in short:
// - a line ends at CR LF or at a lone CR; a lone LF is part of the line;
// - a line whose blank-trimmed form is "[...]" starts a section; a line whose first "=" stands
//   after its first character is an item (key name before it, value behind it, both untouched);
//   a line can be both, and every other line is ignored;
// - LoadFromString first makes line ends uniform (NormaliseLineEnds), then reads the text as
//   Load reads a Windows-1252 file holding it.
// Look-ups fold keys to lower case; keys and values are stored as they stood.

#include "config/CfgClass.h"

#include <limits>

#include "config/CodePage.h"
#include "config/Error.h"
#include "config/MessageSink.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

constexpr std::size_t kMaxCount = std::numeric_limits<std::int16_t>::max();

std::int16_t CountOf(std::size_t count) {
    if (count > kMaxCount) {
        throw Error(ErrorNumber::Overflow);
    }
    return static_cast<std::int16_t>(count);
}

}  // namespace

bool CfgRecord::IsTrue() const {
    if (Value.empty()) {
        return false;
    }
    if (IsNumeric(Value)) {
        return Val(Value) != 0.0;
    }
    switch (Value.front()) {
        case u'Y':
        case u'y':
        case u'J':
        case u'j':
        case u'T':
        case u't':
            return true;
        default:
            return false;
    }
}

std::int16_t CfgClass::Itemcount() const {
    return CountOf(items_.size());
}

std::int16_t CfgClass::SectionCount() const {
    return CountOf(sections_.size());
}

std::u16string CfgClass::Section(int which) const {
    if (which < 1 || static_cast<std::size_t>(which) > sections_.size()) {
        return {};
    }
    return sections_[static_cast<std::size_t>(which - 1)];
}

std::u16string CfgClass::Locate(std::u16string_view what, std::u16string_view section) const {
    const std::u16string wantedSection = ToUpper(section);
    const std::u16string text = ToUpper(what);
    for (const auto& item : items_) {
        const std::u16string key = ToUpper(item->Key);
        if (key.compare(0, wantedSection.size(), wantedSection) != 0) {
            continue;
        }
        const std::size_t slash = key.rfind(u'\\');
        const std::u16string_view keyName = slash == std::u16string::npos
                                                ? std::u16string_view(key)
                                                : std::u16string_view(key).substr(slash + 1);
        if (text.find(keyName) != std::u16string::npos) {
            return item->Value;
        }
    }
    return {};
}

std::size_t CfgClass::IndexOf(std::u16string_view fullKey) const {
    const auto it = itemIndex_.find(ToLower(fullKey));
    return it == itemIndex_.end() ? items_.size() : it->second;
}

std::size_t CfgClass::IndexOf(int position) const {
    if (position < 1 || static_cast<std::size_t>(position) > items_.size()) {
        return items_.size();
    }
    return static_cast<std::size_t>(position - 1);
}

CfgRecordPtr CfgClass::Item(int which) const {
    const std::size_t index = IndexOf(which);
    return index < items_.size() ? items_[index] : std::make_shared<CfgRecord>();
}

CfgRecordPtr CfgClass::Item(std::u16string_view which) const {
    if (IsNumeric(which)) {
        const long long position = ValInteger(which);
        if (position < 1 || position > static_cast<long long>(items_.size())) {
            return std::make_shared<CfgRecord>();
        }
        return Item(static_cast<int>(position));
    }
    if (which.find(u'\\') == std::u16string_view::npos) {
        // A bare key name means the item read before any section header.
        return Item(u"\\" + std::u16string(which));
    }
    const std::size_t index = IndexOf(which);
    return index < items_.size() ? items_[index] : std::make_shared<CfgRecord>();
}

void CfgClass::Add(std::u16string_view value, std::u16string_view keyName,
                   std::u16string_view sectionName) {
    auto record = std::make_shared<CfgRecord>();
    record->Value = value;
    record->Key.reserve(sectionName.size() + 1 + keyName.size());
    record->Key.append(sectionName).append(u"\\").append(keyName);
    const auto [it, added] = itemIndex_.try_emplace(ToLower(record->Key), items_.size());
    if (!added) {
        // The first item of a key wins; the clash is shown and loading goes on.
        (messages_ ? messages_ : MessageSink(WriteMessageToStderr))(
            u"Error in configuration",
            record->Key + u"\r\n" + FromAscii(Error::DescriptionOf(ErrorNumber::DuplicateKey)));
        return;
    }
    items_.push_back(std::move(record));
}

void CfgClass::RemoveAt(std::size_t index) {
    if (index >= items_.size()) {
        return;
    }
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(index));
    // Positions behind the removed item move down by one; keys are re-derived from the index.
    for (auto it = itemIndex_.begin(); it != itemIndex_.end();) {
        if (it->second == index) {
            it = itemIndex_.erase(it);
        } else {
            if (it->second > index) {
                --it->second;
            }
            ++it;
        }
    }
}

void CfgClass::Remove(int which) {
    RemoveAt(IndexOf(which));
}

void CfgClass::Remove(std::u16string_view which) {
    RemoveAt(IndexOf(which));
}

void CfgClass::Change(int which, std::u16string_view toWhat) {
    if (const std::size_t index = IndexOf(which); index < items_.size()) {
        items_[index]->Value = toWhat;
    }
}

void CfgClass::Change(std::u16string_view which, std::u16string_view toWhat) {
    if (const std::size_t index = IndexOf(which); index < items_.size()) {
        items_[index]->Value = toWhat;
    }
}

void CfgClass::AddSection(const std::u16string& name) {
    if (!sectionIndex_.try_emplace(ToLower(name), sections_.size()).second) {
        throw Error(ErrorNumber::DuplicateKey);
    }
    sections_.push_back(name);
}

void CfgClass::ReadLine(std::u16string_view line, std::u16string& currentSection) {
    const std::u16string trimmed = Trim(line);
    if (trimmed.size() >= 2 && trimmed.front() == u'[' && trimmed.back() == u']') {
        std::u16string name = trimmed.substr(1, trimmed.size() - 2);
        AddSection(name);
        currentSection = std::move(name);
    }
    const std::size_t equals = line.find(u'=');
    if (equals != std::u16string_view::npos && equals >= 1) {
        Add(line.substr(equals + 1), line.substr(0, equals), currentSection);
    }
}

void CfgClass::ReadText(std::u16string_view text) {
    std::u16string currentSection;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find(u'\r', start);
        if (end == std::u16string_view::npos) {
            end = text.size();
        }
        ReadLine(text.substr(start, end - start), currentSection);
        start = end + 1;
        if (start < text.size() && text[start] == u'\n') {
            ++start;  // CR LF is one line end
        }
    }
}

void CfgClass::LoadFromString(std::u16string_view cfgString) {
    const std::u16string text = NormaliseLineEnds(cfgString) + u"\r\n";
    // Read exactly as the same text saved to a file would be: through the code page, so a
    // character it cannot hold reads as "?".
    ReadText(AnsiToText(TextToAnsi(text)));
}

void CfgClass::Load(std::u16string_view fromFile) {
    const bool address = FindNoCase(fromFile, u"http://") != std::u16string_view::npos ||
                         FindNoCase(fromFile, u"https://") != std::u16string_view::npos;
    // A file or a reply that cannot be had loads nothing, as the text's query operations fail.
    const Outcome<std::u16string> text =
        address ? FetchedText(fromFile) : FileContents(TextToPath(fromFile));
    if (text) {
        ReadText(text.Value());
    }
}

void CfgClass::Save(std::u16string_view toFile) const {
    const std::u16string name = rememberedFile_.empty() ? std::u16string(toFile) : rememberedFile_;
    if (name.empty()) {
        return;
    }
    std::u16string text;
    for (const auto& item : items_) {
        text.append(item->Key).append(u"=").append(item->Value).append(u"\r\n");
    }
    if (!WriteFileContents(TextToPath(name), text)) {
        throw Error(ErrorNumber::InvalidArgument, "Path/File access error: " + TextToUtf8(name));
    }
}

std::vector<std::u16string> CfgClass::SectionItems(std::u16string_view section) const {
    std::vector<std::u16string> names(1);
    const std::u16string wanted = ToUpper(section);
    for (const auto& item : items_) {
        const std::u16string key = ToUpper(item->Key);
        if (key.compare(0, wanted.size(), wanted) == 0) {
            const std::size_t from = section.size() + 1;
            names.push_back(from < item->Key.size() ? item->Key.substr(from) : std::u16string());
        }
    }
    return names;
}

bool CfgClass::SectionExists(std::u16string_view section) const {
    const auto it = sectionIndex_.find(ToLower(section));
    return it != sectionIndex_.end() && !sections_[it->second].empty();
}

}  // namespace tesselex
