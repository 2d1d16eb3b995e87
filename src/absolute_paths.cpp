#include <vexa/io/filesystem/core/absolute_paths.hpp>

#include "own_status.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/filesystem.hpp>
#include <fl/filesystemSharedFcns.hpp>
#include <foundation/core/except/IException.hpp>
#include <foundation/network/IRI.hpp>
#include <foundation/storage/utility/url.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

namespace vexa::io::filesystem::core {
namespace {

namespace fs = fl::filesystem;
namespace shared = filesystemSharedFcns;

enum class Resolution {
    Canonical,        // canonical when the item exists, otherwise only absolute
    CanonicalOfThere, // the same for an item the caller has just seen there
    AbsoluteOnly,
};

// Puts `path` in the best form the file system allows: canonical when the item exists
// (if asked), otherwise only absolute. A failure leaves `path` as it was, because the
// caller still has a usable text and the storage layer reports a missing item better.
void resolve(fl::ustring& path, Resolution resolution) {
    try {
        if (resolution != Resolution::AbsoluteOnly) {
            // Whether the item exists is the canonical path's own answer: only a path that
            // leads nowhere is made absolute instead, without a look of its own first.
            try {
                path = fs::canonical(path, {});
                return;
            } catch (const fs::FsysExceptionBase& failure) {
                // No fallback to absolute here: an item that is there but cannot be resolved
                // (a folder on its way became unreadable) keeps the text the caller gave.
                if (resolution == Resolution::CanonicalOfThere ||
                    !fs::detail::is_path_not_found(failure.code()))
                    return;
            }
        }
        path = fs::absolute(path, {});
    } catch (const fs::FsysExceptionBase&) {
    }
}

// The link itself is kept; only the folder that holds it is resolved.
void resolveFolderOfLink(fl::ustring& path) {
    const fl::ustring native = path.empty() ? path : fs::detail::make_native_form(path, true);
    fl::ustring parent = fs::detail::extract_parent_path(native);
    if (parent.empty()) {
        try {
            parent = fs::get_current_path();
        } catch (const fs::FsysExceptionBase&) {
            return; // the current folder is gone: nothing better than the text given
        }
    } else {
        resolve(parent, Resolution::Canonical);
    }
    if (!parent.ends_with(fs::upath_constant::PATHNAME_SEPARATOR))
        parent += fs::upath_constant::PATHNAME_SEPARATOR;
    // Its own name as it stands: extract_filename would read a "*" or "?" in a link's name
    // as a listing pattern.
    path = parent + fs::detail::last_component(native);
}

} // namespace

void relativeToAbsolute(fl::ustring& path, ResolveSymbolicLinks resolveLinks, bool) {
    shared::replaceSlashesOnWindows(path);
    if (shared::startsWithSlashSlashOnWindows(path))
        return;
    // Following links needs no look at the path first.
    if (resolveLinks == ResolveSymbolicLinks::FollowLinks) {
        resolve(path, Resolution::Canonical);
        return;
    }
    const detail::OwnItem own = detail::ownItem(path);
    if (own == detail::OwnItem::NotLink && detail::resolveThroughFolder(path))
        return;
    if (own != detail::OwnItem::Link) {
        // An item that is there and no link is there when links are followed too: the look
        // that found it answers whether it exists, and only a path it could not read is
        // asked again.
        resolve(path, own == detail::OwnItem::NotLink ? Resolution::CanonicalOfThere
                                                      : Resolution::Canonical);
        return;
    }
    // Values above Literal act as Literal: only the link's own path is made absolute.
    if (static_cast<int>(resolveLinks) >= static_cast<int>(ResolveSymbolicLinks::Literal))
        resolve(path, Resolution::AbsoluteOnly);
    else
        resolveFolderOfLink(path);
}

bool setupPathForURLConstruction(fl::ustring& path, ResolveSymbolicLinks resolveLinks, bool flag) {
    namespace utility = foundation::storage::utility;
    if (foundation::storage::vfs::hasIRIPrefix(path)) {
        utility::normalizeURL(path);
        return true;
    }
    utility::handleWindowsTrailingDotsAndSpaces(path);
    relativeToAbsolute(path, resolveLinks, flag);
    // A path that could not be resolved keeps its dots; an IRI must not carry them. Folding
    // ".." folds "." too, in the same look at the names.
    shared::handleDotDots(path);
    return false;
}

// --- URL helpers ---

fl::ustring getURLWithoutQueryAndFragmentComponents(const foundation::network::IRI& iri) {
    // Rebuilt without the two it does not have, an IRI would only give itself back.
    if (!iri.hasQuery() && !iri.hasFragment())
        return iri.toString(foundation::network::iri::Encoding::IRI);
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
