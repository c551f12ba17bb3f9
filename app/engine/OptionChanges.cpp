// The front end's changes: each option stores its setting at once, so the next request and the
// next start-up see the choice.

#include <cstddef>
#include <type_traits>
#include <utility>

#include "app/engine/EngineMessages.h"
#include "app/engine/ExportEngine.h"
#include "app/engine/FtpPassword.h"
#include "app/engine/Settings.h"
#include "app/engine/DurableFile.h"
#include "config/CodePage.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

std::u16string_view YesNo(bool on) {
    return on ? SettingYes : SettingNo;
}

// Holdings and authority placement as stored.
std::u16string_view PlacementName(Placement placement) {
    static constexpr std::u16string_view placements[] = {u"interleaved", u"after", u"none"};
    return placements[static_cast<int>(placement)];
}

// The character choices as stored (character set, composition). The decomposed choice is stored
// as "compose" like the one before it; only an old settings file can bring "decompose" back (kept
// on purpose, docs/behaviour.md).
std::pair<std::u16string_view, std::u16string_view> CharsetNames(Characters charset) {
    static constexpr std::pair<std::u16string_view, std::u16string_view> charsets[] = {
        {u"ISO-8859-1", u""},
        {u"UTF-8", u"composelatin1"},
        {u"UTF-8", u"compose"},
        {u"UTF-8", u"compose"}};
    return charsets[static_cast<int>(charset)];
}

// The value when it holds the option's type and names one of its choices.
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

}  // namespace

void ExportEngine::SetOption(Option option, const OptionValue& value) {
    ExportOptions& options = state_.Options;
    switch (option) {
        case Option::Code003:
            if (const auto* code = As<Code003>(value, Code003Texts.size())) {
                options.Code = *code;
                Store(SettingKey::String003, Code003Texts[static_cast<std::size_t>(*code)]);
            }
            break;
        case Option::Authorities:
            if (const auto* placement = As<Placement>(value, AuthoritiesTexts.size())) {
                options.Authorities = *placement;
                Store(SettingKey::Authtype, PlacementName(*placement));
            }
            break;
        case Option::Holdings:
            if (const auto* placement = As<Placement>(value, HoldingsTexts.size())) {
                options.Holdings = *placement;
                Store(SettingKey::Holdtype, PlacementName(*placement));
            }
            break;
        case Option::Characters:
            if (const auto* charset = As<Characters>(value, CharactersTexts.size())) {
                options.Charset = *charset;
                Store(SettingKey::Charset, CharsetNames(*charset).first);
                Store(SettingKey::Compose, CharsetNames(*charset).second);
            }
            break;
        case Option::Change035:
            if (const auto* on = As<bool>(value)) {
                options.Change035 = *on;
                Store(SettingKey::Change035, YesNo(*on));
            }
            break;
        case Option::IsbnNoHyphens:
            if (const auto* on = As<bool>(value)) {
                options.IsbnNoHyphens = *on;
                Store(SettingKey::ISBNDehyphenate, YesNo(*on));
            }
            break;
        case Option::Subjects:
            // What the subjects dialog hands back; an empty text changes nothing.
            if (const auto* text = As<std::u16string>(value); text != nullptr && !text->empty()) {
                options.Subjects = *text;
                Store(SettingKey::Subjects, *text);
            }
            break;
        case Option::Libraries:
            if (const auto* text = As<std::u16string>(value)) {
                options.Libraries = *text;
                Store(u"libraries", *text);
            }
            break;
        case Option::Destination:
            if (const auto* text = As<std::u16string>(value)) {
                options.Destination = *text;
                Store(SettingKey::Destination, *text);
            }
            break;
        case Option::OneAtATime:
            if (const auto* on = As<bool>(value); on != nullptr && !options.OneAtATimeLocked) {
                options.OneAtATime = *on;
                Store(SettingKey::Clear, YesNo(*on));
            }
            break;
    }
    NotifyState();
}

void ExportEngine::SetBibId(std::u16string_view bibId) {
    state_.BibId = std::u16string(bibId);
    state_.CanExport = !state_.BibId.empty();
    NotifyState();
}

void ExportEngine::SetLogging(LogChoice choice) {
    if (choice.Exports != log_.LogAll()) {
        log_.SetLogAll(choice.Exports);
        Store(SettingKey::Logging, YesNo(choice.Exports));
    }
    if (choice.Errors != log_.LogErrors()) {
        log_.SetLogErrors(choice.Errors);
        Store(SettingKey::LogErrors, YesNo(choice.Errors));
    }
    NotifyState();
}

void ExportEngine::SetFtp(const FtpSettings& ftp) {
    // One failure, one status line.
    bool stored = true;
    for (const auto& [key, value] :
         {std::pair{SettingKey::FTPServer, &ftp.Server}, std::pair{SettingKey::FTPUser, &ftp.User},
          std::pair{SettingKey::FTPDirectory, &ftp.Directory},
          std::pair{SettingKey::FTPFilename, &ftp.Filename},
          std::pair{SettingKey::FTPProtocol, &ftp.Protocol},
          std::pair{SettingKey::FTPTrust, &ftp.Trust}}) {
        stored = settings_.StoreSetting(key, *value) && stored;
    }
    FtpSettings now = ftp;
    // The password goes where it is kept (FtpPassword.h), under the server and user just stored;
    // one the store could not give and the dialog left empty stays where it is.
    if (!ftp.PasswordFault || !ftp.Password.empty()) {
        const Outcome<PasswordKept> kept = StoreFtpPassword(settings_, ftp.Password);
        stored = kept.Ok() && stored;
        now.PasswordFault.reset();
        if (kept && kept.Value().StoreFault) {
            log_.ShowStatus(PasswordKeptMessage(kept.Value(), settings_.FileName()), false);
        }
    }
    if (!stored) {
        ReportSettingsNotSaved();
    }
    ftp_ = std::move(now);
    ftp_.Directory = Trim(ftp.Directory);
    UpdateOneAtATime(settings_.IsYes(SettingKey::Clear));
    NotifyState();
}

void ExportEngine::SetServerAddress(std::u16string_view address) {
    const std::filesystem::path file = ProgramFile(u"export.url");
    const Done written = ReplaceFile(
        file, TextToAnsi(u"[InternetShortcut]\r\nURL=" + std::u16string(address) + u"\r\n"));
    if (!written) {
        log_.ShowStatus(AddressNotSavedMessage(file, written.Failure()), true);
    }
    Start();
}

}  // namespace tesselex
