#include <vexa/io/filesystem/core/absolute_paths.hpp>

#include "CurrentFolder.hpp"
#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"

#include <foundation/network/IRI.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <gtest/gtest.h>

#include <tuple>

namespace {

namespace core = vexa::io::filesystem::core;
using core::ResolveSymbolicLinks;
using vexa::testing::CurrentFolder;
using vexa::testing::TempDir;
using namespace std::string_literals;
using vexa::testing::u;
using vexa::testing::utf8;

fl::ustring toAbsolute(fl::ustring path, ResolveSymbolicLinks resolve) {
    core::relativeToAbsolute(path, resolve, false);
    return path;
}

// Relative paths through real links, each treatment of a final link, from the temporary
// folder as the current folder.
TEST(RelativeToAbsolute, RelativePathsForEachLinkTreatment) {
    TempDir dir;
    dir.make({"real/", "real/data/", "real/data/\xF0\x9F\x93\x84",
              "lnk -> real/data/\xF0\x9F\x93\x84", "via -> real",
              "real/inner -> data/\xF0\x9F\x93\x84", "dangling -> missing", "l*nk -> real/data",
              "caf\xE9 -> real", "loop -> loop"});
    const std::string root = dir.real();
    const std::string file = root + "/real/data/\xF0\x9F\x93\x84";
    CurrentFolder inside(dir.path());

    const std::tuple<std::string, std::string, std::string, std::string> cases[] = {
        // path, then the result with KeepLink, FollowLinks and Literal
        {"./real//data/../data/\xF0\x9F\x93\x84", file, file, file}, // not a link: canonical
        {"via/data", root + "/real/data", root + "/real/data", root + "/real/data"},
        // An item that is no link through its folder; the names that are none of a folder's
        // items, and a "/" that follows a link, through the whole path.
        {"real", root + "/real", root + "/real", root + "/real"},
        {root + "//via/data", root + "/real/data", root + "/real/data", root + "/real/data"},
        {"via/", root + "/real", root + "/real", root + "/real"},
        {"via/data/..", root + "/real", root + "/real", root + "/real"},
        {"via/.", root + "/real", root + "/real", root + "/real"},
        {"lnk/.", root + "/lnk/.", root + "/lnk/.", root + "/lnk/."}, // not a folder: missing
        {"missing/../y", root + "/missing/../y", root + "/missing/../y", root + "/missing/../y"},
        {"lnk", root + "/lnk", file, root + "/lnk"},
        {"./via//inner", root + "/real/inner", file, root + "/./via//inner"},
        {"l*nk", root + "/l*nk", root + "/real/data", root + "/l*nk"},
        {"caf\xE9", root + "/caf\xE9", root + "/real", root + "/caf\xE9"},
        {"dangling", root + "/dangling", root + "/dangling", root + "/dangling"},
        {"loop", root + "/loop", "loop", root + "/loop"}, // cannot be followed: as given
        {"", "", "", ""},                                 // never the current folder
        {"/..", "/", "/", "/"},
    };
    for (const auto& [path, keepLink, follow, literal] : cases) {
        EXPECT_EQ(toAbsolute(u(path), ResolveSymbolicLinks::KeepLink), u(keepLink)) << path;
        EXPECT_EQ(toAbsolute(u(path), ResolveSymbolicLinks::FollowLinks), u(follow)) << path;
        EXPECT_EQ(toAbsolute(u(path), ResolveSymbolicLinks::Literal), u(literal)) << path;
        EXPECT_EQ(toAbsolute(u(path), static_cast<ResolveSymbolicLinks>(7)), u(literal)) << path;
    }
    // Cut at U+0000 this would name the link; it is refused and left whole.
    const fl::ustring withNul = u"lnk\0/x"s;
    for (const int resolve : {0, 1, 2})
        EXPECT_EQ(toAbsolute(withNul, static_cast<ResolveSymbolicLinks>(resolve)), withNul);
}

// A URL is only normalised; a local path becomes absolute with every dot folded, which
// relativeToAbsolute alone leaves in a path that does not exist.
TEST(SetupPathForURLConstruction, UrlsAndLocalPaths) {
    TempDir dir;
    dir.make({"real/", "real/sub/", "deep -> real/sub"});
    const std::string root = dir.real();
    CurrentFolder inside(dir.path());
    // The host's storage as it starts: file, http and https.
    const std::tuple<fl::ustring, bool, fl::ustring> cases[] = {
        {u"HTTPS://Host/a/../b?q=./x", true, u"https://host/b?q=./x"},
        {u"https://host/a/../b", true, u"https://host/b"},
        {u"http://host/./a/", true, u"http://host/a/"},
        {u"ftp://Host/a/../b", false, u(root + "/ftp:/Host/b")}, // no provider: a local name
        {u"file:///tmp/./x", true, u"file:///tmp/x"},
        {u"a/./b/../c", false, u(root + "/a/c")},
        {u"deep/../x", false, u(root + "/x")}, // folded as text, not through the link
        {u"missing/../../..", false, u"/"},
        {u"C:\\x", false, u(root + "/C:\\x")}, // a drive letter is no scheme
        {u"", false, u""},
    };
    for (const auto& [typed, isURL, expected] : cases) {
        fl::ustring path = typed;
        EXPECT_EQ(core::setupPathForURLConstruction(path, ResolveSymbolicLinks::KeepLink, false),
                  isURL)
            << utf8(typed);
        EXPECT_EQ(path, expected) << utf8(typed);
    }
}

TEST(UrlHelpers, GetURLWithoutQueryAndFragmentComponents) {
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"http://host/p?x=1#f", u"http://host/p"},
        {u"http://h/a?#", u"http://h/a"},
        {u"http://h/a#f?g", u"http://h/a"},
        {u"https://u@[::1]:8/\u00E9%20?q=\u65E5", u"https://u@[::1]:8/\u00E9%20"},
        {u"file:///x#f", u"file:///x"},
        {u"mailto:a@b?subject=x", u"mailto:a@b"},
        {u"HTTP://H/a", u"http://h/a"},
    };
    for (const auto& [url, expected] : cases) {
        const auto iri = foundation::network::IRI::parse(url);
        ASSERT_TRUE(iri) << utf8(url);
        EXPECT_EQ(core::getURLWithoutQueryAndFragmentComponents(*iri), expected) << utf8(url);
    }
}

// relative_path forwards to AbsoluteIRI::makePathRelativeTo, whose cases the IRI layer's
// tests hold; here only what the forwarding adds: the base comes first, and text that is
// no absolute IRI throws.
TEST(UrlHelpers, RelativePathTakesTheBaseFirst) {
    EXPECT_EQ(core::relative_path(u"/a/b", u"/a/b/c.txt"), u"c.txt");
    EXPECT_THROW(core::relative_path(u"relative", u"/a"),
                 foundation::storage::vfs::InvalidIRIException);
}

} // namespace
