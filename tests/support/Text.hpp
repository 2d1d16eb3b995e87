#pragma once

// Paths are written as UTF-8 in the tests (bytes that are not UTF-8 included) and handed to
// the library as UTF-16.

#include <fl/i18n.hpp>

#include <string>
#include <vector>

namespace vexa::testing {

inline fl::ustring u(const std::string& utf8) {
    return fl::i18n::to_ustring(utf8);
}

inline std::string utf8(const fl::ustring& text) {
    return fl::i18n::to_string(text);
}

inline std::vector<std::string> utf8(const std::vector<fl::ustring>& texts) {
    std::vector<std::string> converted;
    for (const fl::ustring& text : texts)
        converted.push_back(utf8(text));
    return converted;
}

} // namespace vexa::testing
