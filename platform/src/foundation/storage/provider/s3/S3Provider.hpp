#pragma once

// The `s3` scheme: "s3://bucket/key/parts", objects of a bucket as files and key prefixes
// ending in "/" as folders, over the shared HTTP client. Programs make one through
// makeS3Provider (RemoteProviders.hpp).

#include <foundation/storage/provider/S3Options.hpp>
#include <foundation/storage/provider/StorageProvider.hpp>

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace foundation::storage::provider {

// Not atomic where S3 is not: `rename` copies the object and then deletes the original, so
// that both exist for a moment, and a failed delete leaves both.
class S3Provider : public StorageProvider {
public:
    explicit S3Provider(S3Options options = {});
    ~S3Provider() override;

    // The settings in use, every field resolved.
    const S3Options& options() const noexcept { return options_; }
    // The listing pages asked for since the provider was made.
    std::uint64_t listRequests() const noexcept { return listRequests_.load(); }

    std::vector<std::string> schemes() const override;
    // The IRI text, a password in it shown as "***".
    fl::ustring describe(const vfs::AbsoluteIRI& location) const override;
    // "s3://bucket/key/" is a folder when its marker object or anything below it exists;
    // "s3://bucket/key" is the object when there is one (one HEAD request), else the same
    // folder. The object's HEAD tells every fact.
    ItemStatus look(const vfs::AbsoluteIRI& location, Facts wanted) const override;
    // One ListObjectsV2 request per page, with "/" as delimiter: objects are files and
    // common prefixes folders.
    std::unique_ptr<FolderCursor> listPages(const vfs::AbsoluteIRI& folder,
                                            const fl::ustring& filter) const override;
    // Every object below the folder, with its path below it as the name ("a/b/c.txt"):
    // one request per page of keys, whatever the depth. Markers of folders come as
    // folders, their names without the "/".
    std::unique_ptr<FolderCursor> listTree(const vfs::AbsoluteIRI& folder) const override;
    void createFile(const vfs::AbsoluteIRI& location) const override;
    // A missing key fails with ResourceNotFound (S3 itself answers as if it were there).
    void removeFile(const vfs::AbsoluteIRI& location) const override;
    // An empty marker object "key/".
    void createFolder(const vfs::AbsoluteIRI& location) const override;
    // The body by GET, as it arrives.
    std::unique_ptr<InputStream> openForReading(const vfs::AbsoluteIRI& location) const override;
    // Up to 8 MiB goes as one PUT at commit(); more as a multipart upload, its parts sent as
    // they fill and completed at commit(), aborted otherwise.
    std::unique_ptr<OutputStream> openForWriting(const vfs::AbsoluteIRI& location,
                                                 vfs::WriteMode mode,
                                                 std::optional<std::uint64_t> size) const override;
    // CopyObject, then DeleteObject of the original.
    void rename(const vfs::AbsoluteIRI& location, const vfs::AbsoluteIRI& target) const override;
    // Refused (FolderNotEmpty) while anything is below it; its marker is deleted.
    void removeFolder(const vfs::AbsoluteIRI& location) const override;

private:
    friend struct S3Access;
    S3Options options_;
    mutable std::atomic<std::uint64_t> listRequests_{0};
};

} // namespace foundation::storage::provider
