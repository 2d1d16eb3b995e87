#pragma once

// The host's storage system. It starts with the `file` provider; a host program adds
// others (or replaces the whole system) through the functions below.

#include <foundation/storage/vfs/StorageSystem.hpp>

namespace Quarrow::VexaStorageSystem {

// A new reference to the host's current storage system.
foundation::storage::vfs::StorageSystemReference GetStorageSystemReference();

// Makes `system` the host's storage system and returns the one it replaces. Operations
// already running keep the reference they took.
foundation::storage::vfs::StorageSystemReference
SetStorageSystemReference(foundation::storage::vfs::StorageSystemReference system);

} // namespace Quarrow::VexaStorageSystem
