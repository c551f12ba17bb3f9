// Flushes through fsync: of the file's own descriptor, and of the folder's for its names.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "app/engine/DurableFile.h"

namespace tesselex {
namespace {

Done SyncPath(const std::filesystem::path& path, int flags) {
    const int fd = ::open(path.c_str(), flags | O_CLOEXEC);
    if (fd < 0) {
        return SystemFault(errno);
    }
    const int synced = ::fsync(fd);
    const int error = errno;
    ::close(fd);
    if (synced != 0) {
        return SystemFault(error);
    }
    return {};
}

}  // namespace

Done SyncFile(const std::filesystem::path& file) {
    return SyncPath(file, O_RDWR);
}

Done SyncFolder(const std::filesystem::path& folder) {
    return SyncPath(folder.empty() ? std::filesystem::path(".") : folder,
                    O_RDONLY | O_DIRECTORY);
}

}  // namespace tesselex
