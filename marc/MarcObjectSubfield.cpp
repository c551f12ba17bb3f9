#include "marc/MarcObjectSubfield.h"

#include <cstddef>

#include "config/Error.h"
#include "config/Strings.h"

namespace tesselex {

namespace {

constexpr char16_t kBackslashStandIn = 20;

}  // namespace

MarcObjectSubfield::MarcObjectSubfield(char16_t code, std::u16string_view value)
    : Fieldname(code), value_(Trim(value)) {}

std::u16string MarcObjectSubfield::Value() const {
    std::u16string shown = value_;
    for (char16_t& ch : shown) {
        if (ch == kBackslashStandIn) {
            ch = u'\\';
        }
    }
    return shown;
}

void MarcObjectSubfield::SetValue(std::u16string_view value) {
    value_ = Trim(value);
}

void MarcObjectSubfield::Append(std::u16string_view appendData, bool ifNotExists) {
    if (ifNotExists && (appendData.empty() || std::u16string_view(value_).ends_with(appendData))) {
        return;
    }
    value_ += appendData;
}

void MarcObjectSubfield::InsertBefore(std::u16string_view insertData, bool ifNotExists) {
    if (ifNotExists &&
        (insertData.empty() || std::u16string_view(value_).starts_with(insertData))) {
        return;
    }
    value_.insert(0, insertData);
}

int MarcObjectSubfield::Substring(std::u16string_view whatStr) const {
    return InStrNoCase(value_, whatStr);
}

std::optional<int> MarcObjectSubfield::Substring(const std::vector<std::u16string>& whatStr) const {
    for (std::size_t i = 0; i < whatStr.size(); ++i) {
        if (InStrNoCase(value_, whatStr[i]) > 0) {
            return static_cast<int>(i) + 1;
        }
    }
    return std::nullopt;
}

std::u16string MarcObjectSubfield::MapCodes(std::u16string_view codeMap,
                                            std::u16string_view separator) const {
    // Keys compare without letter case and the first entry for a key wins. Only one-character
    // sources can match a character; "*" doubles as the default for unmapped characters.
    struct Mapping {
        char16_t key;
        std::u16string replacement;
    };
    std::vector<Mapping> mappings;
    const auto find = [&mappings](char16_t key) -> const std::u16string* {
        for (const Mapping& m : mappings) {
            if (m.key == key) {
                return &m.replacement;
            }
        }
        return nullptr;
    };
    for (const std::u16string& entry : Split(codeMap, separator)) {
        const std::size_t eq = entry.find(u'=');
        if (eq != 1) {
            continue;  // no "=", or a source that is not one character
        }
        const char16_t key = ToLowerChar(entry[0]);
        if (find(key) == nullptr) {
            mappings.push_back({key, entry.substr(2)});
        }
    }
    std::u16string copy = value_;
    if (mappings.empty()) {
        return copy;
    }
    const std::u16string* fallback = find(u'*');
    for (char16_t& ch : copy) {
        const std::u16string* replacement = find(ToLowerChar(ch));
        if (replacement == nullptr) {
            replacement = fallback;
        }
        if (replacement != nullptr && replacement->size() == 1) {
            ch = (*replacement)[0];
        }
    }
    return copy;
}

std::u16string MarcObjectSubfield::FilingValue(int filingChar, int filingPos) const {
    const int length = static_cast<int>(value_.size());
    if (filingPos > 1 && filingPos <= length) {
        return value_.substr(static_cast<std::size_t>(filingPos - 1));
    }
    if (filingChar < 0 || filingChar > 0xFFFF) {
        throw Error(ErrorNumber::InvalidArgument);
    }
    const std::size_t at = value_.find(static_cast<char16_t>(filingChar));
    if (at == std::u16string::npos) {
        return value_;
    }
    return Trim(std::u16string_view(value_).substr(at + 1));
}

std::u16string MarcObjectSubfield::LeftString(int length) const {
    if (length <= 0) {
        return {};
    }
    return value_.substr(0, static_cast<std::size_t>(length));
}

std::u16string MarcObjectSubfield::RightString(int length) const {
    if (length <= 0) {
        return {};
    }
    const std::size_t n = static_cast<std::size_t>(length);
    return n >= value_.size() ? value_ : value_.substr(value_.size() - n);
}

int MarcObjectSubfield::LastInStr(std::u16string_view firstString,
                                  std::u16string_view secondString) const {
    const auto lastAt = [this](std::u16string_view what) -> long long {
        if (what.empty()) {
            return -1;
        }
        const std::size_t at = value_.rfind(what);
        return at == std::u16string::npos ? -1 : static_cast<long long>(at);
    };
    const long long first = lastAt(firstString);
    const long long second = lastAt(secondString);
    if (first == second) {
        return 0;
    }
    return first > second ? 1 : 2;
}

}  // namespace tesselex
