#include <foundation/storage/vfs/File.hpp>

#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/Folder.hpp>
#include <foundation/storage/vfs/Look.hpp>

#include "boundary.hpp"

namespace foundation::storage::vfs {

File::File(const AbsoluteIRI& location, StorageSystemReference storage)
    : StorageItem(location, std::move(storage)) {}

File::File(const Folder& folder, const fl::ustring& leaf)
    : StorageItem(CanonicalAbsoluteIRI(CanonicalAbsoluteIRI(folder.getLocation()), leaf),
                  folder.getStorage()) {}

void File::createFile() const {
    const auto provider = this->provider();
    changing(*provider, getLocation(), "createFile", [&] { provider->createFile(getLocation()); });
}

void File::removeFile() const {
    const auto provider = this->provider();
    changing(*provider, getLocation(), "removeFile", [&] { provider->removeFile(getLocation()); });
}

provider::FileAttributes File::getAttributes() const {
    const provider::ItemStatus status =
        reached(*provider(), getLocation(), provider::Facts::Writable, "attributes");
    return provider::FileAttributes(status.writable, status.lastModified, status.size);
}

provider::ExtendedAttributes File::getExtendedAttributes() const {
    return reached(*provider(), getLocation(), provider::Facts::Extended, "extendedAttributes")
        .extended;
}

WriteStream File::openForWriting(WriteMode mode, std::optional<std::uint64_t> size) const {
    const auto provider = this->provider();
    return WriteStream(
        changing(*provider, getLocation(), "openForWriting",
                 [&] { return provider->openForWriting(getLocation(), mode, size); }),
        provider->describe(getLocation()));
}

void File::rename(const AbsoluteIRI& target) const {
    const auto provider = this->provider();
    // A move between two stores is a copy and a removal, which the caller decides on.
    if (getStorage()->providerFor(target) != provider)
        raise(UnsupportedOperation, "rename", provider->describe(getLocation()));
    changing(*provider, getLocation(), "rename", [&] { provider->rename(getLocation(), target); });
}

} // namespace foundation::storage::vfs
