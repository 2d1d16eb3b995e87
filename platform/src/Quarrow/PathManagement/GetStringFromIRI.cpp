#include <Quarrow/PathManagement/GetStringFromIRI.hpp>

#include "iri_text.hpp"

#include <fl/i18n.hpp>
#include <foundation/network/IRI.hpp>

namespace Quarrow::PathManagement {

using foundation::network::iri::Encoding;
using foundation::storage::vfs::InvalidIRIException;

fl::ustring GetStringFromIRI(const foundation::storage::vfs::AbsoluteIRI& iri) {
    const auto& parsed = iri.toIRI();
    if (parsed.getScheme() != u"file")
        return iri.toString();
    const fl::ustring host = parsed.getHost(Encoding::URI);
    const std::string path = fl::i18n::to_string(parsed.getPath(Encoding::URI));
    // A query or fragment is not part of any file name: giving the path alone would name
    // another file ("file:///tmp/what?.txt" is not "/tmp/what").
    if ((!host.empty() && host != u"localhost") || (!path.empty() && path.front() != '/') ||
        parsed.hasQuery() || parsed.hasFragment())
        throw InvalidIRIException(iri.toString());
    if (path.empty())
        return u"/";
    // Each segment decoded on its own: a "/" decoded inside one would split a name in two,
    // and a U+0000 would cut the path short at the system call.
    static constexpr std::string_view breaksAName("/\0", 2);
    std::string native;
    native.reserve(path.size());
    for (std::size_t begin = 1;;) {
        native += '/';
        const std::size_t slash = path.find('/', begin);
        const std::size_t nameStart = native.size();
        foundation::network::detail::appendDecoded(
            native, std::string_view(path).substr(begin, slash - begin));
        if (native.find_first_of(breaksAName, nameStart) != std::string::npos)
            throw InvalidIRIException(iri.toString());
        if (slash == std::string::npos)
            break;
        begin = slash + 1;
    }
    return fl::i18n::to_ustring(native);
}

} // namespace Quarrow::PathManagement
