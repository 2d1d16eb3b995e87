#include <vexa/io/filesystem/core/absolute_paths.hpp>

// --- URL helpers ---

#include <foundation/core/except/IException.hpp>
#include <foundation/network/IRI.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

namespace vexa::io::filesystem::core {

fl::ustring getURLWithoutQueryAndFragmentComponents(const foundation::network::IRI& iri) {
    try {
        foundation::network::IRIArgs args(iri);
        args.query.clear();
        args.hasQuery = false;
        args.fragment.clear();
        args.hasFragment = false;
        return foundation::network::IRI(args).toString(foundation::network::iri::Encoding::IRI);
    } catch (const foundation::core::except::IInternalException&) {
        // An IRI that cannot be rebuilt has no text without its query to give.
        return {};
    }
}

fl::ustring relative_path(const fl::ustring& base, const fl::ustring& target) {
    const foundation::storage::vfs::AbsoluteIRI from(base);
    return foundation::storage::vfs::AbsoluteIRI(target).makePathRelativeTo(from);
}

} // namespace vexa::io::filesystem::core
