#pragma once

// The host's package registry and the package manager's switch, set for one test and put
// back when it ends.

#include <Quarrow/PackageRegistry.hpp>

#include <memory>

namespace vexa::testing {

// A fresh registry in force and the package manager switched as asked.
class ScopedPackageRegistry {
public:
    explicit ScopedPackageRegistry(bool featureOn)
        : previous_(Quarrow::PackageRegistry::GetPackageRegistrar().GetCurrentRegistry()),
          wasOn_(Quarrow::VexaComponents::PkgMgrFeature::IsOn()) {
        Quarrow::PackageRegistry::GetPackageRegistrar().SetCurrentRegistry(registry_);
        Quarrow::VexaComponents::PkgMgrFeature::SetOn(featureOn);
    }
    ~ScopedPackageRegistry() {
        Quarrow::PackageRegistry::GetPackageRegistrar().SetCurrentRegistry(previous_);
        Quarrow::VexaComponents::PkgMgrFeature::SetOn(wasOn_);
    }
    ScopedPackageRegistry(const ScopedPackageRegistry&) = delete;
    ScopedPackageRegistry& operator=(const ScopedPackageRegistry&) = delete;

    Quarrow::PackageRegistry::Registry& registry() const { return *registry_; }

private:
    std::shared_ptr<Quarrow::PackageRegistry::Registry> registry_ =
        std::make_shared<Quarrow::PackageRegistry::Registry>();
    std::shared_ptr<Quarrow::PackageRegistry::Registry> previous_;
    bool wasOn_;
};

} // namespace vexa::testing
