#include <foundation/storage/vfs/File.hpp>

#include <foundation/storage/vfs/Folder.hpp>

namespace foundation::storage::vfs {

File::File(const AbsoluteIRI& location, StorageSystemReference storage)
    : location_(location), storage_(std::move(storage)) {}

File::File(const Folder& folder, const fl::ustring& leaf)
    : location_(CanonicalAbsoluteIRI(CanonicalAbsoluteIRI(folder.getLocation()), leaf)),
      storage_(folder.getStorage()) {}

void File::createFile() const {
    storage_->providerFor(location_)->createFile(location_);
}

void File::removeFile() const {
    storage_->providerFor(location_)->removeFile(location_);
}

provider::FileAttributes File::getAttributes() const {
    return storage_->providerFor(location_)->attributes(location_);
}

provider::ExtendedAttributes File::getExtendedAttributes() const {
    return storage_->providerFor(location_)->extendedAttributes(location_);
}

} // namespace foundation::storage::vfs
