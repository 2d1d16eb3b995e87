#include <fl/errno_text.hpp>

#include <cstring>

namespace fl {

std::string errnoText(int error) {
    // strerror may write a shared buffer and follows the locale; strerrordesc_np does
    // neither, but has no text for a number without a name, so that one is made here as
    // the C library makes it.
    if (const char* text = ::strerrordesc_np(error))
        return text;
    return "Unknown error " + std::to_string(error);
}

} // namespace fl
