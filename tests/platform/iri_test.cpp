#include <Quarrow/PathManagement/GetStringFromIRI.hpp>
#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/core/except/Exception.hpp>
#include <foundation/network/IRI.hpp>
#include <foundation/storage/utility/url.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include "TempDir.hpp"

#include <boost/exception_ptr.hpp>
#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

using foundation::network::IRI;
using foundation::network::IRIArgs;
using foundation::network::iri::Encoding;
using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;
using foundation::storage::vfs::InvalidIRIException;
using Quarrow::PathManagement::GetStringFromIRI;
using InternalError =
    foundation::core::except::Exception<foundation::core::except::IInternalException>;

std::string utf8(const fl::ustring& text) {
    return fl::i18n::to_string(text);
}

// What a user sees of an IRI: its text, scheme, host, name and parent (nullopt: none).
TEST(AbsoluteIRI, TextSchemeHostNameAndParent) {
    struct Case {
        const char16_t* input;
        const char16_t* text;
        const char16_t* scheme;
        const char16_t* host;
        const char16_t* name;
        std::optional<const char16_t*> parent;
    };
    const Case cases[] = {
        {u"http://h/a/b.txt", u"http://h/a/b.txt", u"http", u"h", u"b.txt", u"http://h/a/"},
        {u"HTTP://Example.COM/A/b", u"http://example.com/A/b", u"http", u"example.com", u"b",
         u"http://example.com/A/"},
        {u"http://h/a/", u"http://h/a/", u"http", u"h", u"a", u"http://h/"},
        {u"http://h/a/b?q=1#f", u"http://h/a/b?q=1#f", u"http", u"h", u"b", u"http://h/a/"},
        {u"http://h/", u"http://h/", u"http", u"h", u"", std::nullopt},
        {u"http://h", u"http://h", u"http", u"h", u"", std::nullopt},
        {u"http://h//", u"http://h//", u"http", u"h", u"", std::nullopt},
        {u"file:///", u"file:///", u"file", u"", u"", std::nullopt},
        {u"mailto:a@b.org", u"mailto:a@b.org", u"mailto", u"", u"", std::nullopt},
        // Native paths become file IRIs; non-ASCII stays as characters.
        {u"/donn\u00E9es/\u65E5\u672C.txt", u"file:///donn\u00E9es/\u65E5\u672C.txt", u"file", u"",
         u"\u65E5\u672C.txt", u"file:///donn\u00E9es/"},
        {u"/a b/100%", u"file:///a%20b/100%25", u"file", u"", u"100%", u"file:///a%20b/"},
        {u"/", u"file:///", u"file", u"", u"", std::nullopt},
        // Escapes: UTF-8 and unreserved ones decoded, reserved ones kept (upper case).
        {u"http://h/%C3%A9t%c3%a9/x%20y%2fz", u"http://h/\u00E9t\u00E9/x%20y%2Fz", u"http", u"h",
         u"x y/z", u"http://h/\u00E9t\u00E9/"},
        {u"http://h/%41%7e%2D", u"http://h/A~-", u"http", u"h", u"A~-", u"http://h/"},
        {u"http://h/caf%E9", u"http://h/caf%E9", u"http", u"h", u"caf\xDCE9", u"http://h/"},
        {u"http://B\u00FCcher.DE/stra\u00DFe", u"http://b\u00FCcher.de/stra\u00DFe", u"http",
         u"b\u00FCcher.de", u"stra\u00DFe", u"http://b\u00FCcher.de/"},
        // Authority forms.
        {u"http://User:Pw@H:8080/p", u"http://User:Pw@h:8080/p", u"http", u"h", u"p",
         u"http://User:Pw@h:8080/"},
        {u"http://[FE80::1]:81/x", u"http://[fe80::1]:81/x", u"http", u"[fe80::1]", u"x",
         u"http://[fe80::1]:81/"},
        {u"http://h:/a", u"http://h/a", u"http", u"h", u"a", u"http://h/"},
        // An empty query or fragment is kept: it differs from none.
        {u"http://h/a?#", u"http://h/a?#", u"http", u"h", u"a", u"http://h/"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(utf8(c.input));
        const AbsoluteIRI iri(c.input);
        EXPECT_EQ(iri.toString(), c.text);
        EXPECT_EQ(iri.getScheme(), c.scheme);
        EXPECT_EQ(iri.toIRI().getHost(Encoding::IRI), c.host);
        EXPECT_EQ(iri.getName(), c.name);
        ASSERT_EQ(iri.hasParent(), c.parent.has_value());
        if (c.parent)
            EXPECT_EQ(iri.getParent().toString(), *c.parent);
        else
            EXPECT_THROW(iri.getParent(), InternalError);
        // The text form parses back to the same IRI.
        EXPECT_EQ(AbsoluteIRI(iri.toString()), iri);
    }
}

TEST(AbsoluteIRI, TextThatNamesNoAbsoluteIRIIsRefused) {
    const fl::ustring cases[] = {
        u"",
        u"C:",
        u"C:\\x",
        u"c:/x", // a drive, never a one-letter scheme
        u"relative/path",
        u"http://h/a b",
        u"http://h/a|b",
        u"http://h:99999/",
        u"http://h:8o/",
        u"http://[::1/",
        u"1http://x",
        u"://x",
        fl::ustring(u"/a\0b", 4), // never cut short at the U+0000
        fl::ustring(u"http://h/\0", 10),
    };
    for (const auto& text : cases) {
        try {
            AbsoluteIRI iri(text);
            ADD_FAILURE() << "accepted: " << utf8(text);
        } catch (const InvalidIRIException& error) {
            EXPECT_EQ(error.getText(), text);
        }
    }
    EXPECT_FALSE(IRI::parse(u"C:/x"));
    EXPECT_TRUE(IRI::parse(u"cc:/x"));
}

TEST(AbsoluteIRI, InvalidIRIExceptionTravelsAsACopy) {
    boost::exception_ptr stored;
    try {
        AbsoluteIRI iri(u"no scheme");
    } catch (const InvalidIRIException& error) {
        stored = boost::copy_exception(error);
    }
    ASSERT_TRUE(stored);
    try {
        boost::rethrow_exception(stored);
    } catch (const InvalidIRIException& error) {
        EXPECT_EQ(error.getText(), u"no scheme");
        EXPECT_STREQ(error.what(), "Not a valid absolute IRI or path: 'no scheme'");
    }
}

TEST(IRI, ComponentsPortsAndHosts) {
    struct Case {
        const char16_t* input;
        const char16_t* userInfo; // nullptr: none
        const char16_t* host;     // nullptr: none
        std::int64_t port;        // -1: none
        const char16_t* path;
        const char16_t* query;    // nullptr: none
        const char16_t* fragment; // nullptr: none
    };
    const Case cases[] = {
        {u"http://h/a?b#c", nullptr, u"h", -1, u"/a", u"b", u"c"},
        {u"https://u:p@h:81/", u"u:p", u"h", 81, u"/", nullptr, nullptr},
        {u"http://[::1]:8080/x", nullptr, u"[::1]", 8080, u"/x", nullptr, nullptr},
        {u"http://h:0/", nullptr, u"h", 0, u"/", nullptr, nullptr},
        {u"http://h:65535", nullptr, u"h", 65535, u"", nullptr, nullptr},
        {u"http://h/a?#", nullptr, u"h", -1, u"/a", u"", u""},
        {u"http://h/p#", nullptr, u"h", -1, u"/p", nullptr, u""},
        {u"file:///x", nullptr, nullptr, -1, u"/x", nullptr, nullptr},
        {u"urn:isbn:0451450523", nullptr, nullptr, -1, u"isbn:0451450523", nullptr, nullptr},
        {u"http://h/?q=\u65E5#\u00E9", nullptr, u"h", -1, u"/", u"q=\u65E5", u"\u00E9"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(utf8(c.input));
        const auto iri = IRI::parse(c.input);
        ASSERT_TRUE(iri);
        EXPECT_EQ(iri->hasUserInfo(), c.userInfo != nullptr);
        if (c.userInfo) {
            EXPECT_EQ(iri->getUserInfo(Encoding::IRI), c.userInfo);
        }
        EXPECT_EQ(iri->hasHost(), c.host != nullptr);
        if (c.host) {
            EXPECT_EQ(iri->getHost(Encoding::IRI), c.host);
        }
        EXPECT_EQ(iri->hasPort() ? iri->getPortNumber() : -1, c.port);
        EXPECT_EQ(iri->getPath(Encoding::IRI), c.path);
        EXPECT_EQ(iri->hasQuery(), c.query != nullptr);
        if (c.query) {
            EXPECT_EQ(iri->getQuery(Encoding::IRI), c.query);
        }
        EXPECT_EQ(iri->hasFragment(), c.fragment != nullptr);
        if (c.fragment) {
            EXPECT_EQ(iri->getFragment(Encoding::IRI), c.fragment);
        }
    }
}

TEST(IRI, EncodingsOfOneComponent) {
    const auto iri = IRI::parse(u"http://h/p?a=%C3%A9&b=%2F%20&c=\u65E5&d=%FF");
    ASSERT_TRUE(iri);
    EXPECT_EQ(iri->getQuery(Encoding::IRI), u"a=\u00E9&b=%2F%20&c=\u65E5&d=%FF");
    EXPECT_EQ(iri->getQuery(Encoding::URI), u"a=%C3%A9&b=%2F%20&c=%E6%97%A5&d=%FF");
    EXPECT_EQ(iri->getQuery(Encoding::Decoded), u"a=\u00E9&b=/ &c=\u65E5&d=\xDCFF");
    EXPECT_EQ(iri->toString(Encoding::URI), u"http://h/p?a=%C3%A9&b=%2F%20&c=%E6%97%A5&d=%FF");
    // Every non-ASCII scalar value comes back as a character, even one that does not show.
    EXPECT_EQ(IRI::parse(u"http://h/%C2%85%E2%80%8F%EE%80%80%EF%B7%90%F4%8F%BF%BF")
                  ->getPath(Encoding::IRI),
              u"/\u0085\u200F\uE000\uFDD0\U0010FFFF");
}

TEST(IRIArgs, RebuildsTheSameIRIAndDropsQueryAndFragment) {
    for (const char16_t* text : {u"http://u:p@h:81/a/b?q=1#f", u"file:///d/\u65E5", u"http://h/a?#",
                                 u"mailto:a@b", u"http://[::1]/x%2Fy?a=%26", u"file:////x"}) {
        SCOPED_TRACE(utf8(text));
        const auto iri = IRI::parse(text);
        ASSERT_TRUE(iri);
        EXPECT_EQ(IRI(IRIArgs(*iri)), *iri);
        IRIArgs args(*iri);
        args.query.clear();
        args.hasQuery = false;
        args.fragment.clear();
        args.hasFragment = false;
        const IRI bare(args);
        EXPECT_FALSE(bare.hasQuery());
        EXPECT_FALSE(bare.hasFragment());
        EXPECT_EQ(bare.getPath(Encoding::URI), iri->getPath(Encoding::URI));
    }
}

TEST(IRIArgs, InconsistentBagIsAnInternalError) {
    const IRIArgs good(*IRI::parse(u"http://h/a?q#f"));
    const std::function<void(IRIArgs&)> spoil[] = {
        [](IRIArgs& a) { a.hasQuery = false; },
        [](IRIArgs& a) { a.hasFragment = false; },
        [](IRIArgs& a) { a.scheme.clear(); },
        [](IRIArgs& a) { a.scheme = u"c"; },
        [](IRIArgs& a) { a.scheme = u"h p"; },
        [](IRIArgs& a) { a.hasAuthority = false; },
        [](IRIArgs& a) { a.userInfo = u"u"; },
        [](IRIArgs& a) { a.port = u"8o"; },
        [](IRIArgs& a) { a.port = u"70000"; },
        [](IRIArgs& a) { a.path = u"rel"; },
        [](IRIArgs& a) { a.query = u"a#b"; },
        [](IRIArgs& a) { a.host = u"h/x"; },
        [](IRIArgs& a) { a.path = u"/a b"; },
        [](IRIArgs& a) {
            a.hasAuthority = false;
            a.host.clear();
            a.path = u"//x";
        },
    };
    for (std::size_t i = 0; i < std::size(spoil); ++i) {
        IRIArgs args = good;
        spoil[i](args);
        EXPECT_THROW(IRI{args}, InternalError) << "case " << i;
    }
    EXPECT_NO_THROW(IRI{good});
}

TEST(AbsoluteIRI, ResolvedIRIRemovesDotSegments) {
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"http://h/a/./b/../c", u"http://h/a/c"},
        {u"http://h/a/%2E%2E/b", u"http://h/b"},
        {u"http://h/a/b/..", u"http://h/a/"},
        {u"file:///a/b/../../..", u"file:///"},
        {u"http://h/a.b/c..d/.e", u"http://h/a.b/c..d/.e"},
        {u"http://h/a/../b?x=/../y#/..", u"http://h/b?x=/../y#/.."},
    };
    for (const auto& [input, resolved] : cases)
        EXPECT_EQ(AbsoluteIRI(input).getResolvedIRI().toString(), resolved) << utf8(input);
}

