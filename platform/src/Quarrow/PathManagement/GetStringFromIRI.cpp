#include <Quarrow/PathManagement/GetStringFromIRI.hpp>

#include "foundation/network/iri_text.hpp"

#include <fl/i18n.hpp>
#include <foundation/network/IRI.hpp>

namespace Quarrow::PathManagement {

fl::ustring GetStringFromIRI(const foundation::storage::vfs::AbsoluteIRI& iri) {
    if (!foundation::network::detail::isFileIRI(iri.toIRI()))
        return iri.toString();
    const auto native = foundation::network::detail::nativePathOf(iri.toIRI());
    if (!native)
        throw foundation::storage::vfs::InvalidIRIException(iri.toString());
    return fl::i18n::to_ustring(*native);
}

} // namespace Quarrow::PathManagement
