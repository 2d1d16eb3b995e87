#pragma once

// Looking at an item through the VFS: the one record every existence and attribute question
// is answered from.

#include <foundation/storage/provider/ItemStatus.hpp>
#include <foundation/storage/provider/StorageProvider.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <string>

namespace foundation::storage::vfs {

// Within one call that asks several questions of the same items (is it there, what kind,
// when changed, how large), the answers come from one look at each item while an instance
// lives on the thread: a look that holds what is wanted is reused rather than asked again
// of the storage, which for a remote store is a request saved. A change made through the
// VFS on the thread forgets every look kept, so no answer predates it. Failures are never
// kept. Scopes nest; the outermost one keeps the looks.
class SharedLooks {
public:
    SharedLooks();
    ~SharedLooks();
    SharedLooks(const SharedLooks&) = delete;
    SharedLooks& operator=(const SharedLooks&) = delete;

private:
    bool outermost_;
};

// The provider's look at `location` with `wanted` facts, or the one kept by a SharedLooks
// scope; a failure passes with `operation` recorded as the provider call's would be.
provider::ItemStatus look(const provider::StorageProvider& provider, const AbsoluteIRI& location,
                          provider::Facts wanted, std::string operation);

// The look at the item the location leads to; what keeps it from being reached (missing, a
// link that leads nowhere) is raised as the failure of `operation`.
provider::ItemStatus reached(const provider::StorageProvider& provider, const AbsoluteIRI& location,
                             provider::Facts wanted, const char* operation);

} // namespace foundation::storage::vfs
