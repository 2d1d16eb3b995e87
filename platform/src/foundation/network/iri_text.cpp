#include "iri_text.hpp"

#include "text_rules.hpp"

#include <fl/i18n.hpp>

#include <array>

namespace foundation::network::detail {
namespace {

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c - 'A' + 10;
}

bool isEscapeAt(std::string_view text, std::size_t i) {
    return startsEscape(text.data() + i, text.data() + text.size());
}

// A run of escaped bytes in IRI text: every UTF-8 character becomes a character, whether or
// not it shows, so that a name reads as the system spells it; bytes that are not UTF-8 (a
// file name in another encoding) stay escaped.
void appendIriBytes(fl::ustring& out, const std::string& bytes) {
    const auto* in = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t i = 0;
    while (i < bytes.size()) {
        char32_t cp = 0;
        const std::size_t len =
            in[i] >= 0x80 ? fl::text::decodeUtf8(in + i, bytes.size() - i, cp) : 0;
        if (len != 0) {
            char16_t units[2];
            out.append(units, fl::text::encodeUtf16(cp, units));
            i += len;
            continue;
        }
        if (isUnreserved(in[i]))
            out += static_cast<char16_t>(in[i]);
        else
            appendEscape(out, in[i]);
        ++i;
    }
}

} // namespace

void appendUri(std::string& out, fl::ustring_view text) {
    // Plain ASCII, nearly all of a URL, is narrowed in one tight pass over raw pointers (a
    // store through the string's own char would make every bound be read again); only what
    // follows the first non-ASCII unit goes the slow way.
    const std::size_t at = out.size();
    out.resize(at + text.size());
    char* const narrow = out.data() + at;
    const char16_t* const wide = text.data();
    const std::size_t size = text.size();
    // Two passes the compiler turns into vector code: is it all ASCII, then narrow it.
    char16_t any = 0;
    for (std::size_t i = 0; i < size; ++i)
        any |= wide[i];
    if (any < 0x80) {
        for (std::size_t i = 0; i < size; ++i)
            narrow[i] = static_cast<char>(wide[i]);
        return;
    }
    std::size_t ascii = 0;
    while (ascii < size && wide[ascii] < 0x80) {
        narrow[ascii] = static_cast<char>(wide[ascii]);
        ++ascii;
    }
    out.resize(at + ascii);
    for (std::size_t i = ascii; i < size;) {
        if (wide[i] < 0x80) {
            out += static_cast<char>(wide[i++]);
            continue;
        }
        // Only a run of non-ASCII text needs the UTF-8 conversion.
        std::size_t end = i + 1;
        while (end < size && wide[end] >= 0x80)
            ++end;
        for (char byte : fl::i18n::to_string(text.substr(i, end - i)))
            appendEscape(out, static_cast<unsigned char>(byte));
        i = end;
    }
}

fl::ustring fromUri(std::string_view uri, iri::Encoding encoding) {
    // Built in place: assigning the widened range would go through a temporary string.
    if (uri.find('%') == std::string_view::npos || encoding == iri::Encoding::URI)
        return fl::ustring(uri.begin(), uri.end());
    fl::ustring out;
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
    out.reserve(out.size() + bytes.size());
    for (char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        if (fl::ascii::isSegmentCharacter(b) || (keepSlash && c == '/'))
            out += c;
        else
            appendEscape(out, b);
    }
}

void appendNativePath(std::string& out, fl::ustring_view path) {
    // A canonical path is nearly always ASCII that a path holds as it is: such text is
    // narrowed as it goes, without the conversion to bytes and a look at each byte. Anything
    // else goes the general way from the start.
    static constexpr auto plain = [] {
        std::array<bool, 0x80> table{};
        for (char32_t c = 0; c < table.size(); ++c)
            table[c] = fl::ascii::isSegmentCharacter(c) || c == U'/';
        return table;
    }();
    const std::size_t at = out.size();
    out.resize(at + path.size());
    char* const narrow = out.data() + at;
    for (std::size_t i = 0; i < path.size(); ++i) {
        const char16_t c = path[i];
        if (c >= plain.size() || !plain[c]) {
            out.resize(at);
            appendEscapedPath(out, fl::i18n::to_string(path), true);
            return;
        }
        narrow[i] = static_cast<char>(c);
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

std::optional<std::string> nativePathOf(const IRI& fileIri) {
    const std::string_view host = fileIri.uriHost();
    const std::string_view path = fileIri.uriPath();
    // A query or fragment is not part of any file name: giving the path alone would name
    // another file ("file:///tmp/what?.txt" is not "/tmp/what").
    if ((!host.empty() && host != "localhost") || (!path.empty() && path.front() != '/') ||
        fileIri.hasQuery() || fileIri.hasFragment())
        return std::nullopt;
    if (path.empty())
        return "/";
    // Without an escape the names are the segments as they stand, and URI text holds neither
    // a U+0000 nor a "/" inside a segment: nothing to decode, nothing to refuse.
    if (path.find('%') == std::string_view::npos)
        return std::string(path);
    // Each segment decoded on its own: a "/" decoded inside one would split a name in two,
    // and a U+0000 would cut the path short at the system call.
    static constexpr std::string_view breaksAName("/\0", 2);
    std::string native;
    native.reserve(path.size());
    for (std::size_t begin = 1;;) {
        native += '/';
        const std::size_t slash = path.find('/', begin);
        const std::size_t nameStart = native.size();
        appendDecoded(native, path.substr(begin, slash - begin));
        if (native.find_first_of(breaksAName, nameStart) != std::string::npos)
            return std::nullopt;
        if (slash == std::string_view::npos)
            return native;
        begin = slash + 1;
    }
}

} // namespace foundation::network::detail
