// Writes that either complete or leave the file as it was.

#include "app/engine/WholeWrite.h"

#include "app/engine/DurableFile.h"

#ifndef _WIN32
#include <locale.h>
#endif
#include <clocale>
#include <cstring>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "config/CodePage.h"

namespace tesselex {
namespace {

Fault FaultOf(int error) {
    const bool full = error == ENOSPC
#ifdef EDQUOT
                      || error == EDQUOT
#endif
        ;
    return Fault{full ? FaultKind::NoSpace : FaultKind::FileSystem, AnsiToText(SystemReason(error)),
                 error};
}

std::FILE* OpenFile(const std::filesystem::path& path, bool append) {
#ifdef _WIN32
    return _wfopen(path.c_str(), append ? L"ab" : L"wb");
#else
    return std::fopen(path.c_str(), append ? "ab" : "wb");
#endif
}

// Writes and closes; the first error number on failure, 0 on success.
int WriteAll(std::FILE* out, const std::string& bytes) {
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

// An append that fails is cut back, so the file holds exactly what it held before.
Done AppendToFile(const std::filesystem::path& file, const std::string& bytes) {
    std::error_code ec;
    const bool existed = std::filesystem::exists(file, ec);
    const auto before = existed ? std::filesystem::file_size(file, ec) : 0;
    if (ec) {
        return FaultOf(ec.value());
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
    return FaultOf(error);
}

// The new content is written beside the file and replaces it only once it is complete, so a
// failed write leaves the previous export in place.
Done ReplaceFile(const std::filesystem::path& file, const std::string& bytes,
                 const std::filesystem::path& backup) {
    std::filesystem::path beside = file;
    beside += ".part";
    int error = WriteAll(OpenFile(beside, false), bytes);
    std::error_code ec;
    if (error == 0) {
        // On the disk before the rename, so a crash leaves the old file or the new one whole.
        if (Done synced = SyncFile(beside); !synced) {
            error = synced.Failure().Code;
        }
    }
    if (error == 0 && !backup.empty() && std::filesystem::exists(file, ec)) {
        // The old file is replaced only once it is safe in the backup.
        std::filesystem::remove(backup, ec);
        std::filesystem::rename(file, backup, ec);
        error = ec.value();
    }
    if (error == 0) {
        std::filesystem::rename(beside, file, ec);
        error = ec.value();
    }
    if (error == 0) {
        return SyncFolder(file.parent_path());
    }
    std::filesystem::remove(beside, ec);
    return FaultOf(error);
}

}  // namespace tesselex
