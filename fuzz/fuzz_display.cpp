// The display forms of a fuzzed record under a fuzzed display configuration.
// Input: the configuration text, a 0x1E 0x1D pair, the record (ISO 2709 bytes).

#include "config/Error.h"
#include "config/Utf.h"
#include "fuzz/FuzzFile.h"
#include "fuzz/FuzzText.h"
#include "marc/MarcObject.h"

using namespace tesselex;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::ScratchFile config("display.cfg");
    const std::string_view input = fuzz::View(data, size);
    const std::size_t split = input.find("\x1E\x1D");
    const std::string_view configText = input.substr(0, split);
    const std::string_view recordBytes =
        split == std::string_view::npos ? input : input.substr(split + 2);
    config.Write(configText);

    MarcObject record;
    record.SetMessageSink([](const std::u16string&, const std::u16string&) {});
    record.Import(fuzz::Bytes(recordBytes));
    try {
        record.OPACConfigFile(PathToText(config.Path()));
        record.OPACConfigFileBrief(PathToText(config.Path()));
    } catch (const Error&) {
        return 0;  // more than 32,767 configuration entries: the documented overflow
    }
    (void)record.OPACDisplay();
    (void)record.OPACDisplayHTML();
    (void)record.SortString();
    (void)record.ShortDisplay();
    (void)record.MainEntry();
    const std::u16string date = record.PubDate();
    if (!date.empty() && date.size() != 8) {
        fuzz::Fail("PubDate is neither empty nor eight characters");
    }
    return 0;
}
