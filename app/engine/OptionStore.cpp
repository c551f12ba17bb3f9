#include "app/engine/OptionStore.h"

#include <array>
#include <cstddef>
#include <functional>
#include <string_view>
#include <type_traits>

#include "app/engine/Settings.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

// The text forms of the choices, in the order of their enumerations.
constexpr std::array<std::u16string_view, 3> kPlacements = {u"interleaved", u"after", u"none"};
// Character set and composition. The decomposed choice is written as "compose" like the one
// before it; only an old settings file can bring "decompose" back (kept on purpose,
// docs/behaviour.md).
constexpr std::array<std::pair<std::u16string_view, std::u16string_view>, 4> kCharsets = {{
    {u"ISO-8859-1", u""},
    {u"UTF-8", u"composelatin1"},
    {u"UTF-8", u"compose"},
    {u"UTF-8", u"compose"},
}};
constexpr std::array<std::u16string_view, 4> kCharsetsRead = {
    u"ISO-8859-1/", u"UTF-8/COMPOSELATIN1", u"UTF-8/COMPOSE", u"UTF-8/DECOMPOSE"};

using Texts = std::vector<std::u16string>;

Fault NotAChoice() {
    return Fault{FaultKind::BadData, u"not a value of this option", 0};
}

// The value when it holds the type and names one of the choices.
template <typename T>
const T* As(const OptionValue& value, std::size_t choices = 0) {
    const T* held = std::get_if<T>(&value);
    if constexpr (std::is_enum_v<T>) {
        if (held != nullptr && static_cast<std::size_t>(*held) >= choices) {
            return nullptr;
        }
    }
    return held;
}

// One option: the keys it is kept under (with the name each is written as), its text form
// each way, and in Decode its default.
struct Row {
    Option Which;
    std::vector<std::pair<SettingKey, std::u16string_view>> Keys;
    std::function<Outcome<Texts>(const OptionValue&)> Encode;
    std::function<OptionValue(const Texts&)> Decode;
};

Row Switch(Option which, SettingKey key) {
    return {which,
            {{key, SettingName(key)}},
            [](const OptionValue& value) -> Outcome<Texts> {
                const bool* on = As<bool>(value);
                if (on == nullptr) {
                    return NotAChoice();
                }
                return Texts{std::u16string(*on ? SettingYes : SettingNo)};
            },
            [](const Texts& texts) -> OptionValue { return texts[0] == SettingYes; }};
}

Row Text(Option which, SettingKey key, std::u16string_view written, bool emptyChangesNothing) {
    return {which,
            {{key, written}},
            [emptyChangesNothing](const OptionValue& value) -> Outcome<Texts> {
                const std::u16string* text = As<std::u16string>(value);
                if (text == nullptr || (emptyChangesNothing && text->empty())) {
                    return NotAChoice();
                }
                return Texts{*text};
            },
            [](const Texts& texts) -> OptionValue { return texts[0]; }};
}

template <typename Choice>
Row Placed(Option which, SettingKey key, std::u16string_view kind) {
    return {which,
            {{key, SettingName(key)}},
            [](const OptionValue& value) -> Outcome<Texts> {
                const Choice* choice = As<Choice>(value, kPlacements.size());
                if (choice == nullptr) {
                    return NotAChoice();
                }
                return Texts{std::u16string(kPlacements[static_cast<std::size_t>(*choice)])};
            },
            [kind](const Texts& texts) -> OptionValue {
                return static_cast<Choice>(GetSelection(kind, texts[0]));
            }};
}

