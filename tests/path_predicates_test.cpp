#include <vexa/io/filesystem/core/path_predicates.hpp>

#include "TempDir.hpp"

#include <fl/i18n.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <gtest/gtest.h>

#include <fstream>

#include <unistd.h>

namespace {

namespace core = vexa::io::filesystem::core;
using core::FileSystemType;

// Absoluteness of file paths, Unix and Windows rules side by side.
TEST(PathPredicates, GetIsAbsoluteUnixAndWindows) {
    struct Case {
        const char16_t* path;
        bool unix;
        bool windows;
    };
    const Case cases[] = {
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
    for (const auto& c : cases) {
        const fl::ustring path = c.path;
        EXPECT_EQ(core::getIsAbsolute(path, false, FileSystemType::Unix), c.unix)
            << fl::i18n::to_string(path);
        EXPECT_EQ(core::getIsAbsolute(path, false, FileSystemType::Windows), c.windows)
            << fl::i18n::to_string(path);
        // Both URL kinds judge file paths by Unix rules.
        EXPECT_EQ(core::getIsAbsolute(path, false, FileSystemType::UrlAsWindows), c.unix);
        EXPECT_EQ(core::getIsAbsolute(path, false, FileSystemType::UrlAsUnix), c.unix);
        // A URL is absolute without being looked at.
        EXPECT_TRUE(core::getIsAbsolute(path, true, FileSystemType::Unix));
    }
}

TEST(PathPredicates, UncAndLongPathPrefixes) {
    struct Case {
        const char16_t* path;
        bool unc;
        bool longPath;
    };
    const Case cases[] = {
        {u"", false, false},
        {u"\\\\a", false, false},      // 3 units
        {u"\\\\ab", false, false},     // 4 units
        {u"\\\\abc", true, false},     // 5 units
        {u"\\\\?\\", false, true},     // exactly the prefix
        {u"\\\\?\\C:\\x", true, true}, // a long path also starts with "\\"
        {u"//server/share", false, false},
        {u"\\\\.\\pipe\\x", true, false},
        {u"\\?\\C:", false, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(core::isUNCPath(c.path), c.unc) << fl::i18n::to_string(c.path);
        EXPECT_EQ(core::isLongPath(c.path), c.longPath) << fl::i18n::to_string(c.path);
    }
}

TEST(PathPredicates, HasHttpPrefix) {
    struct Case {
        const char16_t* path;
        bool expected;
    };
    const Case cases[] = {
        {u"", false},           {u"http:/", false},    {u"http://", true},
        {u"HTTP://a", true},    {u"Https://x", true},  {u"https://", true},
        {u"https:/", false},    {u"httpsx//", false},  {u"ftp://x", false},
        {u"http:\\\\x", false}, {u" http://x", false}, {u"h\u0130tp://x", false},
        {u"file:///x", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(core::hasHttpPrefix(c.path), c.expected) << fl::i18n::to_string(c.path);
}

TEST(PathPredicates, GetExtensionLooksAtTheWholeText) {
    struct Case {
        const char16_t* path;
        const char16_t* extension;
    };
    const Case cases[] = {
        {u"", u""},
        {u"abc", u""},
        {u".", u"."},
        {u"a.b.c", u".c"},
        {u"file.", u"."},
        {u".profile", u".profile"},
        {u"dir.x/file", u".x/file"}, // separators are not a boundary
        {u"/d/\u65E5\u672C.\u30C6\u30AD", u".\u30C6\u30AD"},
        {u"archive.tar.gz", u".gz"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(core::getExtension(c.path), c.extension) << fl::i18n::to_string(c.path);
}

TEST(PathPredicates, GetPathTypeOfFilePathsFollowsTheType) {
    // The path is not looked at: the type alone decides, value 2 being named "Windows".
    for (const fl::ustring path : {u"C:\\x", u"/usr", u""}) {
        EXPECT_EQ(core::getPathType(path, false, FileSystemType::Unix), u"Unix");
        EXPECT_EQ(core::getPathType(path, false, FileSystemType::Windows), u"Windows");
        EXPECT_EQ(core::getPathType(path, false, FileSystemType::UrlAsWindows), u"Windows");
        EXPECT_EQ(core::getPathType(path, false, FileSystemType::UrlAsUnix), u"Unix");
    }
}

// URLs are classified by scheme whatever the type, after up to three parse attempts.
TEST(PathPredicates, GetPathTypeOfUrlsIsTheScheme) {
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"http://host/a?b#c", u"http"}, {u"HTTPS://Host/", u"https"}, {u"file:///x", u"file"},
        {u"/abs/path", u"file"}, // an absolute native path is a file IRI
        {u"ftp://h/x", u"ftp"},          {u"http://h/a b", u"http"}, // parses once normalised
        {u" http://h/x/../y ", u"http"},                             // trimmed, dots removed
    };
    for (const auto& [url, scheme] : cases)
        for (const auto type : {FileSystemType::Unix, FileSystemType::Windows,
                                FileSystemType::UrlAsWindows, FileSystemType::UrlAsUnix})
            EXPECT_EQ(core::getPathType(url, true, type), scheme) << fl::i18n::to_string(url);
}

// The IRI layer's own exception reaches the caller: the second attempt's when the cleaned-up
// text ends with "/", otherwise the third attempt's, on the text with "/" appended.
TEST(PathPredicates, GetPathTypeOfUnparseableUrlThrows) {
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"http://h:99999/", u"http://h:99999/"},
        {u" http://h:99999", u"http://h:99999/"},
        {u"not a url", u"not%20a%20url/"},
        {u"C:\\x", u"C:%5Cx/"},
    };
    for (const auto& [url, lastText] : cases) {
        try {
            core::getPathType(url, true, FileSystemType::UrlAsUnix);
            ADD_FAILURE() << "no error for " << fl::i18n::to_string(url);
        } catch (const foundation::storage::vfs::InvalidIRIException& error) {
            EXPECT_EQ(error.getText(), lastText);
        }
    }
}

TEST(PathPredicates, MakeLowerCaseChangesAsciiLettersOnly) {
    fl::ustring text = u"ABC xyz@[`{ \u00C9\u0130\u0391\u65E5 Z09";
    core::makeLowerCase(text);
    EXPECT_EQ(text, u"abc xyz@[`{ \u00C9\u0130\u0391\u65E5 z09");
    fl::ustring empty;
    core::makeLowerCase(empty);
    EXPECT_TRUE(empty.empty());
}

TEST(PathPredicates, FixedAnswers) {
    EXPECT_FALSE(core::checkIfPathEndsWithWindowsShortcut(u"C:\\a.lnk"));
    EXPECT_FALSE(core::checkIfPathEndsWithWindowsShortcut(u""));
    EXPECT_EQ(core::platformSpecificErrorCode(), 40);
}

TEST(PathPredicates, IsSymlinkAsksTheFileSystem) {
    vexa::testing::TempDir dir;
    std::ofstream(dir / "file") << "x";
    ASSERT_EQ(::symlink("file", (dir / "link").c_str()), 0);
    ASSERT_EQ(::symlink("missing", (dir / "dangling").c_str()), 0);
    ASSERT_EQ(::symlink("loop2", (dir / "loop1").c_str()), 0);
    ASSERT_EQ(::symlink("loop1", (dir / "loop2").c_str()), 0);
    ASSERT_EQ(::symlink(dir.path().c_str(), (dir / "to-dir").c_str()), 0);

    struct Case {
        std::string path;
        core::LinkStatus expected;
    };
    using core::LinkStatus;
    const Case cases[] = {
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
    };
    for (const auto& c : cases)
        EXPECT_EQ(core::isSymlink(fl::i18n::to_ustring(c.path)), c.expected) << c.path;
    // Cut at the NUL this would be a link; whole, it is no path at all.
    EXPECT_EQ(core::isSymlink(fl::i18n::to_ustring(dir / "link") + fl::ustring(u"\0x", 2)),
              LinkStatus::NotLink);
}

} // namespace
