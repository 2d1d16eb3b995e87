#include <fl/i18n.hpp>

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using fl::i18n::to_string;
using fl::i18n::to_ustring;

struct TextCase {
    const char* label;
    std::string utf8;
    std::u16string utf16;
};

// Well-formed text converts both ways to the same pair.
TEST(TextConversion, WellFormedTextBothWays) {
    const TextCase cases[] = {
        {"empty", "", u""},
        {"one unit", "a", u"a"},
        {"ascii path longer than a vector block", "/home/user/projects/data/file-0001.csv",
         u"/home/user/projects/data/file-0001.csv"},
        {"two-byte",
         "/donn\xC3\xA9"
         "es",
         u"/donn\u00E9es"},
        {"three-byte", "/\xE6\x97\xA5\xE6\x9C\xAC.txt", u"/\u65E5\u672C.txt"},
        {"four-byte (pair)", "\xF0\x9F\x98\x80", u"\U0001F600"},
        {"highest code point", "\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
        {"non-ascii after a full block", "0123456789abcdef\xC3\xA9", u"0123456789abcdef\u00E9"},
        {"U+FFFF", "\xEF\xBF\xBF", u"\uFFFF"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(to_ustring(c.utf8), c.utf16) << c.label;
        EXPECT_EQ(to_string(c.utf16), c.utf8) << c.label;
    }
}

// Bytes that are not well-formed UTF-8 become U+DC00 + byte, one unit per byte, and the
// decoding resumes at the next byte.
TEST(TextConversion, MalformedBytesAreEscapedOneByOne) {
    const TextCase cases[] = {
        {"lone continuation", "a\x80z", u"a\xDC80z"},
        {"latin-1 byte", "caf\xE9", u"caf\xDCE9"},
        {"truncated three-byte at end", "\xE2\x82", u"\xDCE2\xDC82"},
        {"lead followed by ascii",
         "\xE2"
         "A",
         u"\xDCE2"
         "A"},
        {"overlong slash", "\xC0\xAF", u"\xDCC0\xDCAF"},
        {"overlong three-byte", "\xE0\x80\xAF", u"\xDCE0\xDC80\xDCAF"},
        {"encoded surrogate", "\xED\xA0\x80", u"\xDCED\xDCA0\xDC80"},
        {"above U+10FFFF", "\xF4\x90\x80\x80", u"\xDCF4\xDC90\xDC80\xDC80"},
        {"0xFF", "\xFF", u"\xDCFF"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(to_ustring(c.utf8), c.utf16) << c.label;
        EXPECT_EQ(to_string(c.utf16), c.utf8) << c.label << " (round trip)";
    }
}

// Lone surrogates that do not escape a byte are written in generalised UTF-8.
TEST(TextConversion, OtherLoneSurrogatesUseThreeBytes) {
    EXPECT_EQ(to_string(u"\xD800"), "\xED\xA0\x80");
    EXPECT_EQ(to_string(u"x\xDBFF"), "x\xED\xAF\xBF");                 // high surrogate at the end
    EXPECT_EQ(to_string(u"\xDC7F"), "\xED\xB1\xBF");                   // just below the escapes
    EXPECT_EQ(to_string(u"\xDD00"), "\xED\xB4\x80");                   // just above them
    EXPECT_EQ(to_string(u"\xDE00\xD800"), "\xED\xB8\x80\xED\xA0\x80"); // reversed pair
}

TEST(TextConversion, EmbeddedNulIsKept) {
    const std::string bytes("a\0b", 3);
    EXPECT_EQ(to_ustring(bytes), std::u16string(u"a\0b", 3));
    EXPECT_EQ(to_string(std::u16string(u"a\0b", 3)), bytes);
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
            std::uint32_t cp = codePoint(random);
            if (cp >= 0xD800 && cp <= 0xDFFF)
                cp = 'x';
            if (cp >= 0x10000) {
                cp -= 0x10000;
                text.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
                text.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
            } else {
                text.push_back(static_cast<char16_t>(cp));
            }
        }
        ASSERT_EQ(to_ustring(to_string(text)), text) << "round " << round;
    }
}

} // namespace