const std::vector<Row>& Rows() {
    static const std::vector<Row> rows = {
        {Option::Code003,
         {{SettingKey::String003, SettingName(SettingKey::String003)}},
         [](const OptionValue& value) -> Outcome<Texts> {
             const Code003* code = As<Code003>(value, Code003Texts.size());
             if (code == nullptr) {
                 return NotAChoice();
             }
             return Texts{std::u16string(Code003Texts[static_cast<std::size_t>(*code)])};
         },
         [](const Texts& texts) -> OptionValue {
             return texts[0] == Code003Texts[0] ? Code003::SeTesl : Code003::Tessel;
         }},
        Placed<Placement>(Option::Authorities, SettingKey::Authtype, u"AUTHTYPE"),
        Placed<Placement>(Option::Holdings, SettingKey::Holdtype, u"HOLDTYPE"),
        {Option::Characters,
         {{SettingKey::Charset, SettingName(SettingKey::Charset)},
          {SettingKey::Compose, SettingName(SettingKey::Compose)}},
         [](const OptionValue& value) -> Outcome<Texts> {
             const Characters* charset = As<Characters>(value, kCharsets.size());
             if (charset == nullptr) {
                 return NotAChoice();
             }
             const auto& [set, compose] = kCharsets[static_cast<std::size_t>(*charset)];
             return Texts{std::u16string(set), std::u16string(compose)};
         },
         [](const Texts& texts) -> OptionValue {
             return static_cast<Characters>(GetSelection(u"CHARSET", texts[0] + u"/" + texts[1]));
         }},
        Switch(Option::Change035, SettingKey::Change035),
        Switch(Option::IsbnNoHyphens, SettingKey::ISBNDehyphenate),
        Text(Option::Subjects, SettingKey::Subjects, SettingName(SettingKey::Subjects), true),
        // Written as the old program wrote it; read without regard to case.
        Text(Option::Libraries, SettingKey::Libraries, u"libraries", false),
        Text(Option::Destination, SettingKey::Destination, SettingName(SettingKey::Destination),
             false),
        Switch(Option::OneAtATime, SettingKey::Clear),
    };
    return rows;
}

const Row& RowOf(Option option) {
    for (const Row& row : Rows()) {
        if (row.Which == option) {
            return row;
        }
    }
    return Rows().front();  // every Option has its row
}

}  // namespace

int GetSelection(std::u16string_view kind, std::u16string_view value) {
    const std::u16string upperKind = ToUpper(kind);
    if (upperKind == u"CHARSET") {
        for (std::size_t i = 0; i < kCharsetsRead.size(); ++i) {
            if (EqualsNoCase(value, kCharsetsRead[i])) {
                return static_cast<int>(i);
            }
        }
    } else if (upperKind == u"HOLDTYPE" || upperKind == u"AUTHTYPE") {
        for (std::size_t i = 0; i < kPlacements.size(); ++i) {
            if (EqualsNoCase(value, kPlacements[i])) {
                return static_cast<int>(i);
            }
        }
    }
    return 0;
}

ExportOptions ReadOptions(const Settings& settings) {
    ExportOptions options;
    for (const Row& row : Rows()) {
        Texts texts;
        for (const auto& [key, written] : row.Keys) {
            texts.push_back(settings.Setting(key));
        }
        PutOption(options, row.Which, row.Decode(texts));
    }
    return options;
}

Outcome<std::vector<OptionSetting>> OptionSettings(Option option, const OptionValue& value) {
    const Row& row = RowOf(option);
    const Outcome<Texts> texts = row.Encode(value);
    if (!texts) {
        return texts.Failure();
    }
    std::vector<OptionSetting> settings;
    for (std::size_t i = 0; i < row.Keys.size(); ++i) {
        settings.push_back({std::u16string(row.Keys[i].second), texts.Value()[i]});
    }
    return settings;
}

std::vector<SettingKey> OptionKeys(Option option) {
    std::vector<SettingKey> keys;
    for (const auto& [key, written] : RowOf(option).Keys) {
        keys.push_back(key);
    }
    return keys;
}

void PutOption(ExportOptions& options, Option option, const OptionValue& value) {
    if (!OptionSettings(option, value)) {
        return;
    }
    switch (option) {
        case Option::Code003:
            options.Code = std::get<Code003>(value);
            break;
        case Option::Authorities:
            options.Authorities = std::get<Placement>(value);
            break;
        case Option::Holdings:
            options.Holdings = std::get<Placement>(value);
            break;
        case Option::Characters:
            options.Charset = std::get<Characters>(value);
            break;
        case Option::Change035:
            options.Change035 = std::get<bool>(value);
            break;
        case Option::IsbnNoHyphens:
            options.IsbnNoHyphens = std::get<bool>(value);
            break;
        case Option::Subjects:
            options.Subjects = std::get<std::u16string>(value);
            break;
        case Option::Libraries:
            options.Libraries = std::get<std::u16string>(value);
            break;
        case Option::Destination:
            options.Destination = std::get<std::u16string>(value);
            break;
        case Option::OneAtATime:
            options.OneAtATime = std::get<bool>(value);
            break;
    }
}

}  // namespace tesselex
