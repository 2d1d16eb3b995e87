#include <fl/filesystem.hpp>

#include <fl/errno_text.hpp>
#include <fl/i18n.hpp>
#include <fl/wildcard.hpp>

#include "errno_rules.hpp"
#include "text_rules.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>

#include <unistd.h>

namespace fl::filesystem {
namespace {

std::string describe(int error, const ustring& path) {
    std::string what = fl::errnoText(error);
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

// The errno of the look, 0 when `st` holds the answer.
int look(const ustring& path, bool followLinks, struct stat& st) {
    if (text::holdsNul(path))
        return EINVAL;
    const std::string native = fl::i18n::to_string(path);
    const int rc = followLinks ? ::stat(native.c_str(), &st) : ::lstat(native.c_str(), &st);
    return rc == 0 ? 0 : errno;
}

file_status answer(int failure, const struct stat& st, std::error_code& error) {
    if (failure != 0) {
        error.assign(failure, std::system_category());
        return file_status();
    }
    error.clear();
    return file_status(st.st_mode);
}

// Owns a buffer that the C library allocated with malloc.
struct FreeDeleter {
    void operator()(char* p) const noexcept { std::free(p); }
};
using MallocText = std::unique_ptr<char, FreeDeleter>;

constexpr char16_t separator = u'/';

void refuseNul(const ustring& path) {
    if (text::holdsNul(path))
        throw SystemError(EINVAL, path);
}

bool endsWithSeparator(ustring_view path) {
    return !path.empty() && path.back() == separator;
}

// Where a link resolves a relative target: from the folder that holds the link.
ustring targetSeenFromLink(const ustring& target, const ustring& link) {
    if (detail::is_absolute(target))
        return target;
    ustring folder = detail::extract_parent_path(detail::make_native_form(link, true));
    if (folder.empty())
        return target;
    if (!endsWithSeparator(folder))
        folder += separator;
    return folder + target;
}

} // namespace

FsysExceptionBase::FsysExceptionBase(int error, ustring path)
    : code_(error), path_(std::move(path)), what_(describe(code_, path_)) {}

namespace detail {

std::string to_native(const ustring& path) {
    refuseNul(path);
    return fl::i18n::to_string(path);
}

bool is_absolute(ustring_view path) {
    return !path.empty() && path.front() == separator;
}

ustring make_native_form(ustring_view path, bool removeTrailingSeparator) {
    // Copied whole and folded in place: most paths have no run of separators to fold, and
    // appending unit by unit costs more than the copy.
    ustring native(path);
    native.erase(
        std::unique(native.begin(), native.end(),
                    [](char16_t a, char16_t b) { return a == separator && b == separator; }),
        native.end());
    if (removeTrailingSeparator && native.size() > 1 && endsWithSeparator(native))
        native.pop_back();
    return native;
}

ustring extract_parent_path(ustring_view path) {
    std::size_t last = path.find_last_of(separator);
    if (last == ustring_view::npos)
        return {};
    // A separator run ends the parent too: "a//b" has the parent "a".
    const std::size_t end = path.find_last_not_of(separator, last);
    if (end == ustring_view::npos)
        return last + 1 == path.size() ? ustring() : ustring(1, separator);
    return ustring(path.substr(0, end + 1));
}

ustring last_component(ustring_view path) {
    const std::size_t last = path.find_last_of(separator);
    return ustring(last == ustring_view::npos ? path : path.substr(last + 1));
}

ustring extract_filename(ustring_view path) {
    ustring name = last_component(path);
    if (fl::hasWildcard(name))
        return extract_parent_path(path);
    return name;
}

bool is_path_not_found(int error) noexcept {
    return errno_rules::rowFor(error).fsys == errno_rules::FsysKind::PathNotFound;
}

void throwErrno(int error, const ustring& path) {
    using errno_rules::FsysKind;
    switch (errno_rules::rowFor(error).fsys) {
    case FsysKind::FileExists:
        throw FileExistsError(error, path);
    case FsysKind::FileNameTooLarge:
        throw FileNameTooLarge(error, path);
    case FsysKind::AccessDenied:
        throw AccessDenied(error, path);
    case FsysKind::PathNotFound:
        throw PathNotFound(error, path);
    case FsysKind::SystemError:
        break;
    }
    throw SystemError(error, path);
}

} // namespace detail

file_status status(const ustring& path, std::error_code& error) {
    struct stat st {};
    int failure = look(path, true, st);
    if (detail::is_path_not_found(failure)) {
        // The target is missing; a link standing at the path still answers for itself.
        struct stat own {};
        const int ownFailure = look(path, false, own);
        if (ownFailure != 0)
            return answer(ownFailure, own, error);
        if (S_ISLNK(own.st_mode))
            return answer(0, own, error);
    }
    return answer(failure, st, error);
}

file_status symlink_status(const ustring& path, std::error_code& error) {
    struct stat st {};
    return answer(look(path, false, st), st, error);
}

namespace {

// The answer of a quiet query, or the exception of its failure.
file_status orThrow(const ustring& path, file_status (*query)(const ustring&, std::error_code&)) {
    std::error_code error;
    const file_status answered = query(path, error);
    if (error)
        detail::throwErrno(error.value(), path);
    return answered;
}

} // namespace

file_status status(const ustring& path) {
    return orThrow(path, status);
}

file_status symlink_status(const ustring& path) {
    return orThrow(path, symlink_status);
}

void create_symlink(const ustring& target, const ustring& link, unsigned int type) {
    const std::string nativeTarget = detail::to_native(target);
    const std::string nativeLink = detail::to_native(link);
    if (type == file_status::file_type_auto) {
        try {
            // "" would be looked up as the link's folder itself; as a target it names nothing.
            if (target.empty())
                detail::throwErrno(ENOENT, target);
            statOrThrow(targetSeenFromLink(target, link), true);
        } catch (const FsysExceptionBase&) {
            // A taken link path cannot be fixed by any target, so it is what the caller
            // hears about: a script run again is told its link is there, not that the
            // target has gone since.
            struct stat st {};
            if (::lstat(nativeLink.c_str(), &st) == 0)
                detail::throwErrno(EEXIST, link);
            throw;
        }
    } else if (type != file_status::regular_file && type != file_status::directory_file) {
        detail::throwErrno(EINVAL, link);
    }
    if (::symlink(nativeTarget.c_str(), nativeLink.c_str()) != 0)
        detail::throwErrno(errno, link);
}

ustring get_current_path() {
    // glibc sizes the buffer itself, so a deep current folder is never cut short.
    const MallocText cwd(::getcwd(nullptr, 0));
    if (!cwd)
        detail::throwErrno(errno, u".");
    return fl::i18n::to_ustring(cwd.get());
}

ustring absolute(const ustring& path, const ustring& base) {
    // Refused here as the system calls would refuse it, so the result is always a path
    // that can be used.
    refuseNul(path);
    refuseNul(base);
    if (path.empty())
        detail::throwErrno(ENOENT, path);
    if (detail::is_absolute(path))
        return path;
    ustring joined = base.empty() ? get_current_path() : absolute(base);
    if (!endsWithSeparator(joined))
        joined += separator;
    return joined + path;
}

ustring canonical(const ustring& path, const ustring& base) {
    const auto realpath = [](const ustring& full) {
        return MallocText(::realpath(detail::to_native(full).c_str(), nullptr));
    };
    // A path without a base is resolved as it stands, without a copy.
    const MallocText resolved =
        base.empty() || path.empty() ? realpath(path) : realpath(absolute(path, base));
    if (!resolved)
        detail::throwErrno(errno, path);
    return fl::i18n::to_ustring(resolved.get());
}

} // namespace fl::filesystem