TEST(AbsoluteIRI, MakePathRelativeTo) {
    struct Case {
        const char16_t* base;
        const char16_t* target;
        const char16_t* relative;
    };
    const Case cases[] = {
        {u"file:///a/b", u"file:///a/b/c/d.txt", u"c/d.txt"},
        {u"/a/b/", u"/a/x", u"../x"},
        {u"/a/b", u"/a/b", u"."},
        {u"/a/b/c", u"/a", u"../.."},
        {u"/", u"/a/b", u"a/b"},
        {u"/a", u"/a/x y/\u65E5%", u"x y/\u65E5%"}, // file names come decoded
        {u"/a/./b/..", u"/a/c", u"c"},
        {u"http://h/a/", u"http://h/a/b%20c?q", u"b%20c?q"},
        {u"http://h/a/", u"https://h/a/b", u"https://h/a/b"},
        {u"http://h/a/", u"http://g/a/b", u"http://g/a/b"},
        {u"http://h/a/", u"http://h:81/a/b", u"http://h:81/a/b"},
        {u"http://u@h/a/", u"http://h/a/b", u"http://h/a/b"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(AbsoluteIRI(c.target).makePathRelativeTo(AbsoluteIRI(c.base)), c.relative)
            << utf8(c.base) << " -> " << utf8(c.target);
}

TEST(CanonicalAbsoluteIRI, NormalisedAndWithLeaf) {
    EXPECT_EQ(CanonicalAbsoluteIRI(u"HTTP://H").toString(), u"http://h/");
    EXPECT_EQ(CanonicalAbsoluteIRI(u"http://h/a/./../b/%7e").toString(), u"http://h/b/~");
    EXPECT_EQ(CanonicalAbsoluteIRI(u"/a/../b/").toString(), u"file:///b/");
    const CanonicalAbsoluteIRI base(u"http://h/a?q#f");
    const std::pair<const char16_t*, const char16_t*> leaves[] = {
        {u"", u"http://h/a?q#f"},
        {u"x y/z?#", u"http://h/a/x%20y%2Fz%3F%23"},
        {u"\u65E5", u"http://h/a/\u65E5"},
        {u"..", u"http://h/"},
    };
    for (const auto& [leaf, expected] : leaves)
        EXPECT_EQ(CanonicalAbsoluteIRI(base, leaf).toString(), expected) << utf8(leaf);
    EXPECT_EQ(CanonicalAbsoluteIRI(CanonicalAbsoluteIRI(u"file:///"), u"x").toString(),
              u"file:///x");
    EXPECT_THROW(CanonicalAbsoluteIRI(base, fl::ustring(u"a\0b", 3)), InvalidIRIException);
}

// Every absolute native path comes back unchanged, through the IRI and through its text.
TEST(GetStringFromIRI, NativePathsRoundTrip) {
    const fl::ustring paths[] = {
        u"/",
        u"//x",
        u"/a/./b/../c/",
        u"/a//b",
        u"/100%/%41%2F",
        u"/a?b#c[d]",
        u"/donn\u00E9es/\u65E5\u672C.txt",
        u"/x\xDCFFy\xDC80",
        u"/tab\there\x7F",
        u"/emoji\U0001F600",
        u"/\u0085\u200F\uE000\uFDD0\U0010FFFF",
        u"/a b;c=d@e:f",
    };
    for (const auto& p : paths) {
        SCOPED_TRACE(utf8(p));
        const AbsoluteIRI iri = foundation::storage::vfs::toAbsoluteIRI(u"file", p);
        EXPECT_EQ(GetStringFromIRI(iri), p);
        EXPECT_EQ(GetStringFromIRI(AbsoluteIRI(iri.toString())), p);
        EXPECT_EQ(GetStringFromIRI(AbsoluteIRI(p)), p);
    }
}

TEST(GetStringFromIRI, FileNameHoldingInvalidUtf8) {
    vexa::testing::TempDir dir;
    const std::string name = "caf\xE9 \xFF\xC3(%41?#).txt";
    const int fd = ::open((dir / name).c_str(), O_CREAT | O_WRONLY | O_EXCL, 0644);
    ASSERT_GE(fd, 0);
    ::close(fd);
    // The name as the system lists it, not as the test spelled it.
    std::string listed;
    DIR* folder = ::opendir(dir.path().c_str());
    ASSERT_NE(folder, nullptr);
    while (const dirent* entry = ::readdir(folder))
        if (entry->d_name[0] != '.')
            listed = dir.path().string() + "/" + entry->d_name;
    ::closedir(folder);
    const fl::ustring p = fl::i18n::to_ustring(listed);
    ASSERT_NE(p.find(u'\xDCE9'), fl::ustring::npos);

    const AbsoluteIRI iri = foundation::storage::vfs::toAbsoluteIRI(u"file", p);
    const fl::ustring back = GetStringFromIRI(iri);
    EXPECT_EQ(back, p);
    EXPECT_EQ(fl::filesystem::status(back).type(), fl::filesystem::file_status::regular_file);
    EXPECT_EQ(GetStringFromIRI(AbsoluteIRI(iri.toString())), p);
    EXPECT_EQ(iri.getName(), fl::i18n::to_ustring(name));
}

TEST(GetStringFromIRI, OtherIRIsAndPathsThatCannotBeNative) {
    EXPECT_EQ(GetStringFromIRI(AbsoluteIRI(u"HTTP://H/a%20b")), u"http://h/a%20b");
    EXPECT_EQ(GetStringFromIRI(AbsoluteIRI(u"file://localhost/x")), u"/x");
    EXPECT_EQ(GetStringFromIRI(AbsoluteIRI(u"file:/x")), u"/x");
    for (const char16_t* text : {u"file://server/x", u"file:///a%2Fb", u"file:///a%00", u"file:x",
                                 u"file:///a?b", u"file:///a#b", u"file:///a?"})
        EXPECT_THROW(GetStringFromIRI(AbsoluteIRI(text)), InvalidIRIException) << utf8(text);
}

TEST(IRI, UriTextGetsTheSameNormalFormAsIriText) {
    for (const char* text :
         {"http://h/a%2fb", "HTTP://H/%c3%a9?%3d#%e6%97%a5", "file:///a%2f%00"}) {
        SCOPED_TRACE(text);
        const auto fromUri = IRI::parseUri(text);
        ASSERT_TRUE(fromUri);
        EXPECT_EQ(fromUri->uriText(), IRI::parse(fl::i18n::to_ustring(text))->uriText());
    }
    for (const char* text : {"file:///a%2fb", "file:///a%00"})
        EXPECT_THROW(GetStringFromIRI(AbsoluteIRI(*IRI::parseUri(text))), InvalidIRIException)
            << text;
}

TEST(ToAbsoluteIRI, RefusesWhatIsNoAbsolutePath) {
    using foundation::storage::vfs::toAbsoluteIRI;
    const fl::ustring withNul(u"/a\0b", 4);
    try {
        toAbsoluteIRI(u"file", withNul);
        ADD_FAILURE() << "a path holding U+0000 was accepted";
    } catch (const InvalidIRIException& error) {
        EXPECT_EQ(error.getText(), withNul); // the whole text, not cut at the U+0000
    }
    EXPECT_THROW(toAbsoluteIRI(u"file", u"a/b"), InvalidIRIException);
    EXPECT_THROW(toAbsoluteIRI(u"file", u""), InvalidIRIException);
    EXPECT_THROW(toAbsoluteIRI(u"c", u"/x"), InvalidIRIException);
    EXPECT_EQ(toAbsoluteIRI(u"FILE", u"/x").toString(), u"file:///x");
    EXPECT_EQ(foundation::storage::vfs::toCanonicalAbsoluteIRI(u"file", u"/a/../b").toString(),
              u"file:///b");
}

TEST(NormalizeURL, Rewrites) {
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"  HTTP://Example.COM/a/./b/../c \t\n", u"http://example.com/a/c"},
        {u"http://h/a b\"<>\\^`{|}", u"http://h/a%20b%22%3C%3E%5C%5E%60%7B%7C%7D"},
        {u"http://h/x\ty\x7F\x85", u"http://h/x%09y%7F%C2%85"},
        {u"http://h/\u00E9/%c3%a9", u"http://h/\u00E9/%c3%a9"},
        {u"http://User@HOST:80/P?Q#F", u"http://User@host:80/P?Q#F"},
        {u"http://[FE80::A]:8/X", u"http://[fe80::a]:8/X"},
        {u"http://h/a/../../b?x=/../y#/..", u"http://h/b?x=/../y#/.."},
        {u"https://host/a/../b", u"https://host/b"},
        {u"http://H%C3%A9/", u"http://h%C3%A9/"},
        {u"", u""},
        {u"   ", u""},
        {u"not a url", u"not%20a%20url"},
        {u"C:\\a", u"C:%5Ca"},
        {u"http://h/100%", u"http://h/100%"},
    };
    for (const auto& [input, expected] : cases) {
        fl::ustring text = input;
        foundation::storage::utility::normalizeURL(text);
        EXPECT_EQ(text, expected) << utf8(input);
    }
    // Normalised text parses where the original did not.
    fl::ustring spaced = u" http://h/a b ";
    foundation::storage::utility::normalizeURL(spaced);
    EXPECT_EQ(AbsoluteIRI(spaced).getName(), u"a b");
}

TEST(HasIRIPrefix, KnownSchemesOnly) {
    const std::pair<const char16_t*, bool> cases[] = {
        {u"file:///x", true}, {u"HTTP://h", true}, {u"Https://h/a", true}, {u"http://", true},
        {u"ftp://h", false},  {u"http:/h", false}, {u"http:h", false},     {u"C://x", false},
        {u"", false},         {u"/abs", false},    {u"httpx://", false},   {u" http://h", false},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(foundation::storage::vfs::hasIRIPrefix(text), expected) << utf8(text);
    fl::ustring windowsName = u"a.txt. ";
    foundation::storage::utility::handleWindowsTrailingDotsAndSpaces(windowsName);
    EXPECT_EQ(windowsName, u"a.txt. ");
}

} // namespace
