#include <foundation/storage/provider/LocalFileProvider.hpp>

#include "LocalFile.hpp"
#include "temporary_names.hpp"

#include <fl/i18n.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace foundation::storage::provider {
namespace {

using local::Descriptor;
using local::fail;
using local::localPath;

class LocalInputStream : public InputStream {
public:
    LocalInputStream(Descriptor fd, local::LocalPath path, std::optional<std::uint64_t> size)
        : fd_(std::move(fd)), path_(std::move(path)), size_(size) {}

    std::size_t read(std::span<char> buffer) override {
        for (;;) {
            const ssize_t n = ::read(fd_.get(), buffer.data(), buffer.size());
            if (n >= 0)
                return static_cast<std::size_t>(n);
            if (errno != EINTR)
                fail("read", path_);
        }
    }

    std::optional<std::uint64_t> size() const override { return size_; }

    int descriptor() const noexcept { return fd_.get(); }

private:
    Descriptor fd_;
    local::LocalPath path_;
    std::optional<std::uint64_t> size_;
};

// The folder of a native path and its last component.
std::pair<std::string, std::string> splitPath(const std::string& native) {
    const auto slash = native.rfind('/');
    if (slash == std::string::npos)
        return {".", native};
    return {slash == 0 ? "/" : native.substr(0, slash), native.substr(slash + 1)};
}

// Where content written to `path` goes: through any links, as the shell's redirection
// writes. A link that leads nowhere cannot be written through, as it cannot be read.
local::LocalPath writtenPath(const local::LocalPath& path) {
    struct stat own {};
    if (::lstat(path.native.c_str(), &own) != 0 || !S_ISLNK(own.st_mode))
        return path;
    const std::unique_ptr<char, decltype(&std::free)> resolved(
        ::realpath(path.native.c_str(), nullptr), &std::free);
    if (!resolved) {
        errno = ELOOP; // counted among the links that cannot be followed
        fail("openForWriting", path);
    }
    return {resolved.get()};
}

// A name beside `leaf` in `folder` that nothing else uses.
std::string temporaryName(const std::string& folder, const std::string& leaf) {
    return folder + "/" + temporaryLeaf(leaf);
}

// New content for a local file, written to a file beside it that has no name (O_TMPFILE)
// until commit, so that a process killed while writing leaves nothing behind. File systems
// without such files get a hidden temporary name instead, removed by abort. At commit the
// content is synced and takes the target's name in one step: link(2) in create mode, which
// fails when anything appeared there meanwhile, rename(2) in replace mode. A replaced file's
// mode (and owner, where the process may give it) carry over.
class LocalOutputStream : public OutputStream {
public:
    LocalOutputStream(const local::LocalPath& location, vfs::WriteMode mode)
        : target_(mode == vfs::WriteMode::replace ? writtenPath(location) : location),
          mode_(mode) {
        struct stat existing {};
        const bool exists = ::lstat(target_.native.c_str(), &existing) == 0;
        if (exists && mode == vfs::WriteMode::create) {
            errno = EEXIST;
            fail("openForWriting", target_);
        }
        if (exists && S_ISDIR(existing.st_mode)) {
            errno = EISDIR;
            fail("openForWriting", target_);
        }
        const auto [folder, leaf] = splitPath(target_.native);
        folder_ = folder;
        leaf_ = leaf;
        fd_ = ::open(folder_.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
        if (fd_ < 0 && (errno == EOPNOTSUPP || errno == EISDIR)) {
            temporary_ = temporaryName(folder_, leaf_);
            fd_ = ::open(temporary_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        }
        if (fd_ < 0)
            fail("openForWriting", target_);
        if (exists) {
            ::fchmod(fd_, existing.st_mode & 07777);
            // Only a privileged process may give the file away; anyone else makes it theirs.
            [[maybe_unused]] const int given = ::fchown(fd_, existing.st_uid, existing.st_gid);
        }
    }
    ~LocalOutputStream() override { abort(); }

    void write(std::span<const char> data) override {
        while (!data.empty()) {
            const ssize_t n = ::write(fd_, data.data(), data.size());
            if (n < 0) {
                if (errno == EINTR)
                    continue;
                fail("write", target_);
            }
            data = data.subspan(static_cast<std::size_t>(n));
        }
    }

    // Between two local files the kernel copies (copy_file_range: no trip through this
    // process, and a clone where the file system shares blocks).
    std::uint64_t writeFrom(InputStream& input,
                            const std::function<void(std::size_t)>& moved) override {
        const auto* local = dynamic_cast<const LocalInputStream*>(&input);
        if (!local)
            return OutputStream::writeFrom(input, moved);
        std::uint64_t total = 0;
        for (;;) {
            const ssize_t n =
                ::copy_file_range(local->descriptor(), nullptr, fd_, nullptr, 64 << 20, 0);
            if (n > 0) {
                total += static_cast<std::uint64_t>(n);
                moved(static_cast<std::size_t>(n));
                continue;
            }
            if (n == 0)
                return total;
            if (errno == EINTR)
                continue;
            // Files the kernel cannot copy between (a fifo, another kind of file system)
            // are copied here, from where the kernel stopped.
            if (total == 0 &&
                (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP))
                return OutputStream::writeFrom(input, moved);
            fail("write", target_);
        }
    }

    void commit() override {
        if (::fsync(fd_) != 0)
            fail("write", target_);
        if (temporary_.empty())
            nameAnonymousFile();
        else if (mode_ == vfs::WriteMode::create) {
            if (::link(temporary_.c_str(), target_.native.c_str()) != 0)
                fail("close", target_);
            ::unlink(temporary_.c_str());
            temporary_.clear();
        } else {
            if (::rename(temporary_.c_str(), target_.native.c_str()) != 0)
                fail("close", target_);
            temporary_.clear();
        }
        const int fd = std::exchange(fd_, -1);
        ::close(fd);
        syncFolder();
    }

    void abort() noexcept override {
        if (fd_ >= 0)
            ::close(std::exchange(fd_, -1));
        if (!temporary_.empty())
            ::unlink(std::exchange(temporary_, {}).c_str());
    }

private:
    void nameAnonymousFile() {
        const std::string self = "/proc/self/fd/" + std::to_string(fd_);
        if (mode_ == vfs::WriteMode::create) {
            if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, target_.native.c_str(),
                         AT_SYMLINK_FOLLOW) != 0)
                fail("close", target_);
            return;
        }
        // A name for an instant, then the target's in one rename.
        std::string named;
        for (int attempt = 0;; ++attempt) {
            named = temporaryName(folder_, leaf_);
            if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, named.c_str(), AT_SYMLINK_FOLLOW) == 0)
                break;
            if (errno != EEXIST || attempt == 16)
                fail("close", target_);
        }
        if (::rename(named.c_str(), target_.native.c_str()) != 0) {
            const int error = errno;
            ::unlink(named.c_str());
            errno = error;
            fail("close", target_);
        }
    }

    // The new name lasts a crash of the machine too, as the content does.
    void syncFolder() const noexcept {
        const int folder = ::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (folder >= 0) {
            ::fsync(folder);
            ::close(folder);
        }
    }

    local::LocalPath target_;
    vfs::WriteMode mode_;
    std::string folder_, leaf_;
    std::string temporary_; // empty while the content has no name
    int fd_ = -1;
};

} // namespace

