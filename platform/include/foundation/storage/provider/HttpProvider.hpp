#pragma once

// The `http` and `https` schemes, over libcurl. It lives in its own library
// (Vexa::storage_http), so a program that needs no remote storage does not link libcurl; a
// host program that does registers it once:
//
//     Quarrow::VexaStorageSystem::GetStorageSystemReference()->addProvider(
//         std::make_shared<foundation::storage::provider::HttpProvider>());

#include <foundation/storage/provider/StorageProvider.hpp>

#include <chrono>
#include <string>

namespace foundation::storage::provider {

struct HttpOptions {
    // A file of PEM certificates trusted beside the system's store; empty for none.
    std::string caFile;
    std::chrono::milliseconds connectTimeout{10'000};
    // A transfer slower than lowSpeedLimit bytes per second for lowSpeedTime is abandoned.
    long lowSpeedLimit = 1;
    std::chrono::seconds lowSpeedTime{30};
    long maxRedirects = 10;
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
    // One HEAD request (a ranged GET of byte 0 where the server refuses HEAD).
    ItemStatus probe(const vfs::AbsoluteIRI& location) const override;
    // The links of the server's index page that name entries directly below the folder.
    std::vector<FolderEntry> list(const vfs::AbsoluteIRI& folder) const override;
    void createFile(const vfs::AbsoluteIRI& location) const override;
    void removeFile(const vfs::AbsoluteIRI& location) const override;
    void createFolder(const vfs::AbsoluteIRI& location) const override;
    std::unique_ptr<OutputStream> openForWriting(const vfs::AbsoluteIRI& location,
                                                 vfs::WriteMode mode) const override;
    void rename(const vfs::AbsoluteIRI& location, const vfs::AbsoluteIRI& target) const override;
    void removeFolder(const vfs::AbsoluteIRI& location) const override;
    // Last-Modified (else Date) and Content-Length (else 0); never writable.
    FileAttributes attributes(const vfs::AbsoluteIRI& location) const override;
    // "http.contentType" and "http.etag", as the server sends them.
    ExtendedAttributes extendedAttributes(const vfs::AbsoluteIRI& location) const override;
    // The body, streamed by GET.
    std::unique_ptr<InputStream> openForReading(const vfs::AbsoluteIRI& location) const override;

private:
    HttpOptions options_;
};

} // namespace foundation::storage::provider
