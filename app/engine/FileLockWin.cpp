// LockFileEx on a byte far beyond the process number: Windows' locks are mandatory, so the
// number itself stays readable for another program's message. The lock goes with the handle,
// which Windows closes for a dead process.

#include <windows.h>

#include <string>
#include <system_error>

#include "app/engine/DurableFile.h"
#include "app/engine/FileLock.h"

namespace tesselex {
namespace {

constexpr DWORD kLockOffsetHigh = 1;  // byte 4 GiB: never part of the file's text

}  // namespace

long long ProcessNumber() {
    return static_cast<long long>(GetCurrentProcessId());
}

Outcome<FileLock> FileLock::TryTake(const std::filesystem::path& file) {
    std::error_code ec;
    std::filesystem::create_directories(file.parent_path(), ec);
    HANDLE handle = CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return WindowsFault(GetLastError());
    }
    OVERLAPPED at = {};
    at.OffsetHigh = kLockOffsetHigh;
    if (!LockFileEx(handle, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &at)) {
        const DWORD error = GetLastError();
        CloseHandle(handle);
        if (error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING) {
            return Fault{FaultKind::Held, u"", static_cast<int>(Holder(file))};
        }
        return WindowsFault(error);
    }
    FileLock lock;
    lock.handle_ = handle;
    // The number is only for another program's message: a failed write changes nothing.
    const std::string pid = std::to_string(ProcessNumber()) + "\r\n";
    DWORD written = 0;
    if (SetFilePointer(handle, 0, nullptr, FILE_BEGIN) == 0 && SetEndOfFile(handle)) {
        (void)WriteFile(handle, pid.data(), static_cast<DWORD>(pid.size()), &written, nullptr);
    }
    return lock;
}

long long FileLock::Holder(const std::filesystem::path& file) {
    HANDLE handle = CreateFileW(file.c_str(), GENERIC_READ,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return 0;
    }
    char text[24] = {};
    DWORD got = 0;
    (void)ReadFile(handle, text, sizeof text - 1, &got, nullptr);
    CloseHandle(handle);
    return LeadingNumber(std::string_view(text, got > 0 ? static_cast<std::size_t>(got) : 0));
}

void FileLock::Release() {
    if (handle_ != nullptr) {
        CloseHandle(static_cast<HANDLE>(handle_));  // closing lets go of the lock
        handle_ = nullptr;
    }
}

bool FileLock::Held() const {
    return handle_ != nullptr;
}

FileLock::~FileLock() {
    Release();
}

FileLock::FileLock(FileLock&& other) noexcept : handle_(other.handle_) {
    other.handle_ = nullptr;
}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
    if (this != &other) {
        Release();
        handle_ = other.handle_;
        other.handle_ = nullptr;
    }
    return *this;
}

}  // namespace tesselex
