#pragma once

// What the three sources of the `file` provider share: how a location becomes a native
// path, how a stat record or a listing's entry becomes the provider's terms, and the
// descriptor they close. The
// provider's members live in LocalFileProvider.cpp (changes and reading), LocalFileInfo.cpp
// (looking: probe and attributes) and LocalFileEnumerator.cpp (listing).

#include <foundation/storage/provider/ItemStatus.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <fl/i18n.hpp>
#include <fl/ustring.hpp>

#include <optional>
#include <string>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace foundation::storage::provider::local {

// The native path a `file` location names, as the bytes the system calls take. Its text,
// which only messages need, is made when a message is.
struct LocalPath {
    std::string native;

    fl::ustring text() const { return fl::i18n::to_ustring(native); }
};

// Empty for a location that names no native path.
std::optional<LocalPath> tryLocalPath(const vfs::AbsoluteIRI& location);
// Raises ResourceNotFound, as `operation`, for a location that names no native path.
LocalPath localPath(const vfs::AbsoluteIRI& location, const char* operation);

// Raises the failure that errno holds after `operation` on `path`.
[[noreturn]] void fail(const char* operation, const LocalPath& path);

// The type in a stat record's mode, or in a listing's d_type as DTTOIF gives it: a type the
// file system did not say (DT_UNKNOWN) is Nothing.
ItemType typeOf(mode_t mode) noexcept;

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

} // namespace foundation::storage::provider::local
