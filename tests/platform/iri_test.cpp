#include <Quarrow/PathManagement/GetStringFromIRI.hpp>
#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/core/except/Exception.hpp>
#include <foundation/network/IRI.hpp>
#include <foundation/storage/utility/url.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include "IRIRules.hpp"
#include "Storage.hpp"
#include "TempDir.hpp"
#include "Text.hpp"

#include <boost/exception_ptr.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <tuple>

namespace {

// The IRI layer's names and the rules every IRI keeps.
using namespace vexa::testing::iri;
using foundation::storage::vfs::toAbsoluteIRI;
using Quarrow::PathManagement::GetStringFromIRI;
using InternalError =
    foundation::core::except::Exception<foundation::core::except::IInternalException>;
using Text = std::optional<fl::ustring>; // nullopt: not there at all
using namespace std::string_view_literals;
using vexa::testing::utf8;

Text present(bool has, fl::ustring text) {
    return has ? Text(std::move(text)) : std::nullopt;
}

// What a user sees of an IRI: its normal form, name and parent.
const struct {
    const char16_t* input;
    const char16_t* text;
    const char16_t* name;
    Text parent;
} named[] = {
    {u"HTTP://Example.COM/A/b", u"http://example.com/A/b", u"b", u"http://example.com/A/"},
    {u"http://h/a/", u"http://h/a/", u"a", u"http://h/"},
    {u"http://h/a/b?q=1#f", u"http://h/a/b?q=1#f", u"b", u"http://h/a/"},
    {u"http://h/", u"http://h/", u"", std::nullopt},
    {u"http://h", u"http://h", u"", std::nullopt},
    {u"http://h//", u"http://h//", u"", std::nullopt},
    {u"mailto:a@b.org", u"mailto:a@b.org", u"", std::nullopt},
    // Native paths become file IRIs; non-ASCII stays as characters.
    {u"/", u"file:///", u"", std::nullopt},
    {u"/donn\u00E9es/\u65E5\u672C.txt", u"file:///donn\u00E9es/\u65E5\u672C.txt",
     u"\u65E5\u672C.txt", u"file:///donn\u00E9es/"},
    {u"/a b/100%", u"file:///a%20b/100%25", u"100%", u"file:///a%20b/"},
    // Escapes: UTF-8 and unreserved ones decoded, reserved ones kept (upper case).
    {u"http://h/%C3%A9t%c3%a9/x%20y%2fz", u"http://h/\u00E9t\u00E9/x%20y%2Fz", u"x y/z",
     u"http://h/\u00E9t\u00E9/"},
    {u"http://h/%41%7e%2D", u"http://h/A~-", u"A~-", u"http://h/"},
    {u"http://h/caf%E9", u"http://h/caf%E9", u"caf\xDCE9", u"http://h/"},
    {u"http://B\u00FCcher.DE/stra\u00DFe", u"http://b\u00FCcher.de/stra\u00DFe", u"stra\u00DFe",
     u"http://b\u00FCcher.de/"},
    // Only the host is lower-cased; an empty port is dropped.
    {u"http://User:Pw@H:8080/p", u"http://User:Pw@h:8080/p", u"p", u"http://User:Pw@h:8080/"},
    {u"http://[FE80::1]:81/x", u"http://[fe80::1]:81/x", u"x", u"http://[fe80::1]:81/"},
    {u"http://h:/a", u"http://h/a", u"a", u"http://h/"},
    // A path that starts with "//" keeps it: its parent is the root "//", never "/.//".
    {u"http://h//a", u"http://h//a", u"a", u"http://h//"},
    {u"http://h//a/b", u"http://h//a/b", u"b", u"http://h//a/"},
    {u"http://h///", u"http://h///", u"", u"http://h//"},
    // Without an authority it is written behind "/.", which is no segment.
    {u"xy:/.//a/b", u"xy:/.//a/b", u"b", u"xy:/.//a/"},
    {u"xy:/.//a", u"xy:/.//a", u"a", u"xy:/.//"},
    {u"xy:/.//", u"xy:/.//", u"", std::nullopt},
    // A host that starts like an IPv4 address is a name when more follows.
    {u"http://1.2.3.4./x", u"http://1.2.3.4./x", u"x", u"http://1.2.3.4./"},
    {u"http://1.2.3.4.5/x", u"http://1.2.3.4.5/x", u"x", u"http://1.2.3.4.5/"},
};

TEST(AbsoluteIRI, TextNameAndParent) {
    for (const auto& c : named) {
        SCOPED_TRACE(utf8(c.input));
        const AbsoluteIRI iri(c.input);
        EXPECT_EQ(iri.toString(), c.text);
        EXPECT_EQ(iri.getName(), c.name);
        ASSERT_EQ(iri.hasParent(), c.parent.has_value());
        if (c.parent) {
            EXPECT_EQ(iri.getParent().toString(), *c.parent);
            EXPECT_EQ(iri.getParentText(), *c.parent);
        } else {
            EXPECT_THROW(iri.getParent(), InternalError);
            EXPECT_THROW(iri.getParentText(), InternalError);
        }
    }
    EXPECT_EQ(AbsoluteIRI(u"HTTP://h").getScheme(), u"http");
}

// The refused text travels with the exception, also as a copy, as a boost::exception_ptr
// carries it.
TEST(AbsoluteIRI, TextThatNamesNoAbsoluteIRIIsRefused) {
    // A drive is never a one-letter scheme; a U+0000 never cuts the text short.
    for (const std::u16string_view view :
         {u""sv, u"C:"sv, u"C:\\x"sv, u"c:/x"sv, u"relative/path"sv, u"http://h/a b"sv,
          u"http://h/a|b"sv, u"http://h:99999/"sv, u"http://h:8o/"sv, u"http://[::1/"sv,
          u"1http://x"sv, u"://x"sv, u"/a\0b"sv, u"http://h/\0"sv, u"http://1.2.3.4.[/"sv,
          u"http://1.2.3.4.%G1/"sv}) {
        const fl::ustring text(view);
        try {
            AbsoluteIRI iri(text);
            ADD_FAILURE() << "accepted: " << utf8(text);
        } catch (const InvalidIRIException& error) {
            EXPECT_EQ(error.getText(), text);
        }
    }
    EXPECT_TRUE(IRI::parse(u"cc:/x"));
    for (const fl::ustring& path : {fl::ustring(u"a/b"), fl::ustring()})
        EXPECT_THROW(toAbsoluteIRI(u"file", path), InvalidIRIException);
    EXPECT_THROW(toAbsoluteIRI(u"c", u"/x"), InvalidIRIException);
    EXPECT_EQ(toAbsoluteIRI(u"FILE", u"/x").toString(), u"file:///x");
    try {
        boost::rethrow_exception(boost::copy_exception(InvalidIRIException(u"no scheme")));
    } catch (const InvalidIRIException& error) {
        EXPECT_EQ(error.getText(), u"no scheme");
        EXPECT_STREQ(error.what(), "Not a valid absolute IRI or path: 'no scheme'");
    }
}

TEST(IRI, Components) {
    struct Case {
        const char16_t* input;
        Text userInfo;
        Text host;
        std::int64_t port; // -1: none
        const char16_t* path;
        Text query;
        Text fragment;
    };
    const auto none = std::nullopt;
    const Case cases[] = {
        {u"https://u:p@h:81/", u"u:p", u"h", 81, u"/", none, none},
        {u"http://[::1]:8080/x", none, u"[::1]", 8080, u"/x", none, none},
        {u"http://h:0/", none, u"h", 0, u"/", none, none},
        {u"http://h:65535", none, u"h", 65535, u"", none, none},
        // An empty query or fragment differs from none.
        {u"http://h/a?#", none, u"h", -1, u"/a", u"", u""},
        {u"http://h/p#", none, u"h", -1, u"/p", none, u""},
        {u"file:///x", none, none, -1, u"/x", none, none},
        {u"urn:isbn:0451450523", none, none, -1, u"isbn:0451450523", none, none},
        {u"http://h/?q=\u65E5#\u00E9", none, u"h", -1, u"/", u"q=\u65E5", u"\u00E9"},
        // Reg-names that start like an IPv4 address; a whole one is an address.
        {u"http://1.2.3.4./x", none, u"1.2.3.4.", -1, u"/x", none, none},
        {u"http://u@1.2.3.4.5:8/x?q", u"u", u"1.2.3.4.5", 8, u"/x", u"q", none},
        {u"http://1.2.3.4a", none, u"1.2.3.4a", -1, u"", none, none},
        {u"HTTP://1.2.3.4%2e5/", none, u"1.2.3.4.5", -1, u"/", none, none},
        {u"http://1.2.3.4!$/", none, u"1.2.3.4!$", -1, u"/", none, none},
        {u"http://1.2.3.4:80/", none, u"1.2.3.4", 80, u"/", none, none},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(utf8(c.input));
        const auto iri = IRI::parse(c.input);
        ASSERT_TRUE(iri);
        EXPECT_EQ(present(iri->hasUserInfo(), iri->getUserInfo(Encoding::IRI)), c.userInfo);
        EXPECT_EQ(present(iri->hasHost(), iri->getHost(Encoding::IRI)), c.host);
        EXPECT_EQ(iri->hasPort() ? iri->getPortNumber() : -1, c.port);
        EXPECT_EQ(iri->getPath(Encoding::IRI), c.path);
        EXPECT_EQ(present(iri->hasQuery(), iri->getQuery(Encoding::IRI)), c.query);
        EXPECT_EQ(present(iri->hasFragment(), iri->getFragment(Encoding::IRI)), c.fragment);
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
    // URI text from the network gets the same normal form as IRI text.
    for (const char* text : {"http://h/a%2fb", "HTTP://H/%c3%a9?%3d#%e6%97%a5"}) {
        const auto fromUri = IRI::parseUri(text);
        ASSERT_TRUE(fromUri) << text;
        EXPECT_EQ(fromUri->uriText(), IRI::parse(fl::i18n::to_ustring(text))->uriText());
    }
    EXPECT_THROW(GetStringFromIRI(AbsoluteIRI(*IRI::parseUri("file:///a%2fb"))),
                 InvalidIRIException);
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
        EXPECT_FALSE(bare.hasQuery() || bare.hasFragment());
        EXPECT_EQ(bare.getPath(Encoding::URI), iri->getPath(Encoding::URI));
    }
}

// A bag read from an IRI and then changed must give the changed IRI, not its origin.
TEST(IRIArgs, ChangedComponentsAreRebuilt) {
    const auto origin = IRI::parse(u"http://u@h:81/a/b?q#f");
    ASSERT_TRUE(origin);
    const std::pair<std::function<void(IRIArgs&)>, const char16_t*> changes[] = {
        {[](IRIArgs& a) { a.path = u"/a/c"; }, u"http://u@h:81/a/c?q#f"},
        {[](IRIArgs& a) { a.host = u"H2"; }, u"http://u@h2:81/a/b?q#f"},
        {[](IRIArgs& a) { a.port.clear(); }, u"http://u@h/a/b?q#f"},
        {[](IRIArgs& a) { a.query = u"r"; }, u"http://u@h:81/a/b?r#f"},
        {[](IRIArgs& a) { a.fragment.clear(); }, u"http://u@h:81/a/b?q#"},
        {[](IRIArgs& a) { a.userInfo = u"v"; }, u"http://v@h:81/a/b?q#f"},
        {[](IRIArgs& a) { a.path = u"/a/%7E"; }, u"http://u@h:81/a/~?q#f"},
    };
    for (const auto& [change, expected] : changes) {
        SCOPED_TRACE(utf8(expected));
        IRIArgs args(*origin);
        change(args);
        EXPECT_EQ(IRI(args).uriText(), IRI::parse(expected)->uriText());
    }
}

TEST(IRIArgs, InconsistentBagIsAnInternalError) {
    const IRIArgs good(*IRI::parse(u"http://h/a?q#f"));
    const std::function<void(IRIArgs&)> spoil[] = {
        [](IRIArgs& a) { a.hasQuery = false; },
        [](IRIArgs& a) { a.hasFragment = false; },
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

const std::pair<const char16_t*, const char16_t*> resolved[] = {
    {u"http://h/a/./b/../c", u"http://h/a/c"},
    {u"http://h/a/%2E%2E/b", u"http://h/b"},
    {u"http://h/a/b/..", u"http://h/a/"},
    {u"file:///a/b/../../..", u"file:///"},
    {u"http://h/a.b/c..d/.e", u"http://h/a.b/c..d/.e"},
    {u"http://h/a/../b?x=/../y#/..", u"http://h/b?x=/../y#/.."},
    // The two worked examples of RFC 3986 section 5.2.4.
    {u"http://h/a/b/c/./../../g", u"http://h/a/g"},
    {u"xy:mid/content=5/../6", u"xy:mid/6"},
    // A path that comes to start with "//" keeps it after an authority; without one it
    // is written behind "/.".
    {u"http://h/x/..//a/", u"http://h//a/"},
    {u"http://h/./..//a", u"http://h//a"},
    {u"xy:/x/..//a", u"xy:/.//a"},
    {u"xy:/.//a/./b", u"xy:/.//a/b"},
};

TEST(AbsoluteIRI, ResolvedAndCanonicalIRIs) {
    for (const auto& [input, expected] : resolved)
        EXPECT_EQ(AbsoluteIRI(input).getResolvedIRI().toString(), expected) << utf8(input);
    EXPECT_EQ(CanonicalAbsoluteIRI(u"HTTP://H").toString(), u"http://h/");
    EXPECT_EQ(CanonicalAbsoluteIRI(u"http://h/x/..//a/").toString(), u"http://h//a/");
    EXPECT_EQ(CanonicalAbsoluteIRI(CanonicalAbsoluteIRI(u"http://h//"), u"a").toString(),
              u"http://h//a");
    EXPECT_EQ(foundation::storage::vfs::toCanonicalAbsoluteIRI(u"file", u"/a/../b/").toString(),
              u"file:///b/");
    // A leaf is one segment.
    const CanonicalAbsoluteIRI base(u"http://h/a?q#f");
    const std::pair<const char16_t*, const char16_t*> leaves[] = {
        {u"", u"http://h/a?q#f"},
        {u"x y/z?#", u"http://h/a/x%20y%2Fz%3F%23"},
        {u"\u65E5", u"http://h/a/\u65E5"},
        {u"..", u"http://h/"},
        {u".", u"http://h/a/"},
        {u"...", u"http://h/a/..."},
        {u"%41:b@c;d=e", u"http://h/a/%2541:b@c;d=e"},
        {u"-._~!$&'()*+,", u"http://h/a/-._~!$&'()*+,"},
    };
    for (const auto& [leaf, expected] : leaves) {
        EXPECT_EQ(CanonicalAbsoluteIRI(base, leaf).toString(), expected) << utf8(leaf);
        // The same made as text, and as an IRI with only a segment added, from a base without
        // query or fragment.
        const CanonicalAbsoluteIRI bare(u"http://h/a");
        std::string text(bare.toIRI().uriText());
        CanonicalAbsoluteIRI::appendLeaf(text, leaf);
        if (*leaf != u'\0') {
            EXPECT_EQ(text, CanonicalAbsoluteIRI(base, leaf).toIRI().uriText()) << utf8(leaf);
            EXPECT_EQ(text, CanonicalAbsoluteIRI(bare, leaf).toIRI().uriText()) << utf8(leaf);
        }
    }
    // Bases where no segment may simply be added: a path ending in "/", one starting "//"
    // without an authority.
    EXPECT_EQ(CanonicalAbsoluteIRI(CanonicalAbsoluteIRI(u"file:///"), u"x").toString(),
              u"file:///x");
    EXPECT_EQ(CanonicalAbsoluteIRI(CanonicalAbsoluteIRI(u"file:///a/"), u"x").toString(),
              u"file:///a/x");
    EXPECT_EQ(CanonicalAbsoluteIRI(CanonicalAbsoluteIRI(u"xy:/.//a"), u"x").toString(),
              u"xy:/.//a/x");
    EXPECT_EQ(CanonicalAbsoluteIRI(CanonicalAbsoluteIRI(u"xy:a"), u"x").toString(), u"xy:a/x");
    EXPECT_THROW(CanonicalAbsoluteIRI(base, fl::ustring(u"a\0b", 3)), InvalidIRIException);
}

const std::tuple<const char16_t*, const char16_t*, const char16_t*> relativePaths[] = {
    // base, target, relative path
    {u"file:///a/b", u"file:///a/b/c/d.txt", u"c/d.txt"},
    {u"/a/b/", u"/a/x", u"../x"},
    {u"/a/b", u"/a/b", u"."},
    {u"/a/b/c", u"/a", u"../.."},
    {u"/", u"/a/b", u"a/b"},
    {u"/a", u"/a/x y/\u65E5%", u"x y/\u65E5%"}, // file names come decoded
    {u"/a/./b/..", u"/a/c", u"c"},
    {u"http://h/a/", u"http://h/a/b%20c?q", u"b%20c?q"},
    // No relative way between different schemes or authorities.
    {u"http://h/a/", u"https://h/a/b", u"https://h/a/b"},
    {u"http://h/a/", u"http://h:81/a/b", u"http://h:81/a/b"},
    {u"http://u@h/a/", u"http://h/a/b", u"http://h/a/b"},
    // A file path is a native relative path: runs of "/" are one, a trailing "/" is
    // nothing of a name.
    {u"/tmp/a", u"/tmp/a//b", u"b"},
    {u"/tmp//a", u"/tmp/a/b/", u"b"},
    {u"/a/b", u"/a/b/", u"."},
    {u"/a", u"/a/file:x", u"./file:x"}, // a name, not an IRI
    {u"file:///a/", u"file:///a/b?q", u"file:///a/b?q"},
    {u"file:///a/", u"file:///a/b%2Fc", u"file:///a/b%2Fc"},
    // Other schemes: the reference that resolves to exactly the target.
    {u"http://a/b/c/", u"http://a/b/c//g", u".//g"},
    {u"http://a/b/c/", u"http://a/b//g", u"..//g"},
    {u"http://h/", u"http://h/a:b", u"./a:b"},
    {u"http://a/b/c/", u"http://a/b/c/g/", u"g/"},
    {u"http://a/b/c/", u"http://a/b/", u"../"},
    {u"http://h/a/b", u"http://h/a/b", u"../b"},
    {u"http://h/a/", u"http://h", u"../"},
    {u"http://h", u"http://h/a/", u"a/"},
    {u"http://h/a/", u"http://h/a/?q#f", u".?q#f"},
    {u"mailto:a@b.org", u"mailto:c@d.org", u"mailto:c@d.org"},
};

TEST(AbsoluteIRI, MakePathRelativeTo) {
    for (const auto& [base, target, relative] : relativePaths)
        EXPECT_EQ(AbsoluteIRI(target).makePathRelativeTo(AbsoluteIRI(base)), relative)
            << utf8(base) << " -> " << utf8(target);
}

// RFC 3986 section 5.4, normal and abnormal examples, against its base.
const char16_t* const referenceBase = u"http://a/b/c/d;p?q";
const std::pair<const char16_t*, const char16_t*> references[] = {
    // One letter is a drive, never a scheme: "g:h" is a relative path here.
    {u"g:h", u"http://a/b/c/g:h"},
    {u"g", u"http://a/b/c/g"},
    {u"./g", u"http://a/b/c/g"},
    {u"g/", u"http://a/b/c/g/"},
    {u"/g", u"http://a/g"},
    {u"//g", u"http://g"},
    {u"?y", u"http://a/b/c/d;p?y"},
    {u"g?y", u"http://a/b/c/g?y"},
    {u"#s", u"http://a/b/c/d;p?q#s"},
    {u"g#s", u"http://a/b/c/g#s"},
    {u"g?y#s", u"http://a/b/c/g?y#s"},
    {u";x", u"http://a/b/c/;x"},
    {u"g;x", u"http://a/b/c/g;x"},
    {u"g;x?y#s", u"http://a/b/c/g;x?y#s"},
    {u"", u"http://a/b/c/d;p?q"},
    {u".", u"http://a/b/c/"},
    {u"./", u"http://a/b/c/"},
    {u"..", u"http://a/b/"},
    {u"../", u"http://a/b/"},
    {u"../g", u"http://a/b/g"},
    {u"../..", u"http://a/"},
    {u"../../", u"http://a/"},
    {u"../../g", u"http://a/g"},
    // abnormal
    {u"../../../g", u"http://a/g"},
    {u"../../../../g", u"http://a/g"},
    {u"/./g", u"http://a/g"},
    {u"/../g", u"http://a/g"},
    {u"g.", u"http://a/b/c/g."},
    {u".g", u"http://a/b/c/.g"},
    {u"g..", u"http://a/b/c/g.."},
    {u"..g", u"http://a/b/c/..g"},
    {u"./../g", u"http://a/b/g"},
    {u"./g/.", u"http://a/b/c/g/"},
    {u"g/./h", u"http://a/b/c/g/h"},
    {u"g/../h", u"http://a/b/c/h"},
    {u"g;x=1/./y", u"http://a/b/c/g;x=1/y"},
    {u"g;x=1/../y", u"http://a/b/c/y"},
    {u"g?y/./x", u"http://a/b/c/g?y/./x"},
    {u"g?y/../x", u"http://a/b/c/g?y/../x"},
    {u"g#s/./x", u"http://a/b/c/g#s/./x"},
    {u"g#s/../x", u"http://a/b/c/g#s/../x"},
    {u"http:g", u"http:g"}, // as a strict parser reads it
    // Empty segments stay; a path starting with "//" stays a path.
    {u".//g", u"http://a/b/c//g"},
    {u"..//g", u"http://a/b//g"},
    {u"/..//g", u"http://a//g"},
    {u"xy:/..//g", u"xy:/.//g"},
    {u"\u00E9t\u00E9?\u65E5", u"http://a/b/c/\u00E9t\u00E9?\u65E5"},
};

TEST(AbsoluteIRI, ResolvesReferences) {
    const AbsoluteIRI base(referenceBase);
    for (const auto& [reference, expected] : references)
        EXPECT_EQ(base.resolve(reference).toString(), expected) << utf8(reference);
    for (const char16_t* reference : {u"g h", u"//h:99999/", u"?a#b#c"})
        EXPECT_THROW(base.resolve(reference), InvalidIRIException) << utf8(reference);
}

// The rules every IRI keeps, over one list shared the way LLVM's path tests share theirs:
// the IRIs of the tables above, their answers, and the texts that broke a rule.
std::vector<fl::ustring> everyKind() {
    std::vector<fl::ustring> texts(
        {u"http://h/a?#", u"http://u@1.2.3.4.5:8/x?q", u"https://h/d/\u00E9t\u00E9",
         u"ftp://host/dir/readme", u"hP:/.//o:m", u"x-y:a/../../b", u"urn:isbn:0451450523",
         u"file:/.//etc/passwd", u"file:/..//etc/passwd", u"file://server/share/x", u"file:///a?q",
         u"file:///a%2Fb/c", u"//x", u"/a/./b/../c/", u"http://h//a.txt", referenceBase});
    for (const auto& c : named)
        texts.push_back(c.input);
    for (const auto& [input, answer] : resolved)
        texts.insert(texts.end(), {input, answer});
    for (const auto& [reference, answer] : references)
        texts.push_back(answer);
    for (const auto& [base, target, relative] : relativePaths)
        texts.insert(texts.end(), {base, target});
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    return texts;
}

TEST(IRIRules, HoldForEveryIRIOfTheSharedList) {
    for (const fl::ustring& text : everyKind()) {
        SCOPED_TRACE(utf8(text));
        EXPECT_EQ(brokenRule(AbsoluteIRI(text)), "");
        EXPECT_EQ(normalizedKeepsMeaning(text), "");
    }
}

TEST(IRIRules, RelativePathResolvesBackForEveryPairOfTheSharedList) {
    std::vector<AbsoluteIRI> iris;
    for (const fl::ustring& text : everyKind())
        iris.emplace_back(text);
    for (const AbsoluteIRI& base : iris)
        for (const AbsoluteIRI& target : iris)
            EXPECT_EQ(relativePathResolvesBack(base, target, target.makePathRelativeTo(base)), "");
}

// Every absolute native path comes back unchanged, through the IRI, through its text and
// parsed from the path itself. Plain ASCII paths are narrowed straight into the IRI and
// escapes are decoded only where a path holds one: a path built from names appended as
// leaves, each escaped byte by byte, must give the same IRI. Text that would come back
// otherwise (a lone surrogate, escaped bytes that make a character) is not well-formed, so
// a native path's text is kept in place of the way back only when it is well-formed.
TEST(GetStringFromIRI, NativePathsRoundTrip) {
    std::vector<fl::ustring> paths({u"/", u"//x", u"/./x", u"/a/./b/../c/", u"/a//b", u"/a?b#c[d]",
                                    u"/a b;c=d@e:f", u"/donn\u00E9es/\u65E5\u672C.txt",
                                    u"/x\xDCFFy\xDC80", u"/\u0085\u200F\uE000\uFDD0\U0010FFFF"});
    std::vector<fl::ustring> names = {u"%",         u"100%",          u"%41%2F", u"a b",
                                      u"?#[]\\",    u":@!$&'()*+,;=", u"-._~",   u"x\x7F\t",
                                      u"caf\u00E9", u"\u65E5\u672C",  u"\xDCE9", u"\U0001F600"};
    for (char16_t c = 1; c < 0x80; ++c)
        if (c != u'/')
            names.push_back(fl::ustring(u"a") + c);
    const CanonicalAbsoluteIRI root(u"file:///");
    for (const fl::ustring& name : names) {
        paths.push_back(u"/" + name + u"/x" + name);
        EXPECT_EQ(
            toAbsoluteIRI(u"file", paths.back()).toIRI().uriText(),
            CanonicalAbsoluteIRI(CanonicalAbsoluteIRI(root, name), u"x" + name).toIRI().uriText())
            << utf8(paths.back());
    }
    for (const fl::ustring p : {u"/a\xD800"
                                u"b",
                                u"/\xDBFF",
                                u"/\xDFFF"
                                u"c",
                                u"/\xDCC3\xDCA9"}) {
        EXPECT_NE(GetStringFromIRI(toAbsoluteIRI(u"file", p)), p) << utf8(p);
        EXPECT_FALSE(fl::i18n::isWellFormed(p)) << utf8(p);
    }
    for (const fl::ustring& p : paths) {
        SCOPED_TRACE(utf8(p));
        EXPECT_EQ(fl::i18n::isWellFormed(p), p.find_first_of(u"\xDCE9\xDCFF\xDC80") == p.npos);
        const AbsoluteIRI iri = toAbsoluteIRI(u"file", p);
        EXPECT_EQ(AbsoluteIRI(iri.toString()), iri); // the normal form a parse gives
        EXPECT_EQ(GetStringFromIRI(iri), p);
        EXPECT_EQ(GetStringFromIRI(AbsoluteIRI(iri.toString())), p);
        EXPECT_EQ(GetStringFromIRI(AbsoluteIRI(p)), p);
    }
}

TEST(GetStringFromIRI, FileNameHoldingInvalidUtf8) {
    vexa::testing::TempDir dir;
    const std::string name = "caf\xE9 \xFF\xC3(%41?#).txt";
    dir.make({name});
    // The name as the system lists it, not as the test spelled it.
    const fl::ustring p =
        fl::i18n::to_ustring(std::filesystem::directory_iterator(dir.path())->path().string());
    ASSERT_NE(p.find(u'\xDCE9'), fl::ustring::npos);

    const AbsoluteIRI iri = toAbsoluteIRI(u"file", p);
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

TEST(NormalizeURL, Rewrites) {
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"  HTTP://Example.COM/a/./b/../c \t\n", u"http://example.com/a/c"},
        {u"http://h/a b\"<>\\^`{|}", u"http://h/a%20b%22%3C%3E%5C%5E%60%7B%7C%7D"},
        {u"http://h/x\ty\x7F\x85", u"http://h/x%09y%7F%C2%85"},
        {u"http://h/\u00E9/%c3%a9", u"http://h/\u00E9/%c3%a9"},
        {u"http://User@HOST:80/P?Q#F", u"http://User@host:80/P?Q#F"},
        {u"http://[FE80::A]:8/X", u"http://[fe80::a]:8/X"},
        {u"http://h/a/../../b?x=/../y#/..", u"http://h/b?x=/../y#/.."},
        {u"http://H%C3%A9/", u"http://h%C3%A9/"},
        {u"http://H%G1X/", u"http://h%g1x/"}, // no escape, so all of it is host
        {u"   ", u""},
        {u"not a url", u"not%20a%20url"},
        {u"http://h/100%", u"http://h/100%"},
        // Dot segments never turn a path into an authority, nor relative text into a path
        // from the root.
        {u"file:/..//etc/passwd", u"file:/.//etc/passwd"},
        {u"hP:/.//o:m", u"hp:/.//o:m"},
        {u"http://h/..//a", u"http://h//a"},
        {u"x/..//etc/passwd", u"x/..//etc/passwd"},
        {u"a/../../b", u"a/../../b"},
        {u"C:/a/../b", u"C:/a/../b"},
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

TEST(HasIRIPrefix, SchemesWithAProviderOnly) {
    // http, https, dav, davs and s3 count while a provider serves them, as any scheme: the host's
    // storage starts with theirs.
    for (const bool served : {false, true}) {
        using vexa::testing::ScopedStorageSystem;
        const ScopedStorageSystem storage({ScopedStorageSystem::real("file")}, !served);
        const std::pair<const char16_t*, bool> cases[] = {
            {u"file:///x", true},  {u"FILE://h", true},
            {u"HTTP://h", served}, {u"Https://h/a", served},
            {u"http://", served},  {u"ftp://h", false},
            {u"http:/h", false},   {u"http:h", false},
            {u"C://x", false},     {u"", false},
            {u"/abs", false},      {u"httpx://", false},
            {u" http://h", false}, {u"dav://h/x", served},
            {u"DAVS://h", served}, {u"S3://bucket/k", served},
        };
        for (const auto& [text, expected] : cases)
            EXPECT_EQ(foundation::storage::vfs::hasIRIPrefix(text), expected) << utf8(text);
        EXPECT_EQ(foundation::storage::vfs::knownSchemes().size(), served ? 6u : 1u);
    }
    fl::ustring windowsName = u"a.txt. ";
    foundation::storage::utility::handleWindowsTrailingDotsAndSpaces(windowsName);
    EXPECT_EQ(windowsName, u"a.txt. ");
}

} // namespace
