#pragma once

// The version of the package the library was built as.

#include <string_view>

namespace vexa::io::filesystem::core {

// "MAJOR.MINOR.PATCH" of the library loaded at run time, which may be newer than the
// headers a program was built with; the shared library's file name carries the same.
std::string_view version();

} // namespace vexa::io::filesystem::core
