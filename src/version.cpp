#include <vexa/io/filesystem/core/version.hpp>

namespace vexa::io::filesystem::core {

// The build defines the text from the project's version, so that it cannot differ from the
// package's and the shared library's.
std::string_view version() {
    return VEXA_FILESYSTEM_CORE_VERSION;
}

} // namespace vexa::io::filesystem::core
