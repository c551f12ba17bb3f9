#include "app/engine/EngineMessages.h"

#include <string>

#include "app/engine/Logger.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

// The described FTP texts end at the server; the transfer's own words follow them, as the
// program's other failures give their cause (docs/behaviour.md).
std::u16string Because(const Fault& fault) {
    std::u16string reason = Trim(fault.Reason);
    while (!reason.empty() && reason.back() == u'.') {
        reason.pop_back();
    }
    return reason.empty() ? std::u16string() : u": " + reason + u".";
}

// " (process 1234)", or nothing when the number is not known.
std::u16string ProcessText(long long holder) {
    return holder > 0 ? u" (process " + FromAscii(std::to_string(holder)) + u")" : u"";
}

}  // namespace

std::u16string WorkfileNotRemovedMessage(const std::filesystem::path& workfile, const Fault& why) {
    return u"Arbetsfilen " + PathToText(workfile) + u" kunde inte tas bort: " + why.Reason +
           u". Den exporteras inte igen förrän den ändras.";
}

std::u16string WorkfileUnreadableMessage(const std::filesystem::path& workfile, const Fault& why) {
    return u"Arbetsfilen " + PathToText(workfile) + u" kunde inte läsas: " + why.Reason + u".";
}

std::u16string WatchedElsewhereMessage(const std::filesystem::path& workfile) {
    return u"Arbetsfilen " + PathToText(workfile) +
           u" bevakas redan av ett annat TESSELEX-program; den här kopian hämtar inga poster "
           u"från den.";
}

std::u16string WatchTakenOverMessage(const std::filesystem::path& workfile) {
    return u"Arbetsfilen " + PathToText(workfile) +
           u" bevakas inte längre av något annat TESSELEX-program; den här kopian bevakar den nu.";
}

std::u16string LockNotMadeMessage(const std::filesystem::path& workfile, const Fault& fault) {
    return u"Låset för arbetsfilen " + PathToText(workfile) + u" kunde inte skapas: " +
           fault.Reason +
           u". Arbetsfilen bevakas ändå; bevakas den också av ett annat "
           u"TESSELEX-program kan en post levereras två gånger.";
}

std::u16string OutboxLockNotMadeMessage(const std::filesystem::path& lock, const Fault& fault) {
    return u"Låset " + PathToText(lock) + u" för väntande exporter kunde inte skapas: " +
           fault.Reason + u". Väntande exporter skickas ändå.";
}

std::u16string HandedOverMessage(std::u16string_view bibId, long long holder) {
    return u"Post #" + std::u16string(bibId) +
           u" lämnades till det TESSELEX-program som redan skickar väntande exporter" +
           ProcessText(holder) + u".";
}

std::u16string FetchFailedMessage(std::u16string_view bibId, const Fault& fault) {
    std::u16string cause;
    switch (fault.Kind) {
        case FaultKind::TimedOut:
            cause = u"exportservern svarade inte i tid";
            break;
        case FaultKind::HttpStatus:
            cause =
                u"exportservern svarade med HTTP-status " + FromAscii(std::to_string(fault.Code));
            break;
        case FaultKind::EmptyReply:
            cause = u"exportservern gav ett tomt svar";
            break;
        case FaultKind::BadData:
            cause = u"svaret innehöll ingen korrekt post";
            break;
        case FaultKind::NoConnection:
            // The reason names the server and the key to pin (config/SharedRoutines.h).
            cause = fault.Code == kUntrustedServer
                        ? u"exportservern är inte betrodd: " + fault.Reason
                        : u"ingen kontakt med exportservern";
            break;
        default:
            cause = u"ingen kontakt med exportservern";
            break;
    }
    return u"Post #" + std::u16string(bibId) + u" kunde inte hämtas: " + cause + u".";
}

std::u16string OutboxHeldMessage(long long holder) {
    return u"Väntande exporter skickas av ett annat TESSELEX-program" + ProcessText(holder) +
           u"; försök igen eller ta bort dem där.";
}

