// flock(2): tied to the open file description, so it is gone when the last descriptor closes,
// which the kernel does for a dead process. It is not inherited across exec (O_CLOEXEC).

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "app/engine/DurableFile.h"
#include "app/engine/FileLock.h"

namespace tesselex {

long long ProcessNumber() {
    return static_cast<long long>(::getpid());
}

Outcome<FileLock> FileLock::TryTake(const std::filesystem::path& file) {
    std::error_code ec;
    std::filesystem::create_directories(file.parent_path(), ec);
    const int fd = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        return SystemFault(errno);
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        ::close(fd);
        if (error == EWOULDBLOCK) {
            return Fault{FaultKind::Held, u"", static_cast<int>(Holder(file))};
        }
        return SystemFault(error);
    }
    FileLock lock;
    lock.fd_ = fd;
    // The number is only for another program's message: a failed write changes nothing.
    const std::string pid = std::to_string(ProcessNumber()) + "\n";
    if (::ftruncate(fd, 0) == 0) {
        (void)!::pwrite(fd, pid.data(), pid.size(), 0);
    }
    return lock;
}

long long FileLock::Holder(const std::filesystem::path& file) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return 0;
    }
    char text[24] = {};
    const ssize_t got = ::read(fd, text, sizeof text - 1);
    ::close(fd);
    return LeadingNumber(std::string_view(text, got > 0 ? static_cast<std::size_t>(got) : 0));
}

void FileLock::Release() {
    if (fd_ >= 0) {
        ::close(fd_);  // closing lets go of the lock
        fd_ = -1;
    }
}

bool FileLock::Held() const {
    return fd_ >= 0;
}

FileLock::~FileLock() {
    Release();
}

FileLock::FileLock(FileLock&& other) noexcept : fd_(other.fd_) {
    other.fd_ = -1;
}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
    if (this != &other) {
        Release();
        fd_ = other.fd_;
        other.fd_ = -1;
    }
    return *this;
}

}  // namespace tesselex
