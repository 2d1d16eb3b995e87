#pragma once

// A server program run for a test: started with its output in a log file, ready once every
// one of its ports takes connections (a bounded wait), stopped with its owner, and killed
// with the test process should that die first.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vexa::testing {

inline sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

// Whether something takes connections on 127.0.0.1:`port`.
inline bool accepts(int port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    const bool connected =
        ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return connected;
}

class ServerProcess {
public:
    ServerProcess() = default;
    ServerProcess(ServerProcess&& other) noexcept : pid_(std::exchange(other.pid_, -1)) {}
    ServerProcess& operator=(ServerProcess&& other) noexcept {
        stop();
        pid_ = std::exchange(other.pid_, -1);
        return *this;
    }
    ~ServerProcess() { stop(); }

    // Runs `program` with `args` and this process's environment, `setting` ("NAME=value")
    // put in place of what it names, its output appended to `logFile`; true once all `ports`
    // take connections, false when it ended first (a port taken by another process meanwhile)
    // or was not ready within `patience`.
    bool start(const std::string& program, const std::vector<std::string>& args,
               const std::string& logFile, const std::vector<int>& ports,
               const std::vector<std::string>& setting = {},
               std::chrono::seconds patience = std::chrono::seconds(10)) {
        stop();
        // Everything the child needs is made before the fork: after it, only system calls.
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (const std::string& arg : args)
            argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        std::vector<char*> envp;
        for (const std::string& variable : setting)
            envp.push_back(const_cast<char*>(variable.c_str()));
        for (char** variable = environ; *variable; ++variable) {
            const std::string_view text(*variable);
            if (std::none_of(setting.begin(), setting.end(), [&](const std::string& set) {
                    return text.substr(0, text.find('=') + 1) == set.substr(0, set.find('=') + 1);
                }))
                envp.push_back(*variable);
        }
        envp.push_back(nullptr);
        const int log = ::open(logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        const pid_t parent = ::getpid();
        pid_ = ::fork();
        if (pid_ == 0) {
            // The server goes with the test process, even one that crashes, also before this
            // line.
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (::getppid() != parent)
                ::_exit(127);
            ::dup2(log, 1);
            ::dup2(log, 2);
            ::execve(program.c_str(), argv.data(), envp.data());
            ::_exit(127);
        }
        ::close(log);
        if (pid_ < 0)
            throw std::runtime_error("fork failed");
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (std::chrono::steady_clock::now() < deadline) {
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                return false;
            }
            bool ready = true;
            for (const int port : ports)
                ready = ready && accepts(port);
            if (ready)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        stop();
        return false;
    }

    void stop() {
        if (pid_ <= 0)
            return;
        ::kill(pid_, SIGTERM);
        int status = 0;
        ::waitpid(pid_, &status, 0);
        pid_ = -1;
    }

private:
    pid_t pid_ = -1;
};

} // namespace vexa::testing
