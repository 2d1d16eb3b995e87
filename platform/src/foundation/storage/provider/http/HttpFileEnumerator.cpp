// The http(s) provider listing a folder: the server's index page read into entries.

#include <foundation/storage/provider/HttpProvider.hpp>

#include "HttpRequest.hpp"
#include "foundation/network/iri_text.hpp"

#include <fl/ascii.hpp>
#include <foundation/storage/vfs/Exception.hpp>

#include <array>
#include <string>
#include <string_view>

namespace foundation::storage::provider {
namespace {

// Index pages (nginx's autoindex, Apache's and lighttpd's listings) are HTML titled so.
constexpr std::string_view indexTitle = "<title>Index of ";

// The entry a link of an index page names when it is one directly below the folder, as
// nginx's autoindex writes it: the name escaped (":" included, so that no name reads as a
// scheme), and "/" after a folder's. "../", links from the root, to other hosts, and with a
// query or fragment name no entry.
std::optional<FolderEntry> entryOf(std::string_view href) {
    const bool folder = href.ends_with('/');
    if (folder)
        href.remove_suffix(1);
    if (href.empty() || href == "." || href == ".." ||
        href.find_first_of("/?#:") != std::string_view::npos)
        return std::nullopt;
    return FolderEntry{network::detail::fromUri(href, network::iri::Encoding::Decoded),
                       folder ? ItemType::Folder : ItemType::File};
}

std::vector<FolderEntry> entriesOf(std::string_view page) {
    static constexpr std::string_view link = "<a href=\"";
    std::vector<FolderEntry> entries;
    for (auto at = page.find(link); at != std::string_view::npos; at = page.find(link, at)) {
        at += link.size();
        const auto end = page.find('"', at);
        if (end == std::string_view::npos)
            break;
        if (auto entry = entryOf(page.substr(at, end - at)))
            entries.push_back(std::move(*entry));
        at = end;
    }
    return entries;
}

} // namespace

std::vector<FolderEntry> HttpProvider::list(const vfs::AbsoluteIRI& folder) const {
    // A page is part of one answer, not a body the caller streams: it has a deadline.
    http::BodyReader body(options_, folder, "list", http::Wait::Deadline);
    const auto type = body.transfer().header("Content-Type");
    if (!type || !fl::ascii::startsWithIgnoringCase(*type, "text/html"))
        http::raise(
            {vfs::UnsupportedOperation, "not an index page: " + std::string(type.value_or(""))},
            "list", folder);
    std::string page;
    std::array<char, 16 * 1024> chunk;
    while (const std::size_t length = body.read(chunk))
        page.append(chunk.data(), length);
    if (page.find(indexTitle) == std::string::npos)
        http::raise({vfs::UnsupportedOperation, "not an index page"}, "list", folder);
    return entriesOf(page);
}

} // namespace foundation::storage::provider
