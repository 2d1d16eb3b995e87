#pragma once

// The `http` and `https` schemes, over libcurl. The host's storage system starts with one
// made with the default options; a host program that wants others replaces it:
//
//     Quarrow::VexaStorageSystem::GetStorageSystemReference()->addProvider(
//         std::make_shared<foundation::storage::provider::HttpProvider>(options));

#include <foundation/storage/provider/HttpOptions.hpp>
#include <foundation/storage/provider/StorageProvider.hpp>

namespace foundation::storage::provider {

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
