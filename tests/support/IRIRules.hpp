#pragma once

// Rules the IRI layer keeps for every IRI. The IRI tests check them over one shared list and
// the fuzz targets over whatever the fuzzer makes up. Each check answers what broke, or ""
// when the rule holds.

#include <fl/filesystemSharedFcns.hpp>
#include <fl/i18n.hpp>
#include <foundation/network/IRI.hpp>
#include <foundation/storage/utility/url.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>

#include <algorithm>
#include <optional>
#include <string>

namespace vexa::testing::iri {

using foundation::network::IRI;
using foundation::network::IRIArgs;
using foundation::network::iri::Encoding;
using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;
using foundation::storage::vfs::InvalidIRIException;

inline std::string text(const AbsoluteIRI& iri) {
    return fl::i18n::to_string(iri.toString());
}

// The path as its segments read: without the "/." written before "//" when there is no
// authority.
inline fl::ustring segmentsPath(const AbsoluteIRI& iri) {
    fl::ustring path = iri.toIRI().getPath(Encoding::URI);
    if (!iri.toIRI().hasAuthority() && path.starts_with(u"/.//"))
        path.erase(0, 2);
    return path;
}

// toString() parsed again gives the same text, and the same IRI.
inline std::string textReadsBack(const AbsoluteIRI& iri) {
    try {
        const AbsoluteIRI again(iri.toString());
        if (again.toString() != iri.toString() || !(again == iri))
            return "reads back as " + text(again) + ": " + text(iri);
    } catch (const InvalidIRIException&) {
        return "its text does not parse: " + text(iri);
    }
    return {};
}

// getResolvedIRI() leaves no "." or ".." segment.
inline std::string resolvedKeepsNoDotSegment(const AbsoluteIRI& iri) {
    const AbsoluteIRI resolved = iri.getResolvedIRI();
    const fl::ustring path = segmentsPath(resolved) + u'/';
    for (std::size_t begin = 0, slash; (slash = path.find(u'/', begin)) != fl::ustring::npos;
         begin = slash + 1) {
        const fl::ustring_view segment(path.data() + begin, slash - begin);
        if (segment == u"." || segment == u"..")
            return "resolved to " + text(resolved) + ": " + text(iri);
    }
    return textReadsBack(resolved);
}

// Walking getParent() reaches an IRI without a parent in at most as many steps as the path
// has segments; every parent on the way reads back as itself.
inline std::string parentWalkEnds(const AbsoluteIRI& iri) {
    const fl::ustring path = iri.toIRI().getPath(Encoding::URI);
    const auto segments = static_cast<std::size_t>(std::count(path.begin(), path.end(), u'/'));
    AbsoluteIRI at = iri;
    for (std::size_t steps = 0; at.hasParent(); ++steps) {
        if (steps == segments)
            return "still a parent after " + std::to_string(steps) + " steps (" + text(at) +
                   "): " + text(iri);
        const fl::ustring parentText = at.getParentText();
        at = at.getParent();
        if (at.toString() != parentText)
            return "parent text " + fl::i18n::to_string(parentText) + " is not the parent " +
                   text(at);
        if (auto broken = textReadsBack(at); !broken.empty())
            return broken;
    }
    return {};
}

// Every rule for one IRI, on the IRI and on the forms derived from it.
inline std::string brokenRule(const AbsoluteIRI& iri) {
    for (const auto& broken :
         {textReadsBack(iri), resolvedKeepsNoDotSegment(iri), parentWalkEnds(iri),
          textReadsBack(CanonicalAbsoluteIRI(iri)), parentWalkEnds(iri.getResolvedIRI())})
        if (!broken.empty())
            return broken;
    return {};
}

// normalizeURL changes no IRI's meaning: text that is an IRI already names, once dot
// segments are resolved, the same IRI after it. (Native paths are no URL text.)
inline std::string normalizedKeepsMeaning(const fl::ustring& input) {
    if (input.starts_with(u'/'))
        return {};
    std::optional<AbsoluteIRI> before;
    try {
        before.emplace(input);
    } catch (const InvalidIRIException&) {
        return {};
    }
    fl::ustring normalised = input;
    foundation::storage::utility::normalizeURL(normalised);
    try {
        const AbsoluteIRI after(normalised);
        if (!(after.getResolvedIRI() == before->getResolvedIRI()))
            return "normalised into " + text(after) + ": " + text(*before);
    } catch (const InvalidIRIException&) {
        return "normalised into text that does not parse: " + text(*before);
    }
    return {};
}

// `base` read as a folder: its path with a trailing "/", without query and fragment.
inline AbsoluteIRI folderOf(const AbsoluteIRI& base) {
    IRIArgs args(base.toIRI());
    args.query.clear();
    args.hasQuery = false;
    args.fragment.clear();
    args.hasFragment = false;
    if (!args.path.ends_with(u'/'))
        args.path += u'/';
    return AbsoluteIRI(IRI(args));
}

// A native path with runs of "/" as one, "." and ".." folded, and no trailing "/".
inline fl::ustring nativeFolded(fl::ustring path) {
    filesystemSharedFcns::handleSingleDots(path);
    filesystemSharedFcns::handleDotDots(path);
    if (path.size() > 1 && path.back() == u'/')
        path.pop_back();
    return path;
}

inline fl::ustring decodedResolvedPath(const AbsoluteIRI& iri) {
    const fl::ustring path = iri.getResolvedIRI().toIRI().getPath(Encoding::Decoded);
    return path.empty() ? fl::ustring(u"/") : path;
}

// Resolving `relative`, the relative path of `target` from `base`, against `base` read as a
// folder gives `target` back. A relative `file` path is a native path, resolved as Linux
// resolves one; any other answer is a reference, resolved as RFC 3986 resolves one.
inline std::string relativePathResolvesBack(const AbsoluteIRI& base, const AbsoluteIRI& target,
                                            const fl::ustring& relative) {
    const std::string what = "relative path '" + fl::i18n::to_string(relative) + "' of " +
                             text(target) + " from " + text(base);
    const bool native = target.getScheme() == u"file" && base.getScheme() == u"file" &&
                        !relative.starts_with(u"file:");
    if (native) {
        const fl::ustring reached =
            nativeFolded(nativeFolded(decodedResolvedPath(base)) + u'/' + relative);
        if (reached != nativeFolded(decodedResolvedPath(target)))
            return what + " reaches " + fl::i18n::to_string(reached);
        return {};
    }
    try {
        const AbsoluteIRI reached = folderOf(base).resolve(relative);
        if (!(CanonicalAbsoluteIRI(reached) == CanonicalAbsoluteIRI(target)))
            return what + " reaches " + text(reached);
    } catch (const InvalidIRIException&) {
        return what + " does not resolve";
    }
    return {};
}

} // namespace vexa::testing::iri
