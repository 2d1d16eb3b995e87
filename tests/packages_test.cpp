// The package that claims a folder, through the registry in force and the package manager's
// switch.

#include <vexa/io/filesystem/core/packages.hpp>

#include "Packages.hpp"
#include "Storage.hpp"
#include "Text.hpp"

#include <gtest/gtest.h>

namespace {

namespace core = vexa::io::filesystem::core;

std::string claimant(const std::string& folder) {
    const auto package = core::GetClaimingPackage(vexa::testing::folderAt(folder));
    return package ? vexa::testing::utf8(package->name + u" " + package->rootFolder) : "none";
}

TEST(Packages, ClaimedOnlyWithThePackageManagerOn) {
    for (const bool on : {false, true}) {
        const vexa::testing::ScopedPackageRegistry scoped(on);
        EXPECT_EQ(core::GetCurrentPackageRegistry().get(), &scoped.registry());
        scoped.registry().AddPackage({u"signal", u"/opt/pkgs/signal/"});
        scoped.registry().AddPackage({u"filters", u"/opt/pkgs/signal/+filters"});
        const struct {
            std::string folder, package;
        } cases[] = {
            {"/opt/pkgs/signal", "signal /opt/pkgs/signal/"}, // the root as it was given
            {"/opt/pkgs/signal/+filters/iir", "filters /opt/pkgs/signal/+filters"},
            {"file:///opt/pkgs/signal/x/../+filters/", "filters /opt/pkgs/signal/+filters"},
            {"/opt/pkgs/signals", "none"},
            {"http://h/opt/pkgs/signal", "none"},
        };
        for (const auto& c : cases)
            EXPECT_EQ(claimant(c.folder), on ? c.package : "none") << c.folder << " " << on;
    }
}

} // namespace
