#pragma once

#include <fl/ustring.hpp>

#include <cstdint>
#include <exception>
#include <string>

#include <sys/stat.h>

namespace fl::filesystem {

// --- errors ------------------------------------------------------------------------------
// Each failure of a native path operation is one of these, chosen from errno in one
// place (detail::throwErrno). Every one names the path it concerns.
class FsysExceptionBase : public std::exception {
public:
    FsysExceptionBase(int error, ustring path);
    const char* what() const noexcept override { return what_.c_str(); }
    const ustring& path() const noexcept { return path_; }
    // The native error number behind the failure.
    int code() const noexcept { return code_; }

private:
    int code_;
    ustring path_;
    std::string what_;
};

class FileExistsError : public FsysExceptionBase {
public:
    using FsysExceptionBase::FsysExceptionBase;
};
class FileNameTooLarge : public FsysExceptionBase {
public:
    using FsysExceptionBase::FsysExceptionBase;
};
class AccessDenied : public FsysExceptionBase {
public:
    using FsysExceptionBase::FsysExceptionBase;
};
class PathNotFound : public FsysExceptionBase {
public:
    using FsysExceptionBase::FsysExceptionBase;
};
// Any other failure; code() is the native error number (ELOOP, EINVAL, ...).
class SystemError : public FsysExceptionBase {
public:
    using FsysExceptionBase::FsysExceptionBase;
};

// --- status ------------------------------------------------------------------------------
// The type and permission bits of an item, as stat(2) reports them.
class file_status {
public:
    static constexpr std::uint32_t file_type_mask = S_IFMT;
    static constexpr std::uint32_t regular_file = S_IFREG;
    static constexpr std::uint32_t directory_file = S_IFDIR;
    static constexpr std::uint32_t symlink_file = S_IFLNK;
    static constexpr std::uint32_t block_file = S_IFBLK;
    static constexpr std::uint32_t character_file = S_IFCHR;
    static constexpr std::uint32_t fifo_file = S_IFIFO;
    static constexpr std::uint32_t socket_file = S_IFSOCK;

    constexpr file_status() = default;
    constexpr explicit file_status(std::uint32_t mode) : mode_(mode) {}

    constexpr std::uint32_t mode() const noexcept { return mode_; }
    constexpr std::uint32_t type() const noexcept { return mode_ & file_type_mask; }
    constexpr std::uint32_t permissions() const noexcept { return mode_ & 07777; }

private:
    std::uint32_t mode_ = 0;
};

// Follows links. A link whose target is missing reports its own status (symlink_file);
// a loop of links throws SystemError with ELOOP; a missing path throws PathNotFound.
file_status status(const ustring& path);

// The status of the path itself, without following a final link (lstat).
file_status symlink_status(const ustring& path);

namespace detail {

// The path as the bytes the system calls take. A path holding U+0000 would be cut short
// by the system, so it is refused with SystemError(EINVAL).
std::string to_native(const ustring& path);

// Throws the exception that matches `error` for `path`.
[[noreturn]] void throwErrno(int error, const ustring& path);

// `path` with native separators ("/"; a backslash is an ordinary character on Linux),
// runs of "/" collapsed and, when `removeTrailingSeparator`, a trailing "/" removed except
// from the root.
ustring make_native_form(const ustring& path, bool removeTrailingSeparator);

// The text before the last "/": "/" for "/x", "" for "x" and for "/".
ustring extract_parent_path(const ustring& path);

} // namespace detail
} // namespace fl::filesystem
