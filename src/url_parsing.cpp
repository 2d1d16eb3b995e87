#include "url_parsing.hpp"

#include "path_constants.hpp"

#include <foundation/storage/utility/url.hpp>

namespace vexa::io::filesystem::core::detail {

foundation::storage::vfs::AbsoluteIRI parseURLText(const fl::ustring& text) {
    using foundation::storage::vfs::AbsoluteIRI;
    using foundation::storage::vfs::InvalidIRIException;
    try {
        return AbsoluteIRI(text);
    } catch (const InvalidIRIException&) {
        // Typed text often holds a space or a stray ".." segment: try it cleaned up.
    }
    fl::ustring normalised = text;
    foundation::storage::utility::normalizeURL(normalised);
    try {
        return AbsoluteIRI(normalised);
    } catch (const InvalidIRIException& second) {
        if (!normalised.empty() && normalised.back() == urlSeparator.front())
            throw second;
    }
    // A last try as a folder, with the trailing "/" a folder URL has.
    normalised += urlSeparator;
    return AbsoluteIRI(normalised);
}

} // namespace vexa::io::filesystem::core::detail
