#include "iri_text.hpp"

#include <fl/i18n.hpp>

namespace foundation::network::detail {
namespace {

constexpr char hexDigits[] = "0123456789ABCDEF";

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c - 'A' + 10;
}

bool isEscapeAt(std::string_view text, std::size_t i) {
    return text[i] == '%' && i + 2 < text.size() && isHexDigit(text[i + 1]) &&
           isHexDigit(text[i + 2]);
}

void appendEscape(std::string& out, unsigned char byte) {
    out += '%';
    out += hexDigits[byte >> 4];
    out += hexDigits[byte & 0xF];
}

// Decodes one well-formed UTF-8 sequence of more than one byte; returns its length, or 0.
std::size_t decodeUtf8(const unsigned char* in, std::size_t n, char32_t& cp) {
    auto cont = [&](std::size_t i) { return i < n && (in[i] & 0xC0) == 0x80; };
    const unsigned char b0 = in[0];
    if (b0 >= 0xC2 && b0 <= 0xDF && cont(1)) {
        cp = (char32_t(b0 & 0x1F) << 6) | (in[1] & 0x3F);
        return 2;
    }
    if (b0 >= 0xE0 && b0 <= 0xEF && cont(1) && cont(2)) {
        if ((b0 == 0xE0 && in[1] < 0xA0) || (b0 == 0xED && in[1] >= 0xA0))
            return 0;
        cp = (char32_t(b0 & 0x0F) << 12) | (char32_t(in[1] & 0x3F) << 6) | (in[2] & 0x3F);
        return 3;
    }
    if (b0 >= 0xF0 && b0 <= 0xF4 && cont(1) && cont(2) && cont(3)) {
        if ((b0 == 0xF0 && in[1] < 0x90) || (b0 == 0xF4 && in[1] >= 0x90))
            return 0;
        cp = (char32_t(b0 & 0x07) << 18) | (char32_t(in[1] & 0x3F) << 12) |
             (char32_t(in[2] & 0x3F) << 6) | (in[3] & 0x3F);
        return 4;
    }
    return 0;
}

void appendCodePoint(fl::ustring& out, char32_t cp) {
    if (cp >= 0x10000) {
        cp -= 0x10000;
        out += static_cast<char16_t>(0xD800 + (cp >> 10));
        out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
    } else {
        out += static_cast<char16_t>(cp);
    }
}

// A run of escaped bytes in IRI text: every UTF-8 character becomes a character, whether or
// not it shows, so that a name reads as the system spells it; bytes that are not UTF-8 (a
// file name in another encoding) stay escaped.
void appendIriBytes(fl::ustring& out, const std::string& bytes) {
    const auto* in = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t i = 0;
    while (i < bytes.size()) {
        char32_t cp = 0;
        const std::size_t len = in[i] >= 0x80 ? decodeUtf8(in + i, bytes.size() - i, cp) : 0;
        if (len != 0) {
            appendCodePoint(out, cp);
            i += len;
            continue;
        }
        if (isUnreserved(in[i])) {
            out += static_cast<char16_t>(in[i]);
        } else {
            out += u'%';
            out += static_cast<char16_t>(hexDigits[in[i] >> 4]);
            out += static_cast<char16_t>(hexDigits[in[i] & 0xF]);
        }
        ++i;
    }
}

} // namespace

bool isSchemeName(fl::ustring_view text) {
    if (text.size() < 2 || !isAsciiLetter(text[0]))
        return false;
    for (char16_t c : text)
        if (!isSchemeChar(c))
            return false;
    return true;
}

void appendUri(std::string& out, fl::ustring_view text) {
    out.reserve(out.size() + text.size());
    for (std::size_t i = 0; i < text.size();) {
        // Plain ASCII, nearly all of a URL, is copied a run at a time.
        const std::size_t runStart = i;
        while (i < text.size() && text[i] < 0x80)
            ++i;
        if (i != runStart) {
            const std::size_t at = out.size();
            out.resize(at + (i - runStart));
            for (std::size_t k = runStart; k < i; ++k)
                out[at + k - runStart] = static_cast<char>(text[k]);
            continue;
        }
        // Only a run of non-ASCII text needs the UTF-8 conversion.
        std::size_t end = i + 1;
        while (end < text.size() && text[end] >= 0x80)
            ++end;
        for (char byte : fl::i18n::to_string(text.substr(i, end - i)))
            appendEscape(out, static_cast<unsigned char>(byte));
        i = end;
    }
}

fl::ustring fromUri(std::string_view uri, iri::Encoding encoding) {
    fl::ustring out;
    if (uri.find('%') == std::string_view::npos || encoding == iri::Encoding::URI) {
        out.assign(uri.begin(), uri.end());
        return out;
    }
    if (encoding == iri::Encoding::Decoded) {
        std::string bytes;
        appendDecoded(bytes, uri);
        return fl::i18n::to_ustring(bytes);
    }
    out.reserve(uri.size());
    std::string run;
    for (std::size_t i = 0; i < uri.size();) {
        if (!isEscapeAt(uri, i)) {
            out += static_cast<char16_t>(uri[i++]);
            continue;
        }
        run.clear();
        while (i < uri.size() && isEscapeAt(uri, i)) {
            run += static_cast<char>(hexValue(uri[i + 1]) * 16 + hexValue(uri[i + 2]));
            i += 3;
        }
        appendIriBytes(out, run);
    }
    return out;
}

void appendEscapedPath(std::string& out, std::string_view bytes, bool keepSlash) {
    static constexpr std::string_view allowed = "!$&'()*+,;=:@";
    out.reserve(out.size() + bytes.size());
    for (char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        if (isUnreserved(b) || (b < 0x80 && allowed.find(c) != std::string_view::npos) ||
            (keepSlash && c == '/'))
            out += c;
        else
            appendEscape(out, b);
    }
}

void appendDecoded(std::string& out, std::string_view uri) {
    out.reserve(out.size() + uri.size());
    for (std::size_t i = 0; i < uri.size(); ++i) {
        if (isEscapeAt(uri, i)) {
            out += static_cast<char>(hexValue(uri[i + 1]) * 16 + hexValue(uri[i + 2]));
            i += 2;
        } else {
            out += uri[i];
        }
    }
}

bool decodeUnreservedEscapes(std::string& uri) {
    std::size_t o = 0;
    bool changed = false;
    for (std::size_t i = 0; i < uri.size(); ++i) {
        if (isEscapeAt(uri, i)) {
            const char c = static_cast<char>(hexValue(uri[i + 1]) * 16 + hexValue(uri[i + 2]));
            if (isUnreserved(static_cast<unsigned char>(c))) {
                uri[o++] = c;
                i += 2;
                changed = true;
                continue;
            }
        }
        uri[o++] = uri[i];
    }
    uri.resize(o);
    return changed;
}

} // namespace foundation::network::detail
