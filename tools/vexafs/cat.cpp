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
#include <cstdlib>
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
// fails leaves whatever was there before untouched and no partial file behind. A file that
// is replaced keeps its mode and owner, and a link to it stays a link: the new file goes
// where the link leads, as the shell's redirection writes through it.
class ReplacingFile {
public:
    explicit ReplacingFile(const std::string& name) : target_(whereNameLeads(name)) {
        const auto slash = target_.rfind('/');
        const std::string folder = slash == std::string::npos ? "." : target_.substr(0, slash);
        temporary_ = folder + "/.vexafs-cat-XXXXXX";
        fd_ = ::mkstemp(temporary_.data());
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
    // The file a name leads to once its links are followed; the name itself where nothing
    // is there yet.
    static std::string whereNameLeads(const std::string& name) {
        const std::unique_ptr<char, decltype(&std::free)> resolved(
            ::realpath(name.c_str(), nullptr), &std::free);
        return resolved ? std::string(resolved.get()) : name;
    }

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
