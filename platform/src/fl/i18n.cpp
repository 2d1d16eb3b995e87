#include <fl/i18n.hpp>

#include "text_rules.hpp"

#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace fl::i18n {
namespace {

constexpr char16_t escapeBase = 0xDC00;

// Widens the longest all-ASCII prefix of [in, in + n) and returns its length. Paths are
// nearly always ASCII, so this loop carries most of the work.
std::size_t widenAscii(const unsigned char* in, std::size_t n, char16_t* out) {
    std::size_t i = 0;
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    for (; i + 16 <= n; i += 16) {
        __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
        if (_mm_movemask_epi8(bytes) != 0)
            break;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i + 8), _mm_unpackhi_epi8(bytes, zero));
    }
    // The last units of a text that is ASCII to its end: one block ending at the end,
    // overlapping what is done, rather than a unit at a time.
    if (i < n && n >= 16 && i + 16 > n) {
        const std::size_t last = n - 16;
        __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + last));
        if (_mm_movemask_epi8(bytes) == 0) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + last),
                             _mm_unpacklo_epi8(bytes, zero));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + last + 8),
                             _mm_unpackhi_epi8(bytes, zero));
            return n;
        }
    }
    // A text shorter than a block (most file names): its first and its last 8 bytes, which
    // overlap.
    if (i == 0 && n >= 8 && n < 16) {
        const __m128i first = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(in));
        const __m128i second = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(in + n - 8));
        if (_mm_movemask_epi8(_mm_unpacklo_epi64(first, second)) == 0) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(first, zero));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + n - 8),
                             _mm_unpacklo_epi8(second, zero));
            return n;
        }
    }
#endif
    for (; i < n && in[i] < 0x80; ++i)
        out[i] = in[i];
    return i;
}

// Narrows the longest all-ASCII prefix of [in, in + n) and returns its length.
std::size_t narrowAscii(const char16_t* in, std::size_t n, char* out) {
    std::size_t i = 0;
#if defined(__SSE2__)
    const __m128i nonAscii = _mm_set1_epi16(static_cast<short>(0xFF80));
    for (; i + 16 <= n; i += 16) {
        __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
        __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i + 8));
        __m128i high = _mm_and_si128(_mm_or_si128(lo, hi), nonAscii);
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())) != 0xFFFF)
            break;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi16(lo, hi));
    }
    // As in widenAscii: the end of an ASCII text in one overlapping block.
    if (i < n && n >= 16 && i + 16 > n) {
        const std::size_t last = n - 16;
        __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + last));
        __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + last + 8));
        __m128i high = _mm_and_si128(_mm_or_si128(lo, hi), nonAscii);
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())) == 0xFFFF) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + last), _mm_packus_epi16(lo, hi));
            return n;
        }
    }
#endif
    for (; i < n && in[i] < 0x80; ++i)
        out[i] = static_cast<char>(in[i]);
    return i;
}

} // namespace

ustring to_ustring(std::string_view utf8) {
    ustring result;
    to_ustring(utf8, result);
    return result;
}

void to_ustring(std::string_view utf8, ustring& result) {
    const auto* in = reinterpret_cast<const unsigned char*>(utf8.data());
    const std::size_t n = utf8.size();
    // No sequence yields more code units than it has bytes.
    result.resize(n);
    char16_t* out = result.data();
    std::size_t i = 0;
    std::size_t o = 0;
    while (i < n) {
        const std::size_t ascii = widenAscii(in + i, n - i, out + o);
        i += ascii;
        o += ascii;
        if (i == n)
            break;
        char32_t cp = 0;
        const std::size_t len = text::decodeUtf8(in + i, n - i, cp);
        if (len == 0) {
            out[o++] = static_cast<char16_t>(escapeBase + in[i]);
            ++i;
        } else {
            o += text::encodeUtf16(cp, out + o);
            i += len;
        }
    }
    result.resize(o);
}

std::string to_string(ustring_view utf16) {
    std::string result;
    to_string(utf16, result);
    return result;
}

void to_string(ustring_view utf16, std::string& result) {
    const char16_t* in = utf16.data();
    const std::size_t n = utf16.size();
    // Three bytes per code unit is the most any unit needs (a pair takes four for two).
    result.resize(n * 3);
    char* out = result.data();
    std::size_t i = 0;
    std::size_t o = 0;
    auto put = [&](unsigned value) { out[o++] = static_cast<char>(value); };
    while (i < n) {
        const std::size_t ascii = narrowAscii(in + i, n - i, out + o);
        i += ascii;
        o += ascii;
        if (i == n)
            break;
        const char32_t c = in[i];
        if (c < 0x800) {
            put(0xC0 | (c >> 6));
            put(0x80 | (c & 0x3F));
            ++i;
        } else if (c >= 0xD800 && c <= 0xDBFF && i + 1 < n && in[i + 1] >= 0xDC00 &&
                   in[i + 1] <= 0xDFFF) {
            const char32_t cp = 0x10000 + ((c - 0xD800) << 10) + (in[i + 1] - 0xDC00);
            put(0xF0 | (cp >> 18));
            put(0x80 | ((cp >> 12) & 0x3F));
            put(0x80 | ((cp >> 6) & 0x3F));
            put(0x80 | (cp & 0x3F));
            i += 2;
        } else if (c >= 0xDC80 && c <= 0xDCFF) {
            put(c - escapeBase); // an escaped byte goes back to being that byte
            ++i;
        } else {
            put(0xE0 | (c >> 12));
            put(0x80 | ((c >> 6) & 0x3F));
            put(0x80 | (c & 0x3F));
            ++i;
        }
    }
    result.resize(o);
}

bool isWellFormed(ustring_view utf16) noexcept {
    // Most text holds no surrogate at all; that is looked for first, one test a unit.
    std::size_t i = 0;
    while (i < utf16.size() && (utf16[i] & 0xF800) != 0xD800)
        ++i;
    for (; i < utf16.size(); ++i) {
        const char16_t c = utf16[i];
        if (c < 0xD800 || c > 0xDFFF)
            continue;
        if (c > 0xDBFF || i + 1 == utf16.size() || utf16[i + 1] < 0xDC00 || utf16[i + 1] > 0xDFFF)
            return false;
        ++i;
    }
    return true;
}

} // namespace fl::i18n
