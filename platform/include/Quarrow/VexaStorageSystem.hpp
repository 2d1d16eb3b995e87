#pragma once

// The host's storage system. It starts with the `file` provider; a host program adds
// others (or replaces the whole system) through the functions below.

#include <foundation/storage/vfs/StorageSystem.hpp>

#include <fl/ustring.hpp>

#include <vector>

namespace Quarrow::VexaStorageSystem {

// A new reference to the host's current storage system.
foundation::storage::vfs::StorageSystemReference GetStorageSystemReference();

// Makes `system` the host's storage system and returns the one it replaces. Operations
// already running keep the reference they took.
foundation::storage::vfs::StorageSystemReference
SetStorageSystemReference(foundation::storage::vfs::StorageSystemReference system);

} // namespace Quarrow::VexaStorageSystem

namespace foundation::storage::vfs {

// The schemes the host's storage system has a provider for, in lower case.
std::vector<fl::ustring> knownSchemes();

// Whether `text` starts with "scheme://" for a scheme the host's storage system has a
// provider for, ignoring ASCII case.
bool hasIRIPrefix(const fl::ustring& text);

} // namespace foundation::storage::vfs
