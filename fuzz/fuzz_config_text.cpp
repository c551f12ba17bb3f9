// A configuration text of arbitrary bytes, then the look-ups with keys taken from the input
// and Save. Part 1 is the text; part 2, when there is one, a key or section to look up.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "config/CfgClass.h"
#include "config/Error.h"
#include "config/EmptyOnFailure.h"
#include "fuzz/FuzzText.h"

namespace {

void LookUp(const tesselex::CfgClass& config, const std::u16string& what) {
    static_cast<void>(config.Item(what)->IsTrue());
    static_cast<void>(config.Locate(what, what));
    static_cast<void>(config.SectionItems(what));
    static_cast<void>(config.SectionExists(what));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::u16string saveTo = tesselex::fuzz::Bytes8(
        (std::filesystem::temp_directory_path() / ("fuzz_config_text." + std::to_string(getpid())))
            .string());

    const auto parts = tesselex::fuzz::Parts(tesselex::fuzz::View(data, size), 2);
    // A duplicate key is reported to the user; here that report goes nowhere.
    tesselex::CfgClass config([](const std::u16string&, const std::u16string&) {});
    // A duplicate section header or too many entries: what was read before stays.
    tesselex::EmptyOnFailure([&] { config.LoadFromString(tesselex::fuzz::Bytes8(parts[0])); });
    const std::u16string what = tesselex::fuzz::Bytes8(parts[1]);
    LookUp(config, what);
    // More than 32,767 entries: the counts raise the overflow error by rule.
    tesselex::EmptyOnFailure([&] {
        const int count = config.Itemcount();
        for (int i = 0; i <= count + 1 && i < 64; ++i) {
            const auto item = config.Item(i);
            static_cast<void>(item->IsTrue());
            LookUp(config, item->Key);
        }
        for (int i = 0; i <= config.SectionCount() + 1 && i < 64; ++i) {
            LookUp(config, config.Section(i));
        }
    });
    config.Save(saveTo);
    return 0;
}
