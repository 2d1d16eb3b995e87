#pragma once

// A provider that passes every call to another: the base of a provider that changes a few
// answers of a real one and keeps the rest, so that an operation added to the interface
// reaches the real provider without each such wrapper having to learn of it.

#include <foundation/storage/provider/StorageProvider.hpp>

#include <functional>
#include <memory>
#include <mutex>

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
                                                 vfs::WriteMode mode,
                                                 std::optional<std::uint64_t> size) const override;
    void rename(const vfs::AbsoluteIRI& location, const vfs::AbsoluteIRI& target) const override;
    void removeFolder(const vfs::AbsoluteIRI& location) const override;

protected:
    // The provider passed to is made by `make` at the first call that needs it, once, on the
    // thread that calls first: for one whose code is loaded only when it is used. A failure
    // of `make` fails that call, and the next call tries again.
    explicit ForwardingProvider(std::function<std::shared_ptr<const StorageProvider>()> make)
        : make_(std::move(make)) {}

    const StorageProvider& inner() const;

private:
    std::function<std::shared_ptr<const StorageProvider>()> make_;
    mutable std::once_flag made_;
    mutable std::shared_ptr<const StorageProvider> inner_;
};

} // namespace foundation::storage::provider
