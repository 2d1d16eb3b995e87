#include <vexa/io/filesystem/core/packages.hpp>

namespace vexa::io::filesystem::core {

std::shared_ptr<Quarrow::PackageRegistry::Registry> GetCurrentPackageRegistry() {
    return Quarrow::PackageRegistry::GetPackageRegistrar().GetCurrentRegistry();
}

boost::optional<Quarrow::PackageRegistry::PackageDescription>
GetClaimingPackage(const foundation::storage::vfs::Folder& folder) {
    if (!Quarrow::VexaComponents::PkgMgrFeature::IsOn())
        return boost::none;
    using foundation::storage::vfs::CanonicalAbsoluteIRI;
    // An empty leaf names the folder itself.
    const CanonicalAbsoluteIRI location(CanonicalAbsoluteIRI(folder.getLocation()), u"");
    return GetCurrentPackageRegistry()->FindClaimingPackage(location);
}

} // namespace vexa::io::filesystem::core
