// Writes that stay done after a crash: the platform's flushes are in DurableFile*.cpp.

#include "app/engine/DurableFile.h"

#ifndef _WIN32
#include <locale.h>
#endif
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "config/CodePage.h"

namespace tesselex {
namespace {

std::FILE* OpenFile(const std::filesystem::path& path, bool append) {
#ifdef _WIN32
    return _wfopen(path.c_str(), append ? L"ab" : L"wb");
#else
    return std::fopen(path.c_str(), append ? "ab" : "wb");
#endif
}

// Writes and closes; the first error number on failure, 0 on success.
int WriteAll(std::FILE* out, std::string_view bytes) {
    if (out == nullptr) {
        return errno;
    }
    const bool written =
        std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size() && std::fflush(out) == 0;
    int error = written ? 0 : errno;
    if (std::fclose(out) != 0 && error == 0) {
        error = errno;
    }
    return error;
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

Fault SystemFault(int error) {
    const bool noSpace = error == ENOSPC
#ifdef EDQUOT
                         || error == EDQUOT
#endif
        ;
    return Fault{noSpace ? FaultKind::NoSpace : FaultKind::FileSystem,
                 AnsiToText(SystemReason(error)), error};
}

Done AppendToFile(const std::filesystem::path& file, std::string_view bytes) {
    std::error_code ec;
    const bool existed = std::filesystem::exists(file, ec);
    const auto before = existed ? std::filesystem::file_size(file, ec) : 0;
    if (ec) {
        return SystemFault(ec.value());
    }
    const int error = WriteAll(OpenFile(file, true), bytes);
    if (error == 0) {
        return {};
    }
    // The cut-back is best effort: the write's own error is what is reported.
    if (existed) {
        std::filesystem::resize_file(file, before, ec);
    } else {
        std::filesystem::remove(file, ec);
    }
    return SystemFault(error);
}

Done AppendDurably(const std::filesystem::path& file, std::string_view bytes) {
    if (Done appended = AppendToFile(file, bytes); !appended) {
        return appended;
    }
    return SyncFile(file);
}

Done ReplaceFile(const std::filesystem::path& file, std::string_view bytes,
                 const std::filesystem::path& backup) {
    std::filesystem::path beside = file;
    beside += ".part";
    Done done;
    if (const int error = WriteAll(OpenFile(beside, false), bytes); error != 0) {
        done = SystemFault(error);
    } else {
        // On the disk before the rename, so a crash leaves the old file or the new one whole.
        done = SyncFile(beside);
    }
    std::error_code ec;
    if (done && !backup.empty() && std::filesystem::exists(file, ec)) {
        // The old file is replaced only once it is safe in the backup.
        std::filesystem::remove(backup, ec);
        std::filesystem::rename(file, backup, ec);
        if (ec) {
            done = SystemFault(ec.value());
        }
    }
    if (done) {
        std::filesystem::rename(beside, file, ec);
        if (ec) {
            done = SystemFault(ec.value());
        }
    }
    if (done) {
        return SyncFolder(file.parent_path());
    }
    std::filesystem::remove(beside, ec);
    return done;
}

Done TruncateDurably(const std::filesystem::path& file, std::uintmax_t length) {
    std::error_code ec;
    std::filesystem::resize_file(file, length, ec);
    if (ec) {
        return SystemFault(ec.value());
    }
    return SyncFile(file);
}

}  // namespace tesselex