std::u16string NotDroppedMessage(std::u16string_view bibId, const Fault& fault) {
    return u"Den väntande exporten av post #" + std::u16string(bibId) + u" kunde inte tas bort: " +
           fault.Reason + u".";
}

std::u16string NoRequestTableMessage(std::u16string_view address, const Done& fetched) {
    const std::u16string why = fetched ? u"den saknar baseURL" : fetched.Reason();
    return u"Frågetabellen kunde inte hämtas från " + std::u16string(address) + u" (" + why +
           u"); exporterna väntar och tabellen hämtas igen.";
}

std::u16string RequestTableFetchedMessage(std::u16string_view address) {
    return u"Frågetabellen hämtades från " + std::u16string(address) +
           u"; väntande exporter skickas nu.";
}

std::u16string KeptRequestTableMessage(const std::filesystem::path& kept) {
    return u"Exportservern svarade inte; frågetabellen från dess senaste svar (" +
           PathToText(kept) + u") används.";
}

std::u16string SavedMessage(std::u16string_view bibId, std::u16string_view path,
                            std::u16string_view late) {
    return u"Post #" + std::u16string(bibId) + u" sparad till " + std::u16string(path) +
           std::u16string(late) + u".";
}

std::u16string NotSavedMessage(std::u16string_view bibId, std::u16string_view path,
                               const Fault& fault) {
    return u"Post #" + std::u16string(bibId) + u" kunde inte sparas till " + std::u16string(path) +
           u": " + fault.Reason + u".";
}

std::u16string FtpNotConnectedMessage(std::u16string_view server, const Fault& fault) {
    return u"Kunde inte ansluta med FTP till " + std::u16string(server) + Because(fault);
}

std::u16string FtpNotSentMessage(std::u16string_view bibId, std::u16string_view server,
                                 const Fault& fault) {
    return u"Kunde inte skicka MARC-post " + std::u16string(bibId) + u" till " +
           std::u16string(server) + Because(fault);
}

std::u16string SentMessage(std::u16string_view bibId, std::u16string_view server) {
    return u"Skickat post #" + std::u16string(bibId) + u" till " + std::u16string(server);
}

std::u16string LateNote(const DateTime& savedAt, const DateTime& now) {
    const bool today =
        savedAt.Year == now.Year && savedAt.Month == now.Month && savedAt.Day == now.Day;
    return u" (försenad, sparad " + (today ? FormatTime(savedAt) : FormatDateTime(savedAt)) + u")";
}

std::u16string BadRecordMessage() {
    // The counter the text names is never assigned, so it always reads 0 (kept on purpose,
    // docs/behaviour.md).
    return u"Post 0 (eller relaterad bestånds- eller auktoritetspost) kunde inte hämtas eller "
           u"hade felaktigt format.";
}

std::u16string NoActiveRecordMessage() {
    return u"Ingen aktiv post!";
}

std::u16string NotExportedMessage(std::u16string_view bibId, std::u16string_view reason) {
    return u"Post #" + std::u16string(bibId) + u" kunde inte exporteras: " +
           std::u16string(reason) + u".";
}

std::u16string RetryAtMessage(const DateTime& at) {
    return u"Försöker igen kl. " + FormatTime(at).substr(0, 5) + u".";
}

std::u16string WaitsForRetryMessage(std::u16string_view bibId) {
    return u"Post #" + std::u16string(bibId) +
           u" väntar tills inställningarna är rättade och du väljer Försök nu i Väntande "
           u"exporter.";
}

std::u16string OutboxUnreadableMessage(const std::filesystem::path& outbox, const Fault& fault) {
    return u"Väntande exporter i " + PathToText(outbox) + u" kunde inte läsas: " + fault.Reason +
           u".";
}

std::u16string NotQueuedMessage(std::u16string_view bibId, const std::filesystem::path& outbox,
                                const Fault& fault) {
    return u"Post #" + std::u16string(bibId) + u" kunde inte läggas bland väntande exporter i " +
           PathToText(outbox) + u": " + fault.Reason + u".";
}

