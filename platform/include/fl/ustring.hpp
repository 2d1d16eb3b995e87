#pragma once

#include <string>
#include <string_view>

namespace fl {

// Every path, URL and user-visible text travels as UTF-16; lengths and indexes are in
// code units.
using ustring = std::u16string;
using ustring_view = std::u16string_view;

} // namespace fl
