#include <vexa/io/filesystem/core/errors.hpp>
#include <vexa/io/filesystem/core/path_components.hpp>

#include "Raised.hpp"
#include "Text.hpp"

#include <gtest/gtest.h>

#include <tuple>

namespace {

namespace core = vexa::io::filesystem::core;
using core::FileSystemType;
using vexa::testing::raisedBy;
using vexa::testing::utf8;

// Every field of the split, in declaration order: parent, name, extension, host, port,
// query, fragment.
using Parts = std::tuple<fl::ustring, fl::ustring, fl::ustring, fl::ustring, std::int64_t,
                         fl::ustring, fl::ustring>;

Parts partsOf(const fl::ustring& path, bool isURL, FileSystemType type) {
    const auto p = core::getPathComponents(path, isURL, type);
    return {p.parent, p.name, p.extension, p.host, p.port, p.query, p.fragment};
}

// File paths: only the last separator matters; Windows rules prefer the backslash.
TEST(PathComponents, FilePathsUnixAndWindows) {
    using Split = std::tuple<fl::ustring, fl::ustring, fl::ustring>; // parent, name, extension
    const std::tuple<fl::ustring, Split, Split> cases[] = {
        // path, split by Unix rules, split by Windows rules
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
    const auto noUrlParts = [](const Split& split) {
        return std::tuple_cat(
            split, std::tuple(fl::ustring(), std::int64_t(-1), fl::ustring(), fl::ustring()));
    };
    for (const auto& [path, unix, windows] : cases) {
        SCOPED_TRACE(utf8(path));
        EXPECT_EQ(partsOf(path, false, FileSystemType::Unix), noUrlParts(unix));
        EXPECT_EQ(partsOf(path, false, FileSystemType::Windows), noUrlParts(windows));
        // The URL kinds split file paths by Unix rules.
        EXPECT_EQ(partsOf(path, false, FileSystemType::UrlAsWindows), noUrlParts(unix));
        EXPECT_EQ(partsOf(path, false, FileSystemType::UrlAsUnix), noUrlParts(unix));
    }
}

TEST(PathComponents, Urls) {
    const std::pair<fl::ustring, Parts> cases[] = {
        // An HTTP segment without an extension is a folder: it joins the parent.
        {u"http://host/a?b#c", {u"http://host/a", u"", u"", u"host", -1, u"b", u"c"}},
        {u"HTTP://Host/Dir/", {u"http://host/Dir", u"", u"", u"host", -1, u"", u""}},
        {u"http://host/a.txt", {u"http://host/", u"a.txt", u".txt", u"host", -1, u"", u""}},
        {u"http://host:81/a.txt", {u"http://host:81/", u"a.txt", u".txt", u"host", 81, u"", u""}},
        {u"http://host/", {u"http://host/", u"", u"", u"host", -1, u"", u""}},
        {u"http://host", {u"http://host", u"", u"", u"host", -1, u"", u""}},
        {u"http://h/a?#", {u"http://h/a", u"", u"", u"h", -1, u"", u""}},
        {u"http://u:p@h/a.txt", {u"http://u:p@h/", u"a.txt", u".txt", u"h", -1, u"", u""}},
        {u"https://[::1]:8443/a/b.tar.gz?x=1&y=%2F#top",
         {u"https://[::1]:8443/a/", u"b.tar.gz", u".gz", u"[::1]", 8443, u"x=1&y=%2F", u"top"}},
        // Decoded names that hold "%" or "?" stay one segment when they join the parent.
        {u"http://h/100%25", {u"http://h/100%25", u"", u"", u"h", -1, u"", u""}},
        {u"http://h/a%3Fb", {u"http://h/a%3Fb", u"", u"", u"h", -1, u"", u""}},
        {u"https://h/d/\u00E9t\u00E9",
         {u"https://h/d/\u00E9t\u00E9", u"", u"", u"h", -1, u"", u""}},
        // Other schemes keep an extension-less last segment as the name.
        {u"ftp://host/dir/readme", {u"ftp://host/dir/", u"readme", u"", u"host", -1, u"", u""}},
        {u"file:///data/folder", {u"file:///data/", u"folder", u"", u"", -1, u"", u""}},
        {u"file:///donn%C3%A9es/\u65E5\u672C.txt",
         {u"file:///donn\u00E9es/", u"\u65E5\u672C.txt", u".txt", u"", -1, u"", u""}},
        {u"mailto:a@b.org", {u"mailto:a@b.org", u"", u"", u"", -1, u"", u""}},
        // A path that starts with "//", and a host name that starts like an IPv4 address.
        {u"http://h//a.txt", {u"http://h//", u"a.txt", u".txt", u"h", -1, u"", u""}},
        {u"http://h//a", {u"http://h//a", u"", u"", u"h", -1, u"", u""}},
        {u"http://1.2.3.4.5:8/d/", {u"http://1.2.3.4.5:8/d", u"", u"", u"1.2.3.4.5", 8, u"", u""}},
        // A joined name is written as the IRI layer writes it.
        {u"http://h/a%3Bb", {u"http://h/a;b", u"", u"", u"h", -1, u"", u""}},
        {u"http://h/a%20b?q", {u"http://h/a%20b", u"", u"", u"h", -1, u"q", u""}},
        {u"http://h/caf%E9", {u"http://h/caf%E9", u"", u"", u"h", -1, u"", u""}},
        // Text that needs the IRI layer's clean-up before it parses.
        {u"http://h/a b/c.txt", {u"http://h/a%20b/", u"c.txt", u".txt", u"h", -1, u"", u""}},
        {u"  http://h/x/../y.txt ", {u"http://h/", u"y.txt", u".txt", u"h", -1, u"", u""}},
    };
    for (const auto& [url, parts] : cases) {
        EXPECT_EQ(partsOf(url, true, FileSystemType::UrlAsWindows), parts) << utf8(url);
        EXPECT_EQ(partsOf(url, true, FileSystemType::UrlAsUnix), parts) << utf8(url);
    }
}

// A URL under file rules names its scheme and the rules. Parsing comes first: text that is
// no URL is invalidIRI whatever the type, and names the text as the user gave it.
TEST(PathComponents, RefusedUrls) {
    const std::string incorrectType = "VEXA:io:filesystem:common:IncorrectFileSystemType";
    const std::tuple<fl::ustring, FileSystemType, vexa::testing::Raised> cases[] = {
        {u"http://host/a", FileSystemType::Unix, {incorrectType, {u"http", u"Unix"}}},
        {u"HTTPS://host/a", FileSystemType::Windows, {incorrectType, {u"https", u"Windows"}}},
        {u"file:///x", FileSystemType::Unix, {incorrectType, {u"file", u"Unix"}}},
        {u"http://h/a b", FileSystemType::Windows, {incorrectType, {u"http", u"Windows"}}},
    };
    for (const auto& [url, type, raised] : cases)
        EXPECT_EQ(raisedBy([&] { core::getPathComponents(url, true, type); }), raised) << utf8(url);
    // Dot segments of text without a scheme are no path to resolve: "a/../../b" is not "/b".
    for (const fl::ustring text :
         {u"not a url", u"http://h:99999/", u"C:\\x", u" c:/x ", u"a/../../b", u"x/..//etc"})
        for (const auto type : {FileSystemType::Unix, FileSystemType::Windows,
                                FileSystemType::UrlAsWindows, FileSystemType::UrlAsUnix})
            EXPECT_EQ(raisedBy([&] { core::getPathComponents(text, true, type); }),
                      (vexa::testing::Raised{"VEXA:virtualfileio:path:invalidIRI", {text}}))
                << utf8(text);
}

} // namespace
