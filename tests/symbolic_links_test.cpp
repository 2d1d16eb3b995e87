#include <vexa/io/filesystem/core/symbolic_links.hpp>

#include "CurrentFolder.hpp"
#include "Raised.hpp"
#include "TempDir.hpp"
#include "Text.hpp"
#include "Unprivileged.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <tuple>

#include <sys/stat.h>

namespace {

namespace core = vexa::io::filesystem::core;
using namespace std::string_literals;
using vexa::testing::Raised;
using vexa::testing::raisedBy;
using vexa::testing::TempDir;
using vexa::testing::u;

const std::string symlinkError = "VEXA:io:filesystem:symlink:";

// The link error a call raised, naming the argument as the caller gave it.
std::optional<Raised> linkError(const std::string& name, const std::string& argument) {
    return Raised{symlinkError + name, {u(argument)}};
}

// Every refusal is one of the link errors; only "not found" names the target, wherever the
// missing piece was. Relative arguments are named as given, never made absolute. A folder an
// unprivileged user may not write refuses the link it would hold.
TEST(CreateSymbolicLink, FailuresAsLinkErrors) {
    TempDir dir;
    dir.make({"file", "taken"});
    ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
    ASSERT_EQ(::mkdir((dir / "locked").c_str(), 0555), 0);
    vexa::testing::CurrentFolder inside(dir.path());
    const std::string file = dir / "file", tooLong = dir / std::string(256, 'n');
    const std::tuple<std::string, std::string, std::optional<Raised>> cases[] = {
        // target, link, raised
        {file, dir / "taken", linkError("FileExists", dir / "taken")},
        {"file", "taken", linkError("FileExists", "taken")},
        {"missing", "new", linkError("TargetNotFound", "missing")},
        {file, dir / "no-folder/link", linkError("TargetNotFound", file)},
        {file, tooLong, linkError("FilenameTooLarge", tooLong)},
        {file + "\0x"s, dir / "nul", linkError("UnknownError", dir / "nul")},
        {"file", "link", std::nullopt},
    };
    for (const auto& [target, link, raised] : cases)
        EXPECT_EQ(raisedBy([&] { core::createSymbolicLink(u(target), u(link)); }), raised) << link;
    const std::string locked = dir / "locked/link";
    EXPECT_TRUE(vexa::testing::holdsUnprivileged([&] {
        return raisedBy([&] { core::createSymbolicLink(u(file), u(locked)); }) ==
               linkError("AccessDenied", locked);
    }));
    EXPECT_EQ(std::filesystem::read_symlink(dir / "link"), "file");
    EXPECT_FALSE(std::filesystem::exists(dir / "new"));
    EXPECT_FALSE(std::filesystem::is_symlink(locked));
    EXPECT_TRUE(std::filesystem::is_regular_file(dir / "taken"));
}

} // namespace
