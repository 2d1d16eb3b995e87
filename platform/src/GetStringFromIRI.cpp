#include <Quarrow/PathManagement/GetStringFromIRI.hpp>

#include <foundation/network/IRI.hpp>

namespace Quarrow::PathManagement {

using foundation::network::iri::Encoding;
using foundation::storage::vfs::InvalidIRIException;

fl::ustring GetStringFromIRI(const foundation::storage::vfs::AbsoluteIRI& iri) {
    const auto& parsed = iri.toIRI();
    if (parsed.getScheme() != u"file")
        return iri.toString();
    const fl::ustring host = parsed.getHost(Encoding::URI);
    const fl::ustring path = parsed.getPath(Encoding::URI);
    // A query or fragment is not part of any file name: giving the path alone would name
    // another file ("file:///tmp/what?.txt" is not "/tmp/what").
    if ((!host.empty() && host != u"localhost") || (!path.empty() && path.front() != u'/') ||
        parsed.hasQuery() || parsed.hasFragment())
        throw InvalidIRIException(iri.toString());
    // Decoded, these would change the path: a name cannot hold "/", and a U+0000 would cut
    // the path short at the system call.
    for (const fl::ustring_view escape : {u"%2F", u"%00"})
        if (path.find(escape) != fl::ustring::npos)
            throw InvalidIRIException(iri.toString());
    return path.empty() ? fl::ustring(u"/") : parsed.getPath(Encoding::Decoded);
}

} // namespace Quarrow::PathManagement
