#include <Quarrow/PackageRegistry.hpp>

#include <foundation/core/except/Exception.hpp>

#include "location_rules.hpp"

#include <atomic>

namespace Quarrow {

namespace VexaComponents::PkgMgrFeature {
namespace {
std::atomic<bool> on{false};
} // namespace

bool IsOn() {
    return on.load();
}

void SetOn(bool value) {
    on.store(value);
}

} // namespace VexaComponents::PkgMgrFeature

namespace PackageRegistry {

void Registry::AddPackage(PackageDescription package) {
    auto root = location_rules::nameFolder(package.rootFolder);
    package.rootFolder = std::move(root.text);
    std::unique_lock lock(mutex_);
    packages_.push_back({std::move(package), std::move(root.comparable)});
}

boost::optional<PackageDescription> Registry::FindClaimingPackage(
    const foundation::storage::vfs::CanonicalAbsoluteIRI& location) const {
    const fl::ustring asked = location_rules::comparableText(location);
    std::shared_lock lock(mutex_);
    const Package* nearest = nullptr;
    for (const Package& package : packages_)
        if (location_rules::isAtOrAbove(package.rootText, asked) &&
            (!nearest || package.rootText.size() > nearest->rootText.size()))
            nearest = &package;
    if (!nearest)
        return boost::none;
    return nearest->description;
}

std::shared_ptr<Registry> Registrar::GetCurrentRegistry() const {
    std::lock_guard lock(mutex_);
    return current_;
}

void Registrar::SetCurrentRegistry(std::shared_ptr<Registry> registry) {
    if (!registry)
        throw foundation::core::except::Exception<foundation::core::except::IInternalException>(
            "The package registrar was given no registry");
    std::lock_guard lock(mutex_);
    current_ = std::move(registry);
}

Registrar& GetPackageRegistrar() {
    static Registrar registrar;
    return registrar;
}

} // namespace PackageRegistry
} // namespace Quarrow
