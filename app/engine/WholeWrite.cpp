// Writes that either complete or leave the file as it was.

#include "app/engine/WholeWrite.h"

#ifndef _WIN32
#include <locale.h>
#endif
#include <clocale>
#include <cstring>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace tesselex {
namespace {

std::string LastError() {
    return SystemReason(errno);
}

std::FILE* OpenFile(const std::filesystem::path& path, bool append) {
#ifdef _WIN32
    return _wfopen(path.c_str(), append ? L"ab" : L"wb");
#else
    return std::fopen(path.c_str(), append ? "ab" : "wb");
#endif
}

// Writes and closes; the system's reason on failure, "" on success.
std::string WriteAll(std::FILE* out, const std::string& bytes) {
    if (out == nullptr) {
        return LastError();
    }
    const bool written =
        std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size() && std::fflush(out) == 0;
    std::string reason = written ? std::string() : LastError();
    if (std::fclose(out) != 0 && reason.empty()) {
        reason = LastError();
    }
    return reason;
}

}  // namespace

std::string SystemReason(int error) {
#ifdef _WIN32
    // The C runtime's texts are English whatever the system's language.
    char text[256] = {};
    return strerror_s(text, sizeof text, error) == 0 ? std::string(text)
                                                     : std::generic_category().message(error);
#else
    const locale_t c = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    if (c == static_cast<locale_t>(nullptr)) {
        return std::generic_category().message(error);
    }
    std::string reason = strerror_l(error, c);
    freelocale(c);
    return reason;
#endif
}

// An append that fails is cut back, so the file holds exactly what it held before.
std::string AppendToFile(const std::filesystem::path& file, const std::string& bytes) {
    std::error_code ec;
    const bool existed = std::filesystem::exists(file, ec);
    const auto before = existed ? std::filesystem::file_size(file, ec) : 0;
    if (ec) {
        return SystemReason(ec.value());
    }
    std::string reason = WriteAll(OpenFile(file, true), bytes);
    if (!reason.empty()) {
        if (existed) {
            std::filesystem::resize_file(file, before, ec);
        } else {
            std::filesystem::remove(file, ec);
        }
    }
    return reason;
}

// The new content is written beside the file and replaces it only once it is complete, so a
// failed write leaves the previous export in place.
std::string ReplaceFile(const std::filesystem::path& file, const std::string& bytes,
                        const std::filesystem::path& backup) {
    std::filesystem::path beside = file;
    beside += ".part";
    std::string reason = WriteAll(OpenFile(beside, false), bytes);
    std::error_code ec;
    if (reason.empty() && !backup.empty() && std::filesystem::exists(file, ec)) {
        // The old file is replaced only once it is safe in the backup.
        std::filesystem::remove(backup, ec);
        std::filesystem::rename(file, backup, ec);
        reason = ec ? SystemReason(ec.value()) : std::string();
    }
    if (reason.empty()) {
        std::filesystem::rename(beside, file, ec);
        reason = ec ? SystemReason(ec.value()) : std::string();
    }
    if (!reason.empty()) {
        std::filesystem::remove(beside, ec);
    }
    return reason;
}

}  // namespace tesselex
