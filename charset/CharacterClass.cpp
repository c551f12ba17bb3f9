#include "charset/CharacterClass.h"

#include <algorithm>
#include <climits>

#include "charset/MapLine.h"
#include "charset/PageOutput.h"
#include "config/CodePage.h"
#include "config/EmptyOnFailure.h"
#include "config/Error.h"
#include "config/Platform.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

constexpr std::size_t kMaxKeyLength = 255;

// Lines as the text-file reader gives them: ended by CR LF or by a lone CR.
std::vector<std::u16string_view> FileLines(std::u16string_view text) {
    std::vector<std::u16string_view> lines;
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'\r') {
            lines.push_back(text.substr(start, i - start));
            if (i + 1 < text.size() && text[i + 1] == u'\n') {
                ++i;
            }
            start = i + 1;
        }
    }
    if (start < text.size()) {
        lines.push_back(text.substr(start));
    }
    return lines;
}

}  // namespace

CharacterClass::CharacterClass() = default;

void CharacterClass::ResetEntries() {
    entries_.assign(1, CharacterMapEntry{});
    loaded_ = true;
}

void CharacterClass::Load(std::u16string_view fileName) {
    ResetEntries();
    if (fileName.empty()) {
        return;
    }
    // A map that cannot be had leaves the map empty, as a map of no lines would.
    const Outcome<std::u16string> text =
        FindNoCase(fileName.substr(0, 4), u"http") != std::u16string_view::npos
            ? FetchedText(fileName)
            : FileContents(ResolveInProgramFolder(TextToPath(fileName)));
    if (!text) {
        return;
    }
    bool reverseMapping = false;
    for (std::u16string_view line : FileLines(text.Value())) {
        ParseLine(line, false, 0, reverseMapping);
    }
}

void CharacterClass::LoadFromString(std::u16string_view charmapStr, bool simple) {
    ResetEntries();
    bool reverseMapping = false;
    std::int32_t lineNumber = 0;
    for (const std::u16string& line : Split(charmapStr, u"\r\n")) {
        if (ParseLine(line, simple, lineNumber, reverseMapping)) {
            ++lineNumber;
        }
    }
}

bool CharacterClass::ParseLine(std::u16string_view line, bool simple, std::int32_t lineNumber,
                               bool& reverseMapping) {
    MapLine parsed = ParseMapLine(line);
    if (parsed.kind == MapLine::Kind::Directive) {
        if (parsed.directive == u"REVERSEDIACRITICS") {
            reverseDiacritics_ = true;
        } else if (parsed.directive == u"REVERSEMAPPING") {
            reverseMapping = true;
        }
        return false;
    }
    if (parsed.kind != MapLine::Kind::Entry) {
        return true;
    }
    std::u16string& from = reverseMapping ? parsed.right : parsed.left;
    std::u16string& to = reverseMapping ? parsed.left : parsed.right;
    if (from.empty()) {
        return true;
    }
    if (!simple) {
        AddMapping(from, to, parsed.isDiacritic, parsed.comment);
        return true;
    }
    const auto slot = static_cast<std::size_t>(lineNumber);
    if (entries_.size() < slot + 1) {
        entries_.resize(slot + 1);
    }
    CharacterMapEntry& entry = entries_[slot];
    entry.From = std::move(from);
    entry.To = std::move(to);
    entry.Comment = std::move(parsed.comment);
    entry.IsDiacritic = parsed.isDiacritic;
    return true;
}

void CharacterClass::AddMapping(const std::u16string& from, const std::u16string& to,
                                bool isDiacritic, const std::u16string& comment) {
    const unsigned char byte = CharToAnsi(from.empty() ? u'\0' : from[0]);
    if (entries_.size() >= static_cast<std::size_t>(INT32_MAX)) {
        throw Error(ErrorNumber::Overflow);
    }
    const auto n = static_cast<std::int32_t>(entries_.size());
    entries_.push_back(CharacterMapEntry{from, to, comment, isDiacritic, 0});
    if (firstCharIndex_[byte] == 0) {
        firstCharIndex_[byte] = n;
    } else {
        // A chain left by an earlier load may point past the new list: stop there.
        auto at = static_cast<std::size_t>(firstCharIndex_[byte]);
        while (at < entries_.size() && entries_[at].NextIndex != 0) {
            at = static_cast<std::size_t>(entries_[at].NextIndex);
        }
        if (at < entries_.size()) {
            entries_[at].NextIndex = n;
        }
    }
    if (from.size() > maxKeyLength_) {
        if (from.size() > kMaxKeyLength) {
            throw Error(ErrorNumber::Overflow);
        }
        maxKeyLength_ = static_cast<std::uint8_t>(from.size());
    }
}

