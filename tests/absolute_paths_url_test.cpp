#include <vexa/io/filesystem/core/absolute_paths.hpp>

#include <fl/i18n.hpp>
#include <foundation/network/IRI.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <gtest/gtest.h>

namespace {

namespace core = vexa::io::filesystem::core;

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
        ASSERT_TRUE(iri) << fl::i18n::to_string(url);
        EXPECT_EQ(core::getURLWithoutQueryAndFragmentComponents(*iri), expected)
            << fl::i18n::to_string(url);
    }
}

TEST(UrlHelpers, RelativePath) {
    struct Case {
        const char16_t* base;
        const char16_t* target;
        const char16_t* relative;
    };
    const Case cases[] = {
        {u"/a/b", u"/a/b/c.txt", u"c.txt"},
        {u"file:///a/b/", u"/a/x", u"../x"},
        {u"/a", u"/a", u"."},
        {u"/data", u"/data/r\u00E9sultats 2026/x.csv", u"r\u00E9sultats 2026/x.csv"},
        {u"http://h/a/", u"http://h/a/b/c", u"b/c"},
        {u"http://h/a/b", u"http://h/c%20d", u"../../c%20d"},
        {u"http://h/a", u"https://h/a/b", u"https://h/a/b"},
        {u"/a", u"http://h/a", u"http://h/a"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(core::relative_path(c.base, c.target), c.relative)
            << fl::i18n::to_string(c.base) << " -> " << fl::i18n::to_string(c.target);
    EXPECT_THROW(core::relative_path(u"relative", u"/a"),
                 foundation::storage::vfs::InvalidIRIException);
    EXPECT_THROW(core::relative_path(u"/a", u"C:\\a"),
                 foundation::storage::vfs::InvalidIRIException);
}

} // namespace
