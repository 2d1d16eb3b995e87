#pragma once

// The text a location is known by on this machine.

#include <Quarrow/PathManagement/GetStringFromIRI.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

namespace vexa::io::filesystem::core {

// The native path of a `file` IRI; the IRI text of any other scheme.
inline fl::ustring nativeTextOf(const foundation::storage::vfs::AbsoluteIRI& iri) {
    return iri.getScheme() == u"file" ? Quarrow::PathManagement::GetStringFromIRI(iri)
                                      : iri.toString();
}

} // namespace vexa::io::filesystem::core
