// Request building: date patterns, URL encoding, parameters, the whole request over a fuzzed
// request table, and the INI reader over a fuzzed file.
// Input: up to four parts split at "\n--\n": request table, text, section, key.

#include "app/engine/ExportOptions.h"
#include "app/engine/RequestBuilder.h"
#include "config/CfgClass.h"
#include "config/Error.h"
#include "config/SharedRoutines.h"
#include "fuzz/FuzzFile.h"
#include "fuzz/FuzzText.h"

using namespace tesselex;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::ScratchFile ini("file.ini");
    const std::string_view input = fuzz::View(data, size);
    const std::vector<std::string_view> parts = fuzz::Parts(input, 4);
    const std::u16string table = fuzz::Bytes(parts[0]);
    const std::u16string text = fuzz::Bytes(parts[1]);

    (void)ExpandDatePatterns(text, DateTime{2024, 12, 31, 23, 59, 58});
    const std::u16string encoded = UrlEncode(text);
    for (const char16_t unit : encoded) {
        if (unit == u' ' || unit == u'&') {
            fuzz::Fail("UrlEncode left a blank or an ampersand");
        }
    }
    std::u16string address = table;
    AddParameter(address, text, fuzz::Bytes(parts[2]));

    CfgClass urlConfig([](const std::u16string&, const std::u16string&) {});
    try {
        urlConfig.LoadFromString(table);
    } catch (const Error&) {
        return 0;  // more than 32,767 entries: the documented overflow
    }
    ExportOptions options;
    options.Subjects = fuzz::Bytes(parts[2]);
    options.Libraries = fuzz::Bytes(parts[3]);
    options.Change035 = true;
    options.Charset = static_cast<Characters>(size % 4);
    options.Holdings = static_cast<Placement>(size % 3);
    (void)BuildRequest(options, text, urlConfig);

    ini.Write(input);
    (void)ReadIniValue(ini.Path(), fuzz::Bytes(parts[2]), fuzz::Bytes(parts[3]));
    return 0;
}
