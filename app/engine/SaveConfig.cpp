// The old-style settings file, still written for installations that read it.

#include "app/engine/ExportEngine.h"
#include "app/engine/WholeWrite.h"
#include "config/CodePage.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

std::u16string Digit(int value) {
    return FormatNumber(value, 1);
}

std::u16string_view OldCharset(int index) {
    static constexpr std::u16string_view charsets[] = {u"LATIN1", u"UTF8/LATIN1", u"UTF8/FORMC",
                                                       u"UTF8/FORMD"};
    return (index >= 0 && index < 4) ? charsets[index] : charsets[0];
}

// "none" has no old value: left empty, the next start-up's copy leaves the setting as it is
// instead of turning it into "after".
std::u16string_view Separate(int placementIndex) {
    return placementIndex == 0 ? u"0" : placementIndex == 2 ? u"" : u"1";
}

}  // namespace

void ExportEngine::SaveConfig() {
    if (!AskYesNo(u"Spara ändringar?")) {
        return;
    }
    // Written over the file start-up reads, whatever the case of its name.
    const std::filesystem::path config = ProgramFile(u"Config.TXT");
    const std::filesystem::path backup = ProgramFile(u"Config.BAK");
    const std::vector<std::u16string> lines = {
        u"Sigler=" + form_.TxtSigler.Text,
        u"Ämnesord=" + form_.TxtSubj.Text,
        u"Tecken=" + std::u16string(OldCharset(form_.cmbChars.ListIndex)),
        u"Hänvisningar=",
        u"ISBNUtanBindestreck=" + Digit(form_.ChkISBN.Value),
        u"ISSNUtanBindestreck=0",
        u"Ändra0359=" + Digit(form_.Chk035.Value),
        u"Sortera=0",
        u"SeparatBestånd=" + std::u16string(Separate(form_.cmbHold.ListIndex)),
        u"SeparataAuktoriteter=" + std::u16string(Separate(form_.cmbAuth.ListIndex)),
        u"Rensa=" + Digit(form_.ChkClear.Value),
        u"Destination=" + form_.TxtDest.Text,
        u"Logga=" + Digit(log_.LogAll() ? 1 : 0),
        u"LoggaFel=" + Digit(log_.LogErrors() ? 1 : 0),
        u"[FTP]",
        u"Server=" + ftp_.Server,
        u"Användare=" + ftp_.User,
        u"Lösenord=" + ftp_.Password,
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
        Message(u"TESSELEX", u"Ändringarna kunde inte sparas i " + PathToText(config) + u": " +
                                 written.Reason() + u".");
        return;
    }

    Message(u"TESSELEX", u"Ändringar sparade.");
    LoadConfig();
}

}  // namespace tesselex
