#include "app/engine/FileLock.h"

#include <thread>

namespace tesselex {

Outcome<FileLock> FileLock::Take(const std::filesystem::path& file,
                                 std::chrono::milliseconds wait) {
    const auto until = std::chrono::steady_clock::now() + wait;
    for (;;) {
        Outcome<FileLock> taken = TryTake(file);
        if (taken || taken.Kind() != FaultKind::Held || std::chrono::steady_clock::now() >= until) {
            return taken;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

long long LeadingNumber(std::string_view text) {
    long long number = 0;
    for (std::size_t i = 0; i < text.size() && i < 18 && text[i] >= '0' && text[i] <= '9'; ++i) {
        number = number * 10 + (text[i] - '0');
    }
    return number;
}

}  // namespace tesselex
