#pragma once

// Facts about text that the conversions (fl::i18n), the native path operations
// (fl::filesystem) and the IRI layer share, so that they cannot disagree on them.

#include <fl/ustring.hpp>

#include <cstddef>

namespace fl::text {

inline bool isUtf8Continuation(unsigned char b) {
    return (b & 0xC0) == 0x80;
}

// Decodes one well-formed multi-byte UTF-8 sequence starting at in[0] (a byte >= 0x80).
// Returns its length, or 0 when the bytes do not form one (overlong forms, encoded
// surrogates, values above U+10FFFF and truncated sequences are all refused).
inline std::size_t decodeUtf8(const unsigned char* in, std::size_t n, char32_t& cp) {
    const unsigned char b0 = in[0];
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        if (n < 2 || !isUtf8Continuation(in[1]))
            return 0;
        cp = (char32_t(b0 & 0x1F) << 6) | (in[1] & 0x3F);
        return 2;
    }
    if (b0 >= 0xE0 && b0 <= 0xEF) {
        if (n < 3 || !isUtf8Continuation(in[1]) || !isUtf8Continuation(in[2]))
            return 0;
        if ((b0 == 0xE0 && in[1] < 0xA0) || (b0 == 0xED && in[1] >= 0xA0))
            return 0; // overlong, or a surrogate
        cp = (char32_t(b0 & 0x0F) << 12) | (char32_t(in[1] & 0x3F) << 6) | (in[2] & 0x3F);
        return 3;
    }
    if (b0 >= 0xF0 && b0 <= 0xF4) {
        if (n < 4 || !isUtf8Continuation(in[1]) || !isUtf8Continuation(in[2]) ||
            !isUtf8Continuation(in[3]))
            return 0;
        if ((b0 == 0xF0 && in[1] < 0x90) || (b0 == 0xF4 && in[1] >= 0x90))
            return 0; // overlong, or above U+10FFFF
        cp = (char32_t(b0 & 0x07) << 18) | (char32_t(in[1] & 0x3F) << 12) |
             (char32_t(in[2] & 0x3F) << 6) | (in[3] & 0x3F);
        return 4;
    }
    return 0;
}

// Writes the scalar value `cp` as one or two UTF-16 code units; returns how many.
inline std::size_t encodeUtf16(char32_t cp, char16_t* out) {
    if (cp < 0x10000) {
        out[0] = static_cast<char16_t>(cp);
        return 1;
    }
    cp -= 0x10000;
    out[0] = static_cast<char16_t>(0xD800 + (cp >> 10));
    out[1] = static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
    return 2;
}

// The system reads a native path only up to its first U+0000, so text holding one is
// refused whole wherever it could become a path, never cut short.
inline bool holdsNul(ustring_view text) {
    return text.find(u'\0') != ustring_view::npos;
}

} // namespace fl::text
