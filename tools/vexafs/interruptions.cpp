#include "interruptions.hpp"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace vexafs {

// A descriptor that is closed when it goes.
class Interruptions::Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {
        if (fd_ < 0)
            throw std::system_error(errno, std::generic_category(),
                                    "cannot watch for interruptions");
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { ::close(fd_); }
    int get() const noexcept { return fd_; }

private:
    int fd_;
};

Interruptions::Interruptions() {
    ::sigemptyset(&signals_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        ::sigaddset(&signals_, signal);
    if (const int error = ::pthread_sigmask(SIG_BLOCK, &signals_, &previous_); error != 0)
        throw std::system_error(error, std::generic_category(), "cannot block signals");
    try {
        signalled_ = std::make_unique<Descriptor>(::signalfd(-1, &signals_, SFD_CLOEXEC));
        stop_ = std::make_unique<Descriptor>(::eventfd(0, EFD_CLOEXEC));
        watcher_ = std::thread([this] { watch(); });
    } catch (...) {
        ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
        throw;
    }
}

Interruptions::~Interruptions() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(stop_->get(), &one, sizeof one);
    watcher_.join();
    // A signal that came after the watcher stopped is delivered now, as it would be.
    ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
}

Interruptions::Hold::Hold(Interruptions& owner) : owner_(owner) {
    std::unique_lock lock(owner_.mutex_);
    owner_.changed_.wait(lock, [&] { return !owner_.ending_; });
    ++owner_.holding_;
}

Interruptions::Hold::~Hold() {
    const std::lock_guard lock(owner_.mutex_);
    if (--owner_.holding_ == 0)
        owner_.changed_.notify_all();
}

void Interruptions::watch() {
    pollfd waits[] = {{signalled_->get(), POLLIN, 0}, {stop_->get(), POLLIN, 0}};
    for (;;) {
        if (::poll(waits, 2, -1) < 0)
            continue; // only a signal not blocked here ends a wait early
        if (waits[0].revents != 0)
            break;
        if (waits[1].revents != 0)
            return;
    }
    signalfd_siginfo signal{};
    if (::read(signalled_->get(), &signal, sizeof signal) != sizeof signal)
        signal.ssi_signo = SIGTERM;
    std::unique_lock lock(mutex_); // never released: the program ends here
    ending_ = true;
    changed_.wait(lock, [&] { return holding_ == 0; });
    ::_exit(128 + static_cast<int>(signal.ssi_signo));
}

} // namespace vexafs
