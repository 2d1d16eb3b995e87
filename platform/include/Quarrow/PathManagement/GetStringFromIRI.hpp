#pragma once

#include <fl/ustring.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

namespace Quarrow::PathManagement {

// The text a user sees for a location. A `file` IRI on this machine (no host, or
// "localhost") gives its native path, every escape decoded, so that
// GetStringFromIRI(toAbsoluteIRI(u"file", p)) is p for every absolute path p. Any other IRI
// gives its IRI text. A `file` IRI that names no native path (another host, a relative path,
// a query or fragment, an escaped "/" or U+0000 inside a name) throws InvalidIRIException.
fl::ustring GetStringFromIRI(const foundation::storage::vfs::AbsoluteIRI& iri);

} // namespace Quarrow::PathManagement
