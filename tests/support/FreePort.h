#pragma once
// A loopback port that nothing listens on, for tests of refused connections. The port was free
// a moment ago; another process could take it, which is unlikely enough for a test.

namespace tesselex::test {

int UnusedLoopbackPort();

}  // namespace tesselex::test
