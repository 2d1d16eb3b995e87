#pragma once

// What every fuzz target needs: the input as text, and a rule that stops the run, with what
// broke, when it does not hold.

#include <fl/i18n.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

namespace vexa::fuzz {

// The input's bytes, read as UTF-8 the way every path reaches the library: bytes that are not
// UTF-8 become U+DC80..U+DCFF, so every byte string is some text.
inline fl::ustring text(std::string_view bytes) {
    return fl::i18n::to_ustring(bytes);
}

inline std::string_view bytesOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// The input cut at its first line break: two texts for targets that take two.
inline std::pair<fl::ustring, fl::ustring> twoTexts(std::string_view bytes) {
    const std::size_t cut = bytes.find('\n');
    if (cut == std::string_view::npos)
        return {text(bytes), {}};
    return {text(bytes.substr(0, cut)), text(bytes.substr(cut + 1))};
}

// Stops the run when `broken` says a rule was broken ("" when it holds).
inline void require(const std::string& broken) {
    if (broken.empty())
        return;
    std::fprintf(stderr, "rule broken: %s\n", broken.c_str());
    std::abort();
}

inline void require(bool holds, const std::string& what) {
    require(holds ? std::string() : what);
}

} // namespace vexa::fuzz
