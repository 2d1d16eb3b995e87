#include <vexa/io/filesystem/core/path_components.hpp>

#include "path_constants.hpp"
#include "url_parsing.hpp"

#include <fl/ascii.hpp>
#include <foundation/core/except/Exception.hpp>
#include <foundation/network/IRI.hpp>
#include <foundation/storage/utility/url.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <vexa/io/filesystem/core/absolute_paths.hpp>
#include <vexa/io/filesystem/core/errors.hpp>

namespace vexa::io::filesystem::core {
namespace {

using foundation::network::iri::Encoding;
using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::InvalidIRIException;

// Splits at `separator` (an index, or npos for none): only the result strings are allocated,
// which is all the work a file path needs.
PathComponents splitAt(const fl::ustring& path, std::size_t separator) {
    PathComponents parts;
    if (separator == fl::ustring::npos) {
        parts.name = path;
    } else {
        parts.parent.assign(path, 0, separator);
        parts.name.assign(path, separator + 1);
    }
    const std::size_t dot = parts.name.rfind(u'.');
    if (dot != fl::ustring::npos)
        parts.extension.assign(parts.name, dot);
    return parts;
}

PathComponents splitFilePath(const fl::ustring& path, FileSystemType type) {
    if (type == FileSystemType::Windows) {
        // The backslash wins even when a "/" follows it: "C:\dir/sub" is "C:" and "dir/sub".
        const std::size_t backslash = path.rfind(backslashSeparator.front());
        if (backslash != fl::ustring::npos)
            return splitAt(path, backslash);
    }
    return splitAt(path, path.rfind(forwardSlashSeparator.front()));
}

// A decoded name put back into URL text: the characters that would end or split a segment,
// and "%" itself, escaped, so "a%3Fb" stays one segment named "a?b". Everything else is left
// to the parent's normalisation.
void appendAsSegment(fl::ustring& url, const fl::ustring& name) {
    constexpr char16_t hex[] = u"0123456789ABCDEF";
    for (char16_t c : name) {
        if (c == u'%' || c == u'/' || c == u'?' || c == u'#') {
            url += u'%';
            url += hex[c >> 4];
            url += hex[c & 0xF];
        } else {
            url += c;
        }
    }
}

// The parent's text as the IRI layer writes it.
fl::ustring normalisedParent(const fl::ustring& parent) {
    try {
        return AbsoluteIRI(parent).toString();
    } catch (const InvalidIRIException&) {
        fl::ustring normalised = parent;
        foundation::storage::utility::normalizeURL(normalised);
        return AbsoluteIRI(normalised).toString();
    }
}

// Whether a decoded name stands in IRI text just as it is: nothing in it would be escaped.
bool isPlainSegment(const fl::ustring& name) {
    for (char16_t c : name)
        if (!fl::ascii::isSegmentCharacter(c))
            return false;
    return true;
}

// Whether `part` is the start of the IRI text `whole` up to the end of a path segment. The
// IRI layer writes "/", "?" and "#" only where they delimit (inside a component they stay
// escaped), and a run of escapes never spans one, so such a start is the layer's own text of
// the IRI cut there: parsing it would give it back unchanged.
bool isLeadingPartOf(const fl::ustring& whole, const fl::ustring& part) {
    if (!whole.starts_with(part))
        return false;
    return whole.size() == part.size() ||
           fl::ustring_view(u"/?#").find(whole[part.size()]) != fl::ustring_view::npos;
}

PathComponents splitURL(const fl::ustring& path, FileSystemType type) {
    const AbsoluteIRI absolute = detail::parseURLText(path);
    const auto& iri = absolute.toIRI();
    if (type == FileSystemType::Unix || type == FileSystemType::Windows)
        throw foundation::core::except::Exception<
            VEXA::io::filesystem::common::IncorrectFileSystemType>(
            VEXA::io::filesystem::common::IncorrectFileSystemType(
                absolute.getScheme(), type == FileSystemType::Windows ? u"Windows" : u"Unix"));

    PathComponents parts;
    if (iri.hasHost())
        parts.host = iri.getHost(Encoding::IRI);
    if (iri.hasPort())
        parts.port = iri.getPortNumber();
    if (iri.hasQuery())
        parts.query = iri.getQuery(Encoding::IRI);
    if (iri.hasFragment())
        parts.fragment = iri.getFragment(Encoding::IRI);

    // Text the IRI layer wrote itself is in its normal form already, and parsing it again
    // would give it back unchanged: only joined text, or none at all, needs the round.
    bool written = true;
    if (!absolute.hasParent()) {
        parts.parent = getURLWithoutQueryAndFragmentComponents(iri);
        written = !parts.parent.empty();
    } else {
        // The parent has no query or fragment, so its text is all the rebuild would give;
        // reading it off the parsed IRI spares making the parent.
        parts.parent = absolute.getParentText();
        parts.name = absolute.getName();
        parts.extension = getExtension(parts.name);
        // On the web a last segment without an extension is taken for a folder.
        if (!parts.name.empty() && parts.extension.empty() && hasHttpPrefix(path)) {
            if (parts.parent.empty() || parts.parent.back() != urlSeparator.front())
                parts.parent += urlSeparator;
            appendAsSegment(parts.parent, parts.name);
            // A name with nothing to escape, or joined text that reads as the start of the
            // URL's own text, is in normal form as it stands.
            written =
                isPlainSegment(parts.name) || isLeadingPartOf(absolute.toString(), parts.parent);
            parts.name.clear();
        }
    }
    if (!written)
        parts.parent = normalisedParent(parts.parent);
    return parts;
}

} // namespace

PathComponents getPathComponents(const fl::ustring& path, bool isURL, FileSystemType type) {
    if (!isURL)
        return splitFilePath(path, type);
    try {
        return splitURL(path, type);
    } catch (const InvalidIRIException&) {
        // Users see their own text, not the IRI layer's attempts at it.
        throw foundation::core::except::Exception<VEXA::virtualfileio::path::invalidIRI>(
            VEXA::virtualfileio::path::invalidIRI(path));
    }
}

} // namespace vexa::io::filesystem::core
