#pragma once

#include <foundation/storage/provider/StorageProvider.hpp>

namespace foundation::storage::provider {

// The `file` scheme on the Linux file system. A location's path is the native path that
// Quarrow::PathManagement::GetStringFromIRI gives, less one trailing "/" (the IRI layer
// does not count it as a segment either). A file IRI that names no native path (another
// host, a query, an escaped "/" or U+0000 in a name) names nothing here: ResourceNotFound.
class LocalFileProvider : public StorageProvider {
public:
    std::vector<std::string> schemes() const override;
    fl::ustring describe(const vfs::AbsoluteIRI& location) const override;
    // One lstat, and one stat for a link; access(2) for this process when Writable is
    // wanted; the Linux extended attributes of the "user." namespace, by their names without
    // the prefix (none where the file system keeps none), when Extended is wanted. Times to
    // the microsecond.
    ItemStatus look(const vfs::AbsoluteIRI& location, Facts wanted) const override;
    std::unique_ptr<FolderCursor> listPages(const vfs::AbsoluteIRI& folder,
                                            const fl::ustring& filter) const override;
    void createFile(const vfs::AbsoluteIRI& location) const override;
    void removeFile(const vfs::AbsoluteIRI& location) const override;
    void createFolder(const vfs::AbsoluteIRI& location) const override;
    // A fifo opens without waiting for a writer; a folder cannot be opened.
    std::unique_ptr<InputStream> openForReading(const vfs::AbsoluteIRI& location) const override;
    // Written beside the item, synced, and given its name at commit; a link is written
    // through, and a replaced file keeps its mode and owner.
    std::unique_ptr<OutputStream> openForWriting(const vfs::AbsoluteIRI& location,
                                                 vfs::WriteMode mode,
                                                 std::optional<std::uint64_t> size) const override;
    // Never over an existing item (ResourceAlreadyExists).
    void rename(const vfs::AbsoluteIRI& location, const vfs::AbsoluteIRI& target) const override;
    void removeFolder(const vfs::AbsoluteIRI& location) const override;
};

} // namespace foundation::storage::provider
