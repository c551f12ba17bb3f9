#include "tests/support/FileSizeLimit.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace tesselex::test {

bool RunWithFileSizeLimit(std::size_t bytes, const std::function<bool()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{bytes, bytes};
        const bool ok = setrlimit(RLIMIT_FSIZE, &limit) == 0 && body();
        _exit(ok ? 0 : 1);
    }
    int status = -1;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

}  // namespace tesselex::test
