#pragma once

#include <foundation/storage/provider/StorageProvider.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/StorageSystem.hpp>

#include <memory>

namespace foundation::storage::vfs {

// What a File and a Folder are: a location and the storage system that reaches it. Making
// one touches no storage.
class StorageItem {
public:
    const AbsoluteIRI& getLocation() const noexcept { return location_; }
    const StorageSystemReference& getStorage() const noexcept { return storage_; }

protected:
    StorageItem(const AbsoluteIRI& location, StorageSystemReference storage)
        : location_(location), storage_(std::move(storage)) {}

    // The provider of the location's scheme; UnsupportedOperation when there is none.
    std::shared_ptr<const provider::StorageProvider> provider() const {
        return storage_->providerFor(location_);
    }

private:
    AbsoluteIRI location_;
    StorageSystemReference storage_;
};

} // namespace foundation::storage::vfs
