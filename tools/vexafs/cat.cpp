// vexafs cat: an item's content, streamed from its storage to standard output or a file.

#include "arguments.hpp"
#include "commands.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/vfs/IODevice.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>
#include <system_error>
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

// The file the content goes to when the user names one. The content is written to a new
// file beside it and renamed over it only once all of it has arrived, so a transfer that
// fails leaves whatever was there before untouched and no partial file behind.
class ReplacingFile {
public:
    explicit ReplacingFile(std::string target) : target_(std::move(target)) {
        const auto slash = target_.rfind('/');
        const std::string folder = slash == std::string::npos ? "." : target_.substr(0, slash);
        temporary_ = folder + "/.vexafs-cat-XXXXXX";
        fd_ = ::mkstemp(temporary_.data());
        if (fd_ < 0)
            failWithErrno("cannot create a file in " + folder);
        // mkstemp makes it 0600; the finished file gets the mode a new file gets here.
        const mode_t mask = ::umask(0);
        ::umask(mask);
        ::fchmod(fd_, 0666 & ~mask);
    }
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;
    ~ReplacingFile() {
        if (fd_ >= 0)
            ::close(fd_);
        if (!committed_)
            ::unlink(temporary_.c_str());
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
        if (::rename(temporary_.c_str(), target_.c_str()) != 0)
            failWithErrno("cannot replace " + target_);
        committed_ = true;
    }

private:
    std::string target_;
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
        // The item is opened before the output is touched: one that cannot be read leaves it
        // alone.
        vfs::IODevice device(vfs::File(locationOf(fl::i18n::to_ustring(arguments->location)),
                                       Quarrow::VexaStorageSystem::GetStorageSystemReference()));
        if (arguments->output.empty() || arguments->output == "-") {
            copyContent(device, STDOUT_FILENO, "standard output");
            return;
        }
        ReplacingFile output(arguments->output);
        copyContent(device, output.descriptor(), output.name());
        output.commit();
    });
}

} // namespace vexafs
