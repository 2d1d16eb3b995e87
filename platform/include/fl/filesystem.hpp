#pragma once

#include <fl/ustring.hpp>

#include <cstdint>
#include <exception>
#include <string>
#include <system_error>

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
    // Not a type an item has: asks create_symlink to find the type from the target.
    static constexpr std::uint32_t file_type_auto = 0;

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

// The same two without an exception, for questions to which a failure is an answer (is it
// there, is it a link): `error` gets the errno of the failure (system category) or is
// cleared, and a failure gives a status without a type. U+0000 in the path is EINVAL.
file_status status(const ustring& path, std::error_code& error);
file_status symlink_status(const ustring& path, std::error_code& error);

// --- links -----------------------------------------------------------------------------
// Makes `link` a symbolic link holding `target` as written. `type` is the kind of item the
// target is, regular_file or directory_file, or file_type_auto to find it out: the target is
// then looked up where the link will resolve it (a relative target from the link's folder),
// and one that is not there (or an empty target) throws PathNotFound naming the place looked
// up; a target that cannot be looked up for another reason throws that failure. An item that
// already stands at `link` wins over any failure of the target: FileExistsError. Linux links
// have no type, so a type given by the caller is not checked against the target; any other
// value of `type` is SystemError(EINVAL).
void create_symlink(const ustring& target, const ustring& link, unsigned int type);

// --- native paths ------------------------------------------------------------------------
struct upath_constant {
    // The one separator of native paths; a backslash is an ordinary character here.
    inline static const ustring PATHNAME_SEPARATOR = u"/";
    // The names every folder has for itself and for the folder above it.
    inline static const ustring CURRENT_DIRECTORY = u".";
    inline static const ustring PARENT_DIRECTORY = u"..";
};

// The process's current folder, as the system reports it (no links in it).
ustring get_current_path();

// `path` joined to `base` when it is relative; an absolute `path` comes back as it is.
// An empty base means the current folder; a relative base is first made absolute against
// the current folder. Purely lexical: no "." or ".." folding, no link resolved. An empty
// path names nothing and throws PathNotFound, as the system calls do.
ustring absolute(const ustring& path, const ustring& base = {});

// The path with every link, "." and ".." resolved, as realpath(3) does. A relative path
// is taken from `base` (empty: the current folder). A missing item throws PathNotFound,
// a loop of links SystemError(ELOOP).
ustring canonical(const ustring& path, const ustring& base = {});

namespace detail {

// Starts at the root.
bool is_absolute(ustring_view path);

// Runs of separators become one; with `removeTrailingSeparator`, a trailing separator is
// dropped unless the path is the root. "" stays "".
ustring make_native_form(ustring_view path, bool removeTrailingSeparator);

// The text before the last separator, without the separators that end it: "/" for "/x",
// "/a" for "/a/b", "" for "x" and for "/".
ustring extract_parent_path(ustring_view path);

// The text after the last separator, as it stands: "b" for "/a/b", "*.csv" for
// "/data/*.csv", "" for "/" and for "a/".
ustring last_component(ustring_view path);

// The file name a path designates: its last component, "" for "/" and for "a/". A last
// component holding a wildcard ("*" or "?", fl/wildcard.hpp) is a listing pattern, not a
// name: what it designates is the folder it lists, so "/data/*" and "/data/f?.csv" give
// "/data", and "*" gives "" (the current folder).
ustring extract_filename(ustring_view path);

// The path as the bytes the system calls take. A path holding U+0000 would be cut short
// by the system, so it is refused with SystemError(EINVAL).
std::string to_native(const ustring& path);

// Throws the exception that matches `error` for `path`.
[[noreturn]] void throwErrno(int error, const ustring& path);

// Whether `error` says that a path is not there (ENOENT, or ENOTDIR for a file on the way):
// the errors throwErrno reports as PathNotFound.
bool is_path_not_found(int error) noexcept;

} // namespace detail
} // namespace fl::filesystem
