#pragma once

// What the sources of the dav(s) provider share: its requests, and the reader of the
// share's multistatus answers. The provider's members live in DavProvider.cpp
// (construction, changes, streams), DavFileInfo.cpp (looking: a PROPFIND of depth 0) and
// DavFileEnumerator.cpp (listing: a PROPFIND of depth 1); the XML reader in
// DavMultistatus.cpp.

#include "DavProvider.hpp"

#include "foundation/storage/http/Client.hpp"

#include <boost/date_time/posix_time/ptime.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace foundation::storage::provider::dav {

// A request for `location` by `method`: the http(s) URL of the share, and who asks.
http::Request requestFor(const vfs::AbsoluteIRI& location, std::string method);
// The http(s) URL of a location (its path as given: a folder's trailing "/" is the
// caller's to add).
std::string urlOf(const vfs::AbsoluteIRI& location);
// The URL of a folder: its path ending in "/".
std::string folderUrlOf(const vfs::AbsoluteIRI& location);

// One entry of a multistatus answer: the resource its href names and the properties the
// share found for it (those of a propstat whose status is 200).
struct Resource {
    std::string href;       // as sent, XML escapes resolved
    int status = 200;       // the response's own status, where it gives one
    bool described = false; // a propstat with a good status came: the fields below say so
    bool collection = false;
    std::optional<std::uint64_t> size;
    boost::posix_time::ptime lastModified; // not_a_date_time when not given
    std::optional<std::string> contentType;
    std::optional<std::string> etag;
};

// A multistatus body read as it arrives, with namespaces: the DAV: elements under any
// prefix, properties in any order. Each response is handed to `found` as soon as it ends.
class MultistatusReader {
public:
    explicit MultistatusReader(std::function<void(Resource&&)> found);
    ~MultistatusReader();
    MultistatusReader(const MultistatusReader&) = delete;
    MultistatusReader& operator=(const MultistatusReader&) = delete;

    // The next bytes of the body; false when they are not well-formed XML (the reason in
    // error()).
    bool feed(std::string_view bytes);
    // The end of the body; false when the document is not complete.
    bool finish();
    std::string error() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

// A PROPFIND of `depth` ("0" or "1") of `url` for the properties the provider reads, its
// answer read into `found` as it arrives. False when nothing is there (404, 410, or 409 for
// a path through a missing folder); a share that does not know the method raises
// UnsupportedOperation, any other failure its code, and a body that is no multistatus
// IOError.
bool propfind(const HttpOptions& options, const vfs::AbsoluteIRI& location, std::string url,
              const char* depth, const char* operation,
              const std::function<void(Resource&&)>& found);

// The resource at `location` as a PROPFIND of depth 0 tells it; none when nothing is there.
std::optional<Resource> resourceAt(const HttpOptions& options, const vfs::AbsoluteIRI& location,
                                   const char* operation);

// The href's path with every escape decoded, without a trailing "/": what identifies a
// resource, whether the share wrote the href as a path or a full URL, escapes in either
// case.
std::string decodedPath(std::string_view href);

} // namespace foundation::storage::provider::dav
