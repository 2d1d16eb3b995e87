#pragma once

// Splitting a path or URL into the pieces a host's path built-ins hand back to users.

#include <fl/ustring.hpp>
#include <vexa/io/filesystem/core/path_predicates.hpp>

#include <cstdint>

namespace vexa::io::filesystem::core {

struct PathComponents {
    fl::ustring parent;    // text before the last separator, or the parent location's URL
    fl::ustring name;      // the last component
    fl::ustring extension; // from the last "." of `name` on, or ""
    fl::ustring host;
    std::int64_t port = -1; // -1: the URL names none
    fl::ustring query;      // without the "?"
    fl::ustring fragment;   // without the "#"
};

// A file path is split at its last separator, nothing more: no folding of "." or "..", no
// special drive, UNC or long-path handling. Windows rules split at the last backslash when
// there is one, and only otherwise at the last "/"; every other type splits at "/".
//
// A URL is split only for the URL types (2, 3): types 0 and 1 raise IncorrectFileSystemType
// (scheme, "Unix" or "Windows"), text that is no URL raises invalidIRI with `path` as typed.
// An HTTP(S) URL whose last segment has no extension names a folder: the segment joins the
// parent and the name is "".
PathComponents getPathComponents(const fl::ustring& path, bool isURL, FileSystemType type);

} // namespace vexa::io::filesystem::core
