#include "marc/MarcObjectField.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "config/Error.h"
#include "config/Strings.h"
#include "marc/MarcObjectFields.h"
#include "marc/SubfieldText.h"

namespace tesselex {

namespace {

constexpr char16_t kBackslashStandIn = 20;

std::u16string ShowBackslashes(std::u16string text) {
    std::replace(text.begin(), text.end(), kBackslashStandIn, u'\\');
    return text;
}

char16_t CharacterOf(int code) {
    if (code < 0 || code > 0xFFFF) {
        throw Error(ErrorNumber::InvalidArgument);
    }
    return static_cast<char16_t>(code);
}

}  // namespace

MarcObjectField::MarcObjectField() = default;

void MarcObjectField::SetSubfieldCharacter4Display(int characterCode) {
    if (characterCode >= 0) {
        displayChar_ = characterCode;
    }
}

std::shared_ptr<MarcObjectSubfields> MarcObjectField::Subfields() {
    if (!subfields_) {
        subfields_ = std::make_shared<MarcObjectSubfields>();
        if (pending_) {
            pending_ = false;
            subfields_->Parse(contents_);
        }
    }
    return subfields_;
}

void MarcObjectField::SetTag(int tag) {
    if (tag == 0 && fixedLength_ == 0) {
        return;
    }
    tag_ = FormatNumber(tag, 3);
    if (owner_ != nullptr && tag != tagNumber_) {
        owner_->stale_ = true;
    }
    tagNumber_ = tag;
}

void MarcObjectField::SetTag(std::u16string_view tag) {
    const long long number = ValInteger(tag);
    if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max()) {
        throw Error(ErrorNumber::Overflow);
    }
    SetTag(static_cast<int>(number));
}

void MarcObjectField::SetFixedLength(double length) {
    const double rounded = std::nearbyint(length);
    if (!(rounded >= std::numeric_limits<int>::min() &&
          rounded <= std::numeric_limits<int>::max())) {
        throw Error(ErrorNumber::Overflow);
    }
    fixedLength_ = static_cast<int>(rounded);
}

const std::u16string& MarcObjectField::RefreshContents() {
    if (fixedLength_ != 0) {
        return contents_;
    }
    if (pending_) {
        if (pendingCanonical_) {
            return contents_;  // rebuilding from the parse would give this very text
        }
        Materialise();
    }
    if (subfields_ && subfields_->Count() >= 1) {
        contents_.clear();
        for (const auto& sub : *subfields_) {
            const std::u16string& stored = sub->StoredValue();
            if (stored.empty()) {
                continue;
            }
            contents_ += kSubfieldDelimiter;
            contents_ += sub->Fieldname;
            const std::size_t from = contents_.size();
            contents_ += stored;
            std::replace(contents_.begin() + static_cast<std::ptrdiff_t>(from), contents_.end(),
                         kBackslashStandIn, u'\\');
        }
    }
    return contents_;
}

std::u16string MarcObjectField::Value() {
    const bool rebuilt =
        fixedLength_ == 0 && (pending_ || (subfields_ && subfields_->Count() >= 1));
    const std::u16string& contents = RefreshContents();
    // A canonical pending text holds no character 20 and a rebuilt one has shown them already.
    return rebuilt ? contents : ShowBackslashes(contents);
}

void MarcObjectField::SetValue(std::u16string_view value) {
    if (fixedLength_ >= 1) {
        Materialise();  // the subfields keep what the last text gave them
        const auto length = static_cast<std::size_t>(fixedLength_);
        contents_.assign(value.substr(0, length));
        contents_.resize(length, u' ');
        return;
    }
    StoreSubfieldText(std::u16string(value));
}

void MarcObjectField::StoreSubfieldText(std::u16string&& text) {
    contents_ = std::move(text);
    if (subfields_) {
        pending_ = false;
        subfields_->Parse(contents_);
        return;
    }
    ScanPending();
}

