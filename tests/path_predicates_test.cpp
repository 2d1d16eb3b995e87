#include <vexa/io/filesystem/core/path_predicates.hpp>

#include "TempDir.hpp"
#include "Text.hpp"

#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <gtest/gtest.h>

#include <tuple>

namespace {

namespace core = vexa::io::filesystem::core;
using core::FileSystemType;
using namespace std::string_literals;
using vexa::testing::u;
using vexa::testing::utf8;

// Absoluteness of file paths, Unix and Windows rules side by side. Their path type is not
// looked at: the type alone decides, value 2 being named "Windows".
TEST(PathPredicates, FilePathsAbsolutenessAndType) {
    const std::tuple<fl::ustring, bool, bool> cases[] = {
        // path, Unix rules, Windows rules
        {u"", false, false},
        {u"/", true, false},
        {u"/usr", true, false},
        {u"usr/bin", false, false},
        {u"C:", false, true},  // bare drive counts, deliberately
        {u"c:x", false, true}, // drive-relative counts too
        {u"C:\\x", false, true},
        {u"z:/x", false, true},
        {u"1:\\x", false, false},      // not a letter
        {u"\u00C9:\\x", false, false}, // letters are ASCII only
        {u"C:\\a:b", false, false},    // only the last colon is looked at
        {u":\\x", false, false},
        {u"\\\\server", false, true},   // UNC
        {u"\\\\ab", false, false},      // too short for UNC
        {u"\\\\?\\C:\\x", false, true}, // long path
        {u"\\x", false, false},
    };
    for (const auto& [path, unix, windows] : cases) {
        EXPECT_EQ(core::getIsAbsolute(path, false, FileSystemType::Unix), unix) << utf8(path);
        EXPECT_EQ(core::getIsAbsolute(path, false, FileSystemType::Windows), windows) << utf8(path);
        // Both URL kinds judge file paths by Unix rules.
        EXPECT_EQ(core::getIsAbsolute(path, false, FileSystemType::UrlAsWindows), unix);
        EXPECT_EQ(core::getIsAbsolute(path, false, FileSystemType::UrlAsUnix), unix);
        // A URL is absolute without being looked at.
        EXPECT_TRUE(core::getIsAbsolute(path, true, FileSystemType::Unix));
        EXPECT_EQ(core::getPathType(path, false, FileSystemType::Unix), u"Unix");
        EXPECT_EQ(core::getPathType(path, false, FileSystemType::Windows), u"Windows");
        EXPECT_EQ(core::getPathType(path, false, FileSystemType::UrlAsWindows), u"Windows");
        EXPECT_EQ(core::getPathType(path, false, FileSystemType::UrlAsUnix), u"Unix");
    }
}

// Prefix tests look at the first units only; the extension runs from the last "." to the end
// of the whole text, separators included.
TEST(PathPredicates, PrefixesAndExtension) {
    const std::tuple<fl::ustring, bool, bool, bool, fl::ustring> cases[] = {
        // path, isUNCPath, isLongPath, hasHttpPrefix, getExtension
        {u"", false, false, false, u""},
        {u"\\\\a", false, false, false, u""},          // 3 units
        {u"\\\\ab", false, false, false, u""},         // 4 units
        {u"\\\\abc", true, false, false, u""},         // 5 units
        {u"\\\\?\\", false, true, false, u""},         // exactly the long-path prefix
        {u"\\\\?\\C:\\x.y", true, true, false, u".y"}, // a long path also starts with "\\"
        {u"//server/share", false, false, false, u""},
        {u"\\\\.\\pipe\\x", true, false, false, u".\\pipe\\x"}, // "\\" is no boundary
        {u"\\?\\C:", false, false, false, u""},
        {u"http:/", false, false, false, u""},
        {u"http://", false, false, true, u""},
        {u"HTTP://a", false, false, true, u""},
        {u"Https://x.org/a.b.c", false, false, true, u".c"},
        {u"https://", false, false, true, u""},
        {u"https:/", false, false, false, u""},
        {u"httpsx//", false, false, false, u""},
        {u"ftp://x", false, false, false, u""},
        {u"http:\\\\x", false, false, false, u""},
        {u" http://x", false, false, false, u""},
        {u"h\u0130tp://x", false, false, false, u""},
        {u"file:///x", false, false, false, u""},
        {u".", false, false, false, u"."},
        {u"file.", false, false, false, u"."},
        {u".profile", false, false, false, u".profile"},
        {u"dir.x/file", false, false, false, u".x/file"}, // "/" is no boundary either
        {u"/d/\u65E5\u672C.\u30C6\u30AD", false, false, false, u".\u30C6\u30AD"},
        {u"archive.tar.gz", false, false, false, u".gz"},
    };
    for (const auto& [path, unc, longPath, http, extension] : cases) {
        EXPECT_EQ(core::isUNCPath(path), unc) << utf8(path);
        EXPECT_EQ(core::isLongPath(path), longPath) << utf8(path);
        EXPECT_EQ(core::hasHttpPrefix(path), http) << utf8(path);
        EXPECT_EQ(core::getExtension(path), extension) << utf8(path);
    }
}

// URLs are classified by scheme whatever the type, after up to three parse attempts. When none
// parses, the IRI layer's own exception reaches the caller: the second attempt's when the
// cleaned-up text ends with "/", otherwise the third attempt's, on the text with "/" appended.
TEST(PathPredicates, GetPathTypeOfUrlsIsTheScheme) {
    const std::pair<fl::ustring, fl::ustring> cases[] = {
        {u"http://host/a?b#c", u"http"},
        {u"HTTPS://Host/", u"https"},
        {u"file:///x", u"file"},
        {u"/abs/path", u"file"}, // an absolute native path is a file IRI
        {u"ftp://h/x", u"ftp"},
        {u"http://h/a b", u"http"},      // parses once normalised
        {u" http://h/x/../y ", u"http"}, // trimmed, dots removed
        {u"http://h:99999/", u"invalid http://h:99999/"},
        {u" http://h:99999", u"invalid http://h:99999/"},
        {u"not a url", u"invalid not%20a%20url/"},
        {u"C:\\x", u"invalid C:%5Cx/"},
    };
    for (const auto& [url, expected] : cases)
        for (const auto type : {FileSystemType::Unix, FileSystemType::Windows,
                                FileSystemType::UrlAsWindows, FileSystemType::UrlAsUnix}) {
            fl::ustring result;
            try {
                result = core::getPathType(url, true, type);
            } catch (const foundation::storage::vfs::InvalidIRIException& error) {
                result = u"invalid " + error.getText();
            }
            EXPECT_EQ(result, expected) << utf8(url);
        }
}

TEST(PathPredicates, MakeLowerCaseChangesAsciiLettersOnly) {
    fl::ustring text = u"ABC xyz@[`{ \u00C9\u0130\u0391\u65E5 Z09";
    core::makeLowerCase(text);
    EXPECT_EQ(text, u"abc xyz@[`{ \u00C9\u0130\u0391\u65E5 z09");
}

TEST(PathPredicates, IsSymlinkAsksTheFileSystem) {
    vexa::testing::TempDir dir;
    dir.make({"file", "link -> file", "dangling -> missing", "loop1 -> loop2", "loop2 -> loop1",
              "to-dir -> " + dir.path().string()});
    using core::LinkStatus;
    const std::pair<std::string, LinkStatus> cases[] = {
        {dir / "file", LinkStatus::NotLink},
        {dir / "link", LinkStatus::IsLink},
        {dir / "dangling", LinkStatus::IsLink},
        {dir / "loop1", LinkStatus::IsLink},
        {dir / "to-dir", LinkStatus::IsLink},
        {dir / "to-dir/link", LinkStatus::IsLink}, // a link through a link
        {dir / "to-dir/", LinkStatus::NotLink},    // the trailing "/" follows the link
        {dir / "missing", LinkStatus::NotLink},
        {dir / "file/below", LinkStatus::NotLink},
        {"", LinkStatus::NotLink},
        {dir / "link" + "\0x"s, LinkStatus::NotLink}, // cut at U+0000 it would be a link
    };
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(core::isSymlink(u(path)), expected) << path;
}

} // namespace
