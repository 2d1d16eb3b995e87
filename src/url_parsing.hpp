#pragma once

// How the path functions turn a user's URL text into an absolute IRI.

#include <fl/ustring.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

namespace vexa::io::filesystem::core::detail {

// Three attempts, each more forgiving: the text as typed; the text through normalizeURL
// (spaces and other characters an IRI may not hold escaped, dot segments removed); that with
// "/" appended, unless it ends with "/" already. The InvalidIRIException of the last attempt
// made reaches the caller.
foundation::storage::vfs::AbsoluteIRI parseURLText(const fl::ustring& text);

} // namespace vexa::io::filesystem::core::detail
