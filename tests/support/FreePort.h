#pragma once
// Loopback ports for tests of failing connections. UnusedLoopbackPort: nothing listens on it (it
// was free a moment ago; another process could take it, which is unlikely enough for a test).
// SilentLoopbackPort: the system accepts connections there, and nobody ever says a word.

#include <cstdint>

namespace tesselex::test {

int UnusedLoopbackPort();

class SilentLoopbackPort {
  public:
    SilentLoopbackPort();  // throws std::runtime_error when no port can be had
    ~SilentLoopbackPort();
    SilentLoopbackPort(const SilentLoopbackPort&) = delete;
    SilentLoopbackPort& operator=(const SilentLoopbackPort&) = delete;

    int Port() const { return port_; }

  private:
    std::uintptr_t socket_;  // listening, never accepting
    int port_ = 0;
};

}  // namespace tesselex::test
