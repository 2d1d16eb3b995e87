// What an answer's status means to storage: the one table every remote provider's failures
// come from. A provider that reads a status otherwise for one request (MKCOL's 405: the
// item is there) says so where it makes that request.

#include "Client.hpp"

#include <foundation/storage/vfs/Exception.hpp>

namespace foundation::storage::http {

std::optional<Failure> failureOf(long status) {
    if (status >= 200 && status < 300)
        return std::nullopt;
    std::string reason = "HTTP " + std::to_string(status);
    switch (status) {
    case 404:
    case 410:
    case 409: // a missing parent
        return Failure{vfs::ResourceNotFound, std::move(reason)};
    case 401:
    case 403:
    case 407:
        return Failure{vfs::PermissionDenied, std::move(reason)};
    case 412: // a condition on the item's absence failed: it is there
        return Failure{vfs::ResourceAlreadyExists, std::move(reason)};
    case 507:
        return Failure{vfs::NoSpaceLeft, std::move(reason)};
    default:
        return Failure{vfs::IOError, std::move(reason)};
    }
}

} // namespace foundation::storage::http
