#pragma once

// The package that claims a folder, as the host's package registry says.

#include <Quarrow/PackageRegistry.hpp>
#include <foundation/storage/vfs/Folder.hpp>

#include <boost/optional.hpp>

#include <memory>

namespace vexa::io::filesystem::core {

// The registry in force.
std::shared_ptr<Quarrow::PackageRegistry::Registry> GetCurrentPackageRegistry();

// The package whose root is the folder or its nearest ancestor; none when there is none or
// the package manager is switched off (the registry is not asked then).
boost::optional<Quarrow::PackageRegistry::PackageDescription>
GetClaimingPackage(const foundation::storage::vfs::Folder& folder);

} // namespace vexa::io::filesystem::core
