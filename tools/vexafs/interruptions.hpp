#pragma once

// How a command that writes an item ends when it is interrupted (SIGINT, SIGTERM, SIGHUP):
// the program ends with 128 + the signal, as a shell reports a program a signal ended, and
// what it was writing is left as it was. Content in transit sits in a file without a name
// until a write stream commits, so ending the process leaves nothing behind; only the commit
// itself, which gives that file its name, must not be cut in two.

#include <signal.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace vexafs {

class Interruptions {
public:
    // Blocks the signals in this thread, and so in every thread made after it (the network's
    // too), and watches for them from a thread of its own. Make it before any other thread.
    Interruptions();
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;
    ~Interruptions();

    // Runs `work` with interruptions held off until it has returned. Several threads may
    // hold them off at once (each commits its own copy); an interruption waits for all of
    // them, and a thread that comes after it waits for the end of the program.
    template <class Work> void holdingOff(Work work) {
        const Hold hold(*this);
        work();
    }

private:
    class Descriptor;
    class Hold {
    public:
        explicit Hold(Interruptions& owner);
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;
        ~Hold();

    private:
        Interruptions& owner_;
    };
    void watch();

    sigset_t signals_{};
    sigset_t previous_{};
    std::unique_ptr<Descriptor> signalled_;
    std::unique_ptr<Descriptor> stop_;
    std::mutex mutex_;
    std::condition_variable changed_;
    int holding_ = 0;
    bool ending_ = false;
    std::thread watcher_;
};

} // namespace vexafs
