// The HTTP fetch of the shared routines: a request read chunk by chunk, the whole reply, the
// reply with the reason it failed, and the reply saved to a temporary file. The platform's part
// is the request itself (UrlRequest.h).

#include <fstream>
#include <string>

#include "config/EmptyOnFailure.h"
#include "config/CodePage.h"
#include "config/SharedRoutines.h"
#include "config/Strings.h"
#include "config/UrlRequest.h"

namespace tesselex {

UrlHandle OpenUrl(std::u16string_view address) {
    // The described fetch answers nothing when it cannot connect; FetchUrlResult tells why.
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
    UrlHandle handle = OpenUrl(address);
    if (!handle) {
        return {};
    }
    // ReadChunk drops its handle at the end; this one tells afterwards how the transfer ended.
    const UrlHandle request = handle;
    std::u16string reply;
    std::u16string chunk;
    while (ReadChunk(handle, chunk)) {
        reply += chunk;
    }
    if (request->Failed()) {
        return {};
    }
    return reply;
}

FetchResult FetchUrlResult(std::u16string_view address, std::chrono::seconds limit) {
    FetchResult result;
    try {
        const auto request = std::make_shared<UrlRequest>();
        const bool opened = request->Start(address, limit);
        UrlHandle handle = opened ? request : nullptr;
        std::u16string chunk;
        while (ReadChunk(handle, chunk)) {
            result.Body += chunk;
        }
        result.HttpStatus = request->Status();
        if (address.empty()) {
            result.Failure = NetFailure::NoConnection;
            result.Reason = u"no address";
        } else if (request->Failed() || !opened) {
            result.Failure = request->TimedOut() ? NetFailure::TimedOut : NetFailure::NoConnection;
            result.Reason = request->Reason();
            result.Body.clear();
        } else if (result.HttpStatus >= 400) {
            result.Failure = NetFailure::HttpStatus;
            result.Reason = u"HTTP " + FromAscii(std::to_string(result.HttpStatus));
        } else if (result.Body.empty()) {
            result.Failure = NetFailure::EmptyReply;
            result.Reason = u"empty reply";
        }
    } catch (const std::exception& error) {
        result = FetchResult{};
        result.Failure = NetFailure::NoConnection;
        result.Reason = AnsiToText(error.what());
    }
    return result;
}

std::filesystem::path FetchToTempFile(std::u16string_view address) {
    const std::u16string reply = FetchUrl(address);
    if (reply.empty() || FindNoCase(reply, u"<html>") != std::u16string::npos) {
        return {};
    }
    std::filesystem::path path = TempFileName(u"XX");
    if (path.empty()) {
        return {};
    }
    const std::string bytes = TextToAnsi(NormaliseLineEnds(reply));
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) {
        std::error_code ec;
        std::filesystem::remove(path, ec);
        return {};
    }
    return path;
}

}  // namespace tesselex
