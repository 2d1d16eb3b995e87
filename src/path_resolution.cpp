#include <vexa/io/filesystem/core/path_resolution.hpp>

#include <vexa/io/filesystem/core/absolute_paths.hpp>
#include <vexa/io/filesystem/core/existence.hpp>
#include <vexa/io/filesystem/core/log.hpp>

#include "answered_failures.hpp"
#include "native_text.hpp"
#include "own_status.hpp"

#include <Quarrow/VexaStorageSystem.hpp>
#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/Look.hpp>
#include <host/Standalone.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <optional>
#include <utility>

namespace vexa::io::filesystem::core {
namespace {

namespace fs = fl::filesystem;
namespace vfs = foundation::storage::vfs;
namespace provider = foundation::storage::provider;
using provider::ExistenceTypeExtended;

// A resolver's first guess at the item its input names.
struct PathCandidate {
    fl::ustring path;         // empty: no guess
    bool isIRI = false;       // `path` is IRI text, not a native path
    bool wasRelative = false; // the input was a relative local path
    // `path` holds only for an item that is there and no link (see LocalFilePathResolver)
    bool onlyIfNoLink = false;
};

// What the driver found: the text to show, the location, and what is there.
struct ResolutionRecord {
    fl::ustring path;
    std::optional<vfs::AbsoluteIRI> iri;
    ExistenceTypeExtended existence = provider::ExistsAsNothing;
};

// Puts in `iri` the location `text` names, read as IRI text or as a native path, and in
// `native` that native path (empty for IRI text): unless it holds a lone surrogate, it is
// the text the way back from the IRI gives. Both are left empty for text that can name no
// location, which resolves to nothing rather than to an error. The location is made where it
// stays, since a move of one costs a good part of making it.
bool makeIRI(std::optional<vfs::AbsoluteIRI>& iri, fl::ustring& native, const fl::ustring& text,
             bool isIRI) {
    iri.reset();
    native.clear();
    return virtualfileio::answeringFailures(
        [&] {
            if (isIRI) {
                iri.emplace(text);
                return true;
            }
            native = text.empty() ? text : fs::detail::make_native_form(text, true);
            // Text that starts with "/" is read as a native path.
            if (native.empty() || native.front() != u'/')
                vfs::toAbsoluteIRI(u"file", native); // refuses it, as it refuses every other
            iri.emplace(native);
            return true;
        },
        [&] {
            try {
                throw;
            } catch (const vfs::Exception&) {
            } catch (const vfs::InvalidIRIException&) {
            }
            log::logCaughtException();
            iri.reset();
            native.clear();
            return false;
        });
}

// The host's look-up of a name in the current folder and along the search path.
PathCandidate searchByName(const fl::ustring& name) {
    PathCandidate found;
    svFindFirstFileNameW(name, false, found.path);
    found.isIRI = vfs::hasIRIPrefix(found.path);
    return found;
}

class PathResolver {
public:
    // `input` outlives the resolver, which lives for one call.
    PathResolver(const fl::ustring& input, bool isURL, bool keepInputPath,
                 ResolvePathOptions options)
        : input_(input), isURL_(isURL), keepInputPath_(keepInputPath), options_(options) {}
    virtual ~PathResolver() = default;
    PathResolver(const PathResolver&) = delete;
    PathResolver& operator=(const PathResolver&) = delete;

    virtual PathCandidate resolve() const = 0;

    // Shared by every resolver: from the candidate to the location, what is there, and the
    // text to show for it, in `record`; the location is made in place there. False, with
    // `record` as it was made, when the input names nothing.
    bool run(ResolutionRecord& record) const;

protected:
    // The input made absolute as a local path (normalised as a URL when it is one).
    fl::ustring prepared(ResolveSymbolicLinks links) const {
        fl::ustring path = input_;
        setupPathForURLConstruction(path, links, false);
        return path;
    }
    // The input made absolute as a local path, by the whole way.
    PathCandidate localCandidate() const {
        return {prepared(linkTreatment()), false, !fs::detail::is_absolute(input_)};
    }
    // Following links canonicalises the whole path; otherwise a final link is only made
    // absolute, so that the answer still names the link.
    ResolveSymbolicLinks linkTreatment() const {
        return static_cast<ResolveSymbolicLinks>(2 - int{options_.resolveSymbolicLinks});
    }