void MarcObjectField::ScanPending() {
    // Learn what the parse would give without making the subfields: how many, whether one of
    // them breaks an index limit (then parse now, so the error is raised here), and whether
    // rebuilding the text from them would give back the same text. One pass, as the
    // subfield walk splits the text (ForEachSubfieldText).
    const char16_t* text = contents_.data();
    const std::size_t size = contents_.size();
    int count = 0;
    bool overLimit = false;
    bool standIn = false;
    std::size_t at = 0;
    while (at < size && text[at] != kSubfieldDelimiter) {
        standIn = standIn || text[at] == kBackslashStandIn;
        ++at;
    }
    bool canonical = at == 0;
    while (at < size) {
        if (at + 1 == size) {
            canonical = false;  // a final delimiter without a code
            break;
        }
        const char16_t code = text[at + 1];
        ++count;
        overLimit = overLimit || code >= 256;
        standIn = standIn || code == kBackslashStandIn;
        const std::size_t from = at + 2;
        at = from;
        while (at < size && text[at] != kSubfieldDelimiter) {
            standIn = standIn || text[at] == kBackslashStandIn;
            ++at;
        }
        canonical = canonical && at > from && text[from] != u' ' && text[at - 1] != u' ';
    }
    overLimit = overLimit || count > MarcObjectSubfields::MaxIndexed;
    pending_ = count > 0;
    pendingCanonical_ = canonical && !standIn;
    if (overLimit) {
        Materialise();
    }
}

void MarcObjectField::Materialise() {
    if (pending_) {
        Subfields();
    }
}

std::u16string MarcObjectField::DisplayValue() {
    const char16_t shown = CharacterOf(displayChar_);
    std::u16string text = Value();
    std::replace(text.begin(), text.end(), kSubfieldDelimiter, shown);
    return text;
}

int MarcObjectField::NormaliseIndicator(int whatInd) noexcept {
    return whatInd >= 2 ? 2 : 1;
}

std::u16string MarcObjectField::Indicator(int whatInd) const {
    if (fixedLength_ >= 1) {
        return {};
    }
    return std::u16string(1, indicators_[NormaliseIndicator(whatInd) - 1]);
}

void MarcObjectField::SetIndicator(int whatInd, std::u16string_view value) {
    char16_t ch = value.empty() ? u' ' : value.front();
    if (ch == u'_') {
        ch = u' ';
    }
    indicators_[NormaliseIndicator(whatInd) - 1] = ch;
}

bool MarcObjectField::SubfieldExists(std::u16string_view subfield, int count) {
    if (subfield.empty()) {
        return false;
    }
    return Subfields()->SubfieldOcc(ToLowerChar(subfield.front())) >= count;
}

bool MarcObjectField::SubfieldsExist(std::u16string_view subfields, std::u16string& subfieldFound) {
    if (subfields.empty()) {
        return false;
    }
    const auto collection = Subfields();
    for (const char16_t code : subfields) {
        if (collection->SubfieldOcc(code) >= 1) {
            subfieldFound.assign(1, code);
            break;
        }
    }
    return true;
}

void MarcObjectField::Clear() {
    if (subfields_) {
        subfields_->Clear();
    }
    pending_ = false;
    contents_.clear();
}

void MarcObjectField::RemoveChars(std::u16string_view chars2Remove) {
    std::u16string text = RefreshContents();
    std::u16string folded;
    for (const char16_t ch : chars2Remove) {
        folded += ToLowerChar(ch);
    }
    std::erase_if(text, [&folded](char16_t ch) {
        return folded.find(ToLowerChar(ch)) != std::u16string::npos;
    });
    SetValue(text);
}

void MarcObjectField::SetFieldValue(int position, std::u16string_view text) {
    if (fixedLength_ == 0 ||
        static_cast<long long>(position) - 1 + static_cast<long long>(text.size()) > fixedLength_) {
        return;
    }
    if (position < 1) {
        throw Error(ErrorNumber::InvalidArgument);
    }
    Materialise();
    const auto from = static_cast<std::size_t>(position - 1);
    if (from >= contents_.size()) {
        return;
    }
    const std::size_t n = std::min(text.size(), contents_.size() - from);
    std::copy_n(text.begin(), n, contents_.begin() + static_cast<std::ptrdiff_t>(from));
}

std::optional<std::u16string> MarcObjectField::GetFieldValue(int position, int length) const {
    if (fixedLength_ == 0 ||
        static_cast<long long>(position) - 1 + static_cast<long long>(length) > fixedLength_) {
        return std::nullopt;
    }
    if (position < 1 || length < 0) {
        throw Error(ErrorNumber::InvalidArgument);
    }
    const auto from = static_cast<std::size_t>(position - 1);
    if (from >= contents_.size()) {
        return std::u16string();
    }
    return contents_.substr(from, static_cast<std::size_t>(length));
}

