#pragma once

// The `http` and `https` schemes, over libcurl. The host's storage system starts with one
// made with the default options; a host program that wants others replaces it:
//
//     Quarrow::VexaStorageSystem::GetStorageSystemReference()->addProvider(
//         std::make_shared<foundation::storage::provider::HttpProvider>(options));

#include <foundation/storage/provider/StorageProvider.hpp>

#include <chrono>
#include <string>

namespace foundation::storage::provider {

struct HttpOptions {
    // A file of PEM certificates trusted beside the system's store; empty for none.
    std::string caFile;
    // Every wait is bounded, so that no server can hold a call for ever.
    std::chrono::milliseconds connectTimeout{10'000};
    // A request that moves no body (a look, an index page) ends within this, answered or not,
    // its retries included.
    std::chrono::milliseconds requestTimeout{30'000};
    // A body transfer slower than lowSpeedLimit bytes per second over lowSpeedTime is
    // abandoned; so is a server that says nothing for that long.
    long lowSpeedLimit = 1024;
    std::chrono::seconds lowSpeedTime{30};
    long maxRedirects = 10;
    // A request that changes nothing is made up to `attempts` times while it fails in a way
    // that may pass: a failed connection, or 429, 500, 502, 503 and 504. The n-th wait
    // between attempts is retryDelay * 2^(n-1), less up to half of it at random so that
    // clients do not come back together; a Retry-After of the server is waited instead, up
    // to retryAfterLimit.
    int attempts = 3;
    std::chrono::milliseconds retryDelay{250};
    std::chrono::milliseconds retryAfterLimit{10'000};
};

// Read-only: every change fails with ReadOnlyProvider. A location's path ending in "/"
// names a folder. Connections are kept per thread and reused by the next request to the
// same server.
class HttpProvider : public StorageProvider {
public:
    explicit HttpProvider(HttpOptions options = {});
    ~HttpProvider() override;

    const HttpOptions& options() const noexcept { return options_; }

    std::vector<std::string> schemes() const override;
    // The IRI text, a password in it shown as "***": messages end up in logs and terminals.
    fl::ustring describe(const vfs::AbsoluteIRI& location) const override;
    // One HEAD request (a ranged GET of byte 0 where the server refuses HEAD), made again
    // while it fails in a way that may pass (`attempts`). It tells every fact, whatever is
    // wanted: Last-Modified (else Date), Content-Length (else 0), never writable, and
    // "http.contentType" and "http.etag" as the server sends them.
    ItemStatus look(const vfs::AbsoluteIRI& location, Facts wanted) const override;
    // The links of the server's index page that name entries directly below the folder.
    std::unique_ptr<FolderCursor> listPages(const vfs::AbsoluteIRI& folder,
                                            const fl::ustring& filter) const override;
    bool readOnly() const override { return true; }
    // The body, streamed by GET.
    std::unique_ptr<InputStream> openForReading(const vfs::AbsoluteIRI& location) const override;

private:
    HttpOptions options_;
};

} // namespace foundation::storage::provider
