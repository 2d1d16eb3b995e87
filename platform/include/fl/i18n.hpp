#pragma once

#include <fl/ustring.hpp>

#include <string>
#include <string_view>

namespace fl::i18n {

// UTF-8 to UTF-16. Never throws (apart from allocation). A byte that is not part of a
// well-formed UTF-8 sequence becomes the lone surrogate U+DC00 + byte, so every Linux
// file name survives the round trip through to_string.
ustring to_ustring(std::string_view utf8);
// The same into `out`, whose storage is reused: a loop converting many names allocates only
// when a name is longer than any before it.
void to_ustring(std::string_view utf8, ustring& out);

// UTF-16 to UTF-8. Never throws (apart from allocation). U+DC80..U+DCFF become the byte
// they escape; any other lone surrogate is written in its three-byte generalised form.
std::string to_string(ustring_view utf16);
// The same into `out`, whose storage is reused.
void to_string(ustring_view utf16, std::string& out);

// Whether `utf16` holds no lone surrogate, so that to_ustring(to_string(utf16)) gives it back
// unchanged. Escaped bytes are lone surrogates: next to others they may come back as a
// character.
bool isWellFormed(ustring_view utf16) noexcept;

} // namespace fl::i18n
