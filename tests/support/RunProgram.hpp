#pragma once

// Runs a program with arguments and collects its exit code, standard output and error; or
// starts one that the test signals while it runs.

#include <csignal>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vexa::testing {

struct ProgramResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// The program writes into anonymous in-memory files, read once it has ended: no pipe can
// fill up and block it.
inline ProgramResult runProgram(const std::string& program, const std::vector<std::string>& args) {
    const int out = ::memfd_create("out", MFD_CLOEXEC), err = ::memfd_create("err", MFD_CLOEXEC);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out, 1);
    posix_spawn_file_actions_adddup2(&actions, err, 2);
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const auto& a : args)
        argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    pid_t pid = -1;
    int status = 0;
    ProgramResult result;
    if (out >= 0 && err >= 0 &&
        ::posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ) == 0 &&
        ::waitpid(pid, &status, 0) == pid && WIFEXITED(status))
        result.exitCode = WEXITSTATUS(status);
    posix_spawn_file_actions_destroy(&actions);
    for (auto [fd, sink] : {std::pair{out, &result.out}, std::pair{err, &result.err}}) {
        char buffer[4096];
        for (off_t at = 0; fd >= 0;) {
            const ssize_t n = ::pread(fd, buffer, sizeof buffer, at);
            if (n <= 0)
                break;
            sink->append(buffer, static_cast<std::size_t>(n));
            at += n;
        }
        if (fd >= 0)
            ::close(fd);
    }
    return result;
}

// A program running beside the test, its output discarded; killed and waited for when it
// goes, should the test not have waited for it.
class RunningProgram {
public:
    RunningProgram(const std::string& program, const std::vector<std::string>& args) {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        for (const int fd : {1, 2})
            posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", O_WRONLY, 0);
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (const auto& a : args)
            argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        // Signals reach it as they reach a program started from a terminal, whatever this
        // process ignores or blocks (a shell ignores SIGINT for a job it puts in the
        // background).
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        sigset_t all, none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        if (::posix_spawn(&pid_, program.c_str(), &actions, &attributes, argv.data(), environ) != 0)
            pid_ = -1;
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
    }
    ~RunningProgram() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            wait();
        }
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    bool running() const { return pid_ > 0; }
    pid_t pid() const { return pid_; }
    void signal(int number) const { ::kill(pid_, number); }
    // The exit code once the program has ended; -1 when a signal ended it.
    int wait() {
        int status = 0;
        const bool ended = pid_ > 0 && ::waitpid(pid_, &status, 0) == pid_;
        pid_ = -1;
        return ended && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid_ = -1;
};

} // namespace vexa::testing
