#include <foundation/storage/vfs/File.hpp>

#include <foundation/storage/vfs/Folder.hpp>

namespace foundation::storage::vfs {

File::File(const AbsoluteIRI& location, StorageSystemReference storage)
    : StorageItem(location, std::move(storage)) {}

File::File(const Folder& folder, const fl::ustring& leaf)
    : StorageItem(CanonicalAbsoluteIRI(CanonicalAbsoluteIRI(folder.getLocation()), leaf),
                  folder.getStorage()) {}

void File::createFile() const {
    provider()->createFile(getLocation());
}

void File::removeFile() const {
    provider()->removeFile(getLocation());
}

provider::FileAttributes File::getAttributes() const {
    return provider()->attributes(getLocation());
}

provider::ExtendedAttributes File::getExtendedAttributes() const {
    return provider()->extendedAttributes(getLocation());
}

} // namespace foundation::storage::vfs
