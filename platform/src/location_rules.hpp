#pragma once

// How the host compares the folders a host program gives it (search path entries, package
// roots) with the folders it is asked about: as canonical IRI text, segment by segment, so
// that "/data/lib" is above "/data/lib/x" but not above "/data/library".

#include <Quarrow/PathManagement/GetStringFromIRI.hpp>
#include <Quarrow/current_working_folder/CurrentWorkingFolder.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <fl/ustring.hpp>

namespace Quarrow::location_rules {

// The location's canonical IRI text (dot segments removed, one spelling per location)
// without a trailing "/", so that "file:///a/" and "file:///a" compare equal. A root keeps
// its "/", the whole of its path: "file://" would be above "file://elsewhere/x" too.
inline fl::ustring comparableText(const foundation::storage::vfs::AbsoluteIRI& location) {
    const foundation::storage::vfs::CanonicalAbsoluteIRI canonical(location);
    fl::ustring text = canonical.toString();
    if (canonical.hasParent() && text.back() == u'/')
        text.pop_back();
    return text;
}

// Whether `ancestor` is `location` or a folder above it, both comparable texts.
inline bool isAtOrAbove(const fl::ustring& ancestor, const fl::ustring& location) {
    if (location.size() < ancestor.size() || location.compare(0, ancestor.size(), ancestor) != 0)
        return false;
    return location.size() == ancestor.size() || ancestor.back() == u'/' ||
           location[ancestor.size()] == u'/';
}

// A folder as a host program names it, a relative one from the current folder.
struct NamedFolder {
    fl::ustring text;       // as a user reads it: a native path for a local folder
    fl::ustring comparable; // what it is compared by
};

// FailedToAbsolutizeException for a text that cannot name a folder (or names a `file`
// location of another machine).
inline NamedFolder nameFolder(const fl::ustring& folder) {
    const auto location = current_working_folder::GetCurrentWorkingFolder().absolutize(folder);
    NamedFolder named;
    try {
        named.text = PathManagement::GetStringFromIRI(location);
    } catch (const foundation::storage::vfs::InvalidIRIException& error) {
        throw current_working_folder::FailedToAbsolutizeException(folder, error.what());
    }
    named.comparable = comparableText(location);
    return named;
}

} // namespace Quarrow::location_rules
