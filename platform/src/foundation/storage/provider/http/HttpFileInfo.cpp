// The http(s) provider looking at items: one HEAD request, or a GET of the first byte where
// the server refuses HEAD, gives the kind, the attributes and the extended attributes.

#include "HttpProvider.hpp"

#include "foundation/storage/http/Client.hpp"

#include <foundation/storage/vfs/Exception.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace foundation::storage::provider {
namespace {

using http::Transfer;

// The two ways of looking: a HEAD request, or a GET of the first byte for a server that
// refuses HEAD.
enum class Method { Head, FirstByte };

// What the headers of a good answer tell of the item.
struct Look {
    std::optional<http::Failure> missing = {}; // 404 or 410: nothing there, an answer
    boost::posix_time::ptime lastModified = {};
    std::uint64_t size = 0;
    std::optional<std::string> contentType = {};
    std::optional<std::string> etag = {};
};

// What one request tells; none when it is a HEAD request that the server refuses.
std::optional<Look> ask(const HttpOptions& options, const vfs::AbsoluteIRI& location, Method method,
                        const char* operation) {
    auto request = http::requestFor(location, method == Method::Head ? "HEAD" : "GET");
    if (method == Method::FirstByte)
        request.range = "0-0";
    const auto answer = Transfer::answered(options, request);
    const Transfer& transfer = *answer;
    if (const auto failure = transfer.failure()) {
        const long status = transfer.status();
        if (method == Method::Head && (status == 405 || status == 501))
            return std::nullopt;
        if (failure->code != vfs::ResourceNotFound)
            http::raise(*failure, operation, location);
        return Look{.missing = failure};
    }
    return Look{.lastModified = http::lastModifiedOf(transfer),
                .size = http::sizeOf(transfer),
                .contentType = http::headerText(transfer, "Content-Type"),
                .etag = http::headerText(transfer, "ETag")};
}

Look lookOnce(const HttpOptions& options, const vfs::AbsoluteIRI& location, const char* operation) {
    if (auto item = ask(options, location, Method::Head, operation))
        return std::move(*item);
    // A GET of the first byte tells the same; its session is the HEAD request's, given back.
    return *ask(options, location, Method::FirstByte, operation);
}

} // namespace

ItemStatus HttpProvider::look(const vfs::AbsoluteIRI& location, Facts) const {
    Look item = lookOnce(options_, location, "probe");
    ItemStatus status;
    if (item.missing)
        return status; // Nothing, ResourceNotFound
    // A server has no kinds of items: a path that ends in "/" (or the root) names a folder.
    const std::string_view path = location.toIRI().uriPath();
    status.type = path.empty() || path.back() == '/' ? ItemType::Folder : ItemType::File;
    status.lastModified = item.lastModified;
    status.size = item.size;
    if (item.contentType)
        status.extended.setAttribute("http.contentType", std::move(*item.contentType));
    if (item.etag)
        status.extended.setAttribute("http.etag", std::move(*item.etag));
    status.facts = Facts::All; // never writable
    return status;
}

} // namespace foundation::storage::provider
