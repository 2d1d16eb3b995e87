// The IRI layer, text conversion and message catalog used from many threads at once: they
// keep no shared mutable state, so every thread must get exactly what one thread alone
// gets. Run under ThreadSanitizer with the other tests labelled "threads".

#include <Quarrow/PathManagement/GetStringFromIRI.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/utility/url.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <resource_core/MessageCatalog.hpp>

#include "Threads.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace {

using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::InvalidIRIException;
using Quarrow::PathManagement::GetStringFromIRI;

struct Case {
    const char16_t* input;                // IRI text or a native path
    const char16_t* text;                 // AbsoluteIRI(input).toString()
    std::optional<const char16_t*> shown; // GetStringFromIRI; nullopt: it throws
    const char16_t* normalized;           // normalizeURL(input)
};

const Case cases[] = {
    {u"/donn\u00E9es/\u65E5\u672C.txt", u"file:///donn\u00E9es/\u65E5\u672C.txt",
     u"/donn\u00E9es/\u65E5\u672C.txt", u"/donn\u00E9es/\u65E5\u672C.txt"},
    {u"/x\xDCFFy/a b", u"file:///x%FFy/a%20b", u"/x\xDCFFy/a b", u"/x\xDCFFy/a%20b"},
    {u"HTTP://H/a/./%2fb", u"http://h/a/./%2Fb", u"http://h/a/./%2Fb", u"http://h/a/%2fb"},
    {u"file:///a?b", u"file:///a?b", std::nullopt, u"file:///a?b"},
    {u"file:///a%2fb", u"file:///a%2Fb", std::nullopt, u"file:///a%2fb"},
    {u"http://h//", u"http://h//", u"http://h//", u"http://h//"},
};

constexpr int threadCount = 8;
constexpr int rounds = 50;

// Must be the first use of the message catalog in this process: the test binary runs each
// test in its own process under ctest.
TEST(IriThreads, ConversionsAndFirstCatalogUseAgreeOnEveryThread) {
    std::vector<const resource_core::MessageCatalog*> catalogs(threadCount);
    vexa::testing::onThreads(threadCount, [&](int t) {
        catalogs[t] = &resource_core::MessageCatalog::instance();
        EXPECT_TRUE(catalogs[t]->find("VEXA:virtualfilesystem:resourceNotFound"));
        for (int round = 0; round < rounds; ++round) {
            for (const Case& c : cases) {
                const AbsoluteIRI iri(c.input);
                EXPECT_EQ(iri.toString(), c.text);
                if (c.input[0] == u'/') {
                    EXPECT_EQ(foundation::storage::vfs::toAbsoluteIRI(u"file", c.input), iri);
                    EXPECT_EQ(fl::i18n::to_ustring(fl::i18n::to_string(c.input)), c.input);
                }
                if (c.shown)
                    EXPECT_EQ(GetStringFromIRI(iri), *c.shown);
                else
                    EXPECT_THROW(GetStringFromIRI(iri), InvalidIRIException);
                fl::ustring normalized = c.input;
                foundation::storage::utility::normalizeURL(normalized);
                EXPECT_EQ(normalized, c.normalized);
            }
        }
    });
    for (const auto* catalog : catalogs)
        EXPECT_EQ(catalog, catalogs[0]);
}

} // namespace