    const fl::ustring& input_;
    const bool isURL_;
    // Show the input as typed. resolveRecord never sets it; the resolvers honour it anyway,
    // so that a resolver made otherwise behaves as its name says.
    const bool keepInputPath_;
    const ResolvePathOptions options_;
};

// A host used interactively: the name as a path from the current folder first.
class LocalFilePathResolver final : public PathResolver {
public:
    using PathResolver::PathResolver;
    PathCandidate resolve() const override {
        if (keepInputPath_)
            return {input_};
        // Links shown as themselves: an item that is there and no link is named through its
        // folder, and the look that follows tells whether it is one; only a link or nothing
        // there is asked about first and takes the whole way (see run).
        fl::ustring path = input_;
        if (!options_.resolveSymbolicLinks && detail::resolveThroughFolder(path))
            return {std::move(path), false, !fs::detail::is_absolute(input_), true};
        return localCandidate();
    }
};

// A deployed application finds its own files by name before anything in the current
// folder could stand in for them.
class DeployedLocalFilePathResolver final : public PathResolver {
public:
    using PathResolver::PathResolver;
    PathCandidate resolve() const override {
        if (keepInputPath_)
            return {input_};
        const fl::ustring native =
            input_.empty() ? input_ : fs::detail::make_native_form(input_, true);
        if (!fs::detail::is_absolute(native)) {
            PathCandidate found = searchByName(input_);
            if (!found.path.empty())
                return found;
        }
        // Never relative to the driver: the name has been searched for already.
        return {prepared(linkTreatment())};
    }
};

// IRI text of a scheme the storage layer serves. Links are the provider's business: the
// text is only normalised.
class URLPathResolver final : public PathResolver {
public:
    using PathResolver::PathResolver;
    PathCandidate resolve() const override {
        std::optional<vfs::AbsoluteIRI> iri;
        fl::ustring native;
        if (!makeIRI(iri, native, prepared(ResolveSymbolicLinks::Literal), true))
            return {};
        return {iri->getResolvedIRI().toString(), true, false};
    }
};

bool PathResolver::run(ResolutionRecord& record) const {
    PathCandidate candidate = resolve();
    if (candidate.path.empty())
        return false;
    std::optional<vfs::AbsoluteIRI>& iri = record.iri;
    fl::ustring native;
    if (!makeIRI(iri, native, candidate.path, candidate.isIRI))
        return false;
    ExistenceTypeExtended existence = getExtendedExistenceType(*iri, false);
    if (candidate.onlyIfNoLink &&
        (existence == provider::ExistsAsNothing || isSymlink(existence))) {
        // A link is named by its own path, and a missing name is folded as text: the whole way.
        candidate = localCandidate();
        if (candidate.path.empty() || !makeIRI(iri, native, candidate.path, false))
            return false;
        existence = getExtendedExistenceType(*iri, false);
    }
    if (existence == provider::ExistsAsNothing && candidate.wasRelative) {
        const PathCandidate found = searchByName(input_);
        if (found.path.empty() || !makeIRI(iri, native, found.path, found.isIRI))
            return false;
        existence = getExtendedExistenceType(*iri, false);
    }
    if (isSymlink(existence) && options_.resolveSymbolicLinks) {
        // A link that cannot be followed leads to nothing. The existence keeps the link's
        // value, so that the kind still tells a link was followed.
        const fl::ustring linkPath = native.empty() ? nativeTextOf(*iri) : native;
        const auto target = answerOr(std::optional<fl::ustring>(), [&] {
            return std::optional<fl::ustring>(fs::canonical(linkPath, {}));
        });
        if (!target || !makeIRI(iri, native, *target, false))
            return false;
    }
    if (existence == provider::ExistsAsNothing)
        return false;
    // Text that its bytes would give otherwise is read back from the location, as the
    // storage layer names it.
    const auto nativeText = [&] {
        return native.empty() || !fl::i18n::isWellFormed(native) ? nativeTextOf(*iri)
                                                                 : std::move(native);
    };
    if (!isURL_)
        record.path = keepInputPath_ ? input_ : nativeText();
    else
        record.path = options_.nativePathForIRI ? nativeText() : iri->toString();
    record.existence = existence;
    return true;
}

ResolvedPathKind kindOf(ExistenceTypeExtended existence, bool followingLinks) {
    if (isFile(existence))
        return ResolvedPathKind::File;
    if (isFolder(existence))
        return ResolvedPathKind::Folder;
    switch (existence) {
    case provider::ExistsAsLinkToFile:
        return followingLinks ? ResolvedPathKind::File : ResolvedPathKind::SymbolicLink;
    case provider::ExistsAsLinkToFolder:
        return followingLinks ? ResolvedPathKind::Folder : ResolvedPathKind::SymbolicLink;
    case provider::ExistsAsOtherLink:
        return ResolvedPathKind::SymbolicLink;
    default:
        return ResolvedPathKind::Nothing;
    }
}

// The record of what `path` names; an empty one when it names nothing.
void resolveRecord(ResolutionRecord& record, const fl::ustring& path,
                   const ResolvePathOptions& options) {
    // A resolver lives on the stack for the one call.
    bool named = false;
    if (vfs::hasIRIPrefix(path))
        named = URLPathResolver(path, true, false, options).run(record);
    else if (svIsStandaloneMode())
        named = DeployedLocalFilePathResolver(path, false, false, options).run(record);
    else
        named = LocalFilePathResolver(path, false, false, options).run(record);
    if (!named)
        record = {};
}

} // namespace

ResolvedPath resolvePath(const fl::ustring& path, const ResolvePathOptions& options) {
    ResolutionRecord record;
    resolveRecord(record, path, options);
    return {std::move(record.path), kindOf(record.existence, options.resolveSymbolicLinks)};
}

ResolvedPathAttributes resolvePathWithAttributes(const fl::ustring& path,
                                                 const ResolvePathOptions& options) {
    // The look that found the item also answers its attributes, where it holds them.
    const vfs::SharedLooks oneLookPerItem;
    ResolutionRecord record;
    resolveRecord(record, path, options);
    ResolvedPathAttributes resolved{
        std::move(record.path), kindOf(record.existence, options.resolveSymbolicLinks), {}};
    const vfs::StorageSystemReference storage =
        Quarrow::VexaStorageSystem::GetStorageSystemReference();
    const ExistenceTypeExtended existence = record.existence;
    // A link of another kind than to a file or a folder is opened as a file, whatever the
    // options say: opening is how its attributes can be had at all.
    if (isFile(existence) || existence == provider::ExistsAsLinkToFile ||
        existence == provider::ExistsAsOtherLink)
        resolved.attributes = getAttributes(vfs::File(record.iri.value(), storage), resolved.path);
    else if (isFolder(existence) || existence == provider::ExistsAsLinkToFolder)
        resolved.attributes =
            getAttributes(vfs::Folder(record.iri.value(), storage), resolved.path);
    return resolved;
}

} // namespace vexa::io::filesystem::core
