#include <foundation/storage/provider/LocalFileProvider.hpp>

#include "LocalFile.hpp"
#include "iri_text.hpp"

#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace foundation::storage::provider {
namespace local {

std::optional<LocalPath> tryLocalPath(const vfs::AbsoluteIRI& location) {
    LocalPath path;
    // The path as GetStringFromIRI gives it, taken as bytes straight from the IRI: the
    // system calls want bytes, and only a message wants the text.
    if (network::detail::isFileIRI(location.toIRI())) {
        auto native = network::detail::nativePathOf(location.toIRI());
        if (!native)
            return std::nullopt;
        path.native = std::move(*native);
    } else {
        path.native = fl::filesystem::detail::to_native(location.toString());
    }
    // "file:///d/f.txt/" names the file "/d/f.txt", as the IRI layer reads its name.
    if (path.native.size() > 1 && path.native.back() == '/')
        path.native.pop_back();
    return path;
}

LocalPath localPath(const vfs::AbsoluteIRI& location, const char* operation) {
    auto path = tryLocalPath(location);
    if (!path)
        vfs::raise(vfs::ResourceNotFound, operation, location.toString());
    return std::move(*path);
}

void fail(const char* operation, const LocalPath& path) {
    const int error = errno; // before the text is made
    vfs::throwFromErrno(error, operation, path.text());
}

ItemType typeOf(mode_t mode) noexcept {
    switch (mode & S_IFMT) {
    case S_IFREG:
        return ItemType::File;
    case S_IFDIR:
        return ItemType::Folder;
    case S_IFLNK:
        return ItemType::Link;
    default:
        return ItemType::Other;
    }
}

} // namespace local

namespace {

using local::fail;
using local::localPath;

// Closes the descriptor it holds.
class Descriptor {
public:
    explicit Descriptor(int fd) noexcept : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    ~Descriptor() {
        if (fd_ >= 0)
            ::close(fd_);
    }
    Descriptor& operator=(Descriptor&&) = delete;
    int get() const noexcept { return fd_; }

private:
    int fd_;
};

class LocalInputStream : public InputStream {
public:
    LocalInputStream(Descriptor fd, local::LocalPath path)
        : fd_(std::move(fd)), path_(std::move(path)) {}

    std::size_t read(std::span<char> buffer) override {
        for (;;) {
            const ssize_t n = ::read(fd_.get(), buffer.data(), buffer.size());
            if (n >= 0)
                return static_cast<std::size_t>(n);
            if (errno != EINTR)
                fail("read", path_);
        }
    }

private:
    Descriptor fd_;
    local::LocalPath path_;
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

std::unique_ptr<InputStream> LocalFileProvider::openForReading(const vfs::AbsoluteIRI& location) const {
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
    return std::make_unique<LocalInputStream>(std::move(fd), std::move(path));
}

} // namespace foundation::storage::provider
