#pragma once

// Making sure the folder that is to hold an item is there.

namespace foundation::storage::vfs {
class AbsoluteIRI;
class StorageSystemReference;
} // namespace foundation::storage::vfs

namespace vexa::io::filesystem::core {

// Makes the parent folder of `iri` with every missing folder above it, when nothing is
// there. A root has no parent; a parent that exists, even as a file, is left as it is.
// Failures are the storage layer's vfs::Exception.
void createParentIfNeeded(const foundation::storage::vfs::AbsoluteIRI& iri,
                          const foundation::storage::vfs::StorageSystemReference& storage);

} // namespace vexa::io::filesystem::core
