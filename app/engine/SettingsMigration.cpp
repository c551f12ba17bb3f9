#include "app/engine/SettingsMigration.h"

#include <algorithm>

#include "app/engine/Settings.h"
#include "config/CfgClass.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

std::u16string OldValue(const CfgClass& oldConfig, std::u16string_view oldKey) {
    return oldConfig.Item(oldKey)->Value;
}

std::u16string YesNoOf(const std::u16string& value) {
    if (value == u"0") {
        return std::u16string(SettingNo);
    }
    if (value == u"1") {
        return std::u16string(SettingYes);
    }
    return value;
}

// Tecken: the old character-set choice as the Charset and Compose pair.
std::pair<std::u16string_view, std::u16string_view> CharsetOf(std::u16string_view old) {
    const std::u16string upper = ToUpper(old);
    if (upper == u"UTF8/LATIN1") {
        return {u"UTF-8", u"composelatin1"};
    }
    if (upper == u"UTF8/FORMC") {
        return {u"UTF-8", u"compose"};
    }
    if (upper == u"UTF8/FORMD") {
        return {u"UTF-8", u"decompose"};
    }
    return {u"ISO-8859-1", u""};
}

}  // namespace

bool LibraryList::LibExists(std::u16string_view code) const {
    return std::any_of(entries_.begin(), entries_.end(),
                       [&](const auto& entry) { return EqualsNoCase(entry.first, code); });
}

std::u16string LibraryList::StringItem(std::u16string_view code) const {
    for (const auto& entry : entries_) {
        if (EqualsNoCase(entry.first, code)) {
            return entry.second;
        }
    }
    return {};
}

void LibraryList::AddLib(std::u16string_view code, std::u16string_view entry) {
    entries_.emplace_back(std::u16string(code), std::u16string(entry));
}

void LibraryList::RemoveLib(std::u16string_view code) {
    std::erase_if(entries_, [&](const auto& entry) { return EqualsNoCase(entry.first, code); });
}

std::u16string LibraryList::Joined(std::u16string_view separator) const {
    std::vector<std::u16string> items;
    items.reserve(entries_.size());
    for (const auto& entry : entries_) {
        items.push_back(entry.second);
    }
    return Join(items, separator);
}

std::u16string ConvertSubjects(std::u16string_view text) {
    LibraryList list;
    for (const std::u16string& group : Split(text, u";")) {
        const std::size_t equals = group.find(u'=');
        if (equals == std::u16string::npos) {
            continue;
        }
        const std::u16string choice = group.substr(0, equals);
        for (const std::u16string& rawCode : Split(group.substr(equals + 1), u",")) {
            const std::u16string code = Trim(rawCode);
            if (list.LibExists(code)) {
                const std::u16string entry = list.StringItem(code) + u"," + choice;
                list.RemoveLib(code);
                list.AddLib(code, entry);
            } else {
                list.AddLib(code, code + u":" + choice);
            }
        }
    }
    return list.Joined(u" ; ");
}

Done CopySetting(Settings& settings, const CfgClass& oldConfig, std::u16string_view newKey,
                 std::u16string_view oldKey) {
    const std::u16string value = OldValue(oldConfig, oldKey);
    return value.empty() ? Done{} : settings.StoreSetting(newKey, YesNoOf(value));
}

Done CopySettings(Settings& settings, const CfgClass& oldConfig) {
    Done stored;
    // The first failure is told; the other settings are still copied.
    auto keep = [&stored](Done done) {
        if (stored && !done) {
            stored = std::move(done);
        }
    };
    auto copied = [&](SettingKey key, std::u16string_view oldKey, auto convert) {
        const std::u16string value = OldValue(oldConfig, oldKey);
        if (!value.empty()) {
            keep(settings.StoreSetting(key, convert(value)));
        }
    };
    auto same = [](const std::u16string& value) { return value; };
    auto named = [](SettingKey key) { return SettingName(key); };

    copied(SettingKey::Libraries, u"Sigler",
           [](const std::u16string& value) { return ReplaceAll(value, u",", u" "); });
    // A value without "=" is already in the new form (SaveConfig writes it so): converting it
    // would give "" and wipe the setting.
    copied(SettingKey::Subjects, u"Ämnesord", [](const std::u16string& value) {
        return value.find(u'=') == std::u16string::npos ? value : ConvertSubjects(value);
    });
    auto yesNo = [&](SettingKey key, std::u16string_view oldKey) {
        keep(CopySetting(settings, oldConfig, named(key), oldKey));
    };
    yesNo(SettingKey::ISBNDehyphenate, u"ISBNUtanBindestreck");
    yesNo(SettingKey::Change035, u"Ändra0359");
    yesNo(SettingKey::Clear, u"Rensa");
    yesNo(SettingKey::Destination, u"Destination");
    yesNo(SettingKey::Logging, u"Logga");
    yesNo(SettingKey::LogErrors, u"LoggaFel");
    copied(SettingKey::FTPServer, u"FTP\\Server", same);
    copied(SettingKey::FTPUser, u"FTP\\Användare", same);
    copied(SettingKey::FTPPassword, u"FTP\\Lösenord", same);
    copied(SettingKey::FTPDirectory, u"FTP\\Katalog", same);
    copied(SettingKey::FTPFilename, u"FTP\\Fil", same);

    const std::u16string charset = OldValue(oldConfig, u"Tecken");
    if (!charset.empty()) {
        const auto [set, compose] = CharsetOf(charset);
        keep(settings.StoreSetting(SettingKey::Charset, set));
        keep(settings.StoreSetting(SettingKey::Compose, compose));
    }
    auto placement = [](const std::u16string& value) {
        return std::u16string(value == u"0" ? u"interleaved" : u"after");
    };
    copied(SettingKey::Holdtype, u"Separatbestånd", placement);
    copied(SettingKey::Authtype, u"Separataauktoriteter", placement);
    return stored;
}

}  // namespace tesselex
