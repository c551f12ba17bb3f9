#pragma once
// The cataloguer's export options, in the export's own words: what each request is built from
// (in this order, each under its request-table tag) and where the records go. A front end shows
// and edits these; the rules between them (an FTP server locks one-at-a-time) stay in the engine.

#include <array>
#include <string>
#include <string_view>
#include <variant>

namespace tesselex {

// The organisation code written to field 003 (its request-table tag: f003).
enum class Code003 { SeTesl = 0, Tessel = 1 };
// Where holdings (tag holdings) and authorities (tag auth) go relative to the bib record.
enum class Placement { Interleaved = 0, After = 1, None = 2 };
// The character set and normalisation of the exported records (tag charset).
enum class Characters { Latin1 = 0, Utf8Latin1Composed = 1, Utf8Composed = 2, Utf8Decomposed = 3 };

// The texts a front end lists for each choice, in the order of the enumerations above.
inline constexpr std::array<std::u16string_view, 2> Code003Texts = {u"SE-TESL", u"TESSEL"};
inline constexpr std::array<std::u16string_view, 3> AuthoritiesTexts = {
    u"Referenser (9XX)", u"Separata", u"Inga"};
inline constexpr std::array<std::u16string_view, 3> HoldingsTexts = {
    u"Sammanslaget med bib-post", u"Separat", u"Inget"};
inline constexpr std::array<std::u16string_view, 4> CharactersTexts = {
    u"ISO-8859-1 (Latin 1)", u"UTF-8 (Latin 1 prekomponerad)", u"UTF-8 Prekomponerad",
    u"UTF-8 Dekomponerad"};

// One option each; the value type of each is fixed (see OptionValue).
enum class Option {
    Code003,         // Code003
    Authorities,     // Placement
    Holdings,        // Placement
    Characters,      // Characters
    Change035,       // bool: 035$9 becomes 035$a (tag change035)
    IsbnNoHyphens,   // bool: ISBN without hyphens (tag isbn)
    Subjects,        // text: the chosen subject systems (tag subjects)
    Libraries,       // text: the library codes (tag locations)
    Destination,     // text: the destination file pattern (not in the request)
    OneAtATime,      // bool: empty the destination before each export (not in the request)
};

using OptionValue = std::variant<bool, Code003, Placement, Characters, std::u16string>;

struct ExportOptions {
    Code003 Code = Code003::Tessel;
    Placement Authorities = Placement::Interleaved;
    Placement Holdings = Placement::Interleaved;
    Characters Charset = Characters::Latin1;
    bool Change035 = false;
    bool IsbnNoHyphens = false;
    std::u16string Subjects;
    std::u16string Libraries;
    std::u16string Destination;
    bool OneAtATime = false;
    // While an FTP server is set every upload carries one export: the option is on and locked,
    // and LockedReason says why (a front end shows it beside the option).
    bool OneAtATimeLocked = false;
    std::u16string LockedReason;

    bool operator==(const ExportOptions&) const = default;
};

// Which events to log: exports and errors, each in its own daily log.
struct LogChoice {
    bool Exports = false;
    bool Errors = false;
    bool operator==(const LogChoice&) const = default;
};

}  // namespace tesselex
