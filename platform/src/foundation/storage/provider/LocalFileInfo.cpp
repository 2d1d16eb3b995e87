// The `file` provider looking at items: the one look every existence and attribute question
// is asked of.

#include <foundation/storage/provider/LocalFileProvider.hpp>

#include "LocalFile.hpp"

#include <foundation/storage/vfs/Exception.hpp>

#include <boost/date_time/posix_time/conversion.hpp>
#include <boost/date_time/posix_time/posix_time_duration.hpp>

#include <cerrno>
#include <optional>
#include <string_view>

#include <sys/xattr.h>
#include <unistd.h>

namespace foundation::storage::provider {
namespace {

using local::fail;

boost::posix_time::ptime utcTime(const timespec& time) {
    return boost::posix_time::from_time_t(time.tv_sec) +
           boost::posix_time::microseconds(time.tv_nsec / 1000);
}

void fillTimeAndSize(ItemStatus& status, const struct stat& st) {
    status.lastModified = utcTime(st.st_mtim);
    status.size = static_cast<std::uint64_t>(st.st_size);
}

ItemStatus probePath(const local::LocalPath& path) {
    ItemStatus status;
    struct stat st {};
    if (::lstat(path.native.c_str(), &st) != 0) {
        if (errno == ENOENT)
            status.missingCode = vfs::ResourceNotFound;
        else if (errno == ENOTDIR)
            status.missingCode = vfs::NotAFolder;
        else
            fail("probe", path);
        return status;
    }
    status.type = local::typeOf(st.st_mode);
    if (status.type == ItemType::Link) {
        struct stat target {};
        if (::stat(path.native.c_str(), &target) != 0) {
            if (errno == ENOENT || errno == ENOTDIR)
                status.targetCode = vfs::ResourceNotFound;
            else if (errno == ELOOP)
                status.targetCode = vfs::IOError;
            else
                fail("probe", path);
            fillTimeAndSize(status, st);
            return status;
        }
        status.target = local::typeOf(target.st_mode);
        st = target;
    }
    fillTimeAndSize(status, st);
    return status;
}

// Calls `query` (listxattr or getxattr) with a buffer large enough for its answer, which
// may grow between the question of size and the read. Empty, with errno set, when the
// question of size fails.
template <class Query>
std::optional<std::string> readSized(const local::LocalPath& path, Query query) {
    std::string buffer;
    for (;;) {
        const ssize_t size = query(nullptr, 0);
        if (size < 0)
            return std::nullopt;
        if (size == 0) // a second call with no room would ask for the size again
            return buffer;
        buffer.resize(static_cast<std::size_t>(size));
        const ssize_t got = query(buffer.data(), buffer.size());
        if (got >= 0) {
            buffer.resize(static_cast<std::size_t>(got));
            return buffer;
        }
        if (errno != ERANGE)
            fail("extendedAttributes", path);
    }
}

// The extended attributes of the "user." namespace of an item that is there.
ExtendedAttributes userAttributes(const local::LocalPath& path) {
    static constexpr std::string_view userPrefix = "user.";
    const char* native = path.native.c_str();
    ExtendedAttributes attributes;
    const auto names =
        readSized(path, [native](char* out, size_t n) { return ::listxattr(native, out, n); });
    if (!names) {
        // A file system without extended attributes has none to give.
        if (errno == ENOTSUP)
            return attributes;
        fail("extendedAttributes", path);
    }
    for (std::size_t at = 0; at < names->size();) {
        const std::string name(names->c_str() + at);
        at += name.size() + 1;
        if (!name.starts_with(userPrefix))
            continue;
        auto value = readSized(
            path, [&](char* out, size_t n) { return ::getxattr(native, name.c_str(), out, n); });
        if (value)
            attributes.setAttribute(name.substr(userPrefix.size()), std::move(*value));
        else if (errno != ENODATA) // one removed since the names were read is not there
            fail("extendedAttributes", path);
    }
    return attributes;
}

} // namespace

ItemStatus LocalFileProvider::look(const vfs::AbsoluteIRI& location, Facts wanted) const {
    const auto path = local::tryLocalPath(location);
    if (!path)
        return {}; // Nothing, ResourceNotFound
    ItemStatus status = probePath(*path);
    // Facts of an item that cannot be reached are left out: the caller tells why.
    if (unreachableBecause(status))
        return status;
    if (holds(wanted, Facts::Writable))
        status.writable = ::access(path->native.c_str(), W_OK) == 0;
    if (holds(wanted, Facts::Extended))
        status.extended = userAttributes(*path);
    status.facts = wanted;
    return status;
}

} // namespace foundation::storage::provider
