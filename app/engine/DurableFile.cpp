// Writes that stay done after a crash: the platform's flushes are in DurableFile*.cpp.

#include "app/engine/DurableFile.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "app/engine/WholeWrite.h"
#include "config/Utf.h"

namespace tesselex {

Fault SystemFault(int error) {
    const bool noSpace = error == ENOSPC
#ifdef EDQUOT
                         || error == EDQUOT
#endif
        ;
    return Fault{noSpace ? FaultKind::NoSpace : FaultKind::FileSystem,
                 Utf8ToText(SystemReason(error)), error};
}

Done WriteFileDurably(const std::filesystem::path& file, std::string_view bytes) {
    std::filesystem::path beside = file;
    beside += ".part";
    std::error_code ec;
    {
#ifdef _WIN32
        std::FILE* out = _wfopen(beside.c_str(), L"wb");
#else
        std::FILE* out = std::fopen(beside.c_str(), "wb");
#endif
        if (out == nullptr) {
            return SystemFault(errno);
        }
        const bool written = std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size() &&
                             std::fflush(out) == 0;
        const int error = errno;
        if (std::fclose(out) != 0 || !written) {
            const int reason = written ? errno : error;
            std::filesystem::remove(beside, ec);
            return SystemFault(reason);
        }
    }
    if (Done synced = SyncFile(beside); !synced) {
        std::filesystem::remove(beside, ec);
        return synced;
    }
    std::filesystem::rename(beside, file, ec);
    if (ec) {
        const int error = ec.value();
        std::filesystem::remove(beside, ec);
        return SystemFault(error);
    }
    return SyncFolder(file.parent_path());
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
