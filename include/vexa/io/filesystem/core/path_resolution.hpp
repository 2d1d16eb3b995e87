#pragma once

// What a name typed by a user stands for: the text under which the item is shown, whether
// it is a file, a folder, a symbolic link or nothing, and on request its attributes.

#include <vexa/io/filesystem/core/attributes.hpp>

#include <fl/ustring.hpp>

#include <cstdint>

namespace vexa::io::filesystem::core {

struct ResolvePathOptions {
    // Follow symbolic links: the answer names what a link leads to, and a link that leads
    // nowhere resolves to nothing. Otherwise a final link is shown as itself.
    bool resolveSymbolicLinks = false;
    // For IRI text: answer with the native path of a `file` IRI instead of the IRI text.
    bool nativePathForIRI = false;
    // Carried along for the host; resolution does not read it.
    bool reserved = false;
};

enum class ResolvedPathKind : std::int32_t {
    File = 0,
    Folder = 1,
    SymbolicLink = 2,
    Nothing = 3,
};

struct ResolvedPath {
    fl::ustring path; // empty when nothing is there
    ResolvedPathKind kind = ResolvedPathKind::Nothing;

    bool operator==(const ResolvedPath&) const = default;
};

struct ResolvedPathAttributes {
    fl::ustring path;
    ResolvedPathKind kind = ResolvedPathKind::Nothing;
    PathAttributes attributes; // the default record when nothing is there

    bool operator==(const ResolvedPathAttributes&) const = default;
};

// Resolves `path`: IRI text of a known scheme as a URL; otherwise a local path, made
// absolute from the current folder. A relative name found nowhere there is looked up by
// name in the current folder and then along the host's search path; when the host runs
// stand-alone that look-up comes first. A name that names nothing, or text that can name
// no location, gives kind Nothing and an empty path: nothing is thrown for it.
ResolvedPath resolvePath(const fl::ustring& path, const ResolvePathOptions& options);

// As resolvePath, with the attributes (see getAttributes) of the file or folder, or of what
// a link leads to; a link of a kind other than to a file or a folder is opened as a file.
// Failures to read the attributes leave as getAttributes raises them: a link that leads
// nowhere, shown as itself, has no attributes to read.
ResolvedPathAttributes resolvePathWithAttributes(const fl::ustring& path,
                                                 const ResolvePathOptions& options);

} // namespace vexa::io::filesystem::core
