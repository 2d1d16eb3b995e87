// The dav(s) provider looking at items: a PROPFIND of depth 0 gives the kind, the
// attributes and the extended attributes; a HEAD request adds the content type and tag of a
// file where the share leaves them out.

#include "Dav.hpp"

#include <foundation/storage/vfs/Exception.hpp>

namespace foundation::storage::provider {
namespace {

void setExtended(ItemStatus& status, std::optional<std::string> contentType,
                 std::optional<std::string> etag) {
    if (contentType && !status.extended.hasAttribute("http.contentType"))
        status.extended.setAttribute("http.contentType", std::move(*contentType));
    if (etag && !status.extended.hasAttribute("http.etag"))
        status.extended.setAttribute("http.etag", std::move(*etag));
}

} // namespace

namespace dav {

std::optional<Resource> resourceAt(const HttpOptions& options, const vfs::AbsoluteIRI& location,
                                   const char* operation) {
    std::optional<Resource> item;
    // A share answers for the item asked about; should it add others, the first is it.
    const bool found =
        propfind(options, location, urlOf(location), "0", operation, [&](Resource&& resource) {
            if (!item)
                item = std::move(resource);
        });
    if (!found || !item || item->status / 100 != 2)
        return std::nullopt;
    return item;
}

} // namespace dav

ItemStatus DavProvider::look(const vfs::AbsoluteIRI& location, Facts wanted) const {
    ItemStatus status;
    std::optional<dav::Resource> item = dav::resourceAt(options_, location, "probe");
    if (!item)
        return status; // Nothing, ResourceNotFound
    status.type = item->collection ? ItemType::Folder : ItemType::File;
    status.lastModified = item->lastModified;
    status.size = item->size.value_or(0);
    status.writable = true;
    const bool complete = item->contentType && item->etag;
    setExtended(status, std::move(item->contentType), std::move(item->etag));
    status.facts = Facts::Writable;
    if (complete || status.type == ItemType::Folder)
        status.facts = Facts::All;
    else if (holds(wanted, Facts::Extended)) {
        // The headers of the file tell what its properties did not (nginx sends neither).
        const auto head = http::Transfer::answered(options_, dav::requestFor(location, "HEAD"));
        if (const auto failure = head->failure()) {
            if (failure->code != vfs::ResourceNotFound)
                http::raise(*failure, "probe", location);
        } else {
            setExtended(status, http::headerText(*head, "Content-Type"),
                        http::headerText(*head, "ETag"));
        }
        status.facts = Facts::All;
    }
    return status;
}

} // namespace foundation::storage::provider
