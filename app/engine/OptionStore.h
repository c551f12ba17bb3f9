#pragma once
// The export options as the settings keep them, in one table: for each option its setting keys,
// its default and its text form, read and written by the same row. The rules between options
// (an FTP server locks one-at-a-time, a policy locks a setting) stay with the engine.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/engine/ExportOptions.h"
#include "app/engine/SettingKeys.h"
#include "config/Outcome.h"

namespace tesselex {

class Settings;

// The options as stored. A missing or unknown text reads as the option's default: the 003 code
// TESSEL, interleaved placements, Latin 1, every switch off, empty texts. The lock of
// one-at-a-time is not read here.
ExportOptions ReadOptions(const Settings& settings);

// The list index of a stored value: kind "CHARSET" with "charset/compose", kind "HOLDTYPE" or
// "AUTHTYPE" with the record placement, without regard to case; 0 for anything unknown.
int GetSelection(std::u16string_view kind, std::u16string_view value);

// One setting as an option is written: its key's name as written (the key is matched without
// regard to case when read) and its text.
struct OptionSetting {
    std::u16string Key;
    std::u16string Text;
    bool operator==(const OptionSetting&) const = default;
};
// The settings that keep this value of the option, in the order they are written. BadData when
// the value is not of the option's type, names none of its choices, or is an empty subject
// choice (the subjects dialog hands one back when nothing changed).
[[nodiscard]] Outcome<std::vector<OptionSetting>> OptionSettings(Option option,
                                                                 const OptionValue& value);
// The setting keys the option is kept under.
std::vector<SettingKey> OptionKeys(Option option);
// The value put into the options; a value OptionSettings refuses changes nothing.
void PutOption(ExportOptions& options, Option option, const OptionValue& value);

}  // namespace tesselex
