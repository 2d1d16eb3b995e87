#include <foundation/storage/vfs/File.hpp>

#include <foundation/storage/vfs/Exception.hpp>
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

WriteStream File::openForWriting(WriteMode mode) const {
    const auto provider = this->provider();
    return WriteStream(provider->openForWriting(getLocation(), mode),
                       provider->describe(getLocation()));
}

void File::rename(const AbsoluteIRI& target) const {
    const auto provider = this->provider();
    // A move between two stores is a copy and a removal, which the caller decides on.
    if (getStorage()->providerFor(target) != provider)
        raise(UnsupportedOperation, "rename", provider->describe(getLocation()));
    provider->rename(getLocation(), target);
}

} // namespace foundation::storage::vfs
