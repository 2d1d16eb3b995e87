#include <resource_core/MessageCatalog.hpp>

#include <gtest/gtest.h>

namespace {

using resource_core::BaseMsgID;
using resource_core::MessageCatalog;

TEST(MessageCatalog, ParsesLinesAndSkipsCommentsAndBlanks) {
    const MessageCatalog catalog("# comment\n\nA:b  Text of b.\r\nA:c Text {1} of c.\nnospace\n");
    EXPECT_EQ(catalog.size(), 2u);
    EXPECT_EQ(catalog.find("A:b"), fl::ustring_view(u"Text of b."));
    EXPECT_EQ(catalog.find("A:c"), fl::ustring_view(u"Text {1} of c."));
    EXPECT_FALSE(catalog.find("nospace"));
}

TEST(MessageCatalog, FillsPlaceholdersFromArgumentsInOrder) {
    const MessageCatalog catalog("X:two {2} after {1}, {1} again; {3} {x} {} {0} {\n");
    const BaseMsgID message("X", "two", std::u16string(u"first"), std::string("second"));
    EXPECT_EQ(catalog.format("X:two", message),
              u"second after first, first again; {3} {x} {} {0} {");
}

TEST(MessageCatalog, NumbersAndNonAsciiArguments) {
    const MessageCatalog catalog("X:n code {1} at {2}\n");
    const BaseMsgID message("X", "n", -40L,
                            std::string("/donn\xC3\xA9"
                                        "es"));
    EXPECT_EQ(catalog.format("X:n", message), u"code -40 at /donn\u00E9es");
}

TEST(MessageCatalog, UnknownIdentifierStillShowsItsArguments) {
    const MessageCatalog catalog("");
    EXPECT_EQ(catalog.format("X:y", BaseMsgID("X", "y", std::u16string(u"/p"), 3L)),
              u"X:y (/p, 3)");
    EXPECT_EQ(catalog.format("X:z", BaseMsgID("X", "z")), u"X:z");
}

TEST(MessageCatalog, BuiltInCatalogIsLoaded) {
    EXPECT_GE(MessageCatalog::instance().size(), 24u);
}

} // namespace
