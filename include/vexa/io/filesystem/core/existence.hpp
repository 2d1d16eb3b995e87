#pragma once

// What is stored at a location, in the storage provider's terms, and three questions asked
// of the answer.

#include <foundation/storage/provider/ExistenceTypeExtended.hpp>

namespace foundation::storage::vfs {
class AbsoluteIRI;
}

namespace vexa::io::filesystem::core {

// 0 and 1. Compared unsigned, so no negative value passes.
bool isFile(foundation::storage::provider::ExistenceTypeExtended type);
// 2.
bool isFolder(foundation::storage::provider::ExistenceTypeExtended type);
// 3, 4 and 5. Compared as the unsigned distance from 3, so a value below 3 wraps round and
// is no link.
bool isSymlink(foundation::storage::provider::ExistenceTypeExtended type);

// The kind of item at `iri`. A failure of the storage layer answers 6 (nothing usable), or,
// with `throwOnError`, is thrown again as a copy of the storage layer's vfs::Exception. One
// failure is looked into first: a link that cannot be followed (IOError) is told apart
// from a missing item by the native file system, and a dangling or looping link answers 3.
foundation::storage::provider::ExistenceTypeExtended
getExtendedExistenceType(const foundation::storage::vfs::AbsoluteIRI& iri, bool throwOnError);

} // namespace vexa::io::filesystem::core
