// The dav(s) provider listing a folder: one PROPFIND of depth 1, every entry's kind, size,
// time and tag read from it as it arrives.

#include "Dav.hpp"

#include "foundation/network/iri_text.hpp"

#include <foundation/storage/vfs/Exception.hpp>

namespace foundation::storage::provider {
namespace {

// The last segment of an href, escapes decoded: the entry's name. Decoding each segment
// on its own keeps an escaped "/" inside its name.
fl::ustring nameOf(std::string_view href) {
    if (const auto scheme = href.find("://"); scheme != std::string_view::npos)
        href.remove_prefix(std::min(href.find('/', scheme + 3), href.size()));
    href = href.substr(0, href.find_first_of("?#"));
    while (href.ends_with('/'))
        href.remove_suffix(1);
    return network::detail::fromUri(href.substr(href.rfind('/') + 1),
                                    network::iri::Encoding::Decoded);
}

} // namespace

std::unique_ptr<FolderCursor> DavProvider::listPages(const vfs::AbsoluteIRI& folder,
                                                     const fl::ustring& filter) const {
    // Hrefs are compared as IRIs: escapes decoded, in whichever case the share wrote them,
    // whether as a path or a full URL.
    const std::string own = dav::decodedPath(folder.toIRI().uriPath());
    std::vector<FolderEntry> entries;
    std::optional<bool> isFolder; // what the folder's own entry says it is
    const bool found = dav::propfind(
        options_, folder, dav::folderUrlOf(folder), "1", "list", [&](dav::Resource&& resource) {
            if (dav::decodedPath(resource.href) == own) {
                if (resource.described)
                    isFolder = resource.collection;
                return;
            }
            if (resource.status / 100 != 2)
                return;
            FolderEntry entry;
            entry.name = nameOf(resource.href);
            if (entry.name.empty())
                return;
            entry.type = resource.collection ? ItemType::Folder : ItemType::File;
            if (!resource.collection)
                entry.size = resource.size;
            entry.lastModified = resource.lastModified;
            entry.tag = std::move(resource.etag).value_or(std::string());
            entries.push_back(std::move(entry));
        });
    if (!found)
        vfs::raise(vfs::ResourceNotFound, "list", describe(folder));
    if (isFolder == false)
        vfs::raise(vfs::NotAFolder, "list", describe(folder));
    // A share answers a depth 1 listing in one piece and cannot be asked for some names.
    return onePage(std::move(entries), filter);
}

} // namespace foundation::storage::provider
