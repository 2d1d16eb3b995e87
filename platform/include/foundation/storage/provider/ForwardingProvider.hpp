#pragma once

// A provider that passes every call to another: the base of a provider that changes a few
// answers of a real one and keeps the rest, so that an operation added to the interface
// reaches the real provider without each such wrapper having to learn of it.

#include <foundation/storage/provider/StorageProvider.hpp>

#include <memory>

namespace foundation::storage::provider {

class ForwardingProvider : public StorageProvider {
public:
    explicit ForwardingProvider(std::shared_ptr<const StorageProvider> inner)
        : inner_(std::move(inner)) {}

    std::vector<std::string> schemes() const override;
    fl::ustring describe(const vfs::AbsoluteIRI& location) const override;
    ItemStatus look(const vfs::AbsoluteIRI& location, Facts wanted) const override;
    std::unique_ptr<FolderCursor> listPages(const vfs::AbsoluteIRI& folder,
                                            const fl::ustring& filter) const override;
    std::unique_ptr<FolderCursor> listTree(const vfs::AbsoluteIRI& folder) const override;
    bool readOnly() const override;
    void createFile(const vfs::AbsoluteIRI& location) const override;
    void removeFile(const vfs::AbsoluteIRI& location) const override;
    void createFolder(const vfs::AbsoluteIRI& location) const override;
    std::unique_ptr<InputStream> openForReading(const vfs::AbsoluteIRI& location) const override;
    std::unique_ptr<OutputStream> openForWriting(const vfs::AbsoluteIRI& location,
                                                 vfs::WriteMode mode) const override;
    void rename(const vfs::AbsoluteIRI& location, const vfs::AbsoluteIRI& target) const override;
    void removeFolder(const vfs::AbsoluteIRI& location) const override;

protected:
    const StorageProvider& inner() const noexcept { return *inner_; }

private:
    std::shared_ptr<const StorageProvider> inner_;
};

} // namespace foundation::storage::provider
