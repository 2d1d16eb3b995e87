#pragma once

// The host's packages: named folder trees that claim every folder below their root. The
// registrar holds the registry in force; the package manager's feature switch says whether
// the host asks it at all.

#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <fl/ustring.hpp>

#include <boost/optional.hpp>

#include <memory>
#include <mutex>
#include <shared_mutex>
#include <vector>

namespace Quarrow::VexaComponents::PkgMgrFeature {
// Off until a host program switches it on.
bool IsOn();
void SetOn(bool on);
} // namespace Quarrow::VexaComponents::PkgMgrFeature

namespace Quarrow::PackageRegistry {

struct PackageDescription {
    fl::ustring name;
    fl::ustring rootFolder; // an absolute native path

    friend bool operator==(const PackageDescription&, const PackageDescription&) = default;
};

// Safe to use from several threads, also while packages are added.
class Registry {
public:
    // A relative root is taken from the current folder, and the description keeps it
    // absolute; FailedToAbsolutizeException for a root that cannot name a folder (a `file`
    // IRI of another machine, say).
    // Names need not be unique: two versions of a package may be installed side by side.
    void AddPackage(PackageDescription package);

    // The package whose root is the location or its nearest ancestor, compared as IRIs
    // segment by segment with dot segments removed (links are not resolved); among packages
    // with the same root, the one added first. None when no root is at or above it.
    boost::optional<PackageDescription>
    FindClaimingPackage(const foundation::storage::vfs::CanonicalAbsoluteIRI& location) const;

private:
    struct Package {
        PackageDescription description;
        fl::ustring rootText; // compared with the locations asked about
    };

    mutable std::shared_mutex mutex_;
    std::vector<Package> packages_;
};

// Starts with an empty registry; there is always one in force.
class Registrar {
public:
    std::shared_ptr<Registry> GetCurrentRegistry() const;
    // A null registry is refused (an internal exception).
    void SetCurrentRegistry(std::shared_ptr<Registry> registry);

private:
    mutable std::mutex mutex_;
    std::shared_ptr<Registry> current_ = std::make_shared<Registry>();
};

Registrar& GetPackageRegistrar();

} // namespace Quarrow::PackageRegistry
