#pragma once

// ASCII rules for text whose meaning must not depend on the process's locale: schemes,
// drive letters, escapes, port numbers, the characters of URIs, the case-insensitive
// prefixes of paths and URLs.
// Only ASCII is ever matched or changed; every other code unit is left as it is.

#include <optional>
#include <string>
#include <string_view>

namespace fl::ascii {

constexpr bool isLetter(char32_t c) noexcept {
    return (c >= U'A' && c <= U'Z') || (c >= U'a' && c <= U'z');
}

constexpr bool isDigit(char32_t c) noexcept {
    return c >= U'0' && c <= U'9';
}

template <class Char> constexpr Char toLower(Char c) noexcept {
    return c >= Char('A') && c <= Char('Z') ? static_cast<Char>(c + ('a' - 'A')) : c;
}

template <class Char> constexpr Char toUpper(Char c) noexcept {
    return c >= Char('a') && c <= Char('z') ? static_cast<Char>(c - ('a' - 'A')) : c;
}

namespace detail {
template <class Char>
constexpr bool startsWithIgnoringCase(std::basic_string_view<Char> text,
                                      std::basic_string_view<Char> lowerPrefix) noexcept {
    if (text.size() < lowerPrefix.size())
        return false;
    for (std::size_t i = 0; i < lowerPrefix.size(); ++i)
        if (toLower(text[i]) != lowerPrefix[i])
            return false;
    return true;
}
} // namespace detail

// Whether `text` starts with `lowerPrefix`, ASCII case ignored in `text`. The prefix is
// given in lower case already, so that only one side is folded: this runs on every path.
constexpr bool startsWithIgnoringCase(std::u16string_view text,
                                      std::u16string_view lowerPrefix) noexcept {
    return detail::startsWithIgnoringCase(text, lowerPrefix);
}
// The same for narrow text: header values, media types.
constexpr bool startsWithIgnoringCase(std::string_view text,
                                      std::string_view lowerPrefix) noexcept {
    return detail::startsWithIgnoringCase(text, lowerPrefix);
}

// What a URI never needs to escape (RFC 3986 "unreserved"): letters, digits, "-._~".
constexpr bool isUnreserved(char32_t c) noexcept {
    return isLetter(c) || isDigit(c) || c == U'-' || c == U'.' || c == U'_' || c == U'~';
}

// The delimiters a URI component may hold as they are (RFC 3986 "sub-delims").
constexpr bool isSubDelimiter(char32_t c) noexcept {
    return c == U'!' || c == U'$' || c == U'&' || c == U'\'' || c == U'(' || c == U')' ||
           c == U'*' || c == U'+' || c == U',' || c == U';' || c == U'=';
}

// What a path segment may hold as it is (RFC 3986 "pchar" less its escapes).
constexpr bool isSegmentCharacter(char32_t c) noexcept {
    return isUnreserved(c) || isSubDelimiter(c) || c == U':' || c == U'@';
}

// A character that may follow the first letter of a scheme.
constexpr bool isSchemeCharacter(char32_t c) noexcept {
    return isLetter(c) || isDigit(c) || c == U'+' || c == U'-' || c == U'.';
}

// A letter, then letters, digits, "+", "-" or ".". A single letter is a drive ("C:"), never
// a scheme.
constexpr bool isSchemeName(std::u16string_view text) noexcept {
    if (text.size() < 2 || !isLetter(text[0]))
        return false;
    for (const char16_t c : text)
        if (!isSchemeCharacter(c))
            return false;
    return true;
}

// The scheme, as written, of text that starts with "scheme://"; nothing for any other text
// ("C://x" included: one letter is a drive).
constexpr std::optional<std::u16string_view> schemeOf(std::u16string_view text) noexcept {
    std::size_t end = 0;
    while (end < text.size() && isSchemeCharacter(text[end]))
        ++end;
    const std::u16string_view scheme = text.substr(0, end);
    if (!isSchemeName(scheme) || text.substr(end, 3) != u"://")
        return std::nullopt;
    return scheme;
}

// ASCII text (a scheme name) as narrow text in lower case.
inline std::string toLowerNarrow(std::u16string_view text) {
    std::string lower(text.size(), '\0');
    for (std::size_t i = 0; i < text.size(); ++i)
        lower[i] = static_cast<char>(toLower(text[i]));
    return lower;
}

} // namespace fl::ascii
