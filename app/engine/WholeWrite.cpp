// Writes that either complete or leave the file as it was.

#include "app/engine/WholeWrite.h"

#include <locale.h>
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
    const locale_t c = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    if (c == static_cast<locale_t>(nullptr)) {
        return std::generic_category().message(error);
    }
    std::string reason = strerror_l(error, c);
    freelocale(c);
    return reason;
}

// An append that fails is cut back, so the file holds exactly what it held before.
std::string AppendToFile(const std::filesystem::path& file, const std::string& bytes) {
    std::error_code ec;
    const bool existed = std::filesystem::exists(file, ec);
    const auto before = existed ? std::filesystem::file_size(file, ec) : 0;
    if (ec) {
        return SystemReason(ec.value());
    }
    std::string reason = WriteAll(std::fopen(file.c_str(), "ab"), bytes);
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
    std::string reason = WriteAll(std::fopen(beside.c_str(), "wb"), bytes);
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
