#include <resource_core/MessageCatalog.hpp>

#include <gtest/gtest.h>

namespace {

using resource_core::BaseMsgID;
using resource_core::MessageCatalog;

// Lines are parsed, comments and blank ones skipped. Placeholders are filled from the
// arguments in order, numbers and non-ASCII text included; an identifier without a text
// still shows its arguments.
TEST(MessageCatalog, ParsesLinesAndFormatsArgumentsIntoTheText) {
    const MessageCatalog catalog("# comment\n\nA:b  Text of b.\r\nA:c Text {1} of c.\nnospace\n"
                                 "X:two {2} after {1}, {1} again; {3} {x} {} {0} {\n"
                                 "X:n code {1} at {2}\n");
    EXPECT_EQ(catalog.size(), 4u);
    EXPECT_EQ(catalog.find("A:b"), fl::ustring_view(u"Text of b."));
    EXPECT_EQ(catalog.find("A:c"), fl::ustring_view(u"Text {1} of c."));
    EXPECT_FALSE(catalog.find("nospace"));
    const std::pair<BaseMsgID, std::u16string> cases[] = {
        {BaseMsgID("X", "two", std::u16string(u"first"), std::string("second")),
         u"second after first, first again; {3} {x} {} {0} {"},
        {BaseMsgID("X", "n", -40L, std::string("/r\xC3\xA9sum\xC3\xA9")),
         u"code -40 at /r\u00E9sum\u00E9"},
        {BaseMsgID("X", "y", std::u16string(u"/p"), 3L), u"X:y (/p, 3)"},
        {BaseMsgID("X", "z"), u"X:z"},
    };
    for (const auto& [message, text] : cases)
        EXPECT_EQ(catalog.format(message.component() + ":" + message.name(), message), text);
}

} // namespace
