#pragma once

// Text conversions shared by the IRI layer: IRI text to URI text and back, escaping of
// native bytes, and the lexical removal of "." and ".." segments.

#include <fl/ascii.hpp>
#include <fl/ustring.hpp>
#include <foundation/network/IRI.hpp>

#include <boost/url/string_view.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace foundation::network::detail {

inline bool isHexDigit(char32_t c) {
    return fl::ascii::isDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}
using fl::ascii::isSubDelimiter;
using fl::ascii::isUnreserved;

// Whether [p, last) starts with an escape: "%" and two hex digits.
template <class Char> bool startsEscape(const Char* p, const Char* last) {
    return last - p > 2 && p[0] == '%' && isHexDigit(p[1]) && isHexDigit(p[2]);
}

// Whether URI text is a registered name: unreserved characters, sub-delimiters and escapes.
inline bool isRegName(std::string_view host) {
    for (std::size_t i = 0; i < host.size(); ++i) {
        if (startsEscape(host.data() + i, host.data() + host.size()))
            i += 2;
        else if (!isUnreserved(static_cast<unsigned char>(host[i])) && !isSubDelimiter(host[i]))
            return false;
    }
    return true;
}

inline constexpr char hexDigits[] = "0123456789ABCDEF";

// Appends "%" and the two hex digits of `byte`, to URI (char) or IRI (char16_t) text.
template <class String> void appendEscape(String& out, unsigned char byte) {
    using Char = typename String::value_type;
    out += Char('%');
    out += Char(hexDigits[byte >> 4]);
    out += Char(hexDigits[byte & 0xF]);
}

// Boost.URL's view of a component as the standard one.
inline std::string_view view(boost::urls::string_view text) {
    return {text.data(), text.size()};
}

// Case folding of [first, last): ASCII letters outside escapes lower-cased when
// `lowerLetters`, the hex digits of escapes upper-cased when `upperEscapes`. An escape's
// digits are never lower-cased: "%C3" and "%c3" are the same byte, "%c3" and "%C3" in a
// host name are not two hosts.
template <class Char> void foldCase(Char* first, Char* last, bool lowerLetters, bool upperEscapes) {
    for (Char* p = first; p < last; ++p) {
        if (startsEscape(p, last)) {
            if (upperEscapes) {
                p[1] = fl::ascii::toUpper(p[1]);
                p[2] = fl::ascii::toUpper(p[2]);
            }
            p += 2;
        } else if (lowerLetters) {
            *p = fl::ascii::toLower(*p);
        }
    }
}

// IRI text to URI text: every non-ASCII code unit becomes the escapes of its UTF-8 bytes (an
// escaped byte U+DC80..U+DCFF the escape of that byte). ASCII is copied; whether it is
// allowed where it stands is the parser's call, its case the normal form's.
void appendUri(std::string& out, fl::ustring_view text);

// URI text (ASCII) in the form `encoding` asks for.
fl::ustring fromUri(std::string_view uri, iri::Encoding encoding);

// Native bytes as URI text of one path: bytes that may stand in a path segment are kept,
// "/" is kept when `keepSlash`, every other byte escaped.
void appendEscapedPath(std::string& out, std::string_view bytes, bool keepSlash);

// A native path, given as text, as URI text of a path: appendEscapedPath of its bytes with
// "/" kept.
void appendNativePath(std::string& out, fl::ustring_view path);

// `uri` with every escape decoded, appended to `out` as bytes.
void appendDecoded(std::string& out, std::string_view uri);

// Escapes of unreserved characters decoded; false when there was none, `uri` unchanged.
bool decodeUnreservedEscapes(std::string& uri);

// Whether the IRI's scheme is `file`, read off its text, which is lower case already.
inline bool isFileIRI(const IRI& iri) {
    return iri.uriText().starts_with("file:");
}

// The native path a `file` IRI of this machine (no host, or "localhost") names, as the
// bytes the system calls take; none for one that names no native path: another host, a
// relative path, a query or fragment, an escape that decodes to "/" or U+0000 in a name.
std::optional<std::string> nativePathOf(const IRI& fileIri);

// RFC 3986 section 5.2.4 on a path, for URI (char) or IRI (char16_t) text.
template <class Char> std::basic_string<Char> removeDotSegments(std::basic_string_view<Char> in) {
    using View = std::basic_string_view<Char>;
    static constexpr Char slash[] = {'/', 0};
    auto startsWith = [&in](std::string_view prefix) {
        if (in.size() < prefix.size())
            return false;
        for (std::size_t i = 0; i < prefix.size(); ++i)
            if (in[i] != static_cast<Char>(prefix[i]))
                return false;
        return true;
    };
    auto is = [&in, &startsWith](std::string_view whole) {
        return in.size() == whole.size() && startsWith(whole);
    };
    std::basic_string<Char> out;
    out.reserve(in.size());
    auto dropLastSegment = [&out] {
        const auto cut = out.rfind(Char('/'));
        out.erase(cut == std::basic_string<Char>::npos ? 0 : cut);
    };
    while (!in.empty()) {
        if (startsWith("../")) {
            in.remove_prefix(3);
        } else if (startsWith("./") || startsWith("/./")) {
            in.remove_prefix(2);
        } else if (is("/.")) {
            in = View(slash, 1);
        } else if (startsWith("/../")) {
            in.remove_prefix(3);
            dropLastSegment();
        } else if (is("/..")) {
            in = View(slash, 1);
            dropLastSegment();
        } else if (is(".") || is("..")) {
            in = View();
        } else {
            std::size_t next = in.find(Char('/'), in[0] == Char('/') ? 1 : 0);
            if (next == View::npos)
                next = in.size();
            out.append(in.substr(0, next));
            in.remove_prefix(next);
        }
    }
    return out;
}

} // namespace foundation::network::detail
