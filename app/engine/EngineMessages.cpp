#include "app/engine/EngineMessages.h"

#include <string>

#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

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

std::u16string NoRequestTableMessage(std::u16string_view address) {
    return u"Frågetabellen kunde inte hämtas från " + std::u16string(address) +
           u"; exporterna väntar och tabellen hämtas igen.";
}

std::u16string RequestTableFetchedMessage(std::u16string_view address) {
    return u"Frågetabellen hämtades från " + std::u16string(address) +
           u"; väntande exporter skickas nu.";
}

std::u16string KeptRequestTableMessage(const std::filesystem::path& kept) {
    return u"Exportservern svarade inte; frågetabellen från dess senaste svar (" +
           PathToText(kept) + u") används.";
}

}  // namespace tesselex
