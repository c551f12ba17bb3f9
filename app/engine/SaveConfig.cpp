// The old-style settings file, still written for installations that read it.

#include "app/engine/ExportEngine.h"
#include "app/engine/DurableFile.h"
#include "app/engine/EngineMessages.h"
#include "app/engine/FtpPassword.h"
#include "app/engine/Settings.h"
#include "config/CodePage.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

std::u16string Digit(bool on) {
    return on ? u"1" : u"0";
}

std::u16string_view OldCharset(Characters charset) {
    static constexpr std::u16string_view charsets[] = {u"LATIN1", u"UTF8/LATIN1", u"UTF8/FORMC",
                                                       u"UTF8/FORMD"};
    return charsets[static_cast<int>(charset)];
}

// "none" has no old value: left empty, the next start-up's copy leaves the setting as it is
// instead of turning it into "after".
std::u16string_view Separate(Placement placement) {
    return placement == Placement::Interleaved ? u"0" : placement == Placement::None ? u"" : u"1";
}

}  // namespace

void ExportEngine::SaveOldSettings() {
    if (!AskYesNo(SaveQuestion())) {
        return;
    }
    // Written over the file start-up reads, whatever the case of its name.
    const std::filesystem::path config = ProgramFile(u"Config.TXT");
    const std::filesystem::path backup = ProgramFile(u"Config.BAK");
    const ExportOptions& options = state_.Options;
    // A password the credential store keeps is not copied out of it in plain text; the
    // start-up that follows leaves it there (docs/behaviour.md).
    const std::u16string password =
        WhereFtpPasswordIs(settings_) == PasswordPlace::CredentialStore ? u"" : ftp_.Password;
    const std::vector<std::u16string> lines = {
        u"Sigler=" + options.Libraries,
        u"Ämnesord=" + options.Subjects,
        u"Tecken=" + std::u16string(OldCharset(options.Charset)),
        u"Hänvisningar=",
        u"ISBNUtanBindestreck=" + Digit(options.IsbnNoHyphens),
        u"ISSNUtanBindestreck=0",
        u"Ändra0359=" + Digit(options.Change035),
        u"Sortera=0",
        u"SeparatBestånd=" + std::u16string(Separate(options.Holdings)),
        u"SeparataAuktoriteter=" + std::u16string(Separate(options.Authorities)),
        u"Rensa=" + Digit(options.OneAtATime),
        u"Destination=" + options.Destination,
        u"Logga=" + Digit(log_.LogAll()),
        u"LoggaFel=" + Digit(log_.LogErrors()),
        u"[FTP]",
        u"Server=" + ftp_.Server,
        u"Användare=" + ftp_.User,
        u"Lösenord=" + password,
        u"Katalog=" + ftp_.Directory,
        u"Fil=" + ftp_.Filename,
    };
    std::u16string text;
    for (const std::u16string& line : lines) {
        text += line + u"\r\n";
    }
    // The old file moves to Config.BAK only once the new one is completely written beside it,
    // so a failed write leaves both files as they were (docs/behaviour.md).
    const Done written = ReplaceFile(config, TextToAnsi(text), backup);
    if (!written) {
        // Saying "saved" over a file that was never written would lose the changes unnoticed.
        Message(u"TESSELEX", ConfigNotSavedMessage(config, written.Failure()));
        return;
    }

    Message(u"TESSELEX", ConfigSavedMessage());
    Start();
}

}  // namespace tesselex