bool CharacterClass::MatchAt(std::u16string_view& span, std::u16string_view& to,
                             bool& isDiacritic) const {
    if (span.empty()) {
        return false;
    }
    isDiacritic = false;
    const std::int32_t first = firstCharIndex_[CharToAnsi(span[0])];
    if (first == 0) {
        to = span;
        span = span.substr(0, 1);
        return false;
    }
    for (std::size_t length = span.size(); length >= 1; --length) {
        const std::u16string_view prefix = span.substr(0, length);
        for (auto at = static_cast<std::size_t>(first); at != 0 && at < entries_.size();
             at = static_cast<std::size_t>(entries_[at].NextIndex)) {
            const CharacterMapEntry& entry = entries_[at];
            if (entry.From.size() == length && entry.From == prefix) {
                to = entry.To;
                isDiacritic = entry.IsDiacritic;
                span = prefix;
                return true;
            }
        }
    }
    to = span;
    return false;
}

void CharacterClass::Map(std::u16string& text) const {
    const std::size_t n = text.size();
    // An empty map still looks at one character at a time, so it copies text unchanged.
    const std::size_t keyLength = std::max<std::size_t>(maxKeyLength_, 1);
    std::u16string out;
    out.reserve(n + n / 4);
    std::size_t i = 0;
    std::u16string_view to;
    bool isDiacritic = false;
    while (i < n) {
        std::u16string_view span = std::u16string_view(text).substr(i, keyLength);
        if (!MatchAt(span, to, isDiacritic)) {
            // After a chain without a match the whole span goes out, and the characters after
            // the first come again as i moves over them: maps rely on this.
            out += span;
            ++i;
            continue;
        }
        i += span.size();
        if (reverseDiacritics_) {
            if (isDiacritic) {
                if (out.empty()) {
                    out = to;
                } else {
                    out.insert(out.size() - 1, to);
                }
            }
            continue;
        }
        if (!isDiacritic) {
            out += to;
            continue;
        }
        // A mark needs a base character after it, and one more after that; otherwise it is
        // dropped and the rest is mapped on its own.
        if (i + 1 >= n) {
            continue;
        }
        const std::u16string_view markTo = to;
        std::u16string_view base = std::u16string_view(text).substr(i, 1);
        bool baseIsDiacritic = false;
        if (MatchAt(base, to, baseIsDiacritic)) {
            out += to;
            out += markTo;
        } else {
            out += base;
        }
        ++i;
    }
    text = std::move(out);
}

void CharacterClass::SimpleMap(std::u16string& text) const {
    for (const CharacterMapEntry& entry : entries_) {
        if (!entry.IsDiacritic && !entry.From.empty()) {
            text = ReplaceAll(text, entry.From, entry.To);
        }
    }
}

std::optional<std::int32_t> CharacterClass::CharacterCount() const {
    if (!loaded_) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(entries_.size());
}

void CharacterClass::PrintCharacterMap(PageOutput& out, std::u16string_view fromCharFontname,
                                       std::u16string_view toCharFontname,
                                       std::u16string_view commentFontname) const {
    constexpr double kFontSize = 12;
    constexpr std::int32_t kLinesPerPage = 51;
    constexpr std::int32_t kToColumn = 1000;
    constexpr std::int32_t kCommentColumn = 2000;
    // A printer error never stops the listing.
    auto attempt = [](auto&& call) { EmptyOnFailure(call); };
    std::int32_t lineHeight = 0;
    attempt([&] { out.SetFont(fromCharFontname, kFontSize); });
    attempt([&] { lineHeight = out.TextHeight(u"W"); });
    std::int32_t line = 0;
    for (const CharacterMapEntry& entry : entries_) {
        ++line;
        if (line > kLinesPerPage) {
            attempt([&] { out.NewPage(); });
            line = 1;
        }
        const std::int32_t y = line * lineHeight;
        attempt([&] {
            out.SetFont(fromCharFontname, kFontSize);
            out.PrintText(0, y, entry.From);
        });
        attempt([&] {
            out.SetFont(toCharFontname, kFontSize);
            out.PrintText(kToColumn, y, entry.To);
        });
        attempt([&] {
            out.SetFont(commentFontname, kFontSize);
            out.PrintText(kCommentColumn, y, entry.Comment + u"  " + entry.From + u"=" + entry.To);
        });
    }
    attempt([&] { out.EndDoc(); });
}

}  // namespace tesselex
