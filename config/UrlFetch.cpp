// The HTTP fetch of the shared routines: a request read chunk by chunk, the whole reply, the
// reply with the reason it failed, and the reply saved to a temporary file and read back. The platform's part
// is the request itself (UrlRequest.h).

#include <string>
#include <system_error>

#include "config/EmptyOnFailure.h"
#include "config/CodePage.h"
#include "config/Fingerprint.h"
#include "config/HttpsTrust.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/Upload.h"
#include "config/UrlRequest.h"

namespace tesselex {

static_assert(kUntrustedServer == static_cast<int>(UploadFault::UntrustedCertificate));

namespace {

// The refusal of a server whose certificate is not trusted, naming the server and the key it
// showed (what "server test --trust" would pin), as far as that could be seen.
Fault UntrustedFault(std::u16string_view address, const ServerTrust& trust, UrlRequest& request) {
    const std::u16string server = HttpsServerName(address);  // none: redirected to https
    std::u16string reason = u"the certificate of " + (server.empty() ? Trim(address) : server) +
                            u" is not trusted (" + request.Reason() + u")";
    const std::string der = request.ServerCertificate();
    const std::optional<CertificateFingerprints> prints =
        der.empty() ? std::nullopt : FingerprintsOfDer(der);
    const std::u16string pinned = Trim(trust.Pinned);
    if (prints) {
        reason += u"; the server's key is " + FromAscii(prints->Pin);
        if (!pinned.empty()) {
            reason += u", not the pinned " + pinned;
        }
    } else {
        reason += u"; tesselex-cli server test shows the server's key";
    }
    return Fault{FaultKind::NoConnection, reason, kUntrustedServer};
}

}  // namespace

UrlHandle OpenUrl(std::u16string_view address) {
    // The described fetch answers nothing when it cannot connect; FetchReply tells why.
    return EmptyOnFailure([&]() -> UrlHandle {
        auto request = std::make_shared<UrlRequest>();
        return request->Start(address, kTransferLimit) ? request : nullptr;
    });
}

bool ReadChunk(UrlHandle& handle, std::u16string& chunk) {
    chunk.clear();
    if (!handle) {
        return false;
    }
    const std::string bytes = EmptyOnFailure([&] { return handle->Read(); });
    if (!bytes.empty()) {
        chunk = AnsiToText(bytes);
        return true;
    }
    handle.reset();
    return false;
}

std::u16string FetchUrl(std::u16string_view address) {
    const Outcome<HttpReply> reply = FetchReply(address);
    return reply ? reply.Value().Body : std::u16string();
}

Done HttpReply::Usable() const {
    if (Status >= 400) {
        return Fault{FaultKind::HttpStatus, u"HTTP " + FromAscii(std::to_string(Status)), Status};
    }
    if (Body.empty()) {
        return Fault{FaultKind::EmptyReply, u"empty reply"};
    }
    return {};
}

Outcome<HttpReply> FetchReply(std::u16string_view address, std::chrono::seconds limit) {
    return FetchReply(address, ServerTrust{}, limit);
}

Outcome<HttpReply> FetchReply(std::u16string_view address, const ServerTrust& trust,
                              std::chrono::seconds limit) {
    if (address.empty()) {
        return Fault{FaultKind::NoConnection, u"no address"};
    }
    try {
        const auto request = std::make_shared<UrlRequest>();
        const bool opened = request->Start(address, limit, trust);
        UrlHandle handle = opened ? request : nullptr;
        HttpReply reply;
        std::u16string chunk;
        while (ReadChunk(handle, chunk)) {
            reply.Body += chunk;
        }
        if (request->Untrusted()) {
            return UntrustedFault(address, trust, *request);
        }
        if (request->Failed() || !opened) {
            // The status of a reply that broke off or was not followed is still told.
            return Fault{request->TimedOut() ? FaultKind::TimedOut : FaultKind::NoConnection,
                         request->Reason(), request->Status()};
        }
        reply.Status = request->Status();
        return reply;
    } catch (const std::exception& error) {
        return Fault{FaultKind::NoConnection, AnsiToText(error.what())};
    }
}

Outcome<std::filesystem::path> FetchToTemp(std::u16string_view address) {
    const Outcome<HttpReply> reply = FetchReply(address);
    if (!reply) {
        return reply.Failure();
    }
    const HttpReply& got = reply.Value();
    if (got.Body.empty() || FindNoCase(got.Body, u"<html>") != std::u16string::npos) {
        const Done usable = got.Usable();
        return usable ? Fault{FaultKind::BadData, u"an error page"} : usable.Failure();
    }
    Outcome<std::filesystem::path> file = NewTempFile(u"XX");
    if (!file) {
        return file;
    }
    if (const Done written = WriteFileContents(file.Value(), NormaliseLineEnds(got.Body));
        !written) {
        std::error_code ec;
        std::filesystem::remove(file.Value(), ec);  // it is already being reported
        return written.Failure();
    }
    return file;
}

Outcome<std::u16string> FetchedText(std::u16string_view address) {
    const Outcome<std::filesystem::path> file = FetchToTemp(address);
    if (!file) {
        return file.Failure();
    }
    Outcome<std::u16string> text = FileContents(file.Value());
    // A copy that cannot be removed is left to the system's cleaning of its temporary folder.
    std::error_code ec;
    std::filesystem::remove(file.Value(), ec);
    return text;
}

}  // namespace tesselex
