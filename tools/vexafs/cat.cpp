// vexafs cat: an item's content, streamed from its storage to standard output or a file.

#include "arguments.hpp"
#include "commands.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/vfs/IODevice.hpp>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace vexafs {
namespace {

namespace vfs = foundation::storage::vfs;

[[noreturn]] void failWithErrno(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

void writeAll(int fd, const char* data, std::size_t size, const std::string& name) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            failWithErrno("cannot write " + name);
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

// A descriptor that is closed when it goes.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {
        if (fd_ < 0)
            failWithErrno("cannot watch for interruptions");
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { ::close(fd_); }
    int get() const noexcept { return fd_; }

private:
    int fd_;
};

// While it lives, an interruption (SIGINT, SIGTERM, SIGHUP) removes the file named last with
// `removeOnInterruption` and ends the program with 128 + the signal, as a shell reports a
// program the signal ended. The signals are blocked and taken by a thread of its own, so
// the removal runs as ordinary code: never in the middle of a change to what it removes.
class Interruptions {
public:
    Interruptions() {
        ::sigemptyset(&signals_);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP})
            ::sigaddset(&signals_, signal);
        // Before any thread is made: threads made later (the network's too) inherit the mask.
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
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;
    ~Interruptions() {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(stop_->get(), &one, sizeof one);
        watcher_.join();
        // A signal that came after the watcher stopped is delivered now, as it would be.
        ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    }

    // Runs `change`, which returns the file an interruption is to remove from then on ("":
    // none), with interruptions held off until it has returned.
    template <class Change>
    void removeOnInterruption(Change change) {
        const std::lock_guard lock(mutex_);
        removed_ = change();
    }

private:
    void watch() {
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
        mutex_.lock(); // never released: the program ends here
        if (!removed_.empty())
            ::unlink(removed_.c_str());
        ::_exit(128 + static_cast<int>(signal.ssi_signo));
    }

    sigset_t signals_{};
    sigset_t previous_{};
    std::unique_ptr<Descriptor> signalled_;
    std::unique_ptr<Descriptor> stop_;
    std::mutex mutex_;
    std::string removed_;
    std::thread watcher_;
};

// The file the content goes to when the user names one. The content is written to a new
// file beside it and renamed over it only once all of it has arrived, so a transfer that
// fails leaves whatever was there before untouched and no partial file behind. A file that
// is replaced keeps its mode and owner, and a link to it stays a link: the new file goes
// where the link leads, as the shell's redirection writes through it.
class ReplacingFile {
public:
    ReplacingFile(const std::string& name, Interruptions& interruptions)
        : target_(whereNameLeads(name)), interruptions_(interruptions) {
        const auto slash = target_.rfind('/');
        const std::string folder = slash == std::string::npos ? "." : target_.substr(0, slash);
        temporary_ = folder + "/.vexafs-cat-XXXXXX";
        interruptions_.removeOnInterruption([this] {
            fd_ = ::mkstemp(temporary_.data());
            return fd_ < 0 ? std::string() : temporary_;
        });
        if (fd_ < 0)
            failWithErrno("cannot create a file in " + folder);
        struct stat existing;
        if (::stat(target_.c_str(), &existing) == 0) {
            ::fchmod(fd_, existing.st_mode & 07777);
            // Only a privileged user may give the file away; anyone else makes it their own.
            [[maybe_unused]] const int given = ::fchown(fd_, existing.st_uid, existing.st_gid);
        } else {
            // mkstemp makes it 0600; a new file gets the mode a new file gets here.
            const mode_t mask = ::umask(0);
            ::umask(mask);
            ::fchmod(fd_, 0666 & ~mask);
        }
    }
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;
    ~ReplacingFile() {
        if (fd_ >= 0)
            ::close(fd_);
        interruptions_.removeOnInterruption([this] {
            if (!committed_)
                ::unlink(temporary_.c_str());
            return std::string();
        });
    }

    int descriptor() const noexcept { return fd_; }
    const std::string& name() const noexcept { return target_; }

    void commit() {
        if (::fsync(fd_) != 0)
            failWithErrno("cannot write " + target_);
        const int fd = fd_;
        fd_ = -1;
        if (::close(fd) != 0)
            failWithErrno("cannot write " + target_);
        // An interruption comes before the rename, and removes the file, or after it.
        bool renamed = false;
        interruptions_.removeOnInterruption([&] {
            renamed = ::rename(temporary_.c_str(), target_.c_str()) == 0;
            return renamed ? std::string() : temporary_;
        });
        if (!renamed)
            failWithErrno("cannot replace " + target_);
        committed_ = true;
    }

private:
    // The file a name leads to once its links are followed; the name itself where nothing
    // is there yet.
    static std::string whereNameLeads(const std::string& name) {
        const std::unique_ptr<char, decltype(&std::free)> resolved(
            ::realpath(name.c_str(), nullptr), &std::free);
        return resolved ? std::string(resolved.get()) : name;
    }

    std::string target_;
    Interruptions& interruptions_;
    std::string temporary_;
    int fd_ = -1;
    bool committed_ = false;
};

struct CatArguments {
    std::string location;
    std::string output;
};

void copyContent(vfs::IODevice& device, int fd, const std::string& name) {
    std::vector<char> buffer(64 * 1024);
    while (const std::size_t got = device.read(buffer))
        writeAll(fd, buffer.data(), got, name);
}

} // namespace

void addCatCommand(CLI::App& app) {
    auto arguments = std::make_shared<CatArguments>();
    CLI::App* command = app.add_subcommand(
        "cat", "Write an item's content (a local file, or an http or https IRI) to standard "
               "output or, with --output, to a file that is replaced only once all of it arrived");
    command->add_option("location", arguments->location, "Path or IRI")->required();
    command->add_option("-o,--output", arguments->output, "The file to write instead of stdout");
    command->callback([arguments] {
        // Written to a file, an interruption leaves nothing behind: it is watched for from
        // the start, before the network makes threads of its own.
        std::optional<Interruptions> interruptions;
        if (!arguments->output.empty() && arguments->output != "-")
            interruptions.emplace();
        // The item is opened before the output is touched: one that cannot be read leaves it
        // alone.
        vfs::IODevice device(vfs::File(locationOf(fl::i18n::to_ustring(arguments->location)),
                                       Quarrow::VexaStorageSystem::GetStorageSystemReference()));
        if (arguments->output.empty() || arguments->output == "-") {
            copyContent(device, STDOUT_FILENO, "standard output");
            return;
        }
        ReplacingFile output(arguments->output, *interruptions);
        copyContent(device, output.descriptor(), output.name());
        output.commit();
    });
}

} // namespace vexafs
