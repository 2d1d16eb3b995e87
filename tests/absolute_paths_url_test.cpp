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

// relative_path forwards to AbsoluteIRI::makePathRelativeTo, whose cases the IRI layer's
// tests hold; here only what the forwarding adds: the base comes first, and text that is
// no absolute IRI throws.
TEST(UrlHelpers, RelativePathTakesTheBaseFirst) {
    EXPECT_EQ(core::relative_path(u"/a/b", u"/a/b/c.txt"), u"c.txt");
    EXPECT_THROW(core::relative_path(u"relative", u"/a"),
                 foundation::storage::vfs::InvalidIRIException);
}

} // namespace
