#pragma once
// The old settings file (Config.TXT, Swedish keys) and its one-time copy into the settings,
// plus the list indexes the option boxes show for stored values.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "config/Outcome.h"

namespace tesselex {

class CfgClass;
class Settings;

// The keyed list ConvertSubjects builds: one entry per library code, kept in the order entries
// were added; codes are matched without regard to case.
class LibraryList {
  public:
    bool LibExists(std::u16string_view code) const;
    // The entry of the code ("" when there is none).
    std::u16string StringItem(std::u16string_view code) const;
    void AddLib(std::u16string_view code, std::u16string_view entry);
    void RemoveLib(std::u16string_view code);
    std::u16string Joined(std::u16string_view separator) const;

  private:
    std::vector<std::pair<std::u16string, std::u16string>> entries_;
};

// "sao=A,B;lcsh=A" (choices with their library codes) becomes "B:sao ; A:sao,lcsh" (library
// codes with their choices).
std::u16string ConvertSubjects(std::u16string_view text);

// Copies one old key into a setting with the "0" -> "No", "1" -> "Yes" rule; other values as
// they are. A key missing from the old file leaves the setting untouched. The fault when the
// setting could not be written.
[[nodiscard]] Done CopySetting(Settings& settings, const CfgClass& oldConfig,
                               std::u16string_view newKey, std::u16string_view oldKey);
// The whole table of old keys, in its order. An Ämnesord value without "=" is already in the
// new form (the old-style save writes it so) and is kept as it is. The first fault when a
// setting could not be written (the others are still copied).
[[nodiscard]] Done CopySettings(Settings& settings, const CfgClass& oldConfig);

}  // namespace tesselex