std::u16string SettingsNotSavedMessage(std::u16string_view file) {
    return u"Inställningarna kunde inte sparas till " + std::u16string(file) + u".";
}

std::u16string AddressNotSavedMessage(const std::filesystem::path& file, const Fault& fault) {
    return u"Serveradressen kunde inte sparas till " + PathToText(file) + u": " + fault.Reason +
           u".";
}

std::u16string SaveQuestion() {
    return u"Spara ändringar?";
}

std::u16string ConfigNotSavedMessage(const std::filesystem::path& file, const Fault& fault) {
    return u"Ändringarna kunde inte sparas i " + PathToText(file) + u": " + fault.Reason + u".";
}

std::u16string ConfigSavedMessage() {
    return u"Ändringar sparade.";
}

std::u16string StartFailedMessage(std::u16string_view reason) {
    return u"Fel vid start: " + std::u16string(reason);
}

std::u16string LogFolderNotMadeMessage(const std::filesystem::path& folder, const Fault& fault) {
    return u"Loggmappen " + PathToText(folder) + u" kunde inte skapas: " + fault.Reason + u".";
}

std::u16string RenameFailedTitle() {
    return u"Fel vid namnändring";
}

std::u16string RenameFailedMessage(const std::filesystem::path& config,
                                   const std::filesystem::path& old) {
    const std::u16string configText = PathToText(config);
    const std::u16string oldText = PathToText(old);
    return u"TESSELEX  använder inte längre filen " + configText +
           u". Första gången programmet kör kommer inställningarna i denna fil i tillämpliga "
           u"delar att kopieras och sedan döps filen om till " +
           oldText +
           u". Om denna fil redan finns kommer config.txt inte att döpas om och inställningarna "
           u"kopieras varje gång TESSEL EX startar.\r\n\r\nTa i så fall manuellt bort såväl " +
           configText + u" som " + oldText + u" från datorn efter att du kört TESSEL EX en gång. ";
}

std::u16string NoWorkfileMessage() {
    return u"Du måste ange ett filnamn i Voyager "
           u"Cataloging->Options->Preferences->Files/Folders->Workfiles Hldg";
}

std::u16string PlainPasswordMessage(std::u16string_view server) {
    return u"Lösenordet skickas okrypterat till " + std::u16string(server) + u".";
}

std::u16string OneAtATimeLockedMessage() {
    return u"Denna inställning kan endast göras om FTP inte används. Vid vidarebefordran med FTP "
           u"skickas alltid en post i taget.";
}

std::u16string PolicyChoicesText(std::u16string_view choices) {
    return u"tillåtna värden är " + std::u16string(choices);
}

std::u16string PolicyNoServerText() {
    return u"ingen giltig server (värd eller värd:port, port 1–65535)";
}

std::u16string PolicyPersonalOnlyText() {
    return u"den kan bara ställas in av var och en själv";
}

std::u16string PolicyNotUsedMessage(std::u16string_view name, std::u16string_view value,
                                    std::u16string_view why) {
    return u"Administratörens inställning " + std::u16string(name) + u" = \"" +
           std::u16string(value) + u"\" används inte: " + std::u16string(why) +
           u". Din egen inställning gäller.";
}

std::u16string PolicyUnknownMessage(std::u16string_view name, std::u16string_view source) {
    return u"Administratörens inställning " + std::u16string(name) + u" i " +
           std::u16string(source) + u" är okänd och används inte.";
}

std::u16string PolicyUnreadableMessage(std::u16string_view source) {
    return u"Administratörens inställningar i " + std::u16string(source) +
           u" kunde inte läsas. Dina egna inställningar gäller.";
}

std::u16string PolicyBadLineMessage(std::u16string_view line, std::u16string_view source) {
    return u"Raden \"" + std::u16string(line) + u"\" i " + std::u16string(source) +
           u" är ingen inställning (Namn=Värde) och används inte.";
}

}  // namespace tesselex
