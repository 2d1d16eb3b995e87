#include <fl/filesystem.hpp>

#include <fl/i18n.hpp>

#include <cerrno>
#include <cstring>

namespace fl::filesystem {
namespace {

std::string describe(int error, const ustring& path) {
    // strerrordesc_np is thread-safe and independent of the locale.
    const char* text = ::strerrordesc_np(error);
    std::string what = text ? text : "Unknown error " + std::to_string(error);
    what += ": ";
    what += fl::i18n::to_string(path);
    return what;
}

struct stat statOrThrow(const ustring& path, bool followLinks) {
    const std::string native = detail::to_native(path);
    struct stat st {};
    const int rc = followLinks ? ::stat(native.c_str(), &st) : ::lstat(native.c_str(), &st);
    if (rc != 0)
        detail::throwErrno(errno, path);
    return st;
}

} // namespace

FsysExceptionBase::FsysExceptionBase(int error, ustring path)
    : code_(error), path_(std::move(path)), what_(describe(code_, path_)) {}

namespace detail {

std::string to_native(const ustring& path) {
    if (path.find(u'\0') != ustring::npos)
        throw SystemError(EINVAL, path);
    return fl::i18n::to_string(path);
}

void throwErrno(int error, const ustring& path) {
    switch (error) {
    case EEXIST:
        throw FileExistsError(error, path);
    case ENAMETOOLONG:
        throw FileNameTooLarge(error, path);
    case EACCES:
    case EPERM:
        throw AccessDenied(error, path);
    case ENOENT:
    case ENOTDIR:
        throw PathNotFound(error, path);
    default:
        throw SystemError(error, path);
    }
}

} // namespace detail

file_status status(const ustring& path) {
    try {
        return file_status(statOrThrow(path, true).st_mode);
    } catch (const PathNotFound&) {
        // The target is missing; a link standing at the path still answers for itself.
        const file_status own = symlink_status(path);
        if (own.type() == file_status::symlink_file)
            return own;
        throw;
    }
}

file_status symlink_status(const ustring& path) {
    return file_status(statOrThrow(path, false).st_mode);
}

} // namespace fl::filesystem
