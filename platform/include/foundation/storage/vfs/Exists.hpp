#pragma once

// Whether something is at a location, and what.

#include <foundation/storage/provider/ExistenceTypeExtended.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/StorageSystem.hpp>

namespace foundation::storage::vfs {

// What exists() answers. Host code compares the numbers, which are not those of
// provider::ExistenceTypeExtended: hence names of their own.
namespace existence {
inline constexpr int file = 0; // a file or another item that is not a folder
inline constexpr int folder = 1;
inline constexpr int nothing = 2; // nothing there, or a link whose target is missing
} // namespace existence

// Follows links. Throws only for failures other than "nothing there": no permission on the
// way, a loop of links (IOError), an unreadable disk.
int exists(const AbsoluteIRI& location, const StorageSystemReference& storage);

// The item itself, a final link not followed but told apart by what it leads to. A missing
// item throws ResourceNotFound, a path through a file NotAFolder, no permission
// PermissionDenied, a link that leads nowhere (dangling or looping) IOError.
provider::ExistenceTypeExtended existsExtended(const AbsoluteIRI& location,
                                               const StorageSystemReference& storage);

// existsExtended's look, without raising what it finds: a missing item, a path through a
// file and a link that leads nowhere come back as the code existsExtended would raise, at
// no more cost than an answer. Failures to look at all are raised as they are.
struct ExtendedExistence {
    provider::ExistenceTypeExtended type = provider::ExistsAsNothing;
    int failureCode = -1; // negative: `type` is the answer

    bool answered() const noexcept { return failureCode < 0; }
};
ExtendedExistence lookUpExtended(const AbsoluteIRI& location, const StorageSystemReference& storage);

// The exception existsExtended raises where `look` has a failure, with its context; built,
// not raised.
Exception failureOf(const ExtendedExistence& look, const AbsoluteIRI& location,
                    const StorageSystemReference& storage);

} // namespace foundation::storage::vfs
