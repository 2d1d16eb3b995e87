#pragma once

// The `dav` and `davs` schemes: WebDAV shares reached over http and https through the
// remote providers' HTTP client. Programs make one through makeDavProvider
// (RemoteProviders.hpp).

#include <foundation/storage/provider/HttpOptions.hpp>
#include <foundation/storage/provider/StorageProvider.hpp>

namespace foundation::storage::provider {

// "dav://host/p" is reached as "http://host/p", "davs://" as "https://". Who asks is the
// IRI's user info, else the host's entry in ~/.netrc. The kind of an item is the share's
// answer (a collection is a folder), never the trailing "/" of the IRI.
class DavProvider : public StorageProvider {
public:
    explicit DavProvider(HttpOptions options = {});
    ~DavProvider() override;

    const HttpOptions& options() const noexcept { return options_; }

    std::vector<std::string> schemes() const override;
    // The IRI text, a password in it shown as "***".
    fl::ustring describe(const vfs::AbsoluteIRI& location) const override;
    // One PROPFIND of depth 0: kind, size, time, and "http.contentType" and "http.etag"
    // from the share's properties; where the share leaves those out of its answer and
    // Extended is wanted, a HEAD request of the file adds them. An item found is writable:
    // the share says no only when a change is asked of it. A share without PROPFIND fails
    // with UnsupportedOperation.
    ItemStatus look(const vfs::AbsoluteIRI& location, Facts wanted) const override;
    // One PROPFIND of depth 1: every entry with its kind, size, time and tag.
    std::unique_ptr<FolderCursor> listPages(const vfs::AbsoluteIRI& folder,
                                            const fl::ustring& filter) const override;
    // A look at the item and at its folder, then a PUT of nothing that only makes a new
    // file: a share that creates missing folders on a PUT never does so here.
    void createFile(const vfs::AbsoluteIRI& location) const override;
    // A file only: DELETE removes a whole folder on a share.
    void removeFile(const vfs::AbsoluteIRI& location) const override;
    void createFolder(const vfs::AbsoluteIRI& location) const override;
    std::unique_ptr<InputStream> openForReading(const vfs::AbsoluteIRI& location) const override;
    // The content is PUT, as it is written, to a hidden name beside the item and MOVEd over
    // it at commit; abort DELETEs it. Shares that write a PUT in place show nothing half
    // sent under the item's name. With a size, the PUT carries it as Content-Length, which
    // a share takes faster than chunks.
    std::unique_ptr<OutputStream> openForWriting(const vfs::AbsoluteIRI& location,
                                                 vfs::WriteMode mode,
                                                 std::optional<std::uint64_t> size) const override;
    // MOVE, never over an existing item.
    void rename(const vfs::AbsoluteIRI& location, const vfs::AbsoluteIRI& target) const override;
    // Refused with FolderNotEmpty, before any DELETE, when anything is inside.
    void removeFolder(const vfs::AbsoluteIRI& location) const override;

private:
    HttpOptions options_;
};

} // namespace foundation::storage::provider