std::vector<std::string> LocalFileProvider::schemes() const {
    return {"file"};
}

fl::ustring LocalFileProvider::describe(const vfs::AbsoluteIRI& location) const {
    auto path = local::tryLocalPath(location);
    return path ? path->text() : location.toString();
}

void LocalFileProvider::createFile(const vfs::AbsoluteIRI& location) const {
    const auto path = localPath(location, "createFile");
    const Descriptor fd(::open(path.native.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (fd.get() < 0)
        fail("createFile", path);
}

void LocalFileProvider::removeFile(const vfs::AbsoluteIRI& location) const {
    const auto path = localPath(location, "removeFile");
    if (::unlink(path.native.c_str()) != 0)
        fail("removeFile", path);
}

void LocalFileProvider::createFolder(const vfs::AbsoluteIRI& location) const {
    const auto path = localPath(location, "createFolder");
    if (::mkdir(path.native.c_str(), 0777) != 0)
        fail("createFolder", path);
}

std::unique_ptr<InputStream>
LocalFileProvider::openForReading(const vfs::AbsoluteIRI& location) const {
    auto path = localPath(location, "open");
    // Without O_NONBLOCK a fifo would wait for a writer that may never come.
    Descriptor fd(::open(path.native.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat st {};
    if (fd.get() < 0 || ::fstat(fd.get(), &st) != 0)
        fail("open", path);
    // Linux opens a folder for reading; only reading it would fail.
    if (S_ISDIR(st.st_mode)) {
        errno = EISDIR;
        fail("open", path);
    }
    // Once open, reads wait for data as they would for any file.
    ::fcntl(fd.get(), F_SETFL, ::fcntl(fd.get(), F_GETFL) & ~O_NONBLOCK);
    // Only a file that holds blocks promises its size: those of /proc and /sys hold none and
    // say 0 or 4096 whatever they give (a file of holes alone goes without one, as a pipe).
    std::optional<std::uint64_t> size;
    if (S_ISREG(st.st_mode) && st.st_blocks > 0)
        size = static_cast<std::uint64_t>(st.st_size);
    return std::make_unique<LocalInputStream>(std::move(fd), std::move(path), size);
}

std::unique_ptr<OutputStream>
LocalFileProvider::openForWriting(const vfs::AbsoluteIRI& location, vfs::WriteMode mode,
                                  std::optional<std::uint64_t>) const {
    return std::make_unique<LocalOutputStream>(localPath(location, "openForWriting"), mode);
}

void LocalFileProvider::rename(const vfs::AbsoluteIRI& location,
                               const vfs::AbsoluteIRI& target) const {
    const auto from = localPath(location, "rename");
    const auto to = localPath(target, "rename");
    // Never over an item that is there: the caller removes it first if that is meant.
    if (::renameat2(AT_FDCWD, from.native.c_str(), AT_FDCWD, to.native.c_str(), RENAME_NOREPLACE) ==
        0)
        return;
    const int error = errno;
    // A missing source is named as such; anything else about the move names the target.
    struct stat st {};
    errno = error;
    fail("rename", error == ENOENT && ::lstat(from.native.c_str(), &st) != 0 ? from : to);
}

void LocalFileProvider::removeFolder(const vfs::AbsoluteIRI& location) const {
    const auto path = localPath(location, "removeFolder");
    if (::rmdir(path.native.c_str()) != 0)
        fail("removeFolder", path);
}

} // namespace foundation::storage::provider
