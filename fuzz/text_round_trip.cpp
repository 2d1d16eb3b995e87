// Text conversion: bytes -> UTF-16 -> bytes gives every byte string back; UTF-16 -> bytes ->
// UTF-16 gives back every text without a lone surrogate.

#include "Fuzz.hpp"

#include <cstring>

namespace {

bool holdsLoneSurrogate(fl::ustring_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] <= 0xDFFF)
            ++i; // a pair
        else if (c >= 0xD800 && c <= 0xDFFF)
            return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using vexa::fuzz::require;
    const std::string_view bytes = vexa::fuzz::bytesOf(data, size);
    require(fl::i18n::to_string(fl::i18n::to_ustring(bytes)) == bytes,
            "bytes -> UTF-16 -> bytes changed " + std::string(bytes));

    fl::ustring units(size / 2, u'\0');
    std::memcpy(units.data(), data, units.size() * sizeof(char16_t));
    const std::string utf8 = fl::i18n::to_string(units);
    require(fl::i18n::to_string(fl::i18n::to_ustring(utf8)) == utf8,
            "the bytes of a text do not round-trip: " + utf8);
    if (!holdsLoneSurrogate(units))
        require(fl::i18n::to_ustring(utf8) == units, "UTF-16 -> bytes -> UTF-16 changed " + utf8);
    return 0;
}
