#pragma once

// A refused permission is only refused to an unprivileged process, and the tests may run as
// root: the check runs in a forked child that first becomes nobody (65534) when it is root.

#include <functional>

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vexa::testing {

// The child's exit codes when the check itself could not run.
constexpr int couldNotDropRoot = 125;
constexpr int checkThrew = 126;

// The check's return value as the child's exit code; -1 when the child did not exit.
inline int runAsUnprivileged(const std::function<int()>& check) {
    const pid_t child = ::fork();
    if (child == -1)
        return -1;
    if (child == 0) {
        if (::getuid() == 0 &&
            (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0))
            ::_exit(couldNotDropRoot);
        int code = checkThrew;
        try {
            code = check();
        } catch (...) {
        }
        ::_exit(code);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

// Whether `check` holds for an unprivileged user: false too when it could not run as one.
inline bool holdsUnprivileged(const std::function<bool()>& check) {
    return runAsUnprivileged([&] { return check() ? 0 : 1; }) == 0;
}

} // namespace vexa::testing
