#pragma once

// Turning what a user typed into a form the storage layer can open: local paths made
// absolute (with a chosen treatment of symbolic links), URL text prepared for IRI
// construction, query and fragment stripped, one IRI seen from another.

#include <fl/ustring.hpp>

namespace foundation::network {
class IRI;
}

namespace vexa::io::filesystem::core {

// How a path that is itself a symbolic link is made absolute. Only such paths are treated
// differently; every other existing path is canonicalised.
enum class ResolveSymbolicLinks : int {
    KeepLink = 0,    // resolve the link's folder, keep the link's own name
    FollowLinks = 1, // canonicalise: every link, "." and ".." resolved
    Literal = 2,     // make the link's path absolute without resolving anything
};

// Rewrites `path` in place into its absolute form; never throws for a path that cannot be
// resolved: the text keeps the best form reached. The flag is unused on this platform.
void relativeToAbsolute(fl::ustring& path, ResolveSymbolicLinks resolve, bool unusedFlag);

// Prepares `path` for building an IRI: a URL is normalised, a local path made absolute
// with "." and ".." folded. Returns whether `path` carries an IRI scheme prefix.
bool setupPathForURLConstruction(fl::ustring& path, ResolveSymbolicLinks resolve, bool flag);

// The IRI's text without its query and fragment; "" when the IRI cannot be rebuilt.
fl::ustring getURLWithoutQueryAndFragmentComponents(const foundation::network::IRI& iri);

// The location of `target` seen from `base`, both absolute IRIs or absolute paths.
fl::ustring relative_path(const fl::ustring& base, const fl::ustring& target);

} // namespace vexa::io::filesystem::core
