// The s3 provider looking at items: a HEAD of the object for a key, and a listing of one key
// below it for a folder (a marker or anything under the prefix).

#include "S3Request.hpp"

#include <foundation/storage/vfs/Exception.hpp>

namespace foundation::storage::provider {
namespace {

// Whatever the store allows is found out by doing it: S3 tells no permissions.
ItemStatus found(ItemType type) {
    ItemStatus status;
    status.type = type;
    status.writable = true;
    status.facts = Facts::All;
    return status;
}

} // namespace

ItemStatus S3Provider::look(const vfs::AbsoluteIRI& location, Facts) const {
    const s3::Place place = s3::placeOf(location);
    if (place.key.empty()) {
        // The bucket's root is a folder when the bucket exists.
        const auto transfer = http::Transfer::answered(
            options_.http, s3::requestFor(options_, {place.bucket, {}}, "HEAD"));
        if (transfer->status() == 404)
            return {};
        if (transfer->failure())
            s3::raiseAnswer(*transfer, "probe", location);
        ItemStatus status = found(ItemType::Folder);
        status.lastModified = http::lastModifiedOf(*transfer);
        return status;
    }
    if (!place.key.ends_with('/')) {
        // A key that is both an object and a prefix is the object.
        const auto transfer =
            http::Transfer::answered(options_.http, s3::requestFor(options_, place, "HEAD"));
        if (transfer->failure() && transfer->status() != 404)
            s3::raiseAnswer(*transfer, "probe", location);
        if (!transfer->failure()) {
            ItemStatus status = found(ItemType::File);
            status.size = http::sizeOf(*transfer);
            status.lastModified = http::lastModifiedOf(*transfer);
            for (const auto& [header, name] :
                 {std::pair{"Content-Type", "http.contentType"}, std::pair{"ETag", "http.etag"}})
                if (const auto value = transfer->header(header))
                    status.extended.setAttribute(name, std::string(*value));
            return status;
        }
    }
    // The marker "p/" is listed under its own prefix too: one request finds either.
    const auto transfer = s3::askPage(*this, place.bucket, s3::folderKey(place.key), false, {}, 1);
    if (transfer->status() == 404)
        return {}; // no such bucket
    const s3::ListPage page = s3::readPage(*transfer, location);
    if (page.items.empty())
        return {};
    // The marker's time, or where there is none, that of the first key below: a prefix
    // keeps no time of its own.
    ItemStatus status = found(ItemType::Folder);
    status.lastModified = page.items.front().lastModified;
    return status;
}

} // namespace foundation::storage::provider
