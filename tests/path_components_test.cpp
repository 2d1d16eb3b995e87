#include <vexa/io/filesystem/core/errors.hpp>
#include <vexa/io/filesystem/core/path_components.hpp>

#include <fl/i18n.hpp>

#include <gtest/gtest.h>

namespace {

namespace core = vexa::io::filesystem::core;
using core::FileSystemType;

std::string utf8(const fl::ustring& text) {
    return fl::i18n::to_string(text);
}

struct Split {
    const char16_t* parent;
    const char16_t* name;
    const char16_t* extension;
};

void expectSplit(const core::PathComponents& parts, const Split& expected) {
    EXPECT_EQ(parts.parent, expected.parent);
    EXPECT_EQ(parts.name, expected.name);
    EXPECT_EQ(parts.extension, expected.extension);
    EXPECT_EQ(parts.host, u"");
    EXPECT_EQ(parts.port, -1);
    EXPECT_EQ(parts.query, u"");
    EXPECT_EQ(parts.fragment, u"");
}

// File paths: only the last separator matters; Windows rules prefer the backslash.
TEST(PathComponents, FilePathsUnixAndWindows) {
    struct Case {
        const char16_t* path;
        Split unix;
        Split windows;
    };
    const Case cases[] = {
        {u"", {u"", u"", u""}, {u"", u"", u""}},
        {u"/", {u"", u"", u""}, {u"", u"", u""}},
        {u"a/", {u"a", u"", u""}, {u"a", u"", u""}},
        {u"/usr", {u"", u"usr", u""}, {u"", u"usr", u""}},
        {u"/a//b/", {u"/a//b", u"", u""}, {u"/a//b", u"", u""}},
        {u"/a/b.c/d", {u"/a/b.c", u"d", u""}, {u"/a/b.c", u"d", u""}},
        {u"dir/file", {u"dir", u"file", u""}, {u"dir", u"file", u""}},
        {u"archive.tar.gz", {u"", u"archive.tar.gz", u".gz"}, {u"", u"archive.tar.gz", u".gz"}},
        {u"/d/.profile", {u"/d", u".profile", u".profile"}, {u"/d", u".profile", u".profile"}},
        {u"/d/../x.", {u"/d/..", u"x.", u"."}, {u"/d/..", u"x.", u"."}},
        {u"/donn\u00E9es/\u65E5\u672C.txt",
         {u"/donn\u00E9es", u"\u65E5\u672C.txt", u".txt"},
         {u"/donn\u00E9es", u"\u65E5\u672C.txt", u".txt"}},
        {u"C:", {u"", u"C:", u""}, {u"", u"C:", u""}},
        {u"C:\\dir\\file.txt",
         {u"", u"C:\\dir\\file.txt", u".txt"},
         {u"C:\\dir", u"file.txt", u".txt"}},
        {u"C:\\dir/sub", {u"C:\\dir", u"sub", u""}, {u"C:", u"dir/sub", u""}},
        {u"C:\\a\\b.c/d", {u"C:\\a\\b.c", u"d", u""}, {u"C:\\a", u"b.c/d", u".c/d"}},
        {u"\\\\server", {u"", u"\\\\server", u""}, {u"\\", u"server", u""}},
        {u"\\\\?\\C:\\x", {u"", u"\\\\?\\C:\\x", u""}, {u"\\\\?\\C:", u"x", u""}},
        {u"http://h/a.txt", {u"http://h", u"a.txt", u".txt"}, {u"http://h", u"a.txt", u".txt"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(utf8(c.path));
        expectSplit(core::getPathComponents(c.path, false, FileSystemType::Unix), c.unix);
        expectSplit(core::getPathComponents(c.path, false, FileSystemType::Windows), c.windows);
        // The URL kinds split file paths by Unix rules.
        expectSplit(core::getPathComponents(c.path, false, FileSystemType::UrlAsWindows), c.unix);
        expectSplit(core::getPathComponents(c.path, false, FileSystemType::UrlAsUnix), c.unix);
    }
}

TEST(PathComponents, Urls) {
    struct Case {
        const char16_t* url;
        const char16_t* parent;
        const char16_t* name;
        const char16_t* extension;
        const char16_t* host;
        std::int64_t port;
        const char16_t* query;
        const char16_t* fragment;
    };
    const Case cases[] = {
        // An HTTP segment without an extension is a folder: it joins the parent.
        {u"http://host/a?b#c", u"http://host/a", u"", u"", u"host", -1, u"b", u"c"},
        {u"HTTP://Host/Dir/", u"http://host/Dir", u"", u"", u"host", -1, u"", u""},
        {u"http://host/a.txt", u"http://host/", u"a.txt", u".txt", u"host", -1, u"", u""},
        {u"http://host:81/a.txt", u"http://host:81/", u"a.txt", u".txt", u"host", 81, u"", u""},
        {u"http://host/", u"http://host/", u"", u"", u"host", -1, u"", u""},
        {u"http://host", u"http://host", u"", u"", u"host", -1, u"", u""},
        {u"http://h/a?#", u"http://h/a", u"", u"", u"h", -1, u"", u""},
        {u"http://u:p@h/a.txt", u"http://u:p@h/", u"a.txt", u".txt", u"h", -1, u"", u""},
        {u"https://[::1]:8443/a/b.tar.gz?x=1&y=%2F#top", u"https://[::1]:8443/a/", u"b.tar.gz",
         u".gz", u"[::1]", 8443, u"x=1&y=%2F", u"top"},
        // Decoded names that hold "%" or "?" stay one segment when they join the parent.
        {u"http://h/100%25", u"http://h/100%25", u"", u"", u"h", -1, u"", u""},
        {u"http://h/a%3Fb", u"http://h/a%3Fb", u"", u"", u"h", -1, u"", u""},
        {u"https://h/d/\u00E9t\u00E9", u"https://h/d/\u00E9t\u00E9", u"", u"", u"h", -1, u"", u""},
        // Other schemes keep an extension-less last segment as the name.
        {u"ftp://host/dir/readme", u"ftp://host/dir/", u"readme", u"", u"host", -1, u"", u""},
        {u"file:///data/folder", u"file:///data/", u"folder", u"", u"", -1, u"", u""},
        {u"file:///donn%C3%A9es/\u65E5\u672C.txt", u"file:///donn\u00E9es/", u"\u65E5\u672C.txt",
         u".txt", u"", -1, u"", u""},
        {u"mailto:a@b.org", u"mailto:a@b.org", u"", u"", u"", -1, u"", u""},
        // Text that needs the IRI layer's clean-up before it parses.
        {u"http://h/a b/c.txt", u"http://h/a%20b/", u"c.txt", u".txt", u"h", -1, u"", u""},
        {u"  http://h/x/../y.txt ", u"http://h/", u"y.txt", u".txt", u"h", -1, u"", u""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(utf8(c.url));
        for (const auto type : {FileSystemType::UrlAsWindows, FileSystemType::UrlAsUnix}) {
            const auto parts = core::getPathComponents(c.url, true, type);
            EXPECT_EQ(parts.parent, c.parent);
            EXPECT_EQ(parts.name, c.name);
            EXPECT_EQ(parts.extension, c.extension);
            EXPECT_EQ(parts.host, c.host);
            EXPECT_EQ(parts.port, c.port);
            EXPECT_EQ(parts.query, c.query);
            EXPECT_EQ(parts.fragment, c.fragment);
        }
    }
}

TEST(PathComponents, UrlWithFileRulesIsIncorrectFileSystemType) {
    using Error =
        foundation::core::except::Exception<VEXA::io::filesystem::common::IncorrectFileSystemType>;
    const std::tuple<const char16_t*, FileSystemType, const char16_t*, const char16_t*> cases[] = {
        {u"http://host/a", FileSystemType::Unix, u"http", u"Unix"},
        {u"HTTPS://host/a", FileSystemType::Windows, u"https", u"Windows"},
        {u"file:///x", FileSystemType::Unix, u"file", u"Unix"},
        {u"http://h/a b", FileSystemType::Windows, u"http", u"Windows"},
    };
    for (const auto& [url, type, scheme, rules] : cases) {
        try {
            core::getPathComponents(url, true, type);
            ADD_FAILURE() << "no error for " << utf8(url);
        } catch (const Error& error) {
            EXPECT_EQ(error.GetID(), "VEXA:io:filesystem:common:IncorrectFileSystemType");
            const auto& arguments = error.GetBaseMsgIDObj().arguments();
            ASSERT_EQ(arguments.size(), 2u);
            EXPECT_EQ(std::get<std::u16string>(arguments[0]), scheme);
            EXPECT_EQ(std::get<std::u16string>(arguments[1]), rules);
        }
    }
}

// Parsing comes first: text that is no URL is invalidIRI whatever the type, and names the
// text as the user gave it.
TEST(PathComponents, UnparseableUrlIsInvalidIRIWithTheCallersText) {
    using Error = foundation::core::except::Exception<VEXA::virtualfileio::path::invalidIRI>;
    for (const fl::ustring text : {u"not a url", u"http://h:99999/", u"C:\\x", u" c:/x "}) {
        for (const auto type : {FileSystemType::Unix, FileSystemType::Windows,
                                FileSystemType::UrlAsWindows, FileSystemType::UrlAsUnix}) {
            try {
                core::getPathComponents(text, true, type);
                ADD_FAILURE() << "no error for " << utf8(text);
            } catch (const Error& error) {
                EXPECT_EQ(error.GetID(), "VEXA:virtualfileio:path:invalidIRI");
                EXPECT_EQ(std::get<std::u16string>(error.GetBaseMsgIDObj().arguments().at(0)),
                          text);
            }
        }
    }
}

} // namespace
