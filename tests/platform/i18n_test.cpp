#include <fl/i18n.hpp>

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using fl::i18n::to_string;
using fl::i18n::to_ustring;
using namespace std::string_literals;

// Well-formed text converts both ways to the same pair. Bytes that are not well-formed
// UTF-8 become U+DC00 + byte, one unit per byte, decoding resuming at the next byte, and
// come back as the same bytes.
TEST(TextConversion, BothWaysWithMalformedBytesEscapedOneByOne) {
    const std::pair<std::string, std::u16string> cases[] = {
        {"", u""},
        {"/home/user/projects/data/file-0001.csv", u"/home/user/projects/data/file-0001.csv"},
        {"/r\xC3\xA9sum\xC3\xA9", u"/r\u00E9sum\u00E9"},
        {"/\xE6\x97\xA5\xE6\x9C\xAC.txt", u"/\u65E5\u672C.txt"},
        {"\xF0\x9F\x98\x80", u"\U0001F600"}, // a surrogate pair
        {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
        {"0123456789abcdef\xC3\xA9", u"0123456789abcdef\u00E9"}, // after a full block
        {"0123456789abcdefghij", u"0123456789abcdefghij"},       // a block and a part
        {"data_16222.csv", u"data_16222.csv"},                   // less than a block
        {"abcdefgh\xC3\xA9", u"abcdefgh\u00E9"},
        {"a\xC3\xA9"
         "cdefghij",
         u"a\u00E9cdefghij"},
        {"0123456789abcdefghi\xC3\xA9", u"0123456789abcdefghi\u00E9"},
        // Each length's first and last code point, either side of the surrogates too.
        {"\x7F", u"\x7F"},
        {"\xC2\x80", u"\u0080"},
        {"\xDF\xBF", u"\u07FF"},
        {"\xE0\xA0\x80", u"\u0800"},
        {"\xED\x9F\xBF", u"\uD7FF"},
        {"\xEE\x80\x80", u"\uE000"},
        {"\xEF\xBF\xBF", u"\uFFFF"},
        {"\xF0\x90\x80\x80", u"\U00010000"},
        {"\xF4\x8F\xB3\xBF", u"\U0010FCFF"}, // a pair whose low half is also an escape
        {"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80",
         u"\x7F\u0080\u07FF\u0800\uFFFF\U00010000"},
        {"a\0b"s, u"a\0b"s},
        {"a\x80z", u"a\xDC80z"}, // lone continuation
        {"caf\xE9", u"caf\xDCE9"},
        {"\xE2\x82", u"\xDCE2\xDC82"},                     // truncated at the end
        {"\xE2\x41", u"\xDCE2\x41"},                       // lead byte, then ASCII
        {"\xC0\xAF", u"\xDCC0\xDCAF"},                     // overlong "/"
        {"\xE0\x80\xAF", u"\xDCE0\xDC80\xDCAF"},           // overlong three-byte
        {"\xED\xA0\x80", u"\xDCED\xDCA0\xDC80"},           // an encoded surrogate
        {"\xF4\x90\x80\x80", u"\xDCF4\xDC90\xDC80\xDC80"}, // above U+10FFFF
        {"\xFF", u"\xDCFF"},
    };
    for (const auto& [utf8, utf16] : cases) {
        EXPECT_EQ(to_ustring(utf8), utf16);
        EXPECT_EQ(to_string(utf16), utf8);
    }
}

// A lone surrogate that is no escaped byte becomes its three-byte form, which is not UTF-8:
// read back, it is three escaped bytes, which give the same three bytes again.
TEST(TextConversion, LoneSurrogatesOutsideTheEscapesTakeThreeBytes) {
    const std::pair<std::u16string, std::string> cases[] = {
        {u"\xD800", "\xED\xA0\x80"},
        {u"\xDBFF", "\xED\xAF\xBF"},
        {u"\xDC00", "\xED\xB0\x80"}, // the escapes' range begins at U+DC80
        {u"\xDC7F", "\xED\xB1\xBF"},
        {u"\xDD00", "\xED\xB4\x80"}, // and ends at U+DCFF
        {u"\xDFFF", "\xED\xBF\xBF"},
        {u"a\xD800/b", "a\xED\xA0\x80/b"},             // a high surrogate with no low one after it
        {u"\xDC00\xD800", "\xED\xB0\x80\xED\xA0\x80"}, // a pair in the wrong order
    };
    for (const auto& [utf16, utf8] : cases) {
        EXPECT_EQ(to_string(utf16), utf8);
        std::u16string escaped;
        for (const unsigned char byte : utf8)
            escaped += static_cast<char16_t>(byte < 0x80 ? byte : 0xDC00 + byte);
        EXPECT_EQ(to_ustring(utf8), escaped);
        EXPECT_EQ(to_string(escaped), utf8);
    }
}

// Every byte string a Linux file name can hold comes back unchanged, whatever mix of
// valid and invalid UTF-8 it holds.
TEST(TextConversion, RandomByteStringsRoundTrip) {
    std::mt19937 random(20261121);
    std::uniform_int_distribution<int> length(0, 64);
    // Bias towards bytes that start or continue multi-byte sequences.
    std::uniform_int_distribution<int> anyByte(0, 255);
    std::uniform_int_distribution<int> highByte(0x80, 0xFF);
    std::bernoulli_distribution high(0.6);
    for (int round = 0; round < 20000; ++round) {
        std::string bytes(length(random), '\0');
        for (char& b : bytes)
            b = static_cast<char>(high(random) ? highByte(random) : anyByte(random));
        ASSERT_EQ(to_string(to_ustring(bytes)), bytes) << "round " << round;
    }
}

// Valid UTF-16 (no lone surrogates) comes back unchanged through UTF-8.
TEST(TextConversion, RandomValidUtf16RoundTrips) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> length(0, 40);
    std::uniform_int_distribution<std::uint32_t> codePoint(1, 0x10FFFF);
    for (int round = 0; round < 5000; ++round) {
        std::u16string text;
        for (int n = length(random); n > 0; --n) {
            const std::uint32_t cp = codePoint(random);
            if (cp >= 0x10000)
                text += {char16_t(0xD7C0 + (cp >> 10)), char16_t(0xDC00 + (cp & 0x3FF))};
            else
                text += cp >= 0xD800 && cp <= 0xDFFF ? u'x' : char16_t(cp);
        }
        ASSERT_EQ(to_ustring(to_string(text)), text) << "round " << round;
    }
}

} // namespace
