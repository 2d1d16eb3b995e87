// The http(s) provider: construction and the body read as it arrives. Changes are refused by
// the base class, for a read-only store.

#include "HttpProvider.hpp"

#include "foundation/storage/remote/makers.hpp"

#include "foundation/storage/http/Client.hpp"

namespace foundation::storage::provider {

HttpProvider::HttpProvider(HttpOptions options) : options_(std::move(options)) {}

HttpProvider::~HttpProvider() = default;

std::vector<std::string> HttpProvider::schemes() const {
    return {remote::httpSchemes.begin(), remote::httpSchemes.end()};
}

fl::ustring HttpProvider::describe(const vfs::AbsoluteIRI& location) const {
    return http::shown(location);
}

std::unique_ptr<InputStream> HttpProvider::openForReading(const vfs::AbsoluteIRI& location) const {
    auto request = http::requestFor(location, "GET");
    request.wait = http::Wait::Pace;
    return std::make_unique<http::BodyReader>(options_, request, location, "open");
}

} // namespace foundation::storage::provider