std::u16string MarcObjectField::GetFieldContents() {
    std::u16string joined;
    bool first = true;
    for (const auto& sub : *Subfields()) {
        if (!first) {
            joined += u' ';
        }
        first = false;
        joined += sub->Value();
    }
    return Trim(joined);
}

int MarcObjectField::Substring(std::u16string_view whatStr) const {
    return InStrNoCase(contents_, whatStr);
}

std::optional<int> MarcObjectField::Substring(const std::vector<std::u16string>& whatStr) const {
    for (const std::u16string& what : whatStr) {
        const int at = InStrNoCase(contents_, what);
        if (at > 0) {
            return at;
        }
    }
    return std::nullopt;
}

bool MarcObjectField::LeftString(std::u16string_view text) const {
    return StartsWithNoCase(contents_, text);
}

std::u16string MarcObjectField::ISBD(std::u16string_view isbdDef, std::u16string_view separator,
                                     bool onlyListed) {
    struct Punctuation {
        char16_t code;
        std::u16string mark;
    };
    std::vector<Punctuation> marks;
    for (const std::u16string& entry : Split(isbdDef, separator)) {
        if (entry.size() >= 2 && entry[1] == u'=') {
            marks.push_back({entry[0], entry.substr(2)});
        }
    }
    std::u16string text;
    for (const auto& sub : *Subfields()) {
        const std::u16string value = sub->Value();
        if (value.empty()) {
            continue;
        }
        const auto listed = std::find_if(marks.begin(), marks.end(), [&sub](const Punctuation& p) {
            return p.code == sub->Fieldname;
        });
        if (listed == marks.end() && onlyListed) {
            continue;
        }
        if (!text.empty()) {
            const std::u16string mark = listed == marks.end() ? u" " : listed->mark;
            // A title that already ends in "." needs no second full stop before the next part.
            const std::u16string lead = TrimLeft(mark);
            const std::u16string written = TrimRight(text);
            if (!lead.empty() && !written.empty() && written.back() == lead.front()) {
                text = written + lead.substr(1);
            } else {
                text += mark;
            }
        }
        text += value;
    }
    return text;
}

std::u16string MarcObjectField::SelectFieldsFrom(std::u16string_view codes) {
    const bool inverted = !codes.empty() && codes.front() == u'@';
    if (inverted) {
        codes.remove_prefix(1);
    }
    std::u16string joined;
    for (const auto& sub : *Subfields()) {
        const bool listed = codes.find(sub->Fieldname) != std::u16string_view::npos;
        if (listed == inverted || sub->StoredValue().empty()) {
            continue;
        }
        if (!joined.empty()) {
            joined += u' ';
        }
        joined += sub->Value();
    }
    return Trim(joined);
}

bool MarcObjectField::CharInSubfields(std::u16string_view entries) {
    const auto collection = Subfields();
    for (const std::u16string& entry : Split(entries, u"|")) {
        const std::size_t eq = entry.find(u'=');
        const std::u16string_view codes = eq == std::u16string::npos
                                              ? std::u16string_view()
                                              : std::u16string_view(entry).substr(0, eq);
        const std::u16string_view chars = eq == std::u16string::npos
                                              ? std::u16string_view(entry)
                                              : std::u16string_view(entry).substr(eq + 1);
        const bool everyCode = codes.empty() || codes == u"*";
        for (const auto& sub : *collection) {
            if (!everyCode && codes.find(sub->Fieldname) == std::u16string_view::npos) {
                continue;
            }
            if (sub->Value().find_first_of(chars) != std::u16string::npos) {
                return true;
            }
        }
    }
    return false;
}

std::shared_ptr<MarcObjectField> MarcObjectField::Clone() const {
    auto copy = std::make_shared<MarcObjectField>();
    copy->tag_ = tag_;
    copy->tagNumber_ = tagNumber_;
    copy->indicators_[0] = indicators_[0];
    copy->indicators_[1] = indicators_[1];
    copy->fixedLength_ = fixedLength_;
    copy->displayChar_ = displayChar_;
    copy->contents_ = contents_;
    copy->pending_ = pending_;
    copy->pendingCanonical_ = pendingCanonical_;
    if (subfields_) {
        copy->subfields_ = subfields_->Clone();
    }
    return copy;
}

}  // namespace tesselex
