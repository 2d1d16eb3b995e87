// The host's package registry: which package claims a folder, and the registrar and feature
// switch a host program sets.

#include <Quarrow/PackageRegistry.hpp>

#include <Quarrow/current_working_folder/CurrentWorkingFolder.hpp>
#include <foundation/core/except/Exception.hpp>

#include "CurrentFolder.hpp"
#include "Packages.hpp"
#include "Text.hpp"

#include <gtest/gtest.h>

namespace {

namespace pr = Quarrow::PackageRegistry;
using foundation::storage::vfs::CanonicalAbsoluteIRI;
using vexa::testing::u;

// The name of the claiming package, or "" for none.
std::string claimant(const pr::Registry& registry, const std::string& location) {
    const auto found = registry.FindClaimingPackage(CanonicalAbsoluteIRI(u(location)));
    return found ? vexa::testing::utf8(found->name) : "";
}

TEST(PackageRegistry, TheNearestRootAtOrAboveClaims) {
    const vexa::testing::CurrentFolder inside("/tmp");
    const vexa::testing::ScopedPackageRegistry scoped(false);
    pr::Registry& registry = scoped.registry();
    for (const auto& [name, root] : {std::pair{u"base", u"/data/pkgs/base"},
                                     {u"nested", u"/data/pkgs/base/sub/"},
                                     {u"twin", u"/data/pkgs/base"}, // same root: the first wins
                                     {u"relative", u"rel/./dir"},
                                     {u"odd", u"/data/caf\xDCE9 x"}})
        registry.AddPackage({name, root});
    const struct {
        std::string location, package;
    } cases[] = {
        {"/data/pkgs/base", "base"},          {"file:///data/pkgs/base/", "base"},
        {"/data/pkgs/base/x/y", "base"},      {"/data/pkgs/base/sub", "nested"},
        {"/data/pkgs/base/sub/z/", "nested"}, {"/data/pkgs/base/subway", "base"},
        {"/data/pkgs/base/sub/../x", "base"}, // dot segments go before the comparison
        {"/data/pkgs/basement", ""},          {"/data/pkgs", ""},
        {"/", ""},                            {"http://h/data/pkgs/base", ""},
        {"file://elsewhere/data/pkgs/base", ""},
        {"/tmp/rel/dir/f", "relative"},       {"/tmp/rel", ""},
        {"/data/caf\xE9 x/y", "odd"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(claimant(registry, c.location), c.package) << c.location;

    registry.AddPackage({u"everything", u"/"});
    EXPECT_EQ(claimant(registry, "/data/pkgs"), "everything");
    EXPECT_EQ(claimant(registry, "/data/pkgs/base/x"), "base");
    EXPECT_EQ(claimant(registry, "file://elsewhere/x"), "");
    // A relative root is kept absolute; one that names no folder here is refused.
    EXPECT_EQ(registry.FindClaimingPackage(CanonicalAbsoluteIRI(u"/tmp/rel/dir"))->rootFolder,
              u"/tmp/rel/./dir");
    EXPECT_THROW(registry.AddPackage({u"far", u"file://elsewhere/x"}),
                 Quarrow::current_working_folder::FailedToAbsolutizeException);
}

TEST(PackageRegistry, RegistrarAndFeatureSwitch) {
    EXPECT_FALSE(Quarrow::VexaComponents::PkgMgrFeature::IsOn()); // off until switched on
    auto& registrar = pr::GetPackageRegistrar();
    ASSERT_TRUE(registrar.GetCurrentRegistry());
    {
        const vexa::testing::ScopedPackageRegistry scoped(true);
        EXPECT_TRUE(Quarrow::VexaComponents::PkgMgrFeature::IsOn());
        EXPECT_EQ(registrar.GetCurrentRegistry().get(), &scoped.registry());
        EXPECT_THROW(registrar.SetCurrentRegistry(nullptr),
                     foundation::core::except::IInternalException);
        EXPECT_EQ(registrar.GetCurrentRegistry().get(), &scoped.registry());
    }
    EXPECT_FALSE(Quarrow::VexaComponents::PkgMgrFeature::IsOn());
}

} // namespace
