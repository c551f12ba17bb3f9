// The one-time copy of a fuzzed old settings file into a settings file of its own, the
// subject-list conversion and the list indexes of stored values.

#include "app/engine/OptionStore.h"
#include "app/engine/Settings.h"
#include "app/engine/SettingsMigration.h"
#include "config/CfgClass.h"
#include "config/Error.h"
#include "fuzz/FuzzFile.h"
#include "fuzz/FuzzText.h"

using namespace tesselex;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::ScratchFile settingsFile("settings.ini");
    const std::u16string text = fuzz::Bytes(fuzz::View(data, size));

    CfgClass oldConfig([](const std::u16string&, const std::u16string&) {});
    try {
        oldConfig.LoadFromString(text);
    } catch (const Error&) {
        return 0;  // more than 32,767 entries: the documented overflow
    }
    std::filesystem::remove(settingsFile.Path());
    {
        Settings settings(settingsFile.Path());
        // A scratch file that can be written: any refusal is the copy's own fault.
        if (!CopySettings(settings, oldConfig)) {
            fuzz::Fail("CopySettings refused a writable settings file");
        }
        (void)settings.StoredSettings();
    }

    (void)ConvertSubjects(text);
    for (const std::u16string_view kind : {u"CHARSET", u"HOLDTYPE", u"AUTHTYPE", u"OTHER"}) {
        const int index = GetSelection(kind, text);
        if (index < 0) {
            fuzz::Fail("GetSelection gave a negative index");
        }
    }
    return 0;
}
